// Bulk builds as whole runs of the program: workers, stops and kills at any moment.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>
#include <utility>

#include "support/program_runner.h"
#include "support/verify.h"

namespace {

using test::ProgramDir;

constexpr const char* kDictionary[] = {".n01", ".l01", ".ifp"};

/// An installation whose database "blank" has `records` records of many words.
class Catalog : public ProgramDir {
 public:
  explicit Catalog(int records) {
    CopyShare();
    Write("datai/blank/blank.fst", "200 0 mhl,(\"T=\"v200^a/)\r\n1 4 mhl,(v200^a/)\r\n");
    std::mt19937 random(3);
    std::string text;
    for (int i = 0; i < records; ++i) {
      text += "#200: ^a";
      for (int n = 0; n < 30; ++n) text += Word(random() % (1 + random() % 2000)) + " ";
      text += "\r\n*****\r\n";
    }
    Write("in.txt", text);
    Configure("");
    Run({"import", "-d", "blank", "-f", "in.txt"});
  }

  void Configure(const std::string& settings) const {
    Write("velora.ini", "[MAIN]\nDATAPATH=.\\DATAI\\\nworkdir=.\\WORKDIR\\\n" + settings);
  }

  /// The files of the dictionary in use as one text; those with a "_" once the swap has begun.
  [[nodiscard]] std::string Dictionary() const {
    std::string all;
    const auto add = [&](const std::string& name) {
      const std::string file = "datai/blank/blank" + name;
      const bool isNew = isSwapping() && std::filesystem::exists(File(file + "_"));
      all += Read(isNew ? file + "_" : file) + "|";
    };
    for (const std::string suffix : {"", "_1", "_10"})
      for (const std::string extension : kDictionary) add(extension + suffix);
    add(".inv");
    return all;
  }
  [[nodiscard]] bool isSwapping() const { return std::filesystem::exists(File("datai/blank/blank.new")); }

  [[nodiscard]] std::string Findings() const {
    return test::SharedData().empty() ? "" : test::Problems(test::Verify(File("datai/blank/blank")));
  }

  /// A program made of shell commands; gives its path.
  [[nodiscard]] std::string WriteScript(const std::string& commands) const {
    std::string path = Write("start.sh", "#!/bin/sh\n" + commands);
    ::chmod(path.c_str(), 0755);
    return path;
  }

  /// The log file, whose name has the day in it.
  [[nodiscard]] std::string Log() const {
    for (const auto& file : std::filesystem::directory_iterator(Path()))
      if (file.path().extension() == ".log") return Read(file.path().filename().string());
    return "";
  }

  [[nodiscard]] int CountFiles(const std::string& directory, const std::string& part) const {
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(File(directory)))
      count += file.path().filename().string().find(part) != std::string::npos ? 1 : 0;
    return count;
  }

 private:
  /// Letters only: a digit would part a word.
  static std::string Word(unsigned long n) {
    std::string word = n % 3 == 0 ? "слово" : "WORD";
    for (; n > 0; n /= 26) word += static_cast<char>('A' + n % 26);
    return word;
  }
};

TEST(DictionaryBuild, IsTheSameForAnyNumberOfWorkers) {
  const Catalog catalog(500);
  for (const std::string sets : {"0", "1"}) {
    std::string first;
    for (const std::string workers : {"1", "2", "3"}) {
      std::string settings = "CREATE_OLD_INVERTION_FILES=";
      settings.append(sets).append("\nMULTILOAD=").append(workers).append("\n");
      SCOPED_TRACE(settings);
      catalog.Configure(settings);
      EXPECT_NE(catalog.Run({"dict", "-d", "blank"}).out.find("\nDone\n"), std::string::npos);
      if (first.empty()) first = catalog.Dictionary();
      EXPECT_TRUE(catalog.Dictionary() == first);
      EXPECT_EQ(catalog.Findings(), "");
      EXPECT_EQ(catalog.CountFiles("workdir", "velora_multi"), 0);
      EXPECT_EQ(catalog.CountFiles("datai/blank", ".ln1") + catalog.CountFiles("datai/blank", ".lk1"), 0);
    }
  }
}

TEST(DictionaryBuild, GivesFewRecordsToTheLastWorker) {
  const Catalog catalog(2);
  catalog.Configure("MULTILOAD=5\nCREATE_OLD_INVERTION_FILES=0\n");
  catalog.Run({"dict", "-d", "blank"});
  const std::string dictionary = catalog.Dictionary();
  catalog.Configure("MULTILOAD=1\nCREATE_OLD_INVERTION_FILES=0\n");
  catalog.Run({"dict", "-d", "blank"});
  EXPECT_TRUE(catalog.Dictionary() == dictionary);
}

