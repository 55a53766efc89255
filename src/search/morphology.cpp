#include "search/morphology.h"

#include <algorithm>
#include <ostream>
#include <set>

#include "index/stemmer.h"
#include "search/posting_cache.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/record_read.h"
#include "storage/term_read.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace Tmthrd_32 {

using utils::StringUtils;

namespace {

constexpr std::string_view kKeyPrefix = "K=";
constexpr int kMainFormTag = 10;
constexpr int kFormTag = 20;
constexpr std::size_t kShortestStemmed = 5;  // characters of a word whose ending is cut

/// Gathers word forms, none twice, in the order in which they come.
class FormList {
 public:
  FormList(std::string_view prefix, TStringList* forms) : prefix_(prefix), forms_(forms) {}
  void Add(std::string_view word) {
    const std::string upper = StringUtils::ToUpper(StringUtils::Trim(utils::TextUtil::ReadAllTextUtf8(word)));
    if (!upper.empty()) AddTerm(prefix_ + upper);
  }
  void AddTerm(const std::string& term) {
    if (known_.insert(term).second) forms_->Add(term);
  }

 private:
  std::string prefix_;
  TStringList* forms_;
  std::set<std::string> known_;
};

/// The beginning of a term up to its "=", or the prefix of the morphology search for a term without one.
std::string PrefixOf(TVelorSpace* space, std::string_view term) {
  const std::size_t sign = term.find('=');
  if (sign == std::string_view::npos) return space->app->morphPrefix;
  std::string prefix(term.substr(0, sign + 1));
  if (space->app->morphPrefix.empty()) InitMorphPrefix(space, prefix);
  return prefix;
}

/// The term of a full-text dictionary with the ending of its word cut off; "" for a word that has none, or is
/// short.
std::string Trunc(const std::string& term, const std::string& prefix) {
  std::wstring word = utils::TextUtil::ReadUTF8(std::string_view(term).substr(prefix.size()));
  if (word.size() < kShortestStemmed) return {};
  const int ending = backup::FLEXMN(word);
  if (ending < 1) return {};
  word.resize(word.size() - static_cast<std::size_t>(ending));
  return prefix + utils::TextUtil::ConvertToUTF8(word);
}

void AddRecordForms(TVelorSpace* morph, FormList& forms) {
  const int count = velor_32::Velornfields(morph, 0);
  bool hasMain = false;
  for (int i = 1; i <= count; ++i) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(morph, 0, i, &tag);
    const bool isMain = tag == kMainFormTag && !hasMain;
    if (isMain || tag == kFormTag) forms.Add(text);
    hasMain |= isMain;
  }
}

}  // namespace

bool HasMorphology(const TVelorSpace* space) {
  return space && space->app && space->app->morphSpace;
}

void ExpandWord(TVelorSpace* space, const std::string& term, TStringList* forms) {
  TVelorSpace* const morph = space->app->morphSpace;
  const std::string prefix = PrefixOf(space, term);
  const std::string_view word = std::string_view(term).substr(term.starts_with(prefix) ? prefix.size() : 0);
  FormList list(prefix, forms);

  const std::string key = std::string(kKeyPrefix) + StringUtils::ToUpper(word);
  char termBuffer[velor_01::kTermBufferSize] = {};
  key.copy(termBuffer, velor_01::kLongestTerm);
  if (isisfindNew(morph, termBuffer, key, {}, true) != velor_32::kOk) {
    const std::string stem = space->isFullText ? Trunc(term, prefix) : std::string();
    list.AddTerm(stem.empty() ? term : stem + "$");
    return;
  }
  list.AddTerm(term);
  while (isisnxtpostnew(morph, true) == velor_32::kOk) {
    const int rc = velor_32::VelorRecord(morph, 0, isispostingmfn(morph, true));
    if (rc == velor_32::kOk) AddRecordForms(morph, list);
  }
}

int InitMorph(TVelorSpace* space, const std::string& dbName) {
  if (!space || !space->app) return velor_32::kNoSpace;
  app::VelorAppContext& app = *space->app;
  app.morphPrefix.clear();
  if (app.morphSpace && app.morphName == dbName) return velor_32::kOk;
  ClearMorph(space);
  if (dbName.empty()) return velor_32::kOk;
  std::ostream nowhere(nullptr);
  int result = velor_32::kOk;
  app.morphSpace = velor_server_proc::VelorOpenDb(&app, dbName, nowhere, &result);
  if (app.morphSpace) app.morphName = dbName;
  return result;
}

void InitMorphPrefix(TVelorSpace* space, const std::string& prefix) {
  if (space && space->app) space->app->morphPrefix = prefix;
}

void ClearMorph(TVelorSpace* space) {
  if (!space || !space->app) return;
  velor_32::Velorclose(space->app->morphSpace);
  space->app->morphSpace = nullptr;
  space->app->morphName.clear();
  space->app->morphPrefix.clear();
}

void InitFlexList(std::string& term, TStringList* forms) {
  const std::size_t sign = term.find('$');
  if (sign == std::string::npos) return;
  const std::string endings = term.substr(sign + 1);
  term.resize(sign);
  if (endings.empty()) return;
  for (std::size_t begin = 0; begin <= endings.size();) {
    const std::size_t comma = std::min(endings.find(',', begin), endings.size());
    forms->Add(term + std::string(StringUtils::Trim(std::string_view(endings).substr(begin, comma - begin))));
    begin = comma + 1;
  }
}

}  // namespace Tmthrd_32
