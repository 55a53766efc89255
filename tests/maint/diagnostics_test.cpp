// The diagnostic tools on databases with damage of every kind: what they tell, what a repair makes of it, and
// that it loses nothing.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "maint/diag_lnk.h"
#include "maint/diag_mfn.h"
#include "maint/diag_mst_xrf.h"
#include "maint/diag_rec.h"
#include "maint/diag_rec_ft.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/record_guid.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/term_update.h"
#include "support/indexed_database.h"
#include "support/verify.h"

namespace {

using test::Fields;
using test::TestBase;
using Records = std::map<int, Fields>;

struct Image {
  std::string mst;
  std::string xrf;
};

void Poke(std::string& file, std::size_t offset, std::uint32_t word) {
  for (int i = 0; i < 4; ++i) file[offset + i] = static_cast<char>(word >> (24 - 8 * i));
}

/// Five records of 66 bytes at 36, 102, 168, 234, 300; the second was changed, its new image stands at 366.
TestBase SmallBase() {
  TestBase base;
  for (const char* text : {"one", "two", "three", "four", "five"})
    base.Record({{200, text}, {300, std::string(10 - strlen(text), 'x')}});
  base.Version(2, {{200, "TWO"}, {300, "xxxxxxx"}}, 2).PhysicallyDeleted();
  return base;
}
constexpr std::size_t kFirst = 36;
constexpr std::size_t kImage = 66;
std::size_t ImageOf(int mfn) {
  return mfn == 2 ? kFirst + 5 * kImage : kFirst + (mfn - 1) * kImage;
}
Image Small() {
  return {SmallBase().Mst(), SmallBase().Xrf()};
}

class DiagnosticsTest : public testing::Test, public test::IndexedDatabase {
 protected:
  void Write(const Image& image) const { TestBase::WriteFiles(DatabasePath(), image.mst, image.xrf); }
  using test::IndexedDatabase::Write;

  /// What a tool says, without the lines about the opening and the progress.
  template <class Tool, class... Arguments>
  std::string Run(Tool tool, Arguments... arguments) {
    std::ostringstream out;
    result_ = tool(ctx(), "blank", arguments..., out);
    std::istringstream lines(out.str());
    std::string said;
    for (std::string line; std::getline(lines, line);)
      if (!line.starts_with("OpenDB") && !line.starts_with("Diag") && !line.ends_with("%") &&
          !line.starts_with("empty space at the end") && line != "Done")
        said += line + "\n";
    return said;
  }
  std::string MstXrf(bool repair) { return Run(velor_server_proc::VelorDiagMstXrf, repair); }
  std::string Mfn(int from = 0, int to = 0) { return Run(velor_server_proc::VelorDiagMfn, from, to); }
  std::string Lnk() { return Run(velor_server_proc::VelorDiagLnk); }
  std::string RecFt() { return Run(velor_server_proc::VelorDiagRecFT, 0, 0); }
  /// The protocol behind the verdict.
  std::string Rec(const velora::VelorDiagContext& params = {}) {
    const std::string said = Run(velor_server_proc::VelorDiagRec, params);
    return said + Read("workdir/blank_protocol.txt");
  }

  Records Readable() const {
    std::ostringstream ignored;
    int result = 0;
    const velor_32::SpacePointer space(velor_server_proc::VelorOpenDb(ctx(), "blank", ignored, &result));
    Records records;
    if (!space) return records;
    for (int mfn = 1; mfn < std::min(velor_32::Velormaxmfn(space.get()), 1000); ++mfn) {
      const int rc = velor_32::VelorRecord(space.get(), 0, mfn);
      if (rc == 0 || rc == velor_32::kDeleted) records[mfn] = test::FieldsOf(space.get(), 0);
    }
    return records;
  }

  /// What the verifier finds, but for the remains of images, which a repair leaves.
  std::string Remaining() const {
    std::istringstream lines(test::Problems(test::Verify(DatabasePath())));
    std::string remaining;
    for (std::string line; std::getline(lines, line);)
      if (line.find("are no image") == std::string::npos && !line.starts_with("image at"))
        remaining += line + "\n";
    return remaining;
  }

