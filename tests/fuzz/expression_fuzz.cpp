// Search expressions: the input is compiled, searched for in a small dictionary, and taken for the words of a
// ranked search. A step refers to earlier ones only, and what is found are records in order.

#include <algorithm>
#include <cstdlib>
#include <string>

#include "search/search18.h"
#include "search/tokenizer.h"
#include "storage/term_update.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"
#include "utils/string_utils.h"

namespace {

constexpr int kRecords = 40;

class Catalogue {
 public:
  Catalogue() {
    const std::string path = dir_.File("d");
    test::TestBase().WriteTo(path);
    if (velor_32::Velorinitterm_write(space(), path.c_str()) != 0) std::abort();
    int seed = 0;
    for (const char* term : {"A", "AB", "B", "C", "K=AB", "Ж"}) {
      ++seed;
      for (int mfn = seed; mfn <= kRecords; mfn += 1 + seed % 3)
        Insert(term, {mfn, 200 + 10 * (mfn % 2), 1 + mfn % 3, 1 + (mfn * seed) % 5});
    }
  }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return memory_.space(); }

 private:
  void Insert(const char* term, const velor_01::TifpItemPosting& posting) const {
    if (velor_32::InsertTerm(space(), term, posting) != 0) std::abort();
  }

  test::TempDir dir_;
  test::MemorySpace memory_;
};

void CheckSteps(const std::string& expression) {
  velor_01::TStringList steps;
  tokenizer::UnpackSearchExpression(expression, &steps, 1);
  const bool hasOwnMarks = expression.find('#') != std::string::npos;
  for (int i = 0; i < steps.GetCount(); ++i) {
    const int code = steps.GetNumObject(i);
    if (code < 0 || code >= static_cast<int>(tokenizer::kOperators.size())) std::abort();
    for (const std::string_view operand : utils::StringUtils::SplitLines(steps.Get(i))) {
      if (operand.empty()) std::abort();
      if (!hasOwnMarks && tokenizer::ReferredStep(operand) > i) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Catalogue catalogue;
  const std::string expression(reinterpret_cast<const char*>(data), size);
  CheckSteps(expression);

  velor_01::TIntList result;
  if (Search18::FreeVelorSearchNew(catalogue.space(), expression, &result) != 0) std::abort();
  for (int i = 0; i < result.GetCount(); ++i)
    if (result.Get(i) < 1 || result.Get(i) > kRecords || (i > 0 && result.Get(i) <= result.Get(i - 1)))
      std::abort();

  velor_01::TStringList words;
  std::string prefix;
  std::string text;
  tokenizer::ConvertToFullText(&words, expression, prefix, text);
  return 0;
}
