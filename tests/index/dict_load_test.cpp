// Loading of sorted term files: what was written is read back, and damaged files leave the dictionary alone.

#include "index/dict_load.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "index/dict_files.h"
#include "index/lnk_creat.h"
#include "index/term_line.h"
#include "storage/app_paths.h"
#include "storage/database_lock.h"
#include "storage/record_read.h"
#include "storage/term_update.h"
#include "support/dictionary_model.h"
#include "support/open_space.h"
#include "support/temp_dir.h"
#include "support/verify.h"

namespace {

using test::DictionaryModel;
using velor_01::TifpItemPosting;

/// A database of three records in a directory of its own, and the settings of a load.
class Base {
 public:
  explicit Base(bool isFullText = false, bool isSplit = false) : context_(test::MakeContext()) {
    test::TestBase base;
    if (isFullText) {
      base.FullText();
      std::filesystem::create_directory(dir_.File("d--text"));
      test::TestBase().FullText().WriteTo(dir_.File("d--text/text"));
    }
    const auto fields = [&](const char* text) {
      test::Fields list = {{1, text}};
      if (isFullText) list.insert(list.begin(), {INT32_MAX, "{" + std::string(36, 'A') + "}"});
      return list;
    };
    base.Record(fields("A")).Record(fields("B"), 9, 41).PhysicallyDeleted().WriteTo(path());
    fmt_64::velor_MainIni_Init(context_.get(), dir_.Write("velora.ini", isSplit ? kSplit : kOneSet));
    settings_.reset(velora::VelorA_init(context_.get()));
    space_ = test::OpenSpace(context_.get(), path());
    EXPECT_EQ(velor_32::Velorinitterm(space(), path().c_str()), 0);
  }

  int Load(const std::string& lk1) {
    dir_.Write("d.lk1", lk1);
    testing::internal::CaptureStderr();
    const int rc = velora::VelorLnk_Load(settings_.get(), space(), path(), true, false);
    message_ = testing::internal::GetCapturedStderr();
    return rc;
  }

  int WriteOut(const std::string& name) {
    return velora::VelorLnk_Creat(settings_.get(), space(), dir_.File(name));
  }

  [[nodiscard]] std::string path() const { return dir_.File("d"); }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }
  [[nodiscard]] const std::string& message() const { return message_; }
  [[nodiscard]] const test::TempDir& dir() const { return dir_; }

 private:
  static constexpr const char* kSplit = "[MAIN]\nMULTILOAD=1\nCREATE_OLD_INVERTION_FILES=1\n";
  static constexpr const char* kOneSet = "[MAIN]\nCREATE_OLD_INVERTION_FILES=0\n";

  test::TempDir dir_;
  test::ContextPointer context_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> settings_;
  velor_32::SpacePointer space_;
  std::string message_;
};

/// Terms of all lengths with few and very many postings.
DictionaryModel MakeModel(std::mt19937& random, int terms, bool isFullText) {
  DictionaryModel model;
  const auto number = [&](unsigned below) { return static_cast<std::int32_t>(random() % below); };
  for (int i = 0; i < terms; ++i) {
    std::string term = number(2) == 0 ? "К=" : "A=";
    for (int n = number(12); n > 0; --n)
      term += number(2) == 0 ? "Ж" : std::string(1, static_cast<char>('A' + number(26)));
    if (number(30) == 0) term.resize(255, 'Z');
    const int postings = number(40) == 0 ? number(9000) : 1 + number(5);
    test::PostingVector& list = model[term.substr(0, 255)];
    for (int n = 0; n <= postings; ++n) {
      TifpItemPosting posting{number(100000), number(300), number(5), number(100)};
      if (isFullText) posting.pageWord = number(1000);
      list.push_back(posting);
    }
  }
  for (auto& [term, list] : model) {
    const auto isLess = [](const auto& a, const auto& b) { return backup::ComparePostings(a, b) < 0; };
    std::sort(list.begin(), list.end(), isLess);
    list.erase(std::unique(list.begin(), list.end()), list.end());
  }
  return model;
}

/// The model as a file; each tenth line stands twice.
std::string FileOf(const DictionaryModel& model, bool isFullText) {
  std::string text;
  int line = 0;
  for (const auto& [term, list] : model)
    for (const auto& posting : list)
      for (int times = ++line % 10 == 0 ? 2 : 1; times > 0; --times)
        velora::AppendTermLine(posting, velora::NumbersInLine(isFullText), term, &text);
  return text;
}

