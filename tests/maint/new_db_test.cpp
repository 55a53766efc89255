// Databases come into being, are listed, and go again.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <thread>

#include "format/format_run.h"
#include "format/xpft_fst.h"
#include "maint/catalogue_lock.h"
#include "maint/database_names.h"
#include "maint/drop_db.h"
#include "maint/empty_db.h"
#include "maint/list_file.h"
#include "maint/new_db.h"
#include "maint/web_lists.h"
#include "storage/database_mutex.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "support/format_installation.h"
#include "utils/named_mutex.h"

namespace {

namespace fs = std::filesystem;
using namespace velor_server_proc;

const std::string kFullTextControl(
    "\0\0\0\0\0\0\0\1\0\0\0\x24\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\x10\0\0\0\0\0\0\0\0", 36);

class Databases : public testing::Test, public test::FormatInstallation {
 protected:
  void SetUp() override { app::SetAppPrefix("n" + std::to_string(getpid())); }
  void TearDown() override { app::SetAppPrefix(""); }

  /// Adds a line to section MAIN of the settings.
  void Set(const std::string& line) {
    Write("velora.ini", Read("velora.ini") + "[MAIN]\n" + settings_.append(line + "\n"));
    fmt_64::velor_MainIni_Init(ctx(), File("velora.ini"));
  }
  std::string New(const std::string& name, const VelorNewDBContext& params = {}) {
    std::ostringstream out;
    VelorNewDB(ctx(), name, params, out);
    return out.str();
  }
  std::string Drop(const std::string& name, int waitSeconds = 5) {
    std::ostringstream out;
    VelorDeleteDB(ctx(), name, out, waitSeconds);
    return out.str();
  }
  velor_32::SpacePointer Open(const std::string& name) {
    std::ostringstream ignored;
    int result = 0;
    return velor_32::SpacePointer(VelorOpenDb(ctx(), name, ignored, &result));
  }
  /// Names in a directory, directories with "/", in order, between blanks.
  std::string Names(const std::string& directory) const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(File(directory)))
      names.insert(entry.path().filename().string() + (entry.is_directory() ? "/" : ""));
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
  }
  void MakeFullText(const std::string& name) {
    const std::string stem = "datai/" + name + "/" + name;
    Write(stem + ".mst", kFullTextControl);
    fs::create_directory(File(stem + "--text"));
    for (const char* extension : {"mst", "xrf", "ifp", "l01", "n01"})
      Write(stem + "--text/text." + extension, extension[0] == 'm' ? kFullTextControl : "");
  }

 private:
  std::string settings_;
};

const std::string kTemplates = "blank.par blank/ deposit/ marc.par marc/ oryx.par oryx/";

TEST_F(Databases, ANewOneIsTheTemplateUnderItsName) {
  chmod(File("datai/oryx/brief.pft").c_str(), 0444);
  Write("datai/oryx/oryx.ifs", "1 0 v1");
  Write("datai/oryx/oryx.gbl", "0");
  Write("datai/oryx.par", "0=note\r\n1=.\\DATAI\\ORYX\\\r\n");
  EXPECT_EQ(New("Books", {.fullName = "My books"}), "NewDB Books\nDone\n");
  std::string want = Names("datai/oryx");
  for (const char* extension : {"cells", "fst", "ifp", "ifs", "l01", "mst", "n01", "stw", "xrf"})
    want.replace(want.find(std::string("oryx.") + extension), 4, "books");
  std::set<std::string> sorted;
  std::istringstream words(want);
  for (std::string word; words >> word;) sorted.insert(word);
  want.clear();
  for (const std::string& word : sorted) want += (want.empty() ? "" : " ") + word;
  EXPECT_EQ(Names("datai/books"), want);
  std::string lines = "0=note\r\n";
  for (int n = 1; n <= 10; ++n) lines += std::to_string(n) + "=.\\DATAI\\BOOKS\\\r\n";
  EXPECT_EQ(Read("datai/books.par"), lines);
  EXPECT_EQ(Read("datai/deposit/dbnam1.mnu"), "books\r\nMy books\r\n");
  EXPECT_NE(Open("books"), nullptr);
  EXPECT_EQ(::access(File("datai/books/brief.pft").c_str(), W_OK), 0);
  struct stat copied {};
  ::stat(File("datai/books/brief.pft").c_str(), &copied);
  EXPECT_TRUE(copied.st_mode & S_IWUSR);
  EXPECT_EQ(Drop("BOOKS"), "Delete DB BOOKS\nDelete DB done\n");
  EXPECT_EQ(Names("datai"), kTemplates);
  EXPECT_EQ(Read("datai/deposit/dbnam1.mnu"), "");
}

