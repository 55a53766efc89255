// Import and export as procedures, on databases of an installation.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "exchange/export.h"
#include "exchange/import.h"
#include "exchange/iso_file.h"
#include "maint/new_db.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "support/format_installation.h"
#include "support/iso_builder.h"
#include "support/open_space.h"
#include "support/verify.h"

namespace {

using namespace velor_server_proc;
using test::Fields;

class ImportExportTest : public testing::Test, public test::FormatInstallation {
 protected:
  std::string Import(const std::string& bytes, const VelorImportContext& params = {}) {
    std::ostringstream out;
    VelorImport(ctx(), "BLANK", Write("in.file", bytes), out, params);
    return out.str();
  }
  /// The exported file; what the procedure said goes to `said`.
  std::string Export(const VelorExportContext& params = {}, std::string* said = nullptr) {
    std::ostringstream out;
    VelorExport(ctx(), "blank", File("out.file"), params, out);
    if (said) *said = out.str();
    return Read("out.file");
  }
  velor_32::SpacePointer Open() { return test::OpenSpace(ctx(), File("datai/blank/blank")); }

  /// Text of the protocol that an import left in the work directory.
  std::string Protocol() {
    for (const auto& entry : std::filesystem::directory_iterator(File("workdir")))
      if (entry.path().filename().string().find("_protocol_") != std::string::npos)
        return Read("workdir/" + entry.path().filename().string());
    return "(no protocol)";
  }
};

constexpr const char* kThree = "#1: a\r\n*****\r\n#1: b\r\n*****\r\n#1: c\r\n*****\r\n";

TEST_F(ImportExportTest, WhatIsSaidAndWritten) {
  EXPECT_EQ(Import(kThree),
            "OpenDB blank - Done\nImport\nRecords imported total\ninserted 3\nRecords merged 0\nRecords "
            "imported 3\n"
            "Done\n");
  std::string said;
  EXPECT_EQ(Export({}, &said), kThree);
  EXPECT_EQ(said, "OpenDB blank - Done\nExport\nDone\n");
  EXPECT_EQ(test::Verify(File("datai/blank/blank")), "");
}

TEST_F(ImportExportTest, Refusals) {
  const auto said = [&](VelorImportContext params) { return Import(kThree, params); };
  EXPECT_EQ(said({.format = 3}), "Import format not supported\n");
  EXPECT_EQ(said({.fst = "nosuch"}).substr(0, 53),
            "OpenDB blank - Done\nImport\nFile not found nosuch\nReco");
  EXPECT_EQ(said({.filter = "v1,("}), "OpenDB blank - Done\nImport\nfilter format error v1,(\n");
  std::ostringstream out;
  EXPECT_EQ(VelorImport(ctx(), "blank", "/no/such/file", out, {}), velor_32::kNotFound);
  EXPECT_EQ(VelorImport(ctx(), "nosuch", "/no/such/file", out, {}), velor_32::kNoParameterFile);
  EXPECT_EQ(VelorImport(ctx(), "blank", "/no/such/file", out, {.format = VelorImportContext::kCsv}), -500);
  EXPECT_EQ(out.str(),
            "OpenDB blank - Done\nImport\n file does not exist: /no/such/file\nOpenDB nosuch failed: -5555\n"
            "OpenDB blank - Done\nImport\nCsv to txt convertion /no/such/file\n"
            "Csv to txt convertion failed /no/such/file\n");
  velor_32::VelorLockDB(Open().get());
  EXPECT_EQ(said({}), "OpenDB blank - Done\nImport\nDatabase locked\n");

  std::string exported;
  Export({.format = 2}, &exported);
  EXPECT_EQ(exported, "Export format not supported\n");
  std::ostringstream failed;
  EXPECT_EQ(VelorExport(ctx(), "blank", "/no/such/dir/file", {}, failed), velor_32::kNoRecordFiles);
  EXPECT_EQ(failed.str(), "OpenDB blank - Done\nExport\n cannot create file: /no/such/dir/file\n");
  EXPECT_EQ(VelorExport(ctx(), "blank", File("o"), {.filter = "@missing"}, failed), velor_32::kNotFound);
  EXPECT_GT(VelorExport(ctx(), "blank", File("o"), {.filter = "v1,("}, failed), 0);
  EXPECT_GT(VelorExport(ctx(), "blank", File("o"), {.scan = "v1,("}, failed), 0);
  EXPECT_FALSE(std::filesystem::exists(File("o")));
}

TEST_F(ImportExportTest, TablesAndConditions) {
  Write("datai/blank/swap.fst", "2 0 v1\r\n1 0 '<',v1,'>'\r\n0 0 if v1='c' then v0 fi\r\n");
  Import(kThree);
  const struct {
    VelorExportContext params;
    const char* wanted;
  } rows[] = {
      {{.fst = "swap"},
       "#2: a\r\n#1: <a>\r\n*****\r\n#2: b\r\n#1: <b>\r\n*****\r\n#2: c\r\n#1: <c>\r\n#1: c\r\n*****\r\n"},
      {{.fst = "SWAP", .mfnFrom = 2, .scan = "!v1<>'c'"}, "#2: b\r\n#1: <b>\r\n*****\r\n"},
      {{.scan = "v1<>'b'", .filter = "if v1<>'a' then '1' fi"}, "#1: c\r\n*****\r\n"},
      {{.filter = "'1',if v1='b' then &nosuch('x') fi"}, "#1: a\r\n*****\r\n#1: c\r\n*****\r\n"},
      {{.scan = "v1='z'"}, ""},
  };
  for (const auto& row : rows) EXPECT_EQ(Export(row.params), row.wanted) << row.params.scan;

  Import(kThree, {.fst = "swap", .filter = "if v2='b' then '1' fi"});
  EXPECT_EQ(Export({.mfnFrom = 4}), "#2: b\r\n#1: <b>\r\n*****\r\n");
  EXPECT_EQ(test::Verify(File("datai/blank/blank")), "");
}

TEST_F(ImportExportTest, ATableKeepsNoGuid) {
  ctx()->guidOption = 1;
  Write("datai/blank/same.fst", "1 0 v1");
  Import(kThree);
  EXPECT_EQ(Export({.fst = "same"}), kThree);
}

TEST_F(ImportExportTest, Selections) {
  Import(kThree);
  const auto numbers = [](std::initializer_list<int> list) {
    auto mfns = std::make_unique<velor_01::TIntList>();
    for (const int mfn : list) mfns->Add(mfn);
    return mfns;
  };
  const auto list = numbers({3, 1, 99});
  const struct {
    const char* why;
    VelorExportContext params;
    const char* want;
  } cases[] = {
      {"range", {.mfnFrom = 2, .mfnTo = 2}, "b"},
      {"open to the end", {.mfnFrom = 2}, "bc"},
      {"clipped to the last", {.mfnFrom = 2, .mfnTo = 100}, "bc"},
      {"from above the last is lowered to it", {.mfnFrom = 50, .mfnTo = 100}, "c"},
      {"list in its order, numbers without record passed over",
       {.mode = VelorExportContext::kList, .mfnList = list.get()},
       "ca"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    std::string letters;
    const std::string text = Export(c.params);
    for (std::size_t at = 0; (at = text.find("#1: ", at)) != std::string::npos; ++at) letters += text[at + 4];
    EXPECT_EQ(letters, c.want);
  }
}

TEST_F(ImportExportTest, AnEmptyDatabaseGivesAnEmptyFile) {
  std::string said;
  EXPECT_EQ(Export({}, &said), "");
  EXPECT_EQ(said, "OpenDB blank - Done\nExport\nDone\n");
}

TEST_F(ImportExportTest, HeadersRestoreNumbersAndStates) {
  const VelorImportContext withHeader{.header = true};
  Import("#0: 4#0\n#1: four\n*****\n#0: 2#1\n#1: two\n*****\n", withHeader);
  const velor_32::SpacePointer space = Open();
  EXPECT_EQ(velor_32::Velormaxmfn(space.get()), 5);
  EXPECT_EQ(velor_32::VelorRecord(space.get(), 0, 1), velor_32::kPhysicallyDeleted) << "filled up";
  ASSERT_EQ(velor_32::VelorRecord(space.get(), 0, 2), velor_32::kDeleted) << "a freed number is taken again";
  EXPECT_EQ(velor_32::Velorversion(space.get(), 0), 1);
  ASSERT_EQ(velor_32::VelorRecord(space.get(), 0, 4), velor_32::kOk);
  Import("#0: 4#0\n#1: again\n*****\n", withHeader);
  ASSERT_EQ(velor_32::VelorRecord(space.get(), 0, 4), velor_32::kOk);
  EXPECT_EQ(velor_32::Velorversion(space.get(), 0), 2) << "a number in use gets a further version";
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{1, "again"}}));
  EXPECT_EQ(Export({.header = true}), "#0: 4#8\r\n#1: again\r\n*****\r\n")
      << "deleted records are passed over";
  EXPECT_EQ(test::Problems(test::Verify(File("datai/blank/blank"))), "");
  EXPECT_NE(Import("#0: 2147483646#0\n#1: x\n*****\n", withHeader).find("Record update error: -140 1"),
            std::string::npos)
      << "a number that would fill the disk";
}

