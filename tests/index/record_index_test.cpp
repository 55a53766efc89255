// The dictionary follows the records: the update for one record, and the tool that runs it over a database.

#include "index/record_index.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>

#include "storage/bulk_writer.h"
#include "storage/database_lock.h"
#include "storage/fields.h"
#include "storage/record_lock.h"
#include "storage/term_update.h"
#include "storage/xrf_info.h"
#include "support/indexed_database.h"
#include "support/verify.h"
#include "utils/int_list.h"

namespace {

using test::Fields;
using Postings = std::set<std::string>;
using velor_32::TVelorSpace;

class RecordIndexTest : public testing::Test, public test::IndexedDatabase {
 protected:
  void Table(const std::string& name, const std::string& text) const { Write("datai/blank/" + name, text); }
  void ExpectSound() const { EXPECT_EQ(test::Problems(test::Verify(DatabasePath())), ""); }
};

struct TableLine {
  int tag;
  int field;
};
/// Fields 10 and 30 go under one tag, so that one posting can come from two lines.
constexpr TableLine kTable[] = {{10, 10}, {20, 20}, {10, 30}};

/// The records of the model, and what their dictionary must hold.
class Model {
 public:
  struct Record {
    std::map<int, std::vector<std::string>> fields;
    bool isDeleted = false;
  };

  Record& At(int mfn) { return records_[mfn]; }
  [[nodiscard]] int Count() const { return static_cast<int>(records_.size()); }

  [[nodiscard]] Postings Dictionary() const {
    Postings all;
    for (const auto& [mfn, record] : records_)
      for (const TableLine& line : kTable) AddLine(mfn, record, line, &all);
    return all;
  }

 private:
  static void AddLine(int mfn, const Record& record, const TableLine& line, Postings* all) {
    const auto place = record.fields.find(line.field);
    if (record.isDeleted || place == record.fields.end()) return;
    int pos = 0;
    for (const std::string& text : place->second)
      all->insert(text + " " + std::to_string(mfn) + " " + std::to_string(line.tag) + " 1 " +
                  std::to_string(++pos));
  }

  std::map<int, Record> records_;
};

class ModelTest : public RecordIndexTest {
 protected:
  void Run(unsigned seed);