TEST(DictionaryBuild, MakesTheWorkDirectory) {
  const Catalog catalog(20);
  catalog.Configure("MULTILOAD=2\n");
  std::filesystem::remove_all(catalog.File("workdir"));
  const auto run = catalog.Run({"dict", "-d", "blank"});
  EXPECT_NE(run.out.find("\nDone\n"), std::string::npos) << run.out << run.err;
}

// Each run has its own assignments, though all of them lie in one directory.
TEST(DictionaryBuild, OfTwoDatabasesAtOnceHasWorkersForEach) {
  const Catalog catalog(50);
  std::filesystem::create_directory(catalog.File("datai/roan"));
  for (const std::string extension : {".fst", ".mst", ".xrf", ".n01", ".l01", ".ifp"})
    std::filesystem::copy_file(catalog.File("datai/blank/blank" + extension),
                               catalog.File("datai/roan/roan" + extension));
  std::string parameters;
  for (int i = 1; i <= 10; ++i) parameters += std::to_string(i) + "=.\\DATAI\\ROAN\\\r\n";
  catalog.Write("datai/roan.par", parameters);
  const std::string script = catalog.WriteScript("sleep 0.1\nexec \"$(dirname \"$0\")/velora\" \"$@\"\n");
  catalog.Configure("CREATE_OLD_INVERTION_FILES=0\nMULTILOAD=2\n[MULTILOAD]\nCMDLINE=" + script + "\n");
  const pid_t runs[] = {catalog.Start({"dict", "-d", "blank"}), catalog.Start({"dict", "-d", "roan"})};
  for (const pid_t run : runs) ProgramDir::Wait(run);
  const std::string postings = catalog.Read("datai/blank/blank.ifp");
  EXPECT_GT(postings.size(), 1000U);
  EXPECT_TRUE(catalog.Read("datai/roan/roan.ifp") == postings);
  EXPECT_EQ(catalog.CountFiles("workdir", "velora_multi"), 0);
}

TEST(DictionaryBuild, TellsThatAWorkerDoesNotStart) {
  const Catalog catalog(20);
  catalog.Configure("MULTILOAD=2\n[MULTILOAD]\nCMDLINE=" + catalog.File("none") + "\n");
  EXPECT_NE(catalog.Run({"terms", "-d", "blank"}).out.find("result -1\nError -1\n"), std::string::npos);
  EXPECT_NE(catalog.Log().find("process failed to start"), std::string::npos);
}

/// Number of the places where a text has a part.
int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
  return count;
}

// The percentages of all are printed; the live line on the terminal is that of one worker.
TEST(DictionaryBuild, ReportsTheProgressOfItsWorkers) {
  const Catalog catalog(10);
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
  ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
  std::filesystem::remove(catalog.File(".stderr"));
  std::filesystem::create_symlink(::ptsname(terminal), catalog.File(".stderr"));
  const int keptOpen = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY);  // so that nothing written is lost
  catalog.Configure("MULTILOAD=2\nREPORT_PROGRESS=1\n");
  ProgramDir::Wait(catalog.Start({"terms", "-d", "blank"}));
  char shown[4096];
  const ssize_t size = ::read(terminal, shown, sizeof shown);
  ASSERT_GT(size, 0);
  ::close(keptOpen);
  ::close(terminal);
  const std::string live(shown, static_cast<std::size_t>(size));
  EXPECT_EQ(CountOf(live, "\rTerms: 20%"), 1) << live;
  EXPECT_EQ(CountOf(live, "\rTerms: 100%"), 1) << live;
  const std::string out = catalog.Read(".stdout");
  for (const char* line : {"Terms: 20\n", "Terms: 40\n", "Terms: 80\n"})
    EXPECT_EQ(CountOf(out, line), 2) << line;
  EXPECT_EQ(CountOf(out, "Terms: 100\n"), 3);
}