TEST_F(ImportExportTest, AHeaderNumberWinsOverFreedNumbers) {
  Import(kThree);
  velor_32::VelorRecPhysDelTime(Open().get(), 2, 1);
  ctx()->reusePhysDel = true;
  Import("#0: 4\n#1: four\n*****\n#0: 6\n#1: six\n*****\n#1: any\n*****\n",
         {.header = true, .reuseMfn = true});
  EXPECT_TRUE(ctx()->reusePhysDel) << "the setting is lifted for records with a number only";
  EXPECT_EQ(Export({.header = true}),
            "#0: 1#8\r\n#1: a\r\n*****\r\n#0: 2#8\r\n#1: any\r\n*****\r\n#0: 3#8\r\n#1: c\r\n*****\r\n"
            "#0: 4#8\r\n#1: four\r\n*****\r\n#0: 6#8\r\n#1: six\r\n*****\r\n");
}

TEST_F(ImportExportTest, ADamagedNumberIsNotOverwritten) {
  Import(kThree);
  std::fstream xrf(File("datai/blank/blank.xrf"), std::ios::in | std::ios::out | std::ios::binary);
  xrf.seekp(12).write(std::string(12, '\0').data(), 12);
  xrf.close();
  EXPECT_NE(Import("#0: 2\n#1: new\n*****\n", {.header = true}).find("Record update error: -141 1"),
            std::string::npos);
  EXPECT_EQ(velor_32::VelorRecord(Open().get(), 0, 2), velor_32::kDamaged);
}