 private:
  int Random(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  void ChangeSomething(TVelorSpace* space);
  void FillField(Model::Record* record);
  void Put(TVelorSpace* space, int mfn, const Model::Record& record);

  std::mt19937 random_;
  Model model_;
};

void ModelTest::FillField(Model::Record* record) {
  std::vector<std::string>& texts = record->fields[10 * (1 + Random(3))];
  texts.clear();
  for (int i = Random(4); i > 0; --i) texts.push_back(std::string(1, static_cast<char>('A' + Random(5))));
}

void ModelTest::Put(TVelorSpace* space, int mfn, const Model::Record& record) {
  velor_32::Velornewrec(space, 0);
  if (mfn > 0) velor_32::VelorRecord(space, 0, mfn);
  Fields fields;
  for (const auto& [tag, texts] : record.fields)
    for (const std::string& text : texts) fields.emplace_back(tag, text);
  test::SetFields(space, 0, fields);
  if (record.isDeleted) {
    velor_32::Velorrecdel(space, 0);
  } else {
    velor_32::Velorrecundelete(space, 0);
  }
  Store(space, Random(4) == 0);
}

void ModelTest::ChangeSomething(TVelorSpace* space) {
  const bool isNew = model_.Count() == 0 || Random(4) == 0;
  const int mfn = isNew ? model_.Count() + 1 : 1 + Random(model_.Count());
  Model::Record& record = model_.At(mfn);
  if (isNew || Random(3) > 0) FillField(&record);
  if (!isNew && Random(4) == 0) record.isDeleted = !record.isDeleted;
  Put(space, isNew ? 0 : mfn, record);
}

void ModelTest::Run(unsigned seed) {
  random_.seed(seed);
  for (int batch = 0; batch < 40; ++batch) {
    SCOPED_TRACE(batch);
    {
      const velor_32::SpacePointer space = Open();
      if (batch % 2 == 0) velor_32::VelorBulkStart(space.get());
      for (int i = Random(12); i >= 0; --i) ChangeSomething(space.get());
    }
    if (batch % 10 == 9) {
      Actualize(1, 1 + Random(model_.Count()));
    }
    Actualize();
    ASSERT_EQ(Dictionary(), model_.Dictionary());
  }
  ExpectSound();
}

TEST_F(ModelTest, TheWholeTable) {
  Table("blank.fst", "10 0 (v10/)\n20 0 (v20/)\n10 0 (v30/)\n");
  Run(1);
}

TEST_F(ModelTest, LinesByTheirFields) {
  Table("blank.ifs", "10,10 0 (v10/)\n20,20 0 (v20/)\n10,30 0 (v30/)\n");
  Run(2);
}

TEST_F(RecordIndexTest, OnlyLinesThatReadAChangedFieldRun) {
  Table("blank.ifs",
        "1,10 0 v10\n2,20,10 0 v20\n3,30 0 v30\n4,0 0 v40\n3,50 0 v50\n5,60 0 (v60/)\n6 0 v6\n7 0 v7\n");
  const struct {
    const char* why;
    Fields now;
    Fields old;
    const char* tags;
  } cases[] = {
      {"nothing changed", {{10, "a"}, {20, "b"}}, {{20, "b"}, {10, "a"}}, ""},
      {"a field without lines", {{99, "a"}}, {{99, "b"}}, ""},
      {"one text", {{10, "a"}}, {{10, "b"}}, "1 2 4 "},
      {"longer", {{20, "aa"}}, {{20, "a"}}, "2 4 "},
      {"a further occurrence", {{60, "a"}, {60, "b"}}, {{60, "a"}}, "5 4 "},
      {"an occurrence gone", {{60, "a"}}, {{60, "a"}, {60, "b"}}, "5 4 "},
      {"occurrences changed places", {{60, "a"}, {60, "b"}}, {{60, "b"}, {60, "a"}}, "5 4 "},
      {"a field gone, and in the order of the changes", {{20, "c"}}, {{10, "a"}, {20, "b"}}, "2 4 1 "},
      {"a line without a list reads the field of its tag", {{7, "a"}}, {}, "7 4 "},
      {"with the other line of its tag", {{30, "a"}}, {}, "3 4 3 "},
  };
  const velor_32::SpacePointer space = Open();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    test::SetFields(space.get(), 0, c.now);
    test::SetFields(space.get(), 2, c.old);
    recif::SpecialFSTModify_NEW(space.get(), 0, 2);
    std::string tags;
    for (int i = 0; i < space->fstLines->GetCount(); ++i)
      tags += std::to_string(space->fstLines->GetNumObject(i)) + " ";
    EXPECT_EQ(tags, c.tags);
    EXPECT_EQ(space->fstMethods->GetCount(), space->fstLines->GetCount());
  }
  recif::RestoreTable(space.get());
  EXPECT_EQ(space->fstLines->GetCount(), 8);
}

TEST_F(RecordIndexTest, AChangeThatNoLineReadsLeavesTheDictionaryAlone) {
  Table("blank.ifs", "10,10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "a"}});
  EXPECT_EQ(velor_32::VelorRecIfUpdateTime(space.get(), 0, 1, 5), 0);
  const std::string before = Read("datai/blank/blank.ifp");
  Change(space.get(), 1, {{10, "a"}, {11, "b"}});
  EXPECT_EQ(velor_32::VelorRecIfUpdateTime(space.get(), 0, 1, 5), 0);
  EXPECT_TRUE(velor_32::VelorIsRealyActualized(space.get(), 1));
  EXPECT_EQ(Read("datai/blank/blank.ifp"), before);
}

TEST_F(RecordIndexTest, ResultsOfOneUpdate) {
  Table("blank.fst", "10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "a"}});
  Add(space.get(), {{10, "b"}});
  velor_32::VelorRecPhysDelTime(space.get(), 2, 5);
  EXPECT_EQ(recif::VelorRecIfUpdate0(nullptr, 0, 1), -100);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 5, 1), -102);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), -1, 1), -102);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 2), -605);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 3), -605);
  ASSERT_EQ(velor_32::VelorLockDB(space.get()), 0);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), -300);
  velor_32::VelorUnLockDB(space.get());
  EXPECT_TRUE(Dictionary().empty());
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), 0);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), 0) << "nothing is left to do";
  EXPECT_EQ(Dictionary(), Postings{"A 1 10 1 1"});
  std::filesystem::remove(DatabasePath() + ".l01");
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), -301);
}