  int result_ = 0;
};

constexpr char kOk[] = "Everything ok\n";
constexpr char kReport[] = "Have report\n";

TEST_F(DiagnosticsTest, NothingIsWrongWithADatabaseInOrder) {
  for (const bool isEmpty : {false, true}) {
    if (!isEmpty) Write(Small());
    EXPECT_EQ(MstXrf(false), kOk);
    EXPECT_EQ(MstXrf(true), kOk);
    EXPECT_EQ(Mfn(), kOk);
    EXPECT_EQ(Rec({.checkEncoding = true}), kOk);
    EXPECT_EQ(Lnk(), kOk);
    EXPECT_EQ(RecFt(), std::string("Fulltext not open\n") + kOk);
    std::ostringstream ignored;
    velor_32::VelorDBEmpty(Open().get());
  }
}

TEST_F(DiagnosticsTest, MasterAndCrossReferenceAreMadeToAgree) {
  const std::string lost = " record offset not found hense must be physically deleted\n";
  const struct {
    const char* why;
    std::function<void(Image&)> damage;
    std::string said;      // by the repair, with " fixed" words
    std::string restored;  // numbers of the records that could not be read before and can be now
    std::string gone;      // physically deleted by the repair
    bool isBeyondRepair = false;
  } cases[] = {
      {"an entry that leads nowhere", [](Image& i) { Poke(i.xrf, 24, 5000); },
       "mfn 3 xrf offset: 5000 mst offset 168 xrf offset fixed\n", "3", ""},
      {"entries that were exchanged",
       [](Image& i) {
         Poke(i.xrf, 24, 234);
         Poke(i.xrf, 36, 168);
       },
       "mfn 3 xrf offset: 234 mst offset 168 xrf offset fixed\n"
       "mfn 4 xrf offset: 168 mst offset 234 xrf offset fixed\n",
       "34", ""},
      {"an entry that was lost", [](Image& i) { std::fill_n(i.xrf.begin(), 12, '\0'); },
       "mfn 1 xrf offset: 0 mst offset 36 xrf offset fixed\n", "1", ""},
      {"a short cross-reference file", [](Image& i) { i.xrf.resize(50); },
       "fsize < xrfOffset\nmfn 5 xrf offset: 0 mst offset 300 xrf offset fixed\nmfn 6 xrf offset: 0" + lost,
       "5", "6"},
      {"a deletion that never was", [](Image& i) { Poke(i.xrf, 32, 2); },
       "mfn 3 xrf offset: 168 mst offset 168 xrf offset fixed\n", "3", ""},
      {"flags that there are none of", [](Image& i) { Poke(i.xrf, 32, 0x10008); },
       "mfn 3 xrf flags: 65544 xrf flags fixed\n", "", ""},
      {"an update that did not reach the entry",
       [](Image& i) {
         Poke(i.xrf, 12, 102);
         Poke(i.mst, 102 + 28, 40);
       },
       "mfn 2 xrf offset: 102 mst offset 366 xrf offset fixed\n", "", ""},
      {"the last image destroyed: the one before it counts",
       [](Image& i) { std::fill_n(i.mst.begin() + 366, 66, 'x'); },
       "read (34) != reclider.mfrl - sizeof(Tlider) (2021161048)\ndamaged space found: 66 bytes, skipped\n"
       "mfn 2 xrf offset: 366 mst offset 102 xrf offset fixed\n",
       "2", ""},
      {"the only image destroyed", [](Image& i) { std::fill_n(i.mst.begin() + 168, 40, '\xFF'); },
       "reclider.mfrl <= 0\ndamaged space found: 66 bytes, skipped\nmfn 3 xrf offset: 168" + lost, "", "3"},
      {"a number above the next one is told", [](Image& i) { Poke(i.mst, 168, 77); },
       "reclider.mfn out of range 77 maxmfn 7\nmfn 3 xrf offset: 168" + lost, "", "3"},
      {"the number of another record: neither is lost", [](Image& i) { Poke(i.mst, 300, 3); },
       "mfn 5 reclider.mfn 3 reclider.mfn fixed\n", "5", ""},
      {"an old image with the number of another record", [](Image& i) { Poke(i.mst, 102, 1); }, "", "", "",
       true},
      {"a length that does not fit, in a record that is read", [](Image& i) { Poke(i.mst, 168 + 4, 90); },
       "directory does not fit reclider.mfrl 90\ndamaged space found: 66 bytes, skipped\n", "", ""},
      {"a directory that lost two bytes of its image, and the entry",
       [](Image& i) {
         Poke(i.mst, 168 + 52, 3);
         std::fill_n(i.xrf.begin() + 24, 12, '\0');
       },
       "mfn 3 xrf offset: 0 mst offset 168 xrf offset fixed\n", "3", "", true},
      {"a length up to the zero bytes, over images whose entries are lost",
       [](Image& i) {
         Poke(i.mst, 168 + 4, 300);
         std::fill_n(i.xrf.begin() + 36, 24, '\0');
         i.mst.resize(1000);
       },
       "directory does not fit reclider.mfrl 300\ndamaged space found: 66 bytes, skipped\n"
       "mfn 4 xrf offset: 0 mst offset 234 xrf offset fixed\n"
       "mfn 5 xrf offset: 0 mst offset 300 xrf offset fixed\n",
       "45", "", true},
      {"a next offset before the last image", [](Image& i) { Poke(i.mst, 8, 300); },
       "Not valid mst file size - Size in cnt= 300 Size of mst= 432 next offset fixed\n", "", ""},
      {"a next offset behind the file", [](Image& i) { Poke(i.mst, 12, 5); },
       "Not valid mst file size - Size in cnt= 21474836912 Size of mst= 432 next offset fixed\n", "", ""},
      {"a master file that was cut", [](Image& i) { i.mst.resize(350); },
       "read (18) != reclider.mfrl - sizeof(Tlider) (34)\ndamaged space found: 50 bytes, skipped\n"
       "mfn 2 xrf offset: 366 mst offset 102 xrf offset fixed\nmfn 5 xrf offset: 300" +
           lost + "Not valid mst file size - Size in cnt= 432 Size of mst= 350 next offset fixed\n",
       "2", "5"},
      {"a next number that is none", [](Image& i) { Poke(i.mst, 4, 0x7FFFFFFF); },
       "failed to allocate 17179869168\n", "", "", true},
      {"a next number of 0", [](Image& i) { Poke(i.mst, 4, 0); }, "failed to allocate 34359738360\n", "", "",
       true},
      {"a control record that was cut", [](Image& i) { i.mst.resize(20); }, "read != sizeof(Tcntmst)\n", "",
       "", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Image image = Small();
    c.damage(image);
    Write(image);
    const Records before = Readable();
    const std::string told = MstXrf(false);
    EXPECT_EQ(told.empty() || told == kOk, c.said.empty()) << told;
    EXPECT_EQ(Read("datai/blank/blank.mst"), image.mst) << "a look changes nothing";
    EXPECT_EQ(Read("datai/blank/blank.xrf"), image.xrf);
    EXPECT_EQ(MstXrf(true), c.said + (c.said.empty() ? kOk : kReport));
    EXPECT_EQ(result_, 0);
    const Records after = Readable();
    std::string restored;
    for (const auto& [mfn, fields] : after)
      if (!before.contains(mfn)) restored += std::to_string(mfn);
    EXPECT_EQ(restored, c.restored);
    for (const auto& [mfn, fields] : before) EXPECT_TRUE(after.contains(mfn)) << mfn;
    for (const char mfn : std::string(c.gone)) {
      const velor_32::SpacePointer space = Open();
      EXPECT_EQ(velor_32::VelorRecord(space.get(), 0, mfn - '0'), velor_32::kPhysicallyDeleted) << mfn;
    }
    if (!c.isBeyondRepair) {
      EXPECT_EQ(Remaining(), "");
    }
    const std::string again = MstXrf(false);
    EXPECT_EQ(again.find("xrf offset"), std::string::npos) << again;
  }
}

TEST_F(DiagnosticsTest, GapsOfAnyLengthHideNoRecord) {
  for (std::size_t length = 1; length <= 70; ++length) {
    for (const bool isLargeNumber : {false, true}) {
      SCOPED_TRACE(std::to_string(length) + (isLargeNumber ? " large" : ""));
      TestBase base;
      for (int i = 0; i < (isLargeNumber ? 300 : 3); ++i) base.Record({{1, "abcde"}});
      Image image{base.Mst(), base.Xrf()};
      const std::size_t at = base.lastImage();
      image.mst.insert(at, length, '\0');
      Poke(image.mst, 8, static_cast<std::uint32_t>(image.mst.size()));
      Write(image);
      const std::string mfn = isLargeNumber ? "300" : "3";
      EXPECT_EQ(MstXrf(true), "empty space found: " + std::to_string(length) + " bytes, skipped\nmfn " + mfn +
                                  " xrf offset: " + std::to_string(at) + " mst offset " +
                                  std::to_string(at + length) + " xrf offset fixed\n" + kReport);
      if (length % 35 == 0) {
        EXPECT_EQ(Remaining(), "");
      }
    }
  }
}

TEST_F(DiagnosticsTest, TheLaterOfTwoImagesCounts) {
  Image image = Small();
  const std::string copy = image.mst.substr(ImageOf(3), kImage);
  image.mst += copy;
  image.mst.replace(image.mst.size() - 10, 5, "THREE");
  Poke(image.mst, 8, static_cast<std::uint32_t>(image.mst.size()));
  Write(image);
  EXPECT_EQ(MstXrf(false), "mfn 3 xrf offset: 168 mst offset 432\nerrors found\n" + std::string(kReport));
  EXPECT_NE(MstXrf(true).find("fixed"), std::string::npos);
  EXPECT_EQ(Readable()[3][0].second, "THREE");
  EXPECT_NE(
      Read("workdir/blank.diagmstxrf.txt").find("mfn 3 xrf offset: 168 mst offset 432 xrf offset fixed\n"),
      std::string::npos);
}

/// The file grows again over what is left of the image, which must not pass for a whole one then.
TEST_F(DiagnosticsTest, ACutImageStaysOne) {
  Image image = Small();
  image.mst.resize(ImageOf(2) + kImage - 8);
  Write(image);
  MstXrf(true);
  const Records repaired = Readable();
  EXPECT_EQ(repaired.at(2)[0].second, "two");
  MstXrf(true);
  EXPECT_EQ(Readable(), repaired);
  EXPECT_EQ(Mfn(), kOk);
}

TEST_F(DiagnosticsTest, EntriesOfNoRecordGo) {
  Image image = Small();
  image.xrf.resize(std::max<std::size_t>(image.xrf.size(), 12 * 20));
  Poke(image.xrf, 12 * 9, 77);
  Write(image);
  EXPECT_EQ(MstXrf(true), "mfn 10 out of range, xrf offset: 77 xrf offset fixed\n" + std::string(kReport));
  EXPECT_EQ(Mfn(), kOk);
}

/// A walk over all records ends with the files, whatever number the control record tells.
TEST_F(DiagnosticsTest, WildNumbersEndWithTheFiles) {
  for (const std::uint32_t next : {0x7FFFFFFFU, 0x80000000U}) {
    Image image = Small();
    Poke(image.mst, 4, next);
    Write(image);
    EXPECT_LE(velor_32::LastMfn(Open().get()), std::max(image.mst.size() / 32, image.xrf.size() / 12));
  }
}

TEST_F(DiagnosticsTest, FragmentsAreRepairedEachInItsFile) {
  const auto part = [](int count) {
    TestBase base;
    for (int i = 0; i < count; ++i) base.Record({{1, "abcde"}});
    base.PokeMst(20, 2).PokeMst(28, 3);
    return base;
  };
  TestBase second = part(2);
  second.PokeEntry(2, 999, 8);
  TestBase::WriteFiles(DatabasePath(), part(3).Mst(), part(3).Xrf());
  std::ofstream(DatabasePath() + ".mst1", std::ios::binary) << second.Mst();
  std::ofstream(DatabasePath() + ".xrf1", std::ios::binary) << second.Xrf();
  EXPECT_EQ(Mfn(), kReport);
  EXPECT_EQ(Mfn(1, 4), kOk);
  EXPECT_EQ(MstXrf(true), "mfn 5 xrf offset: 999 mst offset 85 xrf offset fixed\n" + std::string(kReport));
  EXPECT_EQ(Readable().size(), 5U);
  EXPECT_EQ(Mfn(), kOk);

  const auto areLost = [&](const char* sizes) {
    EXPECT_EQ(MstXrf(false), std::string("read != sizeof(Tcntmst)\nerrors found\n") + kReport);
    EXPECT_EQ(Mfn(), "Not valid mst file size - Size in cnt= " + std::string(sizes) + "\n" + kReport);
    EXPECT_EQ(Rec(), kReport + std::string("4: Error read record.\n"));
    EXPECT_EQ(Rec({.mfnTo = 3}), kOk);
  };
  const std::string mst = DatabasePath() + ".mst1";
  const std::string xrf = DatabasePath() + ".xrf1";
  std::filesystem::rename(xrf, File("kept"));
  areLost("2 Size of mst= 0");
  std::filesystem::rename(File("kept"), xrf);
  std::filesystem::resize_file(mst, 20);
  areLost("36 Size of mst= 20");
  std::filesystem::remove(mst);
  areLost("36 Size of mst= 0");
  Write("datai/blank/blank.mst1", "");
  Write("datai/blank/blank.xrf1", std::string(0x8000, '\0'));
  for (const std::string& said : {MstXrf(true), Mfn(), Rec()}) EXPECT_EQ(said, kOk);
}

TEST_F(DiagnosticsTest, AStoppedRunIsNoVerdictThatAllIsWell) {
  Write(Small());
  const unsigned char stop = 1;
  ctx()->stopFlag = &stop;
  const std::string stopped = "Process stop\n" + std::string(kReport);
  EXPECT_EQ(MstXrf(false), "Process stop\nerrors found\n" + std::string(kReport));
  EXPECT_EQ(MstXrf(true), stopped);
  EXPECT_EQ(Mfn(), stopped);
  EXPECT_EQ(Rec(), stopped + "Process stop\n");
  ctx()->stopFlag = nullptr;
}

TEST_F(DiagnosticsTest, ALockedDatabaseIsLeftAlone) {
  Write(Small());
  velor_32::VelorLockDB(Open().get());
  EXPECT_EQ(MstXrf(true), std::string("Db is locked\n") + kReport);
  EXPECT_EQ(Lnk(), std::string("inverted file error\ndatabase locked\n") + kReport);
  EXPECT_EQ(MstXrf(false), kOk);
  EXPECT_EQ(velor_32::VelorIsDBLocked(Open().get()), velor_32::kLocked) << "the lock is another's";
}

TEST_F(DiagnosticsTest, NumbersAndSizes) {
  const auto notValid = [](const char* wanted, const char* found) {
    return std::string("Not valid mst file size - Size in cnt= ") + wanted + " Size of mst= " + found + "\n";
  };
  const struct {
    const char* why;
    std::function<void(Image&)> damage;
    std::string said;
    std::string bad;  // the list in the protocol
  } cases[] = {
      {"zero bytes behind both files",
       [](Image& i) {
         i.mst.resize(0x100000);
         i.xrf.resize(0x10000);
       },
       "", ""},
      {"a short cross-reference file", [](Image& i) { i.xrf.resize(36); }, notValid("6", "3"), ""},
      {"a short master file", [](Image& i) { i.mst.resize(400); }, notValid("432", "400"), ""},
      {"entries behind the last number", [](Image& i) { Poke(i.mst, 4, 5); }, notValid("4", "6"), ""},
      {"offsets outside, and of another record",
       [](Image& i) {
         Poke(i.xrf, 0, 9999);
         Poke(i.xrf, 24, 20);
         Poke(i.xrf, 36, 168);
       },
       "", "1\n3\n4\n"},
      {"flags", [](Image& i) { Poke(i.xrf, 32, 2), Poke(i.xrf, 68, 10); }, "", "3\n6\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Image image = Small();
    c.damage(image);
    Write(image);
    const std::string protocol = "workdir/blank_protocol_" + std::to_string(getpid()) + ".txt";
    std::filesystem::remove(File(protocol));
    const bool isInOrder = c.said.empty() && c.bad.empty();
    EXPECT_EQ(Mfn(), c.said + (isInOrder ? kOk : kReport));
    EXPECT_EQ(Read(protocol), isInOrder ? "" : c.said + (c.bad.empty() ? "" : "bad mfns\n" + c.bad));
  }
}

TEST_F(DiagnosticsTest, RecordsAreJudgedAndRemoved) {
  const std::size_t at = ImageOf(3);
  const struct {
    const char* why;
    std::size_t offset;  // in the image
    std::uint32_t word;
    const char* line;  // in the protocol; empty for a record in order
    int result;        // of reading after the removal
    bool isStored = true;
  } cases[] = {
      {"version", 24, 0, "3: Error in lider. \n", -603},
      {"base", 16, 40, "3: Error in lider. \n", -603},
      {"no fields", 20, 0, "3: Error in lider. \n", -603},
      {"more fields than there is room for", 20, 900, "3: Error in lider. \n", -603},
      {"number", 0, 9, "3: Error read record.\n", -141, false},
      {"wild length", 4, 0x7FFFFFF0, "3: Error read record.\n", -141, false},
      {"tag", 32, 0, "3: Error in entry. \n", -603},
      {"empty field", 52, 0, "3: Error in entry. Error in lider is corrected. \n", -603},
      {"position of the first field", 36, 2, "3: Error in lider is corrected. \n", -603},
      {"position of the second field", 48, 6, "3: Error in entry. Error in lider is corrected. \n", -603},
      {"length", 4, 70, "3: Error in lider is corrected. \n", 0},
      {"a filling byte", 4, 66, "", 0, false},
      {"length that the directory tells", 4, 0, "", 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Image image = Small();
    Poke(image.mst, at + c.offset, c.word);
    Write(image);
    const Records before = Readable();
    const std::string verdict = *c.line ? kReport : kOk;
    EXPECT_EQ(Rec(), verdict + c.line);
    EXPECT_EQ(Rec({.mfnFrom = 4, .mfnTo = 99}), kOk);
    EXPECT_EQ(Read("datai/blank/blank.mst"), image.mst);
    EXPECT_EQ(Rec({.removeInvalid = true, .exportInvalid = true}), verdict + c.line);
    EXPECT_EQ(velor_32::VelorRecord(Open().get(), 0, 3), c.result);
    if (c.isStored) {
      EXPECT_EQ(Rec(), kOk);
    }
    for (const auto& [mfn, fields] : before) EXPECT_EQ(Readable()[mfn], fields) << mfn;
    const bool isExported = *c.line && c.isStored;
    EXPECT_EQ(Read("workdir/blank_wrong_records.txt").starts_with("#0: 3#8\r\n"), isExported);
  }
}

TEST_F(DiagnosticsTest, BytesOfFields) {
  TestBase().Record({{200, "sound"}}).Record({{200, "a\x01z"}, {300, "\xFFq"}}).WriteTo(DatabasePath());
  const std::string line = "2: \"Bad\" characters in field 200. Error in encoding. ";
  EXPECT_EQ(Rec({.exportValid = true}), kOk);
  EXPECT_EQ(Rec({.checkEncoding = true, .exportValid = true, .exportInvalid = true}), kReport + line + "\n");
  EXPECT_EQ(Read("workdir/blank_records.txt"), "#0: 1#8\r\n#200: sound\r\n*****\r\n");
  EXPECT_EQ(Read("workdir/blank_wrong_records.txt"), "#0: 2#8\r\n#200: a\x01z\r\n#300: \xFFq\r\n*****\r\n");

  const velor_32::SpacePointer holder = Open();
  ASSERT_EQ(velor_32::VelorRecLockTime(holder.get(), 0, 2, 5), 0);
  const velora::VelorDiagContext correct{
      .checkEncoding = true, .replaceInvalid = true, .removeInvalid = true, .exportInvalid = true};
  const std::string locked = "Record is locked, not written. ";
  EXPECT_EQ(Rec(correct), kReport + line + "Unavailable char is corrected. " + locked + "\n");
  EXPECT_EQ(velor_32::VelorRecUnLockTime(holder.get(), 2, 5), 0);
  EXPECT_EQ(Rec(correct), kReport + line + "Unavailable char is corrected. \n");
  EXPECT_EQ(Readable()[2], (Fields{{200, "a z"}, {300, " q"}}));
  EXPECT_NE(Read("workdir/blank_wrong_records.txt").find("a\x01z"), std::string::npos) << "as it was";
  EXPECT_EQ(Rec(correct), kOk);
  EXPECT_EQ(Remaining(), "");
}

TEST_F(DiagnosticsTest, WhatWasSalvagedReplacesNoRecord) {
  TestBase base;
  base.Record({{200, "a\xFF"}, {300, "good"}, {400, "more"}}).PokeMst(kFirst + 32 + 12 + 8, 5000);
  base.WriteTo(DatabasePath());
  const std::string line = "1: Error in entry. Error in lider is corrected. Error in encoding. \n";
  EXPECT_EQ(Rec({.replaceInvalid = true}), kReport + line);
  EXPECT_EQ(Read("datai/blank/blank.mst"), base.Mst());
  EXPECT_EQ(Rec({.replaceInvalid = true, .removeInvalid = true}), kReport + line);
  EXPECT_EQ(Readable()[1], (Fields{{200, "a\xFF"}, {400, "more"}}));
  base.PokeEntry(1, kFirst, 1).WriteTo(DatabasePath());
  EXPECT_EQ(Rec(), kReport + std::string("1: Error read record.\n")) << "a deleted record is read";
}

TEST_F(DiagnosticsTest, BytesBeforeTheDataAreNoReasonToDelete) {
  Image image = Small();
  image.mst.insert(ImageOf(2) + 56, 4, '\0');
  Poke(image.mst, ImageOf(2) + 4, kImage + 4);
  Poke(image.mst, ImageOf(2) + 16, 60);
  Poke(image.mst, 8, static_cast<std::uint32_t>(image.mst.size()));
  Write(image);
  const Records before = Readable();
  EXPECT_EQ(Rec({.removeInvalid = true}), kReport + std::string("2: Error in lider is corrected. \n"));
  EXPECT_EQ(velor_32::VelorRecord(Open().get(), 0, 2), 0);
  EXPECT_EQ(Readable(), before);
  EXPECT_EQ(Rec(), kOk);
}

TEST_F(DiagnosticsTest, WhatCannotBeExportedIsNotRemoved) {
  TestBase().Record({{200, "\xFF"}}).WriteTo(DatabasePath());
  Write("workdir/a", "");
  std::filesystem::create_symlink("/dev/full", File("workdir/blank_wrong_records.txt"));
  const std::string said = Rec({.checkEncoding = true, .removeInvalid = true, .exportInvalid = true});
  EXPECT_EQ(said, "failed to write file " + File("workdir/blank_wrong_records.txt") +
                      "\nError -400\n1: Error in encoding. Record is not exported, not changed. \n");
  EXPECT_EQ(velor_32::VelorRecord(Open().get(), 0, 1), 0);
}

TEST_F(DiagnosticsTest, AReportThatCannotBeCreatedIsAFailure) {
  std::filesystem::remove_all(File("workdir"));
  Write("workdir", "a file");
  EXPECT_EQ(Rec(),
            "failed to open file for writhing " + File("workdir/blank_protocol.txt") + "\nError -400\n");
  EXPECT_EQ(result_, -400);
  MstXrf(true);
  EXPECT_EQ(result_, -400);
  EXPECT_EQ(velor_32::VelorIsDBLocked(Open().get()), 0);
}

TEST_F(DiagnosticsTest, NothingIsWrongWhileOthersWrite) {
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    const velor_32::SpacePointer space = test::OpenSpace(ctx(), DatabasePath());
    for (int i = 0; i < 3000; ++i) Add(space.get(), {{1, std::string(3000, 'x')}});
    isDone = true;
  });
  while (!isDone) {
    const std::string said = MstXrf(false);
    EXPECT_EQ(said.find("errors found"), std::string::npos) << said;
    EXPECT_EQ(Mfn(), kOk);
    EXPECT_EQ(Rec(), kOk);
  }
  writer.join();
}

TEST_F(DiagnosticsTest, PagesAreComparedWithTheirRecords) {
  const std::string empty = TestBase().FullText().Mst();
  TestBase::WriteFiles(DatabasePath(), empty, "");
  std::filesystem::create_directory(DatabasePath() + "--text");
  TestBase::WriteFiles(DatabasePath() + "--text/text", empty, "");
  const velor_32::SpacePointer space = Open();
  velor_32::TVelorSpace* pages = space->textSpace;
  std::string guids[5];
  for (int mfn = 1; mfn <= 4; ++mfn) {
    Add(space.get(), {{955, "^Abook.pdf^N" + std::to_string(mfn == 4 ? 0 : 2)}});
    guids[mfn] = velor_32::VelorGetGuid(space.get(), 0);
  }
  // The first record has its two pages, the second lacks one; the third goes, and leaves one behind.
  const auto addPosting = [this](velor_32::TVelorSpace* to, const std::string& guid, int page) {
    EXPECT_EQ(velor_32::Velorinitterm_write(to, (DatabasePath() + "--text/text").c_str()), 0);
    EXPECT_EQ(velor_32::InsertTerm(to, ("GUID=" + guid).c_str(), {page, 1, 1, 1, 0, 0, 0, 0}), 0);
  };
  for (const int owner : {1, 1, 2, 3}) {
    Add(pages, {{1, guids[owner]}, {5, "7book.pdf"}});
    addPosting(pages, guids[owner], velor_32::Velormfn(pages, 0));
  }
  // Where a damaged file hides living records, their pages are kept.
  const Image sound{Read("datai/blank/blank.mst"), Read("datai/blank/blank.xrf")};
  Image damaged = sound;
  Poke(damaged.mst, 4, 2);
  Write("datai/blank/blank.mst", damaged.mst);
  EXPECT_NE(RecFt().find("Not valid mst file size"), std::string::npos);
  Write("datai/blank/blank.mst", sound.mst);
  Poke(damaged.xrf, 12 + 8, 2 | 256);
  Write("datai/blank/blank.xrf", damaged.xrf);
  EXPECT_NE(RecFt().find("2: Error in xrf entry.\n"), std::string::npos);
  Write("datai/blank/blank.xrf", sound.xrf);
  for (int page = 1; page <= 4; ++page) EXPECT_EQ(velor_32::VelorRecord(pages, 0, page), 0);

  EXPECT_EQ(velor_32::VelorRecPhysDelTime(space.get(), 3, 5), 0);
  addPosting(pages, guids[3], 1);
  const std::string second = "2: GUID=" + guids[2] + " NumPage not corresponds postings in FT\n";
  const std::string stale =
      "1: GUID=" + guids[3] + " in FT BASE not deleted, page of GUID=" + guids[1] + "\n";
  EXPECT_EQ(RecFt(), second + stale + "4: GUID=" + guids[3] +
                         " in FT BASE deleted. TextPageName: 7book.pdf\n" + kReport);
  EXPECT_EQ(velor_32::VelorRecord(pages, 0, 1), 0);
  EXPECT_EQ(velor_32::VelorRecord(pages, 0, 4), velor_32::kDeleted);
  EXPECT_EQ(RecFt(), second + stale + kReport);
  EXPECT_EQ(Read("workdir/blank_ft_protocol.txt"), second + stale);

  // Records are added meanwhile.
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    const velor_32::SpacePointer own = Open();
    for (int i = 0; i < 400; ++i) {
      Add(own.get(), {{955, "^Anew.pdf^N1"}});
      const std::string guid = velor_32::VelorGetGuid(own.get(), 0);
      Add(own->textSpace, {{1, guid}, {5, "new.pdf"}});
      addPosting(own->textSpace, guid, velor_32::Velormfn(own->textSpace, 0));
    }
    isDone = true;
  });
  while (!isDone) {
    const std::string said = RecFt();
    EXPECT_EQ(said.find(" in FT BASE deleted"), std::string::npos) << said;
    EXPECT_EQ(said.find(": Error"), std::string::npos) << said;
  }
  writer.join();
  EXPECT_EQ(Run(velor_server_proc::VelorDiagRec, velora::VelorDiagContext{}),
            "Everything ok\nFTDB. Everything ok\n");
}

