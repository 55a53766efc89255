// Formats on their way to a run: preparing, the cache, the result buffer, and the look-up of files.

#include "format/format_cache.h"

#include <gtest/gtest.h>

#include "format/format_files.h"
#include "format_runner.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "support/format_installation.h"

namespace {

namespace fs = std::filesystem;
using test::FormatRunner;

class CacheTest : public testing::Test {
 protected:
  std::string Run(const std::string& format) {
    const auto outcome = runner_.Run(format);
    EXPECT_EQ(outcome.error, 0) << outcome.errorText;
    return outcome.text;
  }
  /// Writes a shared format, with a date that the former one did not have.
  void WriteFormat(const std::string& name, const std::string& text) {
    const fs::path path = runner_.dir().Write(name, text);
    fs::last_write_time(path, fs::file_time_type::clock::now() + std::chrono::seconds(10 * ++writes_));
  }
  xpft::Velor64Cache* cache() { return runner_.ctx()->formatCache; }

  FormatRunner runner_{{{{200, "^aOryx"}}}};
  int writes_ = 0;
};

TEST_F(CacheTest, AFileIsReadOnceUnlessItsDateIsChecked) {
  WriteFormat("x.pft", "'one'");
  EXPECT_EQ(Run("@x"), "one");
  WriteFormat("x.pft", "'two'");
  EXPECT_EQ(Run("@x"), "one");
  app::velor_app_xpft_cachefilecheck(runner_.ctx(), true);
  EXPECT_EQ(Run("@x"), "two");
  fs::remove(runner_.dir().File("x.pft"));
  EXPECT_EQ(Run("@x"), " !x.pft: FILE NOT FOUND! ");
  WriteFormat("x.pft", "'back'");
  EXPECT_EQ(Run("@x"), "back");
  app::velor_app_xpft_cachefilecheck(runner_.ctx(), false);
  WriteFormat("x.pft", "'later'");
  app::velor_app_xpft_clearcache(runner_.ctx());
  EXPECT_EQ(Run("@x"), "later");
}

TEST_F(CacheTest, References) {
  runner_.dir().Write("empty.pft", "");
  runner_.dir().Write("lower.pft", "'lower'");
  runner_.dir().Write("quote'.pft", "'quote'");
  runner_.dir().Write("win.pft", "'\xCF'");
  runner_.dir().Write("mark.pft", "\xEF\xBB\xBF'П'");
  const struct {
    const char* format;
    const char* text;
  } rows[] = {
      {"@empty", ""},
      {"@LOWER", "lower"},
      {"@%5,lower", "lower"},
      {"@%5,missing", " !missing.pft: FILE NOT FOUND! "},
      {"@%9,lower", " !lower.pft: FILE NOT FOUND! "},
      {"@%x,lower", " !%x,lower.pft: FILE NOT FOUND! "},
      {"@it's", " !it's.pft: FILE NOT FOUND! "},
      {"@quote'", "quote"},
      {"@win", "П"},
      {"@mark", "П"},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(xpft::Velor_InitXPFT(runner_.space(), row.format, static_cast<int>(strlen(row.format))), 0);
    EXPECT_EQ(xpft::Velor_FormatXPFT(runner_.space(), 0, 1, 0), 0);
    EXPECT_STREQ(xpft::Velor_FormatResult(runner_.space()), row.text) << row.format;
  }
}

TEST_F(CacheTest, KeepsWhatCompilesOnly) {
  Run("v200");
  Run("v200");
  EXPECT_EQ(cache()->GetCount(), 1);
  EXPECT_NE(runner_.Run("v200,(").error, 0);
  EXPECT_NE(runner_.Run("v200,(").error, 0);
  EXPECT_EQ(cache()->GetCount(), 1);
  for (int i = 0; i < 10000; ++i) Run("'" + std::to_string(i) + "'");
  EXPECT_LE(cache()->GetCount(), 4096);
  EXPECT_EQ(Run("v200"), "^aOryx");
}

TEST_F(CacheTest, LongTextsDoNotFillTheMemory) {
  const std::string filling(1 << 20, ' ');
  for (int i = 0; i < 100; ++i) Run("'" + std::to_string(i) + filling + "'");
  EXPECT_LE(cache()->GetCount(), 8);
  EXPECT_GE(cache()->GetCount(), 1);
}

TEST_F(CacheTest, AFormatInUseOutlivesItsEntry) {
  xpft::Velor64Context* context = xpft::SpaceContext(runner_.space());
  const auto formatter = context->GetPrintFormat("v200^a", false);
  cache()->RemoveInactiveFormats(std::chrono::steady_clock::now());
  EXPECT_EQ(cache()->GetCount(), 0);
  velor_32::VelorRecord(runner_.space(), 0, 1);
  formatter->GetCmdList()->DoCmd(context);
  EXPECT_EQ(context->Output(), "Oryx");
}

TEST_F(CacheTest, MergingKeepsItsOwnEntries) {
  xpft::Velor64Context* context = xpft::SpaceContext(runner_.space());
  xpft::Velor64Cache other(false);
  const auto own = cache()->GetFormat(context, "'a'", false);
  const auto theirs = other.GetFormat(context, "'a'", false);
  const auto more = other.GetFormat(context, "'b'", false);
  cache()->Merge(&other);
  cache()->Merge(cache());
  EXPECT_EQ(cache()->GetCount(), 2);
  EXPECT_EQ(cache()->GetFormat(context, "'a'", false), own);
  EXPECT_EQ(cache()->GetFormat(context, "'b'", false), more);
}

TEST_F(CacheTest, TheEncodingOfATextGiven) {
  const auto prepared = [&](const std::string& text) {
    EXPECT_EQ(fmt_64::Velor_InitPFT(runner_.space(), text.data(), static_cast<int>(text.size())), 0);
    EXPECT_EQ(fmt_64::Velor_Format(runner_.space(), 0, 1, 0, 0, ""), 0);
    return std::string(xpft::Velor_FormatResult(runner_.space()));
  };
  EXPECT_EQ(prepared("'\xCF'"), "П");
  EXPECT_EQ(prepared("!'П'"), "П");
  EXPECT_EQ(prepared("'П'"), "Рџ");  // its two bytes, each a character of cp1251
  runner_.ctx()->allUtf8 = true;
  EXPECT_EQ(prepared("'П'"), "П");
  EXPECT_EQ(prepared("'\xCF'"), "П");
}

TEST_F(CacheTest, TheResultGrowsAndEndsInZero) {
  EXPECT_STREQ(xpft::Velor_FormatResult(runner_.space()), "");
  for (const std::size_t size :
       {std::size_t{31999}, std::size_t{32000}, std::size_t{70000}, std::size_t{1}}) {
    const std::string text(size, 'x');
    EXPECT_EQ(Run("'" + text + "'"), text);
    int length = 0;
    EXPECT_EQ(xpft::Velor_FormatResult(runner_.space(), &length)[size], '\0');
    EXPECT_EQ(length, static_cast<int>(size));
  }
}

TEST_F(CacheTest, Refusals) {
  using namespace fmt_64;
  velor_32::TVelorSpace* space = runner_.space();
  EXPECT_EQ(Velor_InitPFT(nullptr, "v1", 2), velor_32::kNoSpace);
  EXPECT_EQ(Velor_Format(nullptr, 0, 1, 0, 0, ""), velor_32::kNoSpace);
  EXPECT_EQ(xpft::Velor_FormatResult(nullptr), nullptr);
  EXPECT_EQ(Velor_Format(space, 0, 1, 0, 0, ""), -1);
  EXPECT_EQ(Velor_Format(space, 7, 1, 0, 0, ""), velor_32::kBadShelf);
  const int code = Velor_InitPFT(space, "v1,(", 4);
  EXPECT_NE(code, 0);
  EXPECT_EQ(xpft::SpaceContext(space)->GetErrorCode(), code);
  EXPECT_EQ(Velor_Format(space, 0, 1, 0, 0, ""), -1);
  EXPECT_STREQ(xpft::Velor_FormatResult(space), "");
  runner_.ctx()->xpftEnabled = false;
  EXPECT_EQ(Velor_InitPFT(space, "v1", 2), -1);
}

TEST(FormatFilesTest, WhereFilesAreFound) {
  test::FormatInstallation installation;
  app::VelorAppContext* ctx = installation.ctx();
  const std::string base = installation.File("datai/");
  installation.Write("datai/blank/both.pft", "database");
  installation.Write("datai/deposit/both.pft", "deposit");
  installation.Write("datai/deposit/shared.pft", "deposit");
  fs::create_directories(base + "blank/sub");
  installation.Write("datai/blank/sub/in.pft", "");
  const struct {
    xpft::VelorPath kind;
    const char* database;
    const char* name;
    bool useDatabase;
    std::string found;
  } rows[] = {
      {xpft::VelorPath::kDatabase, "blank", "both.pft", true, "blank/both.pft"},
      {xpft::VelorPath::kDatabaseFile, "blank", "BOTH.PFT", true, "blank/both.pft"},
      {xpft::VelorPath::kTexts, "blank", "both.pft", true, "blank/both.pft"},
      {xpft::VelorPath::kDatabase, "blank", "both.pft", false, "deposit/both.pft"},
      {xpft::VelorPath::kDatabase, "", "both.pft", true, "deposit/both.pft"},
      {xpft::VelorPath::kDatabase, "nosuch", "shared.pft", true, "deposit/shared.pft"},
      {xpft::VelorPath::kDatabase, "blank", "shared.pft", true, "deposit/shared.pft"},
      {xpft::VelorPath::kDatabase, "blank", "sub\\in.pft", true, "blank/sub/in.pft"},
      {xpft::VelorPath::kDeposit, "blank", "both.pft", true, "deposit/both.pft"},
      {xpft::VelorPath::kData, "blank", "blank.par", true, "blank.par"},
      {xpft::VelorPath::kSystem, "blank", "velora.ini", true, "../velora.ini"},
      {xpft::VelorPath::kDatabase, "blank", "missing.pft", true, ""},
      {xpft::VelorPath::kDatabase, "blank", "", true, ""},
      {xpft::VelorPath::kDatabase, "blank", "sub", true, ""},  // a directory
      {static_cast<xpft::VelorPath>(7), "blank", "both.pft", true, ""},
  };
  for (const auto& row : rows) {
    const std::string found = xpft::LookupFile(ctx, row.kind, row.database, row.name, row.useDatabase);
    EXPECT_EQ(found.empty() ? "" : fs::relative(found, base).string(), row.found) << row.name;
  }
  // The same by the path of an open space, and of its companion.
  EXPECT_EQ(xpft::LookupFile(ctx, xpft::VelorPath::kDatabase, base + "blank/blank", "both.pft", true),
            base + "blank/both.pft");
  fs::create_directories(base + "blank/blank--text");
  const std::string companion = installation.Write("datai/blank/blank--text/page.pft", "");
  EXPECT_EQ(
      xpft::LookupFile(ctx, xpft::VelorPath::kDatabase, base + "blank/blank--text/text", "page.pft", true),
      companion);
  EXPECT_EQ(xpft::LookupFile(ctx, xpft::VelorPath::kNone, "", base + "blank/both.pft", true),
            base + "blank/both.pft");
}

TEST(FormatFilesTest, TheDepositMayComeFirst) {
  test::FormatInstallation installation;
  installation.Write("datai/blank/both.fst", "1 0 database");
  installation.Write("datai/deposit/both.fst", "1 0 deposit");
  velor_01::TStringList lines;
  const std::string directory = installation.File("datai/blank/");
  EXPECT_TRUE(backup::LoadEmbededResourse(installation.ctx(), directory, "both.fst", &lines));
  EXPECT_STREQ(lines.Get(0), "1 0 database");
  EXPECT_TRUE(backup::LoadEmbededResourse(installation.ctx(), "", "both.fst", &lines));
  EXPECT_STREQ(lines.Get(0), "1 0 deposit");
  installation.ctx()->mainIni->Put("MAIN", "DepositPriority", "1");
  EXPECT_TRUE(backup::LoadEmbededResourse(installation.ctx(), directory, "both.fst", &lines));
  EXPECT_STREQ(lines.Get(0), "1 0 deposit");
  EXPECT_FALSE(backup::LoadEmbededResourse(installation.ctx(), directory, "none.fst", &lines));
  EXPECT_EQ(lines.GetCount(), 0);
}

}  // namespace