TEST_F(RecordIndexTest, WithOneShelfTheOldVersionTakesThePlaceOfTheNew) {
  Table("blank.fst", "10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "a"}});
  velor_32::VelorRecIfUpdateTime(space.get(), 0, 1, 5);
  Change(space.get(), 1, {{10, "b"}});
  ASSERT_EQ(velor_32::VelorInitAltShelf(space.get(), 1), 0);
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), 0);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{10, "a"}}));
  EXPECT_EQ(Dictionary(), Postings{"B 1 10 1 1"});
}

TEST_F(RecordIndexTest, OfAllVersionsOneIsTheBase) {
  const velor_32::SpacePointer space = Open();
  const auto exclusive = recif::IfUpdateGetMem_new(space.get());
  ASSERT_NE(exclusive, nullptr);
  bool noOldVersion = true;
  const auto dump = [&](int mfn) {
    velor_32::VelorRecord(space.get(), 0, mfn);
    return CreateOldDump(space.get(), 0, 1, exclusive->space.get(), mfn, noOldVersion);
  };
  Add(space.get(), {{10, "a"}});
  EXPECT_EQ(dump(0), -140);
  EXPECT_EQ(dump(2), -140);
  EXPECT_EQ(dump(1), -201) << "never actualized";
  EXPECT_TRUE(velor_32::VelorIsActualized(space.get(), 0));
  Change(space.get(), 1, {{10, "b"}});
  Change(space.get(), 1, {{10, "c"}});
  EXPECT_EQ(dump(1), 0);
  EXPECT_FALSE(noOldVersion);
  EXPECT_EQ(test::FieldsOf(space.get(), 1), (Fields{{10, "a"}})) << "the one in between was never actualized";
  velor_32::VelorRecordBack(space.get(), 1, 1, 2);
  EXPECT_FALSE(velor_32::VelorIsActualized(space.get(), 1)) << "it is never taken again";
  Delete(space.get(), 1);
  EXPECT_EQ(dump(1), 0);
  EXPECT_EQ(test::FieldsOf(space.get(), 1), (Fields{{10, "c"}}));
  velor_32::VelorRecord(space.get(), 0, 1);
  velor_32::Velorrecundelete(space.get(), 0);
  Store(space.get());
  EXPECT_EQ(dump(1), 0);
  EXPECT_TRUE(noOldVersion) << "a deleted version has no terms";
}