TEST_F(Databases, AFreeOneHasOneFormat) {
  fs::remove_all(File("datai/oryx"));
  EXPECT_EQ(New("x", {.isFree = true}), "NewDB x\nDone\n");
  EXPECT_EQ(Names("datai/x"), "brief.pft x.ifp x.l01 x.mst x.n01 x.xrf");
  EXPECT_EQ(Read("datai/x/brief.pft"), "MFN");
  EXPECT_EQ(New("y"), "NewDB y\nTemplate database not found oryx\n");
  EXPECT_EQ(New("y", {.templateDb = "../x"}), "NewDB y\nTemplate database not found ../x\n");
  fs::remove_all(File("datai/blank"));
  fs::remove(File("datai/blank.par"));
  EXPECT_EQ(New("y", {.isFree = true}), "NewDB y\nBlank database not found blank\n");
}

TEST_F(Databases, NamesThatAreRefused) {
  for (const char* name :
       {"..", ".x", "a/b", "a\\b", "a,b", "*****", "a?", "x--text", " x", "x\n", "[x]", "a%b"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(New(name), "NewDB " + std::string(name) + "\nIncorrect database name " + name + "\n");
    EXPECT_EQ(Drop(name), "Delete DB " + std::string(name) + "\nDB drop failed\n");
  }
  for (const char* name : {"x.y", "x.par", "@x", "card"})
    EXPECT_EQ(New(name), "NewDB " + std::string(name) + "\nIncorrect database name " + name + "\n");
  for (const char* name : {"Oryx", "blank"})
    EXPECT_EQ(Drop(name), "Delete DB " + std::string(name) + "\nDB drop failed\n");
  EXPECT_EQ(Names("datai"), kTemplates);
}

TEST_F(Databases, WhatIsThereStays) {
  fs::create_directory(File("datai/taken"));
  Write("datai/taken/x", "x");
  Write("datai/elsewhere.par", "1=.\\OTHER\\\r\n");
  for (const char* name : {"Taken", "elsewhere", "deposit"})
    EXPECT_EQ(New(name), "NewDB " + std::string(name) + "\nDB already created\n");
  EXPECT_EQ(Names("datai/taken"), "x");
  EXPECT_EQ(Read("datai/elsewhere.par"), "1=.\\OTHER\\\r\n");
  EXPECT_EQ(Read("datai/deposit/dbnam1.mnu"), "");
}

TEST_F(Databases, AHalfMadeOneIsMadeAnew) {
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ::waitpid(dead, nullptr, 0);
  fs::create_directory(File("datai/.x." + std::to_string(dead)));
  fs::create_directory(File("datai/.x.1"));  // the first process lives
  Write("datai/x.par", "1=.\\DATAI\\X\\\r\n");
  Write("datai/deposit/dbnam1.mnu", "X\r\nold\r\n");
  EXPECT_EQ(New("x", {.fullName = "new"}), "NewDB x\nDone\n");
  EXPECT_EQ(Names("datai"), ".x.1/ blank.par blank/ deposit/ marc.par marc/ oryx.par oryx/ x.par x/");
  EXPECT_EQ(Read("datai/deposit/dbnam1.mnu"), "X\r\nnew\r\n");
}

TEST_F(Databases, AFullDiskLeavesNothing) {
  rlimit old{};
  ::getrlimit(RLIMIT_FSIZE, &old);
  ::signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t size : {20U, 100U, 400U}) {
    const rlimit small{size, old.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string said = New("x");
    ::setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(said, "NewDB x\nError -400\n") << size;
    EXPECT_EQ(Names("datai"), kTemplates);
  }
  ::signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(New("x"), "NewDB x\nDone\n");
}

TEST_F(Databases, TheParameterFileLeadsBack) {
  fs::create_directory(File("Data"));
  fs::copy(File("datai"), File("Data/Cap"), fs::copy_options::recursive);
  fs::copy(File("datai"), File("low"), fs::copy_options::recursive);
  const test::TempDir outside;
  fs::copy(File("datai"), outside.File("d"), fs::copy_options::recursive);
  const struct {
    std::string dataPath;
    std::string line;
  } cases[] = {
      {File("low"), "1=.\\LOW\\X\\"},
      {File("Data/Cap"), "1=" + File("Data/Cap/x/")},
      {outside.File("d"), "1=" + outside.File("d/x/")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dataPath);
    fmt_64::velor_init_DataPath(ctx(), c.dataPath);
    EXPECT_EQ(New("X"), "NewDB X\nDone\n");
    velor_01::TStringList lines;
    lines.LoadFromFile((c.dataPath + "/x.par").c_str());
    EXPECT_EQ(lines.Get(0), c.line);
    EXPECT_EQ(RecordPath(ctx(), "x"), c.dataPath + "/x/x");
    EXPECT_EQ(Drop("x"), "Delete DB x\nDelete DB done\n");
    EXPECT_FALSE(fs::exists(c.dataPath + "/x"));
  }
  const fs::path before = fs::current_path();
  fs::current_path(outside.File("d"));
  fmt_64::velor_init_DataPath(ctx(), "./");
  EXPECT_EQ(New("X"), "NewDB X\nDone\n");
  fs::current_path(before);
  velor_01::TStringList lines;
  lines.LoadFromFile(outside.File("d/x.par").c_str());
  EXPECT_EQ(lines.Get(0), "1=" + outside.File("d/x/"));
}

TEST_F(Databases, PageTextsComeAndGo) {
  MakeFullText("oryx");
  Write("datai/oryx/oryx--text/text.stw", "THE\r\n");
  EXPECT_EQ(New("x"), "NewDB x\nDone\n");
  EXPECT_EQ(Names("datai/x/x--text"), "text.ifp text.l01 text.mst text.n01 text.stw text.xrf");
  EXPECT_EQ(Read("datai/x/x.mst"), kFullTextControl);
  EXPECT_NE(Read("datai/x.par").find("\n11=.\\DATAI\\X\\texts\\\r\n"), std::string::npos);
  EXPECT_TRUE(fs::is_directory(File("datai/x/texts")));
  EXPECT_EQ(New("f", {.isFree = true}), "NewDB f\nDone\n");
  EXPECT_FALSE(fs::exists(File("datai/f/texts")));

  std::ostringstream out;
  {
    const velor_32::SpacePointer space = Open("x");
    ASSERT_NE(space->textSpace, nullptr);
    for (velor_01::TVelorSpace* each : {space.get(), space.get(), space->textSpace}) {
      int result = 0;
      int ifResult = 0;
      velor_32::Velornewrec(each, 0);
      velor_32::Velorfldadd(each, 0, 200, 0, "^aOryx", 6);
      ASSERT_EQ(velor_32::VelorRecUpdateTime(each, 0, false, false, 5, &result, &ifResult), 0);
    }
    for (int mfn : {1, 2}) velor_32::VelorSetFullTextActualizedBitTime(space.get(), mfn, false, 5);
    ASSERT_EQ(velor_32::VelorRecPhysDelTime(space.get(), 2, 5), 0);
  }
  EXPECT_EQ(VelorEmptyFTDB(ctx(), "X", out), 0);
  EXPECT_EQ(out.str(), "OpenDB x - Done\nDone\n");
  EXPECT_EQ(Read("datai/x/x--text/text.mst"), kFullTextControl);
  {
    const velor_32::SpacePointer space = Open("x");
    EXPECT_EQ(velor_32::Velormaxmfn(space.get()), 3);
    EXPECT_TRUE(velor_32::VelorIsRealyNotActualizedFT(space.get(), 1));
  }
  EXPECT_EQ(VelorEmptyFTDB(ctx(), "f", out), 0) << "nothing to do";
  EXPECT_EQ(Drop("x"), "Delete DB x\nDelete DB done\n");
  EXPECT_FALSE(fs::exists(File("datai/x")));
}

TEST_F(Databases, ListsStayAsTheyAre) {
  const struct {
    const char* why;
    const char* file;
    std::string before;
    std::string added;
    std::string removed;
  } cases[] = {
      {"none yet", "a.mnu", "", "new\r\nН\r\n", ""},
      {"code page 1251, an end", "b.mnu", "OLD\r\n\xCA\r\n*****\r\n",
       "OLD\r\n\xCA\r\nnew\r\n\xCD\r\n*****\r\n", "OLD\r\n\xCA\r\n*****\r\n"},
      {"UTF-8 with mark, line feeds", "c.mnu", "\xEF\xBB\xBFold\nК\n*****\nrest\n",
       "\xEF\xBB\xBFold\nК\nnew\nН\n*****\nrest\n", "\xEF\xBB\xBFold\nК\n*****\nrest\n"},
      {"listed, in other case, twice", "d.mnu", "NEW\r\nx\r\nold\r\nnew\r\nNew\r\ny\r\n",
       "NEW\r\nН\r\nold\r\nnew\r\nNew\r\ny\r\n", "old\r\nnew\r\n"},
      {"a name without description", "e.mnu", "old\r\nx\r\nnew\r\n*****\r\n",
       "old\r\nx\r\nnew\r\nН\r\n*****\r\n", "old\r\nx\r\n*****\r\n"},
      {"blank lines at the end", "f.mnu", "old\r\nx\r\n\r\n\r\n", "old\r\nx\r\nnew\r\nН\r\n\r\n\r\n",
       "old\r\nx\r\n\r\n\r\n"},
      {"blank lines between pairs", "i.mnu", "a\r\nA\r\n\r\nnew\r\nx\r\n", "a\r\nA\r\n\r\nnew\r\nН\r\n",
       "a\r\nA\r\n\r\n"},
      {"a tree", "g.TRE", "all - x\r\n\told - y\r\n\tNEW - z\r\n", "all - x\r\n\told - y\r\n\tnew - Н\r\n",
       "all - x\r\n\told - y\r\n"},
      {"new in a tree", "h.tre", "old - y\r\n", "old - y\r\nnew - Н\r\n", "old - y\r\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string path = Write(c.file, c.before);
    ListFile list(path);
    list.Add("new", "Н");
    EXPECT_TRUE(list.Save());
    EXPECT_EQ(Read(c.file), c.added);
    EXPECT_EQ(ListFile(path).DescriptionOf("New"), "Н");
    EXPECT_TRUE(list.Remove("new"));
    EXPECT_FALSE(list.Remove("new"));
    EXPECT_TRUE(list.Save());
    EXPECT_EQ(Read(c.file), c.removed);
  }
}

TEST_F(Databases, ARewriteKeepsLinkAndRights) {
  const std::string target = Write("real.mnu", "old");
  chmod(target.c_str(), 0640);
  fs::create_symlink("real.mnu", File("link.mnu"));
  EXPECT_TRUE(RewriteFile(File("link.mnu"), "new"));
  EXPECT_EQ(Read("real.mnu"), "new");
  EXPECT_TRUE(fs::is_symlink(File("link.mnu")));
  EXPECT_EQ(fs::status(target).permissions(), static_cast<fs::perms>(0640));
  fs::create_directory(target + "." + std::to_string(getpid()));
  EXPECT_FALSE(RewriteFile(target, "newer"));
  EXPECT_EQ(Read("real.mnu"), "new");
}

TEST_F(Databases, ListsByKind) {
  const VelorNewDBContext reader = {.fullName = "R\nr", .isFree = true, .isReader = true};
  const VelorNewDBContext both = {.isFree = true, .isReader = true, .isReaderWeb = true};
  New("r", reader);
  New("b", both);
  New("Morph", {.isFree = true});
  fs::remove(File("datai/deposit/dbnam1.mnu"));
  fs::create_directory(File("datai/deposit/dbnam1.mnu"));
  EXPECT_EQ(New("x", {.isFree = true}),
            "NewDB x\nNo access to file " + File("datai/deposit/dbnam1.mnu") + "\nDone\n");
  EXPECT_EQ(Read("datai/deposit/dbnam2.mnu"), "r\r\nR r\r\nb\r\nb\r\n");
  EXPECT_EQ(Read("datai/deposit/dbnam3.mnu"), "b\r\nb\r\n");
  for (const char* name : {"r", "b", "x", "morph"})
    EXPECT_NE(Drop(name).find("done"), std::string::npos) << name;
  EXPECT_EQ(Read("datai/deposit/dbnam2.mnu") + Read("datai/deposit/dbnam3.mnu"), "");
}

TEST_F(Databases, TheWebFrontEnd) {
  fs::create_directories(File("web/dep"));
  Set("WEBVELOR=.\\Web\\");
  const std::string ini = File("web/velor_server.ini");
  const std::string list = File("web/dep/dbn_web.mnu");
  std::ostringstream out;
  VelorWebAddDB(ctx(), "books", "", out);
  EXPECT_EQ(out.str(), "Web VELOR ini file not found " + ini + "\n");

  const std::string before =
      "[MAIN]\r\nDepositPath=.\\DEP\\\r\n\r\n[Oryx]\r\nA=1 "
      "\r\nB==2\r\n\r\n[ORYX_KO]\r\nC=ORYX\r\n\r\n[ORYX_EX]\r\nD=\r\n\r\n";
  Write("web/velor_server.ini", before);
  New("books", {.fullName = "Книги"});
  EXPECT_EQ(Read("web/velor_server.ini"),
            before + "[BOOKS]\r\nA=1 \r\nB==2\r\n\r\n[BOOKS_KO]\r\nC=ORYX\r\n\r\n");
  EXPECT_EQ(Read("web/dep/dbn_web.mnu"), "books\r\nКниги\r\n");

  out.str("");
  VelorWebDelDB(ctx(), "BOOKS", out);
  EXPECT_EQ(out.str(), " Removed from Web VELOR list\n");
  EXPECT_EQ(Read("web/velor_server.ini"), before);
  EXPECT_EQ(Read("web/dep/dbn_web.mnu"), "");
  out.str("");
  VelorWebAddDB(ctx(), "Books", "", out);
  EXPECT_EQ(out.str(), " Added to Web VELOR list\n");
  EXPECT_EQ(Read("web/dep/dbn_web.mnu"), "books\r\nКниги\r\n") << "the description of the other list";

  Write("web/velor_server.ini",
        Read("web/velor_server.ini") + "[BOOKS_EX]\r\nx=1\r\n[BOOKS_PROF]\r\nx=1\r\n");
  New("books_prof", {.isFree = true});
  Drop("books");
  const std::string after = Read("web/velor_server.ini");
  for (const char* gone : {"[BOOKS]", "[BOOKS_KO]", "[BOOKS_EX]"})
    EXPECT_EQ(after.find(gone), std::string::npos) << gone;
  EXPECT_NE(after.find("[BOOKS_PROF]"), std::string::npos) << "it is the section of another database";

  for (const char* name : {"x", "y"}) New(name, {.isFree = true});
  VelorWebDelDB(ctx(), "x", out);
  VelorWebDelDB(ctx(), "y", out);
  const std::string beside = "." + std::to_string(getpid());
  fs::create_directory(ini + beside);
  out.str("");
  VelorWebAddDB(ctx(), "x", "", out);
  EXPECT_EQ(out.str(), "No access to file " + ini + "\n");
  fs::create_directory(list + beside);
  out.str("");
  VelorWebAddDB(ctx(), "y", "", out);
  EXPECT_EQ(out.str(), "No access to files " + ini + " and " + list + "\n");
}

TEST_F(Databases, SectionsOfOthersStay) {
  fs::create_directory(File("web"));
  Set("WEBVELOR=.\\Web\\");
  const std::string before =
      "[MAIN]\r\nA=1\r\n\r\n[ORYX]\r\nA=2\r\n\r\n[DISPLAY]\r\nB=3\r\n\r\n[ORYX_READER]\r\nB=4\r\n\r\n";
  Write("web/velor_server.ini", before);
  for (const std::string name : {"main", "display", "oryx_reader"}) {
    SCOPED_TRACE(name);
    EXPECT_NE(New(name, {.isFree = true}).find("Done"), std::string::npos);
    const std::string added = Read("web/velor_server.ini");
    EXPECT_EQ(added.substr(0, before.size()), before);
    EXPECT_NE(Drop(name).find("done"), std::string::npos);
    EXPECT_EQ(Read("web/velor_server.ini"), before);
  }
  EXPECT_EQ(Read("datai/deposit/dbn_web.mnu"), "");
}

TEST_F(Databases, ManyAtOnce) {
  constexpr int kProcesses = 20;
  fs::create_directory(File("web"));
  Set("WEBVELOR=.\\Web\\");
  Write("web/velor_server.ini", "[ORYX]\r\nA=1\r\n");
  const auto run = [&](const auto& work) {
    int failed = 0;
    for (int i = 0; i < kProcesses; ++i)
      if (::fork() == 0) ::_exit(work(i) ? 0 : 1);
    for (int status = 0; ::wait(&status) > 0;) failed += status != 0 ? 1 : 0;
    return failed;
  };
  const std::string made = "NewDB x\nDone\n";
  EXPECT_EQ(run([&](int) {
              const std::string said = New("x", {.isFree = true});
              return said == made || said == "NewDB x\nDB already created\n";
            }),
            0);
  EXPECT_EQ(Names("datai"), "blank.par blank/ deposit/ marc.par marc/ oryx.par oryx/ x.par x/");
  EXPECT_NE(Open("x"), nullptr);
  EXPECT_EQ(run([&](int i) { return New("p" + std::to_string(i), {.isFree = true}).ends_with("Done\n"); }),
            0);
  for (const char* list : {"datai/deposit/dbnam1.mnu", "datai/deposit/dbn_web.mnu"})
    for (int i = 0; i < kProcesses; ++i)
      EXPECT_TRUE(ListFile(File(list)).Has("p" + std::to_string(i))) << list << i;
}

TEST_F(Databases, ADropFreesTheNameInOneStep) {
  New("x", {.isFree = true});
  for (int i = 0; i < 5000; ++i) Write("datai/x/" + std::to_string(i), "");
  std::thread maker([&] {
    for (int waited = 0; waited < 5000 && fs::exists(File("datai/x")); ++waited)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const CatalogueLock lock(ctx());
    EXPECT_FALSE(fs::exists(File("datai/x.par")));
  });
  EXPECT_EQ(Drop("x"), "Delete DB x\nDelete DB done\n");
  maker.join();
}

TEST_F(Databases, ADropOfWhatIsGoneClearsUp) {
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ::waitpid(dead, nullptr, 0);
  fs::create_directory(File("datai/.x." + std::to_string(dead)));
  Write("datai/x.par", "1=.\\DATAI\\X\\\r\n2=.\\POOL\\\r\n");
  EXPECT_EQ(Drop("x"), "Delete DB x\nDB does not exist x\nDB drop failed\n");
  EXPECT_EQ(Names("datai"), kTemplates + " x.par") << "its terms lie elsewhere";
  std::string lines;
  for (int n = 1; n <= 10; ++n) lines += std::to_string(n) + "=.\\DATAI\\X\\\r\n";
  Write("datai/x.par", lines);
  Drop("x");
  EXPECT_EQ(Names("datai"), kTemplates);
}

TEST_F(Databases, PageTextsHaveTheirOwnFrontEnd) {
  MakeFullText("oryx");
  fs::create_directory(File("web"));
  Set("WEBVELOR=" + File("web"));
  Write("web/velor_server_ft.ini", "[ORYX]\r\nA=1\r\n");
  New("x");
  EXPECT_EQ(Read("web/velor_server_ft.ini"), "[ORYX]\r\nA=1\r\n\r\n[X]\r\nA=1\r\n\r\n");
  EXPECT_EQ(Read("datai/deposit/dbn_web_ft.mnu"), "x\r\nx\r\n");
  Drop("x");
  EXPECT_EQ(Read("web/velor_server_ft.ini"), "[ORYX]\r\nA=1\r\n\r\n");
}

TEST_F(Databases, ADropWaitsForWriters) {
  New("x");
  const std::string name = velor_32::DatabaseMutexName("x");
  utils::NamedMutex mutex;
  ASSERT_TRUE(mutex.Create(name.c_str()));
  ASSERT_TRUE(mutex.WaitTime(1));
  EXPECT_EQ(Drop("x", 1), "Delete DB x\nDatabase locked\n");
  EXPECT_TRUE(fs::exists(File("datai/x/x.mst")));
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    mutex.Release();
  });
  EXPECT_EQ(Drop("x"), "Delete DB x\nDelete DB done\n");
  writer.join();
  mutex.Close();
  EXPECT_EQ(shm_unlink(name.c_str()), -1) << "the mutex is gone";

  mkdir(("/dev/shm/" + name).c_str(), 0700);
  EXPECT_EQ(Drop("x"), "Delete DB x\nmutex error\n");
  rmdir(("/dev/shm/" + name).c_str());
  EXPECT_EQ(Drop("x"), "Delete DB x\nDB does not exist x\nDB drop failed\n");
  EXPECT_EQ(shm_unlink(name.c_str()), -1);
  New("x");
  Write("datai/x/x.mst", "short");
  fs::remove(File("datai/x/x.xrf"));
  EXPECT_EQ(Drop("x"), "Delete DB x\nDB not available x\nDB drop failed\n");
}