std::string FindingsOf(const Base& base) {
  return test::SharedData().empty() ? "" : test::Problems(test::Verify(base.path()));
}

TEST(DictLoad, ReadsBackWhatWasLoaded) {
  struct {
    const char* why;
    bool isFullText;
    bool isSplit;
    int terms;
  } const cases[] = {
      {"an empty file", false, false, 0},        {"a single term", false, false, 1},
      {"one block", false, false, 40},           {"a tree of three levels", false, false, 20000},
      {"long postings", true, false, 3000},      {"ten sets", false, true, 3000},
      {"too few terms for ten", false, true, 1}, {"ten sets of a full-text database", true, true, 500},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    std::mt19937 random(7);
    const DictionaryModel model = MakeModel(random, c.terms, c.isFullText);
    Base base(c.isFullText, c.isSplit);
    ASSERT_EQ(base.Load(FileOf(model, c.isFullText)), 0) << base.message();
    EXPECT_EQ(test::ReadDictionaryModel(base.space()), model);
    EXPECT_EQ(std::filesystem::exists(base.path() + ".inv"), c.isSplit && c.terms > 10);
    EXPECT_EQ(FindingsOf(base), "");

    // Written out again it is the same file, without the lines that stand twice.
    ASSERT_EQ(base.WriteOut("out.ln1"), 0);
    std::string text;
    for (const auto& [term, list] : model)
      for (const auto& posting : list)
        velora::AppendTermLine(posting, velora::NumbersInLine(c.isFullText), term, &text);
    EXPECT_TRUE(base.dir().Read("out.ln1") == text);
  }
}

TEST(DictLoad, GivesADictionaryThatCanBeChanged) {
  std::mt19937 random(8);
  DictionaryModel model = MakeModel(random, 2000, false);
  Base base;
  ASSERT_EQ(base.Load(FileOf(model, false)), 0);
  ASSERT_EQ(velor_32::Velorinitterm_write(base.space(), base.path().c_str()), 0);
  const TifpItemPosting behind{200000, 1, 1, 1};
  for (auto& [term, list] : model) {
    ASSERT_EQ(velor_32::InsertTerm(base.space(), term.c_str(), behind), 0) << term;
    list.push_back(behind);
  }
  EXPECT_EQ(test::ReadDictionaryModel(base.space()), model);
  EXPECT_EQ(FindingsOf(base), "");
}

TEST(DictLoad, SpillsTheLongestTerms) {
  DictionaryModel model;
  for (std::int32_t mfn = 1; mfn <= 2100000; ++mfn) model["V=ALL"].push_back({mfn, 1, 1, 1});
  model["W"] = {{1, 1, 1, 1}};
  Base base;
  ASSERT_EQ(base.Load(FileOf(model, false)), 0);
  EXPECT_TRUE(test::ReadDictionaryModel(base.space()) == model);
  EXPECT_FALSE(std::filesystem::exists(base.path() + ".pst_"));
}

TEST(DictLoad, ReplacesEitherKindByEither) {
  std::mt19937 random(9);
  for (const bool wasSplit : {false, true}) {
    for (const bool isSplit : {false, true}) {
      Base base(false, isSplit);
      ASSERT_EQ(base.Load(FileOf(MakeModel(random, 50, false), false)), 0);
      Base other(false, wasSplit);
      ASSERT_EQ(other.Load(FileOf(MakeModel(random, 60, false), false)), 0);
      for (const auto& file : std::filesystem::directory_iterator(other.dir().Path()))
        if (file.path().stem() == "d" && file.path().extension() != ".mst" &&
            file.path().extension() != ".xrf")
          std::filesystem::copy_file(file.path(), base.dir().File(file.path().filename().string()),
                                     std::filesystem::copy_options::overwrite_existing);
      const DictionaryModel model = MakeModel(random, 70, false);
      ASSERT_EQ(base.Load(FileOf(model, false)), 0);
      EXPECT_EQ(test::ReadDictionaryModel(base.space()), model);
      EXPECT_EQ(FindingsOf(base), "");
    }
  }
}