class DictionaryDamageTest : public DiagnosticsTest {
 protected:
  DictionaryDamageTest() {
    Write("datai/blank/blank.fst", "1 0 (v1/)\n");
    const velor_32::SpacePointer space = Open();
    for (int i = 0; i < 300; ++i) Add(space.get(), {{1, "term" + std::to_string(i)}, {1, "all of them"}});
    EXPECT_NE(Actualize().find("Done"), std::string::npos);
    for (const char* extension : {".n01", ".l01", ".ifp", ".mst", ".xrf"})
      files_[extension] = Read(std::string("datai/blank/blank") + extension);
  }
  void Damage(const std::string& extension, const std::function<void(std::string&)>& damage) {
    for (const auto& [name, bytes] : files_) Write("datai/blank/blank" + name, bytes);
    std::string bytes = files_[extension];
    damage(bytes);
    Write("datai/blank/blank" + extension, bytes);
  }
  std::map<std::string, std::string> files_;
};

TEST_F(DictionaryDamageTest, IsTold) {
  const auto said = [](const std::string& lines) { return "inverted file error\n" + lines + "\n" + kReport; };
  // A leaf and its first key.
  const std::string& leaves = files_[".l01"];
  const auto word = [&](std::size_t at) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(leaves[at + i]);
    return value;
  };
  const std::uint32_t item = word(16);
  const std::string key = leaves.substr(item & 0xFFFF, item >> 16);
  const std::uint32_t segment = word(20);
  const struct {
    const char* why;
    const char* extension;
    std::function<void(std::string&)> damage;
    std::string said;
  } cases[] = {
      {"nothing", ".ifp", [](std::string&) {}, kOk},
      {"control record", ".ifp", [](std::string& f) { Poke(f, 8, 0x7FFFFFFF); }, said("error in IFP cntrec")},
      {"cut postings file", ".ifp", [](std::string& f) { f.resize(12); }, said("error in IFP cntrec")},
      {"root", ".n01", [](std::string& f) { Poke(f, 0, 77); }, said("error in file N01")},
      {"child", ".n01", [](std::string& f) { Poke(f, 20, 0x7FFFFFF0); }, said("error in file N01")},
      {"count of keys", ".n01", [](std::string& f) { Poke(f, 12, 0xFFFF0000); }, said("error in file N01")},
      {"number of a leaf", ".l01", [](std::string& f) { Poke(f, 0, 99); }, said("error in file L01")},
      {"next leaf", ".l01", [](std::string& f) { Poke(f, 8, 0xFFFFFFFF); }, said("error in file L01")},
      {"offset of postings", ".l01", [](std::string& f) { Poke(f, 20, 3); },
       said("error if file IFP Key=" + key)},
      {"count of postings", ".ifp", [&](std::string& f) { Poke(f, segment + 8, 0x7FFFFFFF); },
       said("error if file IFP Key=" + key)},
      {"a chain that leads to itself", ".ifp",
       [&](std::string& f) {
         Poke(f, segment, segment);
         Poke(f, segment + 4, 0);
       },
       said("error if file IFP Key=" + key)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Damage(c.extension, c.damage);
    EXPECT_EQ(Lnk(), c.said);
    EXPECT_EQ(velor_32::VelorIsDBLocked(Open().get()), 0);
  }
}