TEST_F(Databases, ADropTakesItsOwnOnly) {
  // Records in a directory of several databases, terms in the directory of another one.
  New("other", {.isFree = true});
  fs::create_directories(File("pool/x/texts"));
  for (const char* extension : {"mst", "xrf"})
    fs::copy(File("datai/blank/blank." + std::string(extension)), File("pool/x." + std::string(extension)));
  for (const char* name : {"pool/x.pft", "pool/xy.mst", "pool/brief.pft", "pool/x1.cell",
                           "pool/x/texts/1.txt", "datai/other/x.ifp", "datai/x.cells"})
    Write(name, "");
  Write("datai/x.par", "1=.\\POOL\\\r\n2=.\\DATAI\\OTHER\\\r\n11=.\\POOL\\X\\TEXTS\\\r\n");
  Write("datai/xy.par", "1=.\\POOL\\\r\n");
  EXPECT_EQ(Drop("x"), "Delete DB x\nDelete DB done\n");
  EXPECT_EQ(Names("pool"), "brief.pft x/ x1.cell xy.mst");
  EXPECT_EQ(Names("pool/x"), "");
  EXPECT_EQ(Names("datai/other"), "brief.pft other.ifp other.l01 other.mst other.n01 other.xrf");
  EXPECT_EQ(Names("datai"),
            "blank.par blank/ deposit/ marc.par marc/ oryx.par oryx/ other.par other/ xy.par");

  // Names with dots in a directory of both, formats of the directory of another one, the shared files.
  for (const char* extension : {"mst", "xrf"})
    fs::copy(File("datai/blank/blank." + std::string(extension)), File("pool/z." + std::string(extension)));
  for (const char* name : {"pool/z.y.mst", "pool/z.y.pft", "pool/z.mst1", "pool/z.ifp_1", "pool/z.l01_",
                           "datai/oryx/z.pft", "datai/deposit/z.fst", "datai/deposit/z.mnu"})
    Write(name, "");
  Write("datai/z.par", "1=.\\POOL\\\r\n2=.\\POOL\\\r\n3=.\\DATAI\\ORYX\\\r\n10=.\\DATAI\\DEPOSIT\\\r\n");
  Write("datai/z.y.par", "1=.\\POOL\\\r\n");
  EXPECT_EQ(Drop("z"), "Delete DB z\nDelete DB done\n");
  EXPECT_EQ(Names("pool"), "brief.pft x/ x1.cell xy.mst z.y.mst z.y.pft");
  for (const char* name : {"datai/oryx/z.pft", "datai/deposit/z.fst", "datai/deposit/z.mnu", "datai/z.y.par"})
    EXPECT_TRUE(fs::exists(File(name))) << name;

  // A directory that another database uses, and one that is a link.
  Write("datai/second.par", "1=.\\DATAI\\OTHER\\\r\n");
  Write("datai/other/second.mst", "");
  EXPECT_EQ(Drop("other"), "Delete DB other\nDelete DB done\n");
  EXPECT_EQ(Names("datai/other"), "brief.pft second.mst");
  New("linked", {.isFree = true});
  fs::rename(File("datai/linked"), File("aside"));
  Write("aside/keep", "");
  fs::create_directory_symlink(File("aside"), File("datai/linked"));
  EXPECT_EQ(Drop("linked"), "Delete DB linked\nDelete DB done\n");
  EXPECT_EQ(Names("aside"), "brief.pft keep");
  EXPECT_FALSE(fs::exists(fs::symlink_status(File("datai/linked"))));
}