TEST_F(ImportExportTest, APipeIsReadWithAndWithoutAMark) {
  const std::string pipe = File("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const char* mark : {"", "\xEF\xBB\xBF"}) {
    std::thread writer([&] { std::ofstream(pipe) << mark << "#1: piped\n*****\n"; });
    std::ostringstream out;
    VelorImport(ctx(), "blank", pipe, out, {});
    writer.join();
    EXPECT_NE(out.str().find("inserted 1"), std::string::npos) << out.str();
  }
}

TEST_F(ImportExportTest, AFileThatCannotBeReadIsNamed) {
  for (const std::int32_t format : {VelorImportContext::kIso, VelorImportContext::kText}) {
    std::ostringstream out;
    EXPECT_EQ(VelorImport(ctx(), "blank", Path(), out, {.format = format}), velor_32::kNoRecordFiles);
    EXPECT_NE(out.str().find("Import read error: " + Path() + "\n"), std::string::npos) << out.str();
  }
  std::ostringstream out;
  EXPECT_EQ(VelorImport(ctx(), "blank", Path(), out, {.format = VelorImportContext::kCsv}), -500);
}

TEST_F(ImportExportTest, ANewDatabaseLeavesAParameterFileAlone) {
  Write("datai/elsewhere.par", "1=.\\DATAI\\BLANK\\\n");
  std::ostringstream out;
  EXPECT_EQ(VelorNewDB(ctx(), "Elsewhere", {.isFree = true}, out), velor_32::kOk);
  EXPECT_EQ(out.str(), "NewDB Elsewhere\nDB already created\n");
  EXPECT_EQ(Read("datai/elsewhere.par"), "1=.\\DATAI\\BLANK\\\n");
  EXPECT_FALSE(std::filesystem::exists(File("datai/elsewhere")));
}

