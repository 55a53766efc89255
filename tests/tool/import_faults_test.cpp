// Whole runs of import and export: several at once, killed in the middle, stopped by a signal, on real files.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>
#include <map>
#include <random>
#include <sstream>

#include "support/iso_builder.h"
#include "support/program_runner.h"
#include "support/verify.h"

namespace {

using test::Fields;

/// An installation with an empty database "test".
class ImportFaultsTest : public testing::Test, public test::ProgramDir {
 protected:
  using test::ProgramDir::Run;

  ImportFaultsTest() {
    CopyShare();
    EXPECT_EQ(Run({"newdb", "-d", "test", "-fr"}).out, "NewDB test\nDone\n");
  }
  ~ImportFaultsTest() override { ::unlink(("/dev/shm/" + prefix_ + "VELOR64_MUTEXTEST").c_str()); }

  /// Words of an import into the database, under a prefix of its own.
  std::vector<std::string> ImportWords(const std::string& file,
                                       const std::vector<std::string>& options = {}) {
    std::vector<std::string> words = {"import", "-d", "test", "-f", file, "-iso", "-pref", prefix_};
    words.insert(words.end(), options.begin(), options.end());
    return words;
  }

  /// A file of `count` records that name their writer and number.
  std::string WriteRecords(const std::string& name, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
      bytes += test::IsoRecord({{1, name}, {2, std::to_string(i)}, {3, std::string(600 + i % 100, 'x')}});
    return Write(name + ".iso", bytes);
  }

  /// Waits, 20 seconds at most, until the program that was started has written this.
  void AwaitOutput(const std::string& text) {
    for (int tries = 0; tries < 20000 && Read(".stdout").find(text) == std::string::npos; ++tries)
      ::usleep(1000);
  }

  std::string Database() const { return File("datai/test/test"); }

  std::string prefix_ = "f" + std::to_string(::getpid() % 1000000);
};

/// The value of each tag in the records of a text export, in the order of the file.
std::vector<std::string> Values(const std::string& text, int tag) {
  const std::string mark = "#" + std::to_string(tag) + ": ";
  std::vector<std::string> values;
  for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; ++at)
    values.push_back(text.substr(at + mark.size(), text.find("\r\n", at) - at - mark.size()));
  return values;
}

TEST_F(ImportFaultsTest, ALimitOnFileSizesIsAnErrorOfTheRecord) {
  const std::string file = WriteRecords("a", 3);
  rlimit former{};
  getrlimit(RLIMIT_FSIZE, &former);
  const rlimit tight{500000, former.rlim_max};  // bytes; the master file grows by a megabyte
  setrlimit(RLIMIT_FSIZE, &tight);
  const pid_t child = Start(ImportWords(file));
  setrlimit(RLIMIT_FSIZE, &former);
  EXPECT_EQ(Wait(child), 0);
  EXPECT_NE(Read(".stdout").find("Record update error: -400 3\n"), std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(Database() + ".mst"), 36U) << "nothing was claimed";
}

TEST_F(ImportFaultsTest, FourAtTheSameTimeLoseNothing) {
  constexpr int kRecords = 10000;
  std::vector<pid_t> children;
  for (const char* name : {"a", "b", "c", "d"})
    children.push_back(Start(ImportWords(WriteRecords(name, kRecords))));
  for (const pid_t child : children) EXPECT_EQ(Wait(child), 0);
  Run({"export", "-d", "test", "-f", File("out.txt"), "-pref", prefix_});
  const std::string text = Read("out.txt");
  const std::vector<std::string> writers = Values(text, 1);
  const std::vector<std::string> numbers = Values(text, 2);
  ASSERT_EQ(writers.size(), 4U * kRecords);
  ASSERT_EQ(numbers.size(), writers.size());
  std::map<std::string, int> next;
  for (std::size_t i = 0; i < writers.size(); ++i) ASSERT_EQ(numbers[i], std::to_string(next[writers[i]]++));
  EXPECT_EQ(test::Verify(Database()), "");
}

TEST_F(ImportFaultsTest, TwoThatMergeIntoOneRecordLoseNothing) {
  constexpr int kRecords = 300;
  for (const char* writer : {"a", "b"}) {
    std::string bytes;
    for (int i = 0; i < kRecords; ++i) bytes += test::IsoRecord({{2, writer + std::to_string(i)}});
    Write(writer, bytes);
  }
  Run(ImportWords(WriteRecords("one", 1)));
  const pid_t child = Start(ImportWords(File("a"), {"-p", "@@1"}));
  Run(ImportWords(File("b"), {"-p", "@@1"}));
  EXPECT_EQ(Wait(child), 0);
  Run({"export", "-d", "test", "-f", File("out.txt"), "-pref", prefix_});
  EXPECT_EQ(Values(Read("out.txt"), 2).size(), 2U * kRecords + 1) << "each value and the first one";
  EXPECT_EQ(test::Verify(Database()), "");
}

