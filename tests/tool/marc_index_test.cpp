// Real MARC 21 records, imported and indexed by the tables that come along: every word of a title is found.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>

#include "storage/fields.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/term_read.h"
#include "support/memory_space.h"
#include "support/program_runner.h"
#include "support/shared_data.h"
#include "support/verify.h"
#include "utils/string_utils.h"

namespace {

/// The words of a subfield: runs of letters of the alphabet table (ASCII and all other characters), with
/// their numbers. Texts with characters that the table may see otherwise are left out by the caller.
std::vector<std::string> WordsOf(std::string_view text) {
  std::vector<std::string> words(1);
  for (const char c : text) {
    if (std::isalpha(static_cast<unsigned char>(c))) {
      words.back() += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

class MarcIndex : public testing::TestWithParam<const char*> {};

TEST_P(MarcIndex, FindsEveryWordOfTheTitles) {
  const std::string source = test::SharedData() + "/data/marc/nz_natlib_marc21_utf8.mrc";
  if (!std::filesystem::exists(source)) GTEST_SKIP() << "no MARC files";
  const test::ProgramDir dir;
  dir.CopyShare();
  dir.Run({"newdb", "-d", "nz", "-f", "NZ", "-fr"});
  const test::RunResult imported = dir.Run({"import", "-d", "nz", "-f", source, "-iso", "-t", "frommarc"});
  ASSERT_NE(imported.out.find("Records imported 1001"), std::string::npos) << imported.out;
  std::filesystem::copy_file(dir.File("datai/deposit/marc21.fst"), dir.File("datai/nz/nz.fst"));
  const test::RunResult indexed = dir.Run({GetParam(), "-d", "nz"});
  ASSERT_NE(indexed.out.find("\nDone\n"), std::string::npos) << indexed.out << indexed.err;
  EXPECT_EQ(test::Problems(test::Verify(dir.File("datai/nz/nz"))), "");

  const test::MemorySpace memory;
  velor_32::TVelorSpace* space = memory.space();
  ASSERT_EQ(velor_32::Velorinitmst(space, dir.File("datai/nz/nz").c_str(), 2), 0);
  ASSERT_EQ(velor_32::Velorinitterm(space, dir.File("datai/nz/nz").c_str()), 0);
  std::mt19937 random(4);
  int checked = 0;
  for (int i = 0; i < 200; ++i) {
    const int mfn = 1 + static_cast<int>(random() % 1001);
    if (velor_32::VelorRecord(space, 0, mfn) != 0) continue;
    std::string_view title;
    velor_32::getsubfield(velor_32::FieldText(space, 0, velor_32::Velorfieldn(space, 0, 245, 1)), &title,
                          'a');
    if (std::any_of(title.begin(), title.end(), [](char c) { return static_cast<unsigned char>(c) > 127; }))
      continue;
    int place = 0;
    for (const std::string& word : WordsOf(title)) {
      ++checked;
      EXPECT_EQ(velor_32::VelorFindPosting(space, ("T=" + word).c_str(), {mfn, 245, 1, ++place}), 1)
          << mfn << " " << word << " " << place;
    }
  }
  EXPECT_GT(checked, 500);
}

INSTANTIATE_TEST_SUITE_P(Tools, MarcIndex, testing::Values("actualif", "dict"));

}  // namespace
