#include "storage/fields.h"

#include <gtest/gtest.h>

#include <random>

#include "storage/codes.h"
#include "storage/shelf.h"
#include "support/open_space.h"

namespace {

using namespace velor_32;
using test::Fields;

/// A space without files holds records in memory.
class FieldsTest : public testing::Test {
 protected:
  FieldsTest() : context_(test::MakeContext()), space_(Velorinit(context_.get())) {
    EXPECT_EQ(VelorInitSpaceDummy(space_.get()), kOk);
  }
  test::ContextPointer context_;
  SpacePointer space_;
};

TEST_F(FieldsTest, BadShelvesAndSpaces) {
  EXPECT_EQ(Velornfields(nullptr, 0), kNoSpace);
  EXPECT_EQ(Velornfields(space_.get(), 1), kBadShelf);
  EXPECT_EQ(Velornfields(space_.get(), -1), kBadShelf);
  EXPECT_STREQ(Velorfield(space_.get(), 7, 1, nullptr), "");
  const SpacePointer closed(Velorinit(context_.get()));
  EXPECT_EQ(Velorfldadd(closed.get(), 0, 1, 0, "x"), kNoSpace);
}

TEST_F(FieldsTest, ArgumentRules) {
  TVelorSpace* space = space_.get();
  EXPECT_EQ(Velorfieldn(space, 0, 200, 1), 1) << "an empty record gives the first free occurrence";
  EXPECT_EQ(Velorfldadd(space, 0, 0, 0, "x"), kOk);
  EXPECT_EQ(Velorfldadd(space, 0, -5, 0, "x"), kOk);
  EXPECT_EQ(Velornfields(space, 0), 0) << "a tag below 1 is dropped";
  EXPECT_EQ(Velorfldadd(space, 0, 1, 0, nullptr), kBadArgument);
  EXPECT_EQ(Velorfldadd(space, 0, 1, 0, ""), kBadArgument);
  EXPECT_EQ(Velorfldadd(space, 0, 1, 0, "x", -1), kBadArgument);
  EXPECT_EQ(Velorfldaddempty(space, 0, 1, 0), kOk);
  EXPECT_EQ(FindShelf(space, 0)->leader->length, 44);
  EXPECT_EQ(Velorfldrep(space, 0, 0, "x"), kBadArgument);
  EXPECT_EQ(Velorfldrep(space, 0, 2, "x"), kBadArgument);
  EXPECT_EQ(Velorfieldn(space, 0, 1, 2), 0);
}

TEST_F(FieldsTest, ReplacingWithTheSameLengthKeepsThePlace) {
  TVelorSpace* space = space_.get();
  test::SetFields(space, 0, {{1, "abc"}, {2, "def"}});
  Velorfldrep(space, 0, 1, "xyz");
  EXPECT_EQ(FindShelf(space, 0)->directory()[0].pos, 0);
  Velorfldrep(space, 0, 1, "longer");
  EXPECT_EQ(FindShelf(space, 0)->directory()[0].pos, 3) << "data is in order of arrival";
  EXPECT_EQ(FindShelf(space, 0)->directory()[1].pos, 0);
  EXPECT_EQ(test::FieldsOf(space, 0), (Fields{{1, "longer"}, {2, "def"}}));
}

TEST_F(FieldsTest, AFieldThatFillsTheCapacityMakesTheShelfGrow) {
  TVelorSpace* space = space_.get();
  const std::string almost(velor_01::kDefaultCapacity - 1, 'a');
  ASSERT_EQ(Velorfldadd(space, 0, 1, 0, almost.c_str()), kOk);
  EXPECT_EQ(FindShelf(space, 0)->capacity, velor_01::kDefaultCapacity);
  ASSERT_EQ(Velorfldadd(space, 0, 1, 0, "b"), kOk);
  EXPECT_EQ(FindShelf(space, 0)->capacity, 2 * velor_01::kDefaultCapacity + 1);
  EXPECT_EQ(test::FieldsOf(space, 0), (Fields{{1, almost}, {1, "b"}}));
}

TEST_F(FieldsTest, TextsThatLieInTheRecordItself) {
  TVelorSpace* space = space_.get();
  test::SetFields(space, 0, {{1, "first"}, {2, std::string(31000, 's')}});
  ASSERT_EQ(Velorfldadd(space, 0, 3, 1, Velorfield(space, 0, 2, nullptr)), kOk)
      << "the shelf grows under the text";
  int tag = 0;
  int length = 0;
  const char* inData = Velorfield(space, 0, 2, &tag, &length);
  ASSERT_EQ(Velorfldrep(space, 0, 1, inData, length), kOk);
  EXPECT_EQ(test::FieldsOf(space, 0), (Fields{{3, "first"}, {1, "first"}, {2, std::string(31000, 's')}}));
}

TEST_F(FieldsTest, Subfields) {
  TVelorSpace* space = space_.get();
  const struct {
    const char* why;
    const char* field;
    const char* codes;
    const char* want;
  } cases[] = {
      {"no list gives all", "lead^aOne^BTwo", "", "lead^aOne^BTwo"},
      {"before the first mark", "lead^aOne", "^*", "lead"},
      {"no mark at all", "lead", "^*", "lead"},
      {"upper case wins", "^aone^Atwo", "a", "two"},
      {"lower case serves", "^aone", "A", "one"},
      {"joined in the order of the list", "^aone^btwo", "ba", "twoone"},
      {"marks in the list are passed over", "^aone^btwo", "^a^b", "onetwo"},
      {"an absent code gives an empty text", "^aone", "z", ""},
      {"the first occurrence counts", "^aone^atwo", "a", "one"},
      {"a code named twice never passes the scratch area", "^aone", "aaa", "oneoneone"},
      {"a mark as the last byte", "^aone^", "^b", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    test::SetFields(space, 0, {{1, c.field}});
    EXPECT_STREQ(Velorfield(space, 0, 1, c.codes), c.want);
  }
  std::string_view value = "untouched";
  EXPECT_EQ(getsubfield("no mark", &value, '*'), 0);
  EXPECT_EQ(value, "untouched");
  EXPECT_EQ(getsubfield("", &value, 'a'), 0);
}

/// One random change, applied to the shelf and to a plain list.
void ChangeBoth(std::mt19937& random, TVelorSpace* space, Fields* model) {
  const auto pick = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const int count = static_cast<int>(model->size());
  const int index = pick(count + 3) - 1;  // also outside
  const bool inside = index >= 1 && index <= count;
  const int tag = 1 + pick(5);
  const std::string text(static_cast<std::size_t>(pick(20) == 0 ? pick(20000) : pick(40)),
                         static_cast<char>('a' + tag));
  const auto place = model->begin() + (inside ? index - 1 : count);
  switch (pick(4)) {
    case 0:
    case 1:
      if (Velorfldadd(space, 0, tag, index, text.data(), static_cast<int>(text.size())) == kOk)
        model->insert(place, {tag, text});
      break;
    case 2:
      Velorfldaddempty(space, 0, tag, index);
      model->insert(place, {tag, ""});
      break;
    default:
      Velorfldrep(space, 0, index, text.data(), static_cast<int>(text.size()));
      if (!inside) break;
      if (text.empty()) {
        model->erase(place);
      } else {
        place->second = text;
      }
  }
}

TEST_F(FieldsTest, RandomChangesAgreeWithAPlainList) {
  std::mt19937 random(7);
  for (int round = 0; round < 20; ++round) {
    Velornewrec(space_.get(), 0);
    Fields model;
    for (int step = 0; step < 300; ++step) {
      ChangeBoth(random, space_.get(), &model);
      const velor_01::TRecordShelf& record = *FindShelf(space_.get(), 0);
      ASSERT_EQ(record.leader->base, 32 + 12 * record.leader->nvf);
      ASSERT_EQ(record.data[UsedData(record)], '\0');
    }
    ASSERT_EQ(test::FieldsOf(space_.get(), 0), model) << "round " << round;
  }
}

}  // namespace