TEST_F(RecordIndexTest, DifferenceOfTwoVersions) {
  const velor_32::SpacePointer space = Open();
  const auto exclusive = recif::IfUpdateGetMem_new(space.get());
  const struct {
    const char* why;
    const char* now;
    const char* old;
    Postings before;
    Postings after;
  } cases[] = {
      {"inserted and deleted", "AB", "BC", {"B 1 1 1 1", "C 1 1 1 1"}, {"A 1 1 1 1", "B 1 1 1 1"}},
      {"untouched, even if the dictionary lost it", "A", "A", {}, {}},
      {"once more than before", "AA", "A", {}, {"A 1 1 1 1"}},
      {"once less, but still there", "A", "AA", {"A 1 1 1 1"}, {"A 1 1 1 1"}},
      {"both gone", "", "AA", {"A 1 1 1 1"}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const velor_01::TifpItemPosting posting{1, 1, 1, 1};
    for (const char* term : {"A", "B", "C"}) velor_32::DeleteTerm(exclusive->space.get(), term, posting);
    for (const std::string& line : c.before)
      velor_32::InsertTerm(exclusive->space.get(), line.substr(0, 1).c_str(), posting);
    exclusive->ClearTerms();
    for (const char letter : std::string_view(c.now)) {
      exclusive->postings.AddObject(posting, 0);
      exclusive->newTerms.AddObject(std::string(1, letter), exclusive->postings.GetCount() - 1);
    }
    for (const char letter : std::string_view(c.old)) {
      exclusive->postings.AddObject(posting, 1);
      exclusive->oldTerms.AddObject(std::string(1, letter), exclusive->postings.GetCount() - 1);
    }
    EXPECT_EQ(Insert_and_Delete_Terms(exclusive->space.get(), &exclusive->newTerms, &exclusive->oldTerms,
                                      &exclusive->postings),
              0);
    EXPECT_EQ(Dictionary(), c.after);
  }
}

/// Leaves a record as an update does that is cut off behind the clearing of the marks.
void CutOffUpdate(TVelorSpace* space, int mfn) {
  const auto exclusive = recif::IfUpdateGetMem_new(space);
  bool noOldVersion = false;
  velor_32::VelorRecord(space, 0, mfn);
  EXPECT_EQ(CreateOldDump(space, 0, 1, exclusive->space.get(), mfn, noOldVersion), 0);
}

TEST_F(RecordIndexTest, ARangeOrAListRepairsWhatACrashLeft) {
  for (const char* table : {"blank.fst", "blank.ifs"}) {
    SCOPED_TRACE(table);
    Table(table, std::string("10") + (table[6] == 'i' ? ",10" : "") + " 0 v10\n");
    const int first = velor_32::Velormaxmfn(Open().get());
    {
      const velor_32::SpacePointer space = Open();
      for (const char* text : {"keep", "old", "gone"}) Add(space.get(), {{10, text}});
      Actualize();
      Change(space.get(), first + 1, {{10, "new"}});
      CutOffUpdate(space.get(), first + 1);
      Delete(space.get(), first + 2);
      CutOffUpdate(space.get(), first + 2);
    }
    EXPECT_EQ(Actualize(), "Requesting record status list\nNothing to actualize\nDone\n");
    const auto line = [](const char* term, int mfn) {
      return std::string(term) + " " + std::to_string(mfn) + " 10 1 1";
    };
    EXPECT_EQ(Dictionary().count(line("OLD", first + 1)), 1U) << "the crash left it";
    const std::string list =
        Write("list.txt", std::to_string(first + 1) + "\n" + std::to_string(first + 2) + "\n");
    EXPECT_EQ(Actualize(0, 0, list), "Loading mfn list from file " + list +
                                         "\n2 items loaded\nActualizing list\nNot actual count 2\n"
                                         "Not actual full texts count 0\nDone\n");
    const Postings all = Dictionary();
    EXPECT_EQ(all.count(line("KEEP", first)), 1U);
    EXPECT_EQ(all.count(line("OLD", first + 1)), 0U);
    EXPECT_EQ(all.count(line("NEW", first + 1)), 1U);
    EXPECT_EQ(all.count(line("GONE", first + 2)), 0U);
    const velor_32::SpacePointer space = Open();
    EXPECT_EQ(velor_32::VelorRecord(space.get(), 0, first + 1), 0);
    EXPECT_EQ(velor_32::VelorRecord(space.get(), 0, first + 2), -603) << "deleted as before";
    Actualize(first, 0);
    EXPECT_EQ(Dictionary(), all);
  }
  ExpectSound();
}

TEST_F(RecordIndexTest, AStoreBehindTheCrashIsRepairedToo) {
  Table("blank.fst", "10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "first"}});
  Actualize();
  Change(space.get(), 1, {{10, "second"}});
  CutOffUpdate(space.get(), 1);
  Change(space.get(), 1, {{10, "third"}});
  Actualize(1, 1);
  EXPECT_EQ(Dictionary(), Postings{"THIRD 1 10 1 1"});
}

TEST_F(RecordIndexTest, TheToolTellsWhatItDoes) {
  Table("blank.fst", "10 0 v10\n");
  EXPECT_EQ(Actualize(), "Requesting record status list\nNothing to actualize\nDone\n");
  EXPECT_EQ(Actualize(1, 5), "Using mfn range from 1 to 0\nNothing to actualize\nDone\n");
  const velor_32::SpacePointer space = Open();
  for (const char* text : {"a", "b", "c"}) Add(space.get(), {{10, text}});
  Delete(space.get(), 2);
  EXPECT_EQ(Actualize(),
            "Requesting record status list\nActualizing list\nNot actual count 3\n"
            "Not actual full texts count 0\nDone\n");
  EXPECT_EQ(Actualize(2, 100),
            "Using mfn range from 2 to 3\nActualizing list\nNot actual count 2\n"
            "Not actual full texts count 0\nDone\n");
  EXPECT_EQ(velor_32::VelorReadVersion(space.get(), 1), 1);
  EXPECT_EQ(velor_32::VelorReadVersion(space.get(), 3), 3);
  velor_32::VelorRecPhysDelTime(space.get(), 2, 5);
  EXPECT_EQ(Actualize(0, 2),
            "Using mfn range from 1 to 2\nError setting mfn 2 to unactual state \nActualizing list\n"
            "Not actual count 2\nNot actual full texts count 0\nError -605\n");
  EXPECT_EQ(Dictionary(), (Postings{"A 1 10 1 1", "C 3 10 1 1"}));

  std::ostringstream out;
  velor_01::TIntList list;
  list.Add(3);
  Change(space.get(), 3, {{10, "d"}});
  EXPECT_EQ(velor_server_proc::VelorActualIf(ctx(), "blank", &list, out), 0);
  EXPECT_EQ(out.str(), "ActualIf\nActualizing list\n");
  EXPECT_EQ(Dictionary(), (Postings{"A 1 10 1 1", "D 3 10 1 1"}));
}

TEST_F(RecordIndexTest, ALockedRecordKeepsItsLockAndVersion) {
  Table("blank.fst", "10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "a"}});
  Actualize();
  ASSERT_EQ(velor_32::VelorRecLockTime(space.get(), 0, 1, 5), 0);
  Actualize(1, 1);
  EXPECT_EQ(velor_32::VelorReadVersion(space.get(), 1), 1);
  EXPECT_EQ(velor_32::VelorIsRealyLocked(space.get(), 1), -602);
  EXPECT_TRUE(velor_32::VelorIsRealyActualized(space.get(), 1));
  Store(space.get());
}

TEST_F(RecordIndexTest, AFileReplacedDuringABulkRunIsOpenedAnew) {
  Table("blank.fst", "10 0 v10\n");
  const velor_32::SpacePointer space = Open();
  velor_32::VelorBulkStart(space.get());
  for (const char* text : {"a", "b"}) {
    Add(space.get(), {{10, text}});
    velor_32::VelorRecIfUpdateTime(space.get(), 0, velor_32::Velormfn(space.get(), 0), 5);
    for (const char* extension : {".n01", ".l01", ".ifp"}) {
      const std::string path = DatabasePath() + extension;
      std::filesystem::copy_file(path, path + "_new");
      std::filesystem::rename(path + "_new", path);
    }
  }
  EXPECT_EQ(Dictionary(), (Postings{"A 1 10 1 1", "B 2 10 1 1"}));
}

TEST_F(RecordIndexTest, TermFiles) {
  const velor_32::SpacePointer space = Open();
  const std::string longTerm(300, 'L');
  const std::string file = Write("terms.ln1",
                                 "1 2 3 4 0 0 0 0 ONE\r\n2 2 3 4 0 0 0 0 TWO WORDS \n1 2 3 4 0 0 0 ONE\n"
                                 "\n1 2 3 4 0 0 0 0 \n1 2 3 4 0 0 0 x ONE\n1  2 3 4 0 0 0 0 ONE\n"
                                 "3 2 3 4 0 0 0 0 " +
                                     longTerm + "\n4 2 3 4 0 0 0 0 LAST");
  const std::string same = Read("terms.ln1");
  EXPECT_EQ(velor_32::VelorRecIfUpdateFullTextTime(space.get(), 5, file.c_str(), false), 0);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(Dictionary(), (Postings{"ONE 1 2 3 4", "TWO WORDS  2 2 3 4", longTerm.substr(0, 253) + " 3 2 3 4",
                                    "LAST 4 2 3 4"}));
  EXPECT_EQ(velor_32::VelorRecIfUpdateFullTextTime(space.get(), 5, file.c_str(), true), -404);
  Write("terms.ln1", same);
  EXPECT_EQ(velor_32::VelorRecIfUpdateFullTextTime(space.get(), 5, file.c_str(), true), 0);
  EXPECT_TRUE(Dictionary().empty());

  std::string many;
  for (int i = 1; i <= 100'001; ++i)
    many += std::to_string(i) + " 1 1 1 0 0 0 0 T" + std::to_string(i % 7) + "\n";
  Write("terms.ln1", many);
  EXPECT_EQ(recif::VelorRecIfUpdateFullText(space.get(), file.c_str(), false), 0);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(Dictionary().size(), 100'001U);
}

TEST_F(RecordIndexTest, WordsOfPagesGoToTheCompanion) {
  const std::string fullText("\0\0\0\0\0\0\0\1\0\0\0\x24\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\x10\0\0\0\0\0\0\0\0",
                             36);
  Write("datai/blank/blank.mst", fullText);
  std::filesystem::create_directory(File("datai/blank/blank--text"));
  for (const char* extension : {"mst", "xrf", "ifp", "l01", "n01"})
    Write(std::string("datai/blank/blank--text/text.") + extension, extension[0] == 'm' ? fullText : "");
  Table("blank.fst", "10 0 v10\n27 5 '/KT=/',v27\n");
  velor_32::SpacePointer space = Open();
  Add(space.get(), {{10, "title"}, {27, "red oryx"}});
  Actualize();
  Change(space.get(), 1, {{10, "title"}, {27, "red roan"}});
  Actualize();
  space = Open();
  EXPECT_EQ(test::ReadDictionary(space.get()), Postings{"TITLE 1 10 1 1"});
  EXPECT_EQ(test::ReadDictionary(space->textSpace), (Postings{"KT=RED 1 27 1 1", "KT=ROAN 1 27 1 2"}));
  Delete(space.get(), 1);
  Actualize();
  space = Open();
  EXPECT_TRUE(test::ReadDictionary(space.get()).empty());
  EXPECT_TRUE(test::ReadDictionary(space->textSpace).empty());
}

TEST_F(RecordIndexTest, AStopRequestBetweenARecordAndItsIndexWaits) {
  Table("blank.fst", "1 0 (v1/)\r\n");
  const velor_32::SpacePointer space = Open();
  Add(space.get(), {{1, "WHOLE"}});
  app::StopProcess = 1;
  EXPECT_EQ(recif::VelorRecIfUpdate0(space.get(), 0, 1), 0);
  app::StopProcess = 0;
  EXPECT_EQ(Dictionary(), Postings{"WHOLE 1 1 1 1"});
}

}  // namespace
