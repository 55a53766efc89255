// Word forms from the sample database.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "search/morph_search.h"
#include "search/morphology.h"
#include "search/tmthrd_32.h"
#include "storage/app_context.h"
#include "support/dictionary.h"
#include "support/indexed_database.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace {

/// The word forms of the sample: each record is a word, the main form first.
std::vector<std::vector<std::string>> ReadSample(const std::string& path) {
  std::string text;
  EXPECT_TRUE(utils::TextUtil::FileReadAllBytes(path, text));
  std::vector<std::vector<std::string>> words(1);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("*****")) {
      words.emplace_back();
    } else {
      words.back().push_back(line.substr(5, line.size() - 6));
    }
  }
  words.pop_back();
  return words;
}

/// An installation whose database "blank" holds the word forms.
class WordForms : public test::IndexedDatabase {
 public:
  WordForms() : words(ReadSample(File("sample/morph.txt"))) {
    std::filesystem::copy_file(File("sample/morph.fst"), File("datai/blank/blank.fst"),
                               std::filesystem::copy_options::overwrite_existing);
    const velor_32::SpacePointer space = Open();
    for (const auto& word : words) {
      test::Fields fields;
      for (const std::string& form : word) fields.push_back({fields.empty() ? 10 : 20, form});
      Add(space.get(), fields);
    }
    Actualize();
    ctx()->mainIni->Put("MAIN", "MORPH", "blank");
  }

  std::vector<std::vector<std::string>> words;
};

struct MorphologyTest : testing::Test {
  static void SetUpTestSuite() { forms_ = std::make_unique<WordForms>(); }
  static void TearDownTestSuite() { forms_.reset(); }

  MorphologyTest() : space_(velor_32::Velorinit(forms_->ctx())) {
    const velor_01::TifpItemPosting at[] = {
        {1, 610, 1, 1}, {2, 610, 1, 1}, {3, 700, 1, 1}, {4, 610, 1, 1}, {5, 610, 1, 1}};
    const char* const terms[] = {"K=КНИГА", "K=КНИГАМИ", "K=КНИГУ", "K=WROTE", "T=КНИГУ"};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(dictionary_.Insert(terms[i], at[i]), 0);
    EXPECT_EQ(velor_32::Velorinitmst(space(), dictionary_.path().c_str(), 1), 0);
    EXPECT_EQ(velor_32::Velorinitterm(space(), dictionary_.path().c_str()), 0);
  }
  ~MorphologyTest() override { Tmthrd_32::ClearMorph(space()); }

  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }

  [[nodiscard]] std::vector<int> Search(std::string expression) const {
    velor_01::TIntList result;
    std::ostringstream out;
    EXPECT_EQ(velor_server_proc::FreeSearchWithMorph(space(), expression, &result, out), 0);
    said_ = out.str();
    return {result.Items().begin(), result.Items().end()};
  }

  static std::unique_ptr<WordForms> forms_;
  mutable std::string said_;

 private:
  test::Dictionary dictionary_;
  velor_32::SpacePointer space_;
};
std::unique_ptr<WordForms> MorphologyTest::forms_;

TEST_F(MorphologyTest, FindsEveryForm) {
  const struct {
    const char* expression;
    std::vector<int> want;
  } cases[] = {
      {"K=КНИГА@", {1, 2, 3}},
      {"K=КНИГЕ@", {1, 2, 3}},  // a form that no record has leads to the others
      {"K=WRITING@", {4}},
      {"T=КНИГОЙ@", {5}},  // the forms get the prefix of the term
      {"\"K=КНИГА@\"/(700)", {3}},
      {"K=КНИГА@ ^ K=КНИГУ", {1, 2}},
      {"K=ХХХ@", {}},
      {"K=КНИГА", {1}},
      {"K=КНИГА@$", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expression);
    EXPECT_EQ(Search(c.expression), c.want);
    EXPECT_EQ(said_, "");
  }
}

TEST_F(MorphologyTest, FollowsTheSettings) {
  const auto set = [](const char* key, const char* value) {
    forms_->ctx()->mainIni->Put("MAIN", key, value);
  };
  set("UpDownSearchResult", "1");
  set("BlockSearch", "1");
  EXPECT_EQ(Search("K=КНИГА@"), (std::vector<int>{3, 2, 1}));
  set("UpDownSearchResult", "0");
  set("BlockSearch", "0");

  set("MORPH", "");
  EXPECT_EQ(Search("K=КНИГА@"), std::vector<int>());
  EXPECT_EQ(space()->app->morphSpace, nullptr);
  set("MORPH", "nowhere");
  EXPECT_EQ(Search("K=КНИГА"), std::vector<int>({1}));
  EXPECT_EQ(said_, "OpenDB nowhere failed: -5555\n");
  set("MORPH", "blank");
}

TEST_F(MorphologyTest, AFullTextSpaceSearchesTheStemOfAnUnknownWord) {
  ASSERT_EQ(Tmthrd_32::InitMorph(space(), "blank"), 0);
  const auto expand = [&](const char* term) {
    velor_01::TStringList forms;
    Tmthrd_32::ExpandWord(space(), term, &forms);
    std::string all;
    for (const auto& item : forms.Items()) all += (all.empty() ? "" : " ") + std::string(item.text);
    return all;
  };
  EXPECT_EQ(expand("K=ЖУРАВЛЯМИ"), "K=ЖУРАВЛЯМИ");
  EXPECT_EQ(expand("K=WOLF"), "K=WOLF K=WOLVES");
  space()->isFullText = true;
  EXPECT_EQ(expand("K=ЖУРАВЛЯМИ"), "K=ЖУРАВЛ$");
  EXPECT_EQ(expand("K=ЖУКИ"), "K=ЖУКИ");  // too short to be cut
  EXPECT_EQ(expand("K=WOLF"), "K=WOLF K=WOLVES");
  space()->isFullText = false;

  EXPECT_EQ(space()->app->morphPrefix, "K=");
  EXPECT_EQ(expand("WOLF"), "WOLF K=WOLF K=WOLVES");
}

TEST_F(MorphologyTest, TheSampleHoldsWhatItSays) {
  ASSERT_EQ(Tmthrd_32::InitMorph(space(), "blank"), 0);
  EXPECT_GT(forms_->words.size(), 500U);
  std::set<std::string> mainForms;
  for (const auto& word : forms_->words) {
    SCOPED_TRACE(word[0]);
    EXPECT_TRUE(mainForms.insert(word[0]).second);
    EXPECT_EQ(std::set<std::string>(word.begin(), word.end()).size(), word.size());
    velor_01::TStringList forms;
    Tmthrd_32::ExpandWord(space(), "K=" + utils::StringUtils::ToUpper(word.back()), &forms);
    for (const std::string& form : word)
      EXPECT_GE(forms.IndexOf("K=" + utils::StringUtils::ToUpper(form)), 0) << form;
  }
}

}  // namespace