TEST_F(ImportExportTest, AFailedNewDatabaseCanBeTriedAgain) {
  std::filesystem::create_directory(File("datai/tried.par.d"));
  std::filesystem::create_directory_symlink(File("datai/tried.par.d"), File("datai/tried.par"));
  std::ostringstream out;
  EXPECT_EQ(VelorNewDB(ctx(), "tried", {.isFree = true}, out), velor_32::kNoRecordFiles);
  EXPECT_FALSE(std::filesystem::exists(File("datai/tried")));
  std::filesystem::remove(File("datai/tried.par"));
  EXPECT_EQ(VelorNewDB(ctx(), "tried", {.isFree = true}, out), velor_32::kOk);
  EXPECT_EQ(out.str(), "NewDB tried\nError -400\nNewDB tried\nDone\n");
}

TEST_F(ImportExportTest, AnotherRecordTerminatorMayEndTheRecords) {
  std::string bytes;
  const std::string one = test::IsoRecord({{1, std::string(9000, 'x')}});
  while (bytes.size() < velora::IsoFileReader::kLongestRecord + one.size())
    bytes.append(one, 0, one.size() - 1).push_back('\n');
  const std::string count = std::to_string(bytes.size() / one.size());
  const std::string said = Import(bytes, {.format = VelorImportContext::kIso});
  EXPECT_NE(said.find("inserted " + count + "\n"), std::string::npos) << said;
}

TEST_F(ImportExportTest, AHeaderIsNoRightToALockedRecord) {
  Import(kThree);
  const velor_32::SpacePointer space = Open();
  ASSERT_EQ(velor_32::VelorRecLockTime(space.get(), 0, 2, 1), velor_32::kOk);
  EXPECT_NE(Import("#0: 2#64\n#1: stolen\n*****\n", {.header = true}).find("Record update error: -602 1"),
            std::string::npos);
  ASSERT_EQ(velor_32::VelorRecord(space.get(), 0, 2), velor_32::kOk);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{1, "b"}}));
}

TEST_F(ImportExportTest, FreedNumbersAreReused) {
  Import(kThree);
  velor_32::VelorRecPhysDelTime(Open().get(), 2, 1);
  Import("#1: new\n*****\n#1: next\n*****\n", {.reuseMfn = true});
  EXPECT_EQ(Export(), "#1: a\r\n*****\r\n#1: new\r\n*****\r\n#1: c\r\n*****\r\n#1: next\r\n*****\r\n");
}

TEST_F(ImportExportTest, TheProtocolSaysWhatWasLost) {
  const std::string good = test::IsoRecord({{1, "abc"}});
  const std::string bad = test::IsoRecord({{1, "abc"}, {2, "\xFF"}, {3, "def"}});
  const std::string wrongLength = "00099" + good.substr(5);
  Import(good + bad + wrongLength + good.substr(0, 30), {.format = VelorImportContext::kIso, .proto = true});
  EXPECT_EQ(Protocol(),
            "Record inserted: MFN 1\r\nRecord inserted: MFN 2\r\nRecord fields lost: MFN 2 COUNT 1\r\n"
            "Record damaged: NUMBER 3 record length is wrong\r\nRecord inserted: MFN 3\r\n"
            "Record skipped: NUMBER 4 file ends inside the record\r\n");
  Import(bad + good, {.format = VelorImportContext::kIso, .checkEncoding = true, .proto = true});
  EXPECT_EQ(Protocol(), "Record skipped: NUMBER 1 bad encoding COUNT 1\r\nRecord inserted: MFN 4\r\n");
}