// A cluster starts the workers by a command of its own.
TEST(DictionaryBuild, StartsWorkersByTheCommandOfTheSettings) {
  const Catalog catalog(20);
  struct {
    const char* why;
    const char* script;
    const char* output;
    int assignments;  // left behind
  } const cases[] = {
      {"a wrapper", "echo start >> \"$(dirname \"$0\")/starts\"\nexec \"$(dirname \"$0\")/velora\" \"$@\"\n",
       "\nDone\n", 0},
      {"it fails", "exit 7\n", "result 7\n", 2},
      {"it is killed", "kill -9 $$\n", "result -9\n", 2},
      {"it does nothing", "exit 0\n", "result -1\n", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string script = catalog.WriteScript(c.script);
    catalog.Configure("CREATE_OLD_INVERTION_FILES=0\nMULTILOAD=2\n[MULTILOAD]\nCMDLINE=" + script + "\n");
    const std::string before = catalog.Dictionary();
    const std::string out = catalog.Run({"dict", "-d", "blank"}).out;
    EXPECT_NE(out.find(c.output), std::string::npos) << out;
    EXPECT_EQ(catalog.CountFiles("workdir", "velora_multi"), c.assignments);
    EXPECT_TRUE(c.assignments == 0 || catalog.Dictionary() == before);
    EXPECT_EQ(catalog.CountFiles("datai/blank", "_multi"), 0);
    EXPECT_EQ(catalog.Run({"unlockdb", "-d", "blank"}).out.find("Error"), std::string::npos);
  }
  EXPECT_EQ(catalog.Read("starts"), "start\nstart\n");
}

TEST(DictionaryBuild, PassesAStopOn) {
  const Catalog catalog(1);
  const std::string script = catalog.WriteScript("echo $$ >> \"$(dirname \"$0\")/pids\"\nexec sleep 60\n");
  catalog.Configure("CREATE_OLD_INVERTION_FILES=0\nMULTILOAD=2\n[MULTILOAD]\nCMDLINE=" + script + "\n");
  const pid_t run = catalog.Start({"dict", "-d", "blank"});
  const auto started = [&] {
    const std::string pids = catalog.Read("pids");
    return std::count(pids.begin(), pids.end(), '\n');
  };
  for (int i = 0; i < 500 && started() < 2; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ::kill(run, SIGTERM);
  EXPECT_EQ(ProgramDir::Wait(run), 0);
  EXPECT_NE(catalog.Read(".stdout").find("result -"), std::string::npos) << catalog.Read(".stdout");
}

TEST(DictionaryBuild, TellsOfAFullDiskAndKeepsTheDictionary) {
  const Catalog catalog(100);
  catalog.Configure("CREATE_OLD_INVERTION_FILES=0\nMULTILOAD=1\n");
  catalog.Run({"dict", "-d", "blank"});
  const std::string dictionary = catalog.Dictionary();
  rlimit former{};
  getrlimit(RLIMIT_FSIZE, &former);
  const rlimit tight{16384, former.rlim_max};  // bytes: as if the disk were full from there on
  for (const auto& [tool, message] : {std::pair("terms", "Ln1 file not written: "),
                                      {"sort", "Lk1 file not written: "},
                                      {"loaddict", "Dictionary files not written: "}}) {
    setrlimit(RLIMIT_FSIZE, &tight);
    const test::RunResult failed = catalog.Run({tool, "-d", "blank"});
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_NE(failed.err.find(message), std::string::npos) << failed.err;
    EXPECT_NE(failed.out.find("Error -"), std::string::npos) << failed.out;
    EXPECT_EQ(catalog.Dictionary(), dictionary) << tool;
    EXPECT_NE(catalog.Run({tool, "-d", "blank"}).out.find("\nDone\n"), std::string::npos) << tool;
  }
}

// Whatever moment a build dies at, the dictionary is the old one or the new one, and the next build ends
// what was begun.
TEST(DictionaryBuild, SurvivesAKillAtAnyMoment) {
  const Catalog catalog(300);
  std::mt19937 random(5);
  for (const std::string sets : {"0", "1"}) {
    catalog.Configure("MULTILOAD=1\nCREATE_OLD_INVERTION_FILES=" + sets + "\n");
    const auto start = std::chrono::steady_clock::now();
    catalog.Run({"dict", "-d", "blank"});
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    const std::string whole = catalog.Dictionary();
    for (int i = 0; i < 30; ++i) {
      const pid_t run = catalog.Start({"dict", "-d", "blank"});
      std::this_thread::sleep_for(micros * (random() % 110) / 100);
      ::kill(run, SIGKILL);
      ProgramDir::Wait(run);
      EXPECT_TRUE(catalog.isSwapping() || catalog.Findings().empty()) << catalog.Findings();
      EXPECT_TRUE(catalog.Dictionary() == whole);  // the records are the same
      catalog.Run({"unlockdb", "-d", "blank"});
    }
    catalog.Run({"dict", "-d", "blank"});
    EXPECT_TRUE(!catalog.isSwapping() && catalog.Dictionary() == whole);
    EXPECT_EQ(catalog.CountFiles("datai/blank", "_multi"), 0);
    for (const char* left : {".ifp_", ".lk1_", ".ln1_"})
      EXPECT_EQ(catalog.Read(std::string("datai/blank/blank") + left), "");
  }
}

}  // namespace