TEST(DictLoad, RefusesDamagedFilesAndKeepsTheDictionary) {
  const DictionaryModel old = {{"OLD", {{1, 2, 3, 4}}}};
  Base base;
  ASSERT_EQ(base.Load(FileOf(old, false)), 0);
  struct {
    const char* why;
    const char* text;
    const char* message;
  } const cases[] = {
      {"terms fall", "1 1 1 1 B\r\n1 1 1 1 A\r\n", "sorting error term=A, prevterm=B\n"},
      {"postings fall", "1 1 1 2 A\r\n1 1 1 1 A\r\n", "sorting posting error term=A, prevterm=A\n"},
      {"too few numbers", "1 1 1 1 A\r\n1 1 1 B\r\n", "lk read error after term=A, length=7\n"},
      {"no number", "1 1 x 1 A\r\n", "lk read error after term=, length=9\n"},
      {"a number of 33 bits", "1 1 4294967296 1 A\r\n", "lk read error after term=, length=18\n"},
      {"a negative record number", "-1 1 1 1 A\r\n", "lk read error after term=, length=10\n"},
      {"no term", "1 1 1 1 \r\n", "lk read error after term=, length=8\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(base.Load(c.text), velora::kBadOrder);
    EXPECT_EQ(base.message(), c.message);
    EXPECT_EQ(test::ReadDictionaryModel(base.space()), old);
    EXPECT_FALSE(std::filesystem::exists(base.path() + ".n01_"));
  }
  EXPECT_EQ(base.Load("1 1 1 1 " + std::string(256, 'A') + "\r\n"), velora::kBadOrder);
  EXPECT_EQ(velor_32::VelorIsDBLocked(base.space()), 0);
}

TEST(TermLine, HasASignInAFullTextDatabaseOnly) {
  std::string lines;
  for (const int numbers : {velora::kCatalogNumbers, velora::kFullTextNumbers})
    velora::AppendTermLine({1, -5, 2, 3}, numbers, "A", &lines);
  EXPECT_EQ(lines, "1 4294967291 2 3 A\r\n1 -5 2 3 0 0 0 0 A\r\n");
}

// Boxes of picture words are negative numbers: their digits ascend in the file, their values fall.
TEST(DictLoad, PutsNegativeNumbersInTheirPlace) {
  Base base(true);
  ASSERT_EQ(base.Load("1 -5 -6 1 0 0 0 0 A\r\n1 -70 -6 2 0 0 0 0 A\r\n1 -70 -6 2 0 0 0 0 A\r\n"
                      "1 -71 -6 2 0 0 0 0 A\r\n2 -1 -1 1 0 0 0 0 A\r\n"),
            0);
  const test::PostingVector expected = {{1, -71, -6, 2}, {1, -70, -6, 2}, {1, -5, -6, 1}, {2, -1, -1, 1}};
  EXPECT_EQ(test::ReadDictionaryModel(base.space())["A"], expected);
}

TEST(DictLoad, MarksTheRecordsAsActualized) {
  Base base;
  ASSERT_EQ(base.Load(""), 0);
  for (const int mfn : {1, 2}) {
    velor_01::TNew_Xrf entry;
    ASSERT_EQ(velor_32::ReadXrfEntry(base.space(), mfn, &entry), 0);
    EXPECT_EQ(entry.flags & velor_01::kStatusNotActualized, 0);
    velor_32::VelorRead(base.space(), mfn, false);
    EXPECT_EQ(reinterpret_cast<const velor_01::Tlider*>(base.space()->readBuf)->status &
                  velor_01::kStatusNotActualized,
              0);
  }
  EXPECT_EQ(FindingsOf(base), "");
}

TEST(DictLoad, LeavesALockedDatabaseAlone) {
  Base base;
  ASSERT_EQ(velor_32::VelorLockDB(base.space()), 0);
  EXPECT_EQ(base.Load("1 1 1 1 A\r\n"), -300);
  EXPECT_EQ(velor_32::VelorIsDBLocked(base.space()), -300);
  EXPECT_TRUE(test::ReadDictionaryModel(base.space()).empty());
}

/// The files of a dictionary with their bytes.
std::map<std::string, std::string> FilesOf(const Base& base) {
  std::map<std::string, std::string> files;
  for (const auto& file : std::filesystem::directory_iterator(base.dir().Path())) {
    const std::string name = file.path().filename().string();
    for (const char* part : {".n01", ".l01", ".ifp", ".inv"})
      if (name.find(part) != std::string::npos) files[name] = base.dir().Read(name);
  }
  return files;
}

/// Few bytes change, so that a reader comes past them; most of the heads lie near the front.
std::string Damaged(std::string bytes, std::mt19937& random) {
  const std::size_t near = std::min<std::size_t>(bytes.size(), random() % 2 == 0 ? 600 : bytes.size());
  for (auto n = near > 0 ? random() % 4 : 0; n > 0; --n) bytes[random() % near] = static_cast<char>(random());
  if (random() % 30 == 0) bytes.resize(random() % (bytes.size() + 1));
  return bytes;
}

/// Walks, changes and writes out a dictionary that can hold anything.
void UseAll(Base& base, const DictionaryModel& model) {
  if (velor_32::Velorinitterm_write(base.space(), base.path().c_str()) != 0) return;
  for (const auto step : {velor_32::Velornxtterm, velor_32::Velorprevterm}) {
    char term[velor_01::kTermBufferSize] = "\x01";
    velor_32::Velorfind0(base.space(), term, true);
    for (int i = 0; i < 2000 && step(base.space(), term) == 0; ++i)
      for (int n = 0; n < 20000 && velor_32::Velornxtpost(base.space()) == 0; ++n) {
      }
  }
  for (const auto& [term, list] : model) {
    velor_32::VelorFindPosting(base.space(), term.c_str(), list.back());
    velor_32::InsertTerm(base.space(), term.c_str(), {5, 5, 5, 5});
    velor_32::DeleteTerm(base.space(), term.c_str(), list.front());
  }
  base.WriteOut("out.ln1");
  velor_32::Velorcloseterm(base.space());
}

/// Any bytes give codes, and an end, also under special blocks and in ten sets.
TEST(DictLoad, GivesFilesWhoseDamageDoesNoHarm) {
  for (const bool isSplit : {false, true}) {
    for (const bool isFullText : {false, true}) {
      std::mt19937 random(12);
      const DictionaryModel model = MakeModel(random, 150, isFullText);
      Base base(isFullText, isSplit);
      ASSERT_EQ(base.Load(FileOf(model, isFullText)), 0);
      const auto files = FilesOf(base);
      ASSERT_EQ(files.size(), isSplit ? 34U : 3U);
      for (int round = 0; round < 60; ++round) {
        for (const auto& [name, bytes] : files) base.dir().Write(name, Damaged(bytes, random));
        UseAll(base, model);
      }
    }
  }
}

TEST(DictLoad, GivesSegmentsThatAreDividedOnlyWithPostings) {
  std::string lines;
  for (std::int32_t mfn = 10; mfn < 310; ++mfn)
    velora::AppendTermLine({mfn, 1, 1, 1}, velora::kCatalogNumbers, "A", &lines);
  Base base;
  ASSERT_EQ(base.Load(lines), 0) << base.message();
  constexpr std::size_t kFirstSegment = 20 + 20 + 4 * 24;  // behind control record, head and entries
  std::string postings = base.dir().Read("d.ifp");
  ASSERT_EQ(static_cast<unsigned char>(postings[kFirstSegment + 15]), 254) << "used";
  postings.replace(kFirstSegment + 8, 12, 12, '\0');
  base.dir().Write("d.ifp", postings);
  ASSERT_EQ(velor_32::Velorinitterm_write(base.space(), base.path().c_str()), 0);
  EXPECT_EQ(velor_32::InsertTerm(base.space(), "A", {1, 1, 1, 1}), -401);
}

/// A term with damaged postings is no term without postings.
TEST(DictLoad, WritesNoFileOutOfDamage) {
  std::string lines;
  for (const char* term : {"A", "B"})
    velora::AppendTermLine({1, 1, 1, 1}, velora::NumbersInLine(false), term, &lines);
  Base base(false, false);
  ASSERT_EQ(base.Load(lines), 0) << base.message();
  ASSERT_EQ(base.WriteOut("whole.ln1"), 0);
  std::string postings = base.dir().Read("d.ifp");
  postings[20 + 15] = 99;  // used above capacity in the first head
  base.dir().Write("d.ifp", postings);
  EXPECT_EQ(base.WriteOut("out.ln1"), -401);
  EXPECT_FALSE(std::filesystem::exists(base.dir().File("out.ln1")));
}

}  // namespace