/// Runs that are killed at random moments, each followed by a short import that takes the mutex over.
class KilledRunsTest : public ImportFaultsTest {
 protected:
  KilledRunsTest() {
    Write("datai/test/test.fst", "1 0 mhl,(v1/)\r\n2 0 mhl,(v2/)\r\n3 4 mpl,v3\r\n");
    file_ = WriteWords("k", 4000);
    one_ = WriteWords("one", 1);
  }

  void SetIndexing(const char* value) {
    Write("velora.ini",
          std::string(
              "[MAIN]\nDATAPATH=.\\DATAI\\\nworkdir=.\\WORKDIR\\\nCREATE_OLD_INVERTION_FILES=0\nRECUPDIF=") +
              value + "\n");
  }

  /// Records of words: one that all share, some rare ones, and long ones that fill the blocks of the
  /// dictionary.
  std::string WriteWords(const std::string& name, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i) {
      std::string words = "COMMON";
      for (int n = 0; n < 6; ++n)
        words += " " + std::string(60, static_cast<char>('A' + random_() % 26)) + Letters(random_());
      bytes += test::IsoRecord({{1, name}, {2, std::to_string(i)}, {3, words}});
    }
    return Write(name + ".iso", bytes);
  }

  /// Starts a run, kills it within that many microseconds, and has a short import mend what it left.
  void Kill(const std::vector<std::string>& words, unsigned longest) {
    const pid_t child = Start(words);
    ::usleep(static_cast<useconds_t>(random_() % longest));
    ::kill(child, SIGKILL);
    Wait(child);
    const std::string out = Run(ImportWords(one_)).out;
    EXPECT_NE(out.find("Records imported 1\n"), std::string::npos) << out;
    EXPECT_EQ(test::Problems(test::Verify(Database())), "");
  }

  /// The terms that have postings.
  std::string Terms() const {
    std::istringstream lines(test::RunVerifier("dump-dict", Database()));
    std::string terms;
    for (std::string line; std::getline(lines, line);)
      if (line.find("\t0\t") == std::string::npos) terms += line + "\n";
    return terms;
  }

  std::mt19937 random_{17};
  std::string file_;
  std::string one_;

 private:
  static std::string Letters(unsigned long n) {
    std::string letters;
    for (; n > 0; n /= 26) letters += static_cast<char>('A' + n % 26);
    return letters;
  }
};

TEST_F(KilledRunsTest, LeaveADatabaseThatGoesOn) {
  std::string all;
  for (int mfn = 1; mfn <= 1000; ++mfn) all += std::to_string(mfn) + "\r\n";
  const struct {
    const char* indexing;
    std::vector<std::string> words;
    unsigned longest;  // microseconds
    int kills;
  } cases[] = {{"0", ImportWords(file_), 60000, 4},
               {"1", ImportWords(file_), 300000, 5},
               {"0", {"actualif", "-d", "test", "-pref", prefix_}, 200000, 2},
               {"0", {"actualif", "-d", "test", "-mf", "1", "-pref", prefix_}, 300000, 3},
               {"0", {"actualif", "-d", "test", "-l", Write("all.txt", all), "-pref", prefix_}, 200000, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words.front() + c.indexing);
    SetIndexing(c.indexing);
    for (int i = 0; i < c.kills; ++i) Kill(c.words, c.longest);
  }
  Run({"export", "-d", "test", "-f", File("out.txt"), "-pref", prefix_});
  EXPECT_EQ(Values(Read("out.txt"), 1).size(), Values(Read("out.txt"), 3).size()) << "records are whole";

  Run({"actualif", "-d", "test", "-mf", "1", "-pref", prefix_});
  const std::string kept = Terms();
  EXPECT_NE(Run({"dict", "-d", "test", "-pref", prefix_}).out.find("\nDone\n"), std::string::npos);
  EXPECT_TRUE(kept == Terms()) << "the dictionary is that of a build";
  EXPECT_EQ(test::Problems(test::Verify(Database())), "");
}

TEST_F(ImportFaultsTest, ASignalEndsTheRunBetweenTwoRecords) {
  const std::string file = WriteRecords("s", 100000);
  for (const int signal : {SIGINT, SIGTERM, SIGUSR1}) {
    const pid_t child = Start(ImportWords(file));
    AwaitOutput("Import\n");
    ::kill(child, signal);
    EXPECT_EQ(Wait(child), 0) << signal;
    EXPECT_NE(Read(".stdout").find("Done\n"), std::string::npos) << "the counts are told";
  }
  EXPECT_EQ(test::Verify(Database()), "");
}