TEST_F(ImportExportTest, AProtocolThatCannotBeWrittenIsTold) {
  Write("workdir/a", "");
  std::filesystem::create_symlink("/dev/full",
                                  File("workdir/in_protocol_" + std::to_string(::getpid()) + ".txt"));
  const std::string said = Import(kThree, {.proto = true});
  EXPECT_NE(said.find("Import write error: protocol of " + File("in.file") + "\nDone\n"), std::string::npos)
      << said;
}

TEST_F(ImportExportTest, CheckingCleansControlCharacters) {
  Import("#1: a\tb\x01\n*****\n", {.checkEncoding = true});
  EXPECT_EQ(Export(), "#1: a b \r\n*****\r\n");
}

TEST_F(ImportExportTest, MarcMode) {
  const std::string marc = test::IsoRecord({{200,
                                             "  \x1F"
                                             "aTitle\x1F"
                                             "fAuthor"},
                                            {999, "own"}},
                                           "nam a", " i ");
  Import(marc, {.format = VelorImportContext::kIso, .fst = "unimarc"});
  EXPECT_EQ(Export(),
            "#200:   ^aTitle^fAuthor\r\n#999: own\r\n#1000: " + marc.substr(0, 24) + "\r\n*****\r\n");
  EXPECT_EQ(Export({.format = VelorExportContext::kIso, .fst = "MARC"}), marc) << "the label comes back";
  Import("#200: ^aX\n#999: cam\n*****\n#200: ^aY\n#999: nam a i extra\n*****\n");
  EXPECT_EQ(Export({.format = VelorExportContext::kIso, .fst = "marc", .mfnFrom = 2}),
            test::IsoRecord({{200,
                              "\x1F"
                              "aX"}},
                            "cam00") +
                test::IsoRecord({{200,
                                  "\x1F"
                                  "aY"}},
                                "nam a", " i "))
      << "a short leader field overwrites that much only";
  EXPECT_EQ(Export({.fst = "marc", .mfnFrom = 3}),
            "#200: \x1F"
            "aY\r\n*****\r\n")
      << "the leader field is no part of a text";
  Import(
      "#200: \x1F"
      "aZ\n*****\n",
      {.fst = "marc"});
  EXPECT_EQ(Export({.mfnFrom = 4}), "#200: ^aZ\r\n*****\r\n") << "a text has the same marks";
}

TEST_F(ImportExportTest, ARecordTooBigForIsoIsNamed) {
  Import("#1: " + std::string(100000, 'x') + "\n*****\n#1: b\n*****\n");
  std::string said;
  EXPECT_EQ(Export({.format = VelorExportContext::kIso}, &said), test::IsoRecord({{1, "b"}}));
  EXPECT_EQ(said, "OpenDB blank - Done\nExport\nRecord too big for iso MFN 1\nDone\n");
}

TEST_F(ImportExportTest, GuidsGoOutAndComeBackWhenTheIniSaysSo) {
  ctx()->guidOption = 1;
  std::ostringstream out;
  VelorNewDB(ctx(), "other", {.isFree = true}, out);
  Import(kThree);
  const std::string exported = Export();
  ASSERT_EQ(exported.rfind("#2147483647: {", 0), 0U);
  VelorImport(ctx(), "other", Write("guids.txt", exported), out, {.guid = true});
  VelorExport(ctx(), "other", File("again.txt"), {}, out);
  EXPECT_EQ(Read("again.txt"), exported);
}

}  // namespace
