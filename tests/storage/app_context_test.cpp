#include "storage/app_context.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "storage/app_paths.h"
#include "storage/char_tables.h"
#include "storage/maintenance_context.h"
#include "storage/process.h"
#include "storage/velor_space.h"
#include "support/installation.h"

namespace {

class AppContext : public testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name) const { return dir_.File(name); }
  void Write(const std::string& name, const std::string& content) const { dir_.Write(name, content); }

  void LoadIni(const std::string& content) {
    Write("a.ini", content);
    fmt_64::velor_MainIni_Init(ctx_.get(), Path("a.ini"));
  }

  test::TempDir dir_;
  test::ContextPointer ctx_{app::velor_app_init()};
};

TEST_F(AppContext, ReadsTheSettingsOfTheMainIni) {
  struct {
    const char* why;
    const char* ini;
    int maxRepeat;
    int maxDocSearch;
    int guidOption;
    bool allUtf8;
  } const cases[] = {
      {"defaults", "[MAIN]\n", 5000, 1000, 0, false},
      {"all set", "[main]\nMAXREPEAT=10\nMAXDOCSEARCH=20\nGUID_OPTION=1\nALLUTF8=1\n", 10, 20, 1, true},
      {"the older name of the limit", "[MAIN]\nMAXCYCLE=30\n", 30, 1000, 0, false},
      {"the newer name wins", "[MAIN]\nMAXCYCLE=30\nMAXREPEAT=40\n", 40, 1000, 0, false},
      {"a dash counts as absent", "[MAIN]\nMAXREPEAT=-\nMAXCYCLE=30\n", 30, 1000, 0, false},
      {"a malformed number gives the default", "[MAIN]\nMAXREPEAT=5x\nMAXDOCSEARCH=\nALLUTF8=yes\n", 5000,
       1000, 0, false},
      {"only a positive number switches on", "[MAIN]\nALLUTF8=-1\n", 5000, 1000, 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    LoadIni(c.ini);
    ASSERT_NE(ctx_->mainIni, nullptr);
    EXPECT_EQ(ctx_->maxRepeat, c.maxRepeat);
    EXPECT_EQ(ctx_->maxDocSearch, c.maxDocSearch);
    EXPECT_EQ(ctx_->guidOption, c.guidOption);
    EXPECT_EQ(ctx_->allUtf8, c.allUtf8);
  }
}

TEST_F(AppContext, AMissingIniReleasesTheEarlierOne) {
  LoadIni("[MAIN]\n");
  fmt_64::velor_MainIni_Init(ctx_.get(), Path("missing.ini"));
  EXPECT_EQ(ctx_->mainIni, nullptr);
}

TEST_F(AppContext, IncludesLieInTheSystemDirectory) {
  Write("common.ini", "[MAIN]\nMAXREPEAT=77\n");
  fmt_64::velor_init_ExecDir(ctx_.get(), dir_.Path());
  LoadIni("[MAIN]\n[@common]\n");
  EXPECT_EQ(ctx_->maxRepeat, 77);
}

TEST_F(AppContext, StoredDirectoriesEndInASlash) {
  fmt_64::velor_init_DataPath(ctx_.get(), "/data");
  EXPECT_EQ(fmt_64::GetDataPath(ctx_.get()), "/data/");
  fmt_64::velor_init_DataPath(ctx_.get(), "/data\\");
  EXPECT_EQ(fmt_64::GetDataPath(ctx_.get()), "/data\\");
  fmt_64::velor_init_DataPath(ctx_.get(), "");
  EXPECT_EQ(fmt_64::GetDataPath(ctx_.get()), "");
}

TEST_F(AppContext, PathsAreReadAnew) {
  EXPECT_EQ(fmt_64::GetDataPath(ctx_.get(), "/srv/"), "/srv/datai/");
  LoadIni("[MAIN]\nDatapath=.\\DATA\\\nworkdir=/Work\\Tmp\n");
  EXPECT_EQ(fmt_64::GetDataPath(ctx_.get(), "/srv/"), "/srv/data/");
  EXPECT_EQ(fmt_64::GetWorkDir(ctx_.get(), "/srv/"), "/Work/Tmp");
  EXPECT_EQ(fmt_64::WorkDirectoryPath(ctx_.get()), "/Work/Tmp/");
  EXPECT_EQ(fmt_64::GetDepositPath(ctx_.get(), "/srv/"), "/srv/datai/deposit/");
  LoadIni("[MAIN]\nworkdir=\n");
  fmt_64::velor_init_ExecDir(ctx_.get(), "/sys");
  EXPECT_EQ(fmt_64::WorkDirectoryPath(ctx_.get()), "/sys/workdir/") << "not the current directory";
}

TEST_F(AppContext, ParseTabTakesNumbersBetweenAnything) {
  struct {
    const char* why;
    std::string text;
    int count;
    std::vector<int> first;
  } const cases[] = {
      {"an empty file", "", 0, {0}},
      {"any separator", "1,2;x3\r\n\r\n04", 4, {1, 2, 3, 4, 0}},
      {"the end of the file closes a number", "7", 1, {7}},
      {"a sign is a separator", "-5", 1, {5}},
      {"no overflow", "99999999999999999999 1", 2, {2147483647, 1}},
      {"256 numbers at most",
       [] {
         std::string text;
         for (int i = 0; i < 300; ++i) text += std::to_string(i) + " ";
         return text;
       }(),
       256,
       {0, 1, 2}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Write("t.tab", c.text);
    fmt_64::TableNumbers table;
    table.fill(-1);
    EXPECT_EQ(fmt_64::parse_tab(Path("t"), table), c.count);
    for (std::size_t i = 0; i < c.first.size(); ++i) EXPECT_EQ(table[i], c.first[i]) << i;
  }
  fmt_64::TableNumbers table;
  EXPECT_EQ(fmt_64::parse_tab(Path("missing"), table), 0);
}

TEST_F(AppContext, MissingTablesFallBack) {
  fmt_64::velor_uatab_init(ctx_.get(), Path("uc"), "", Path("ac"), "/exec", "/data");
  EXPECT_EQ(ctx_->acTable['A' - 1], 1);
  EXPECT_EQ(ctx_->acTable['z' - 1], 1);
  EXPECT_EQ(ctx_->acTable['0' - 1], 0);
  EXPECT_EQ(ctx_->acTable[128 - 1], 1);
  EXPECT_EQ(ctx_->acTable[255 - 1], 1);
  EXPECT_EQ(ctx_->acTableLength, 26 + 26 + 128);
  EXPECT_EQ(ctx_->ucTable['a'], 'A');
  EXPECT_EQ(ctx_->ucTable[0], 0);
  EXPECT_EQ(ctx_->altUcTable, ctx_->ucTable);
  EXPECT_EQ(fmt_64::GetExecDir(ctx_.get()), "/exec/");
}

TEST_F(AppContext, TableValuesOutsideAByteAreNotTaken) {
  Write("uc.tab", "0 300 67 256 68");
  Write("ac.tab", "0 66 300 65 256");
  fmt_64::velor_uatab_init(ctx_.get(), Path("uc"), "", Path("ac"), "", "");
  EXPECT_EQ(ctx_->ucTable[1], 0);
  EXPECT_EQ(ctx_->ucTable[2], 67);
  EXPECT_EQ(ctx_->ucTable[4], 68);
  EXPECT_EQ(ctx_->ucTable['a'], 0) << "a table with one usable number counts as it is";
  EXPECT_EQ(ctx_->acTableLength, 2);
  EXPECT_EQ(ctx_->acCodes[0], 66);
  EXPECT_EQ(ctx_->acCodes[1], 65);
}

TEST_F(AppContext, ShippedTablesFoldCyrillic) {
  const std::string share = VELORA_SOURCE_DIR "/share/";
  fmt_64::velor_uatab_init(ctx_.get(), share + "isisucw", "", share + "isisacw", "", "");
  for (int upper = 0xC0; upper < 0xE0; ++upper) {
    EXPECT_EQ(ctx_->ucTable[upper + 32], upper);  // cp1251: capitals at C0 to DF, small letters 32 above
    EXPECT_EQ(ctx_->acTable[upper - 1], 1);
  }
  EXPECT_EQ(ctx_->ucTable[0xB8], 0xA8);
  EXPECT_EQ(ctx_->acTable['5' - 1], 0);
}

TEST_F(AppContext, MaintenanceContextWithoutIniHasDefaults) {
  fmt_64::velor_init_ExecDir(ctx_.get(), "/srv");
  const std::unique_ptr<velora::VelorAContext, velora::VelorACloser> context(velora::VelorA_init(ctx_.get()));
  EXPECT_EQ(context->relayRecTime, 5);
  EXPECT_GE(context->multiload, 1);
  EXPECT_EQ(context->etalonDb, "oryx");
  EXPECT_EQ(context->emptyDb, "blank");
  EXPECT_EQ(context->dataPath, "/srv/");
  EXPECT_FALSE(context->reportProgress);
  EXPECT_EQ(context->app, ctx_.get());
}

TEST_F(AppContext, MaintenanceContextReadsTheIni) {
  fmt_64::velor_init_ExecDir(ctx_.get(), "/srv");
  LoadIni(
      "[Main]\nRELAY_RECTIME=9\nEtalonDBN=Etalon\nEmptyDBN=NONE\nDatapath=.\\D\\X\nMULTILOAD=3\nREPORT_"
      "PROGRESS=1\n");
  const std::unique_ptr<velora::VelorAContext, velora::VelorACloser> context(velora::VelorA_init(ctx_.get()));
  EXPECT_EQ(context->relayRecTime, 9);
  EXPECT_EQ(context->multiload, 3);
  EXPECT_EQ(context->etalonDb, "etalon");
  EXPECT_EQ(context->emptyDb, "none");
  EXPECT_EQ(context->dataPathRaw, ".\\D\\X");
  EXPECT_TRUE(context->reportProgress);
}

TEST_F(AppContext, AProgressCallbackSwitchesReportsOn) {
  app::velor_app_adm_setprogresscallback(ctx_.get(), nullptr, [](void*, int, int) { return true; });
  const std::unique_ptr<velora::VelorAContext, velora::VelorACloser> context(velora::VelorA_init(ctx_.get()));
  EXPECT_TRUE(context->reportProgress);
}

TEST_F(AppContext, StopsForTheOutsideFlag) {
  EXPECT_FALSE(app::CheckStopProcess(ctx_.get()));
  EXPECT_FALSE(app::CheckStopProcess(nullptr));
  unsigned char flag = 0;
  ctx_->stopFlag = &flag;
  EXPECT_FALSE(app::CheckStopProcess(ctx_.get()));
  flag = 2;
  EXPECT_TRUE(app::CheckStopProcess(ctx_.get()));
}

TEST_F(AppContext, TheGlobalSpaceIsMadeOnce) {
  velor_01::TVelorSpace* space = app::velor_app_global_space(ctx_.get());
  ASSERT_NE(space, nullptr);
  EXPECT_EQ(app::velor_app_global_space(ctx_.get()), space);
  EXPECT_EQ(space->shelfCount, 1);
}

// Closing frees what the lists own; the leak checker of the checked build is the witness.
TEST_F(AppContext, CloseFreesTheBlocksOfTheThirdList) {
  ctx_->stringLists[2]->AddObject("block", std::malloc(16));
  static int destroyed = 0;
  ctx_->parts.destroyVariables = [](void*) { ++destroyed; };
  int store = 0;
  ctx_->globalVarLists->AddObject("var", &store);
  ctx_.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST(LibraryCache, FindsAFunctionOfALibrary) {
  for (bool withMutex : {false, true}) {
    app::LibraryCache cache(withMutex);
    EXPECT_EQ(cache.GetLibrary(nullptr, "libno-such-library.so"), nullptr);
    void* handle = cache.GetLibrary(nullptr, "libm.so.6");
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(cache.GetLibrary(nullptr, "libm.so.6"), handle);
    using Cosine = double (*)(double);
    const auto cosine = reinterpret_cast<Cosine>(cache.GetFunction(nullptr, "libm.so.6", "cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(cache.GetFunction(nullptr, "libm.so.6", "no_such_function"), nullptr);
    cache.Clear();
    EXPECT_NE(cache.GetFunction(nullptr, "libm.so.6", "sin"), nullptr) << "usable after Clear";
  }
}

}  // namespace