TEST_F(ImportFaultsTest, ASignalEndsTheSearchForARecord) {
  const pid_t child = Start(ImportWords("/dev/zero"));
  AwaitOutput("Import\n");
  ::kill(child, SIGTERM);
  EXPECT_EQ(Wait(child), 0);
  EXPECT_NE(Read(".stdout").find("Process stop\nDone\n"), std::string::npos);
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(ImportFaultsTest, AFieldLargerThanTheMemoryAbortsNothing) {
  const std::string file = Write("large.txt", "#1: " + std::string(100'000'000, 'x') + "\r\n*****\r\n");
  EXPECT_NE(Run({"import", "-d", "test", "-f", file}).out.find("inserted 1\n"), std::string::npos);
  rlimit former{};
  getrlimit(RLIMIT_AS, &former);
  int refusals = 0;
  for (const rlim_t megabytes : {400, 450, 500, 550, 600}) {
    const rlimit tight{megabytes << 20, former.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    const pid_t child = Start({"export", "-d", "test", "-f", File("out.txt")});
    setrlimit(RLIMIT_AS, &former);
    const int status = Wait(child);
    EXPECT_GE(status, 0) << megabytes;
    if (status == 1) ++refusals;
    EXPECT_EQ(status == 1, Read(".stdout").ends_with("malloc error \n")) << megabytes;
  }
  EXPECT_GT(refusals, 0);
}
#endif

/// Records of an ISO 2709 file: bytes 5 to 9 and 17 to 19 of each leader, and the fields that hold anything.
struct IsoRecordParts {
  std::string label;
  Fields fields;
};

std::vector<IsoRecordParts> ParseIso(const std::string& bytes) {
  std::vector<IsoRecordParts> records;
  for (std::size_t at = bytes.find_first_not_of("\r\n"); at != std::string::npos;
       at = bytes.find_first_not_of("\r\n", at)) {
    const std::string record = bytes.substr(at, std::stoul(bytes.substr(at, 5)));
    const std::size_t base = std::stoul(record.substr(12, 5));
    IsoRecordParts parts{record.substr(5, 5) + record.substr(17, 3), {}};
    for (std::size_t entry = 24; entry + 12 < base; entry += 12) {
      const std::size_t length = std::stoul(record.substr(entry + 3, 4));
      const std::size_t start = base + std::stoul(record.substr(entry + 7, 5));
      if (length > 1)
        parts.fields.emplace_back(std::stoi(record.substr(entry, 3)), record.substr(start, length - 1));
    }
    records.push_back(parts);
    at += record.size();
  }
  return records;
}

TEST_F(ImportFaultsTest, RealFilesComeBackTheSame) {
  const std::string shared = test::SharedData();
  if (shared.empty()) GTEST_SKIP() << "the files are not here";
  const bool hasYaz = std::system("yaz-marcdump -V >/dev/null 2>&1") == 0;
  int files = 0;
  for (const char* folder : {"/data/marc", "/data/marc/derived"}) {
    for (const auto& entry : std::filesystem::directory_iterator(shared + folder)) {
      const std::string name = entry.path().filename().string();
      const bool isWindows = name.find("cp1251") != std::string::npos;
      if (!isWindows && name.find("utf8") == std::string::npos) continue;
      SCOPED_TRACE(name);
      ++files;
      const std::vector<std::string> options = {"-t", "marc", isWindows ? "-win" : "-"};
      Run({"emptydb", "-d", "test"});
      Run(ImportWords(entry.path().string(), options));
      Run({"export", "-d", "test", "-f", File("out.iso"), "-iso", "-t", "marc", options.back()});
      std::ifstream original(entry.path(), std::ios::binary);
      const auto want = ParseIso({std::istreambuf_iterator<char>(original), {}});
      const auto got = ParseIso(Read("out.iso"));
      ASSERT_EQ(got.size(), want.size());
      for (std::size_t i = 0; i < want.size(); ++i) {
        EXPECT_EQ(got[i].label, want[i].label) << i;
        EXPECT_EQ(got[i].fields, want[i].fields) << i;
      }
      EXPECT_EQ(test::Verify(Database()), "");
      if (!hasYaz) continue;
      EXPECT_EQ(
          std::system(("yaz-marcdump -n '" + File("out.iso") + "' > '" + File("yaz") + "' 2>&1").c_str()), 0);
      EXPECT_EQ(Read("yaz"), "");
    }
  }
  EXPECT_GE(files, 19);
}

TEST_F(ImportFaultsTest, DifficultFilesKeepTheGoodRecords) {
  const std::string shared = test::SharedData();
  if (shared.empty()) GTEST_SKIP() << "the files are not here";
  for (const auto& entry : std::filesystem::directory_iterator(shared + "/data/marc/difficult")) {
    SCOPED_TRACE(entry.path().filename().string());
    std::ifstream stream(entry.path(), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    const auto ends = std::count(bytes.begin(), bytes.end(), '\x1D');
    Run({"emptydb", "-d", "test"});
    const std::string out = Run(ImportWords(entry.path().string(), {"-t", "marc", "-proto"})).out;
    EXPECT_NE(out.find("Records imported total\ninserted "), std::string::npos) << out;
    Run({"export", "-d", "test", "-f", File("out.txt")});
    const std::string text = Read("out.txt");
    EXPECT_GE(static_cast<long>(Values(text, 1000).size()), ends) << "a record for each terminator";
    EXPECT_EQ(test::Verify(Database()), "");
  }
}

}  // namespace
