#include "tool/init_app.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "storage/app_paths.h"
#include "storage/process.h"
#include "support/installation.h"
#include "utils/path_util.h"

namespace {

using test::ContextPointer;

class InitApp : public testing::Test {
 protected:
  ContextPointer Init(const std::string& ini, std::vector<std::string> words = {}) {
    dir_.Write("test.ini", ini);
    words.insert(words.begin(), "velora");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    return ContextPointer(tool::init_app(dir_.File("test.ini"), static_cast<int>(argv.size()), argv.data()));
  }

  // Directories below the one of the running program read "{exe}".
  static std::string Shown(std::string path) {
    const std::string base = utils::PathUtil::GetDirectoryName(utils::PathUtil::GetExePathA());
    if (path.starts_with(base)) path.replace(0, base.size(), "{exe}");
    return path;
  }

  test::TempDir dir_;
};

TEST_F(InitApp, SettlesTheDirectories) {
  struct {
    const char* why;
    const char* ini;
    const char* exec;
    const char* data;
    const char* deposit;
  } const cases[] = {
      {"nothing set: all below the program", "[MAIN]\n", "{exe}/", "{exe}/datai/", "{exe}/datai/deposit/"},
      {"a leading dot stands for the system directory, the rest is folded",
       "[Main]\nSYSPATH=/srv/\nDATAPATH=.\\DATAI\\\nDepositPath=.\\Shared\n", "/srv/", "/srv/datai/",
       "/srv/shared/"},
      {"a relative path goes behind it", "[MAIN]\nSYSPATH=/srv/\nDATAPATH=Data\\\n", "/srv/", "/srv/data/",
       "/srv/datai/deposit/"},
      {"a rooted path keeps its letters", "[MAIN]\nSYSPATH=/Srv\\\nDATAPATH=/Data\n", "/Srv/", "/Data/",
       "/Srv/datai/deposit/"},
      {"two characters are left alone", "[MAIN]\nSYSPATH=/srv/\nDATAPATH=D\\\n", "/srv/", "D/",
       "/srv/datai/deposit/"},
      {"the system directory counts from the program", "[MAIN]\nSYSPATH=.\\Sys\\\n", "{exe}/sys/",
       "{exe}/sys/datai/", "{exe}/sys/datai/deposit/"},
      {"its closing slash may be missing", "[MAIN]\nSYSPATH=/srv\n", "/srv/", "/srv/datai/",
       "/srv/datai/deposit/"},
      {"an empty data path unsets it", "[MAIN]\nSYSPATH=/srv/\nDATAPATH=\n", "/srv/", "",
       "/srv/datai/deposit/"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const ContextPointer ctx = Init(c.ini);
    EXPECT_EQ(Shown(fmt_64::GetExecDir(ctx.get())), c.exec);
    EXPECT_EQ(Shown(fmt_64::GetDataPath(ctx.get())), c.data);
    EXPECT_EQ(Shown(fmt_64::GetDepositPath(ctx.get())), c.deposit);
  }
}

TEST_F(InitApp, ReadsTheFormatOptions) {
  struct {
    const char* why;
    std::vector<std::string> words;
    bool isEnabled;
    int cacheOption;
  } const cases[] = {
      {"defaults", {}, true, 2},
      {"each word", {"-xpft0"}, true, 0},
      {"the last wins", {"-xpft0", "-xpft1"}, true, 1},
      {"off, as the value of another option too", {"-d", "-xpftoff"}, false, 2},
      {"whole words only", {"-xpft", "-xpft01", "xpftoff"}, true, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const ContextPointer ctx = Init("[MAIN]\n", c.words);
    EXPECT_EQ(ctx->xpftEnabled, c.isEnabled);
    EXPECT_EQ(ctx->recordCacheOpt, c.cacheOption);
  }
}

TEST_F(InitApp, KeepsNineBytesOfThePrefix) {
  Init("[MAIN]\n", {"-pref", "alpha"});
  EXPECT_EQ(app::AppPrefixText(), "alpha");
  Init("[MAIN]\n", {"-pref", "0123456789"});
  EXPECT_EQ(app::AppPrefixText(), "012345678");
  Init("[MAIN]\n", {"-pref"});
  EXPECT_EQ(app::AppPrefixText(), "012345678") << "no value, nothing stored";
  app::SetAppPrefix("");
  EXPECT_EQ(app::AppPrefixText(), "");
}

TEST_F(InitApp, ReadsTheCharacterTables) {
  std::filesystem::create_directory(dir_.File("sys"));
  dir_.Write("sys/isisacw.tab", "065 066,300 0\n");
  dir_.Write("sys/own.tab", "0 10 20");
  const ContextPointer ctx =
      Init("[MAIN]\nSYSPATH=" + dir_.File("sys/") + "\nUCTABPATH=.\\own\nFORMAT_DECOMPILED=1\n");
  EXPECT_EQ(ctx->acTableLength, 2);
  EXPECT_EQ(ctx->acTable['B' - 1], 1);
  EXPECT_EQ(ctx->ucTable[2], 20);
  EXPECT_TRUE(ctx->decompiledFormats);
}

TEST_F(InitApp, PassedPathBeatsTheOption) {
  dir_.Write("other.ini", "[MAIN]\nMAXREPEAT=7\n");
  EXPECT_EQ(Init("[MAIN]\nMAXREPEAT=6\n", {"-i", dir_.File("other.ini")})->maxRepeat, 6);
}

}  // namespace