TEST_F(DictionaryDamageTest, IsCountedWhereItIsTooMuchToTell) {
  Damage(".ifp", [](std::string& file) { std::fill(file.begin() + 64, file.end(), '\xFF'); });
  const std::string said = Lnk();  // 300 of the 301 terms lie behind
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 103) << said;
  EXPECT_TRUE(said.ends_with("\nerror if file IFP: 200 more keys\n" + std::string(kReport))) << said;
}

TEST_F(DiagnosticsTest, WildFragmentsInTheControlRecordEndWithTheFiles) {
  Image image = Small();
  Poke(image.mst, 20, 33);
  Poke(image.mst, 28, 0x7FFFFFFF);
  Write(image);
  EXPECT_EQ(Rec().size(),
            strlen(kReport) + 3 * strlen("7: Error read record.\n") + 4 * strlen("10: Error read record.\n"));
}

void DamageAtRandom(std::mt19937& random, std::string& file) {
  if (file.empty()) return;
  const std::size_t at = random() % file.size();
  const std::size_t length = std::min<std::size_t>(1 + random() % (random() % 4 ? 8 : 200), file.size() - at);
  const unsigned kind = random() % 8;
  if (kind == 0) return file.resize(at);
  for (std::size_t i = at; i < at + length; ++i)
    file[i] = kind == 1 ? '\0' : static_cast<char>(kind == 2 ? random() % 4 : random());
}

TEST_F(DictionaryDamageTest, AnywhereNeitherStopsNorLocks) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const char* extension = std::array{".n01", ".l01", ".ifp"}[round % 3];
    Damage(extension, [&](std::string& file) { DamageAtRandom(random, file); });
    Lnk();
    EXPECT_EQ(result_, 0) << round;
    EXPECT_EQ(velor_32::VelorIsDBLocked(Open().get()), 0) << round;
  }
}

TEST_F(DiagnosticsTest, RepairOfRandomDamageLosesNothing) {
  std::mt19937 random(11);
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    Image image = Small();
    for (unsigned i = 0; i < 1 + random() % 3; ++i)
      DamageAtRandom(random, random() % 2 ? image.mst : image.xrf);
    Write(image);
    const Records before = Readable();
    MstXrf(true);
    Mfn();
    Rec({.checkEncoding = true, .removeInvalid = true, .exportInvalid = true});
    const Records after = Readable();
    for (const auto& [mfn, fields] : before)
      EXPECT_EQ(after.contains(mfn) ? after.at(mfn) : Fields{}, fields) << mfn;
  }
}

}  // namespace