TEST_F(Databases, Masks) {
  fs::create_directory(File("datai/nopar"));
  const struct {
    const char* source;
    std::string names;
  } cases[] = {{"*", "blank marc oryx "},
               {" M*,ORYX,o?yx,none", "marc oryx none "},
               {"deposit", "deposit "},
               {",,", ""}};
  Write("datai/deposit.par", "");
  for (const auto& c : cases) {
    velor_01::TStringList names;
    VelorDbList(ctx(), c.source, &names);
    std::string text;
    for (const auto& item : names.Items()) text.append(item.text).append(" ");
    EXPECT_EQ(text, c.names);
  }
}

TEST_F(Databases, FormatsAndTablesOfTheTemplatesCompile) {
  for (const char* name : {"oryx", "marc"}) {
    const velor_32::SpacePointer space = Open(name);
    int count = 0;
    for (const auto& entry : fs::directory_iterator(File(std::string("datai/") + name))) {
      SCOPED_TRACE(entry.path().string());
      if (entry.path().extension() == ".pft") {
        const std::string call = "@" + entry.path().stem().string();
        EXPECT_EQ(fmt_64::Velor_InitPFT(space.get(), call.data(), static_cast<int>(call.size())), 0);
        EXPECT_EQ(fmt_64::Velor_Format(space.get(), 0, 1, 1000000, 0, ""), 0);
        ++count;
      } else if (entry.path().extension() == ".fst") {
        velor_01::TStringList lines;
        lines.LoadFromFile(entry.path().c_str());
        ParseFst(&lines);
        EXPECT_FALSE(xpft::XpftFst(space.get(), &lines, true).GetHaveErrors());
        ++count;
      }
    }
    EXPECT_GE(count, 9);
  }
}

}  // namespace
