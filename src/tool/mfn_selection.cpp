#include "tool/mfn_selection.h"

#include <ostream>

#include "tool/usage.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

namespace tool {
namespace {

using utils::TextUtil;

bool HasBounds(const SelectionOptions& options) {
  return options.mfnFrom > 0 || options.mfnTo > 0;
}

// One way of selection at a time. A sequential expression is no way of its own, it filters the others.
bool IsContradictory(const SelectionOptions& options) {
  const bool isRange = !options.range.empty();
  const bool isList = !options.listFile.empty();
  const bool isSearch = !options.search.empty();
  if (isRange && (isList || isSearch || HasBounds(options))) return true;
  if (isList && (isSearch || HasBounds(options))) return true;
  return isSearch && HasBounds(options);
}

// "from-to", split at the first "-"; a text without one selects nothing.
void ParseRange(const std::string& range, std::int32_t* mfnFrom, std::int32_t* mfnTo) {
  const std::size_t dash = range.find('-');
  if (dash == std::string::npos) return;
  *mfnFrom = TextUtil::Int32ParseExact(range.substr(0, dash), 0);
  *mfnTo = TextUtil::Int32ParseExact(range.substr(dash + 1), 0);
}

bool CheckListExists(const std::string& path, std::ostream& out) {
  if (utils::PathUtil::IsFile(path)) return true;
  out << "Mfn list file not exists: " << path << '\n';
  return false;
}

bool CheckOrder(std::int32_t mfnFrom, std::int32_t mfnTo, std::ostream& out) {
  if (mfnFrom < 1 || mfnTo < 1 || mfnFrom <= mfnTo) return true;
  out << "Incorrect range specified\n";
  return false;
}

bool LoadList(const std::string& path, MfnSelection* selection, std::ostream& out) {
  if (!CheckListExists(path, out)) return false;
  out << "Loading mfn list from file " << path << '\n';
  selection->list = std::make_unique<velor_01::TIntList>();
  selection->list->LoadFromFile(path.c_str());
  selection->mode = MfnSelection::kList;
  if (selection->list->GetCount() > 0) return true;
  out << "Empty mfn list from file " << path << '\n';
  return false;
}

}  // namespace

bool SelectRecords(std::string_view word, const SelectionOptions& options, MfnSelection* selection,
                   std::ostream& out) {
  selection->search = TextUtil::ReadAllTextUtf8(options.search);
  selection->scan = TextUtil::ReadAllTextUtf8(options.scan);
  if (IsContradictory(options)) {
    usage_tool(word, out);
    return false;
  }

  selection->mfnFrom = options.mfnFrom;
  selection->mfnTo = options.mfnTo;
  ParseRange(options.range, &selection->mfnFrom, &selection->mfnTo);
  if (!options.listFile.empty()) return LoadList(options.listFile, selection, out);
  if (!options.search.empty()) {
    selection->mode = MfnSelection::kSearch;
    return true;
  }
  return CheckOrder(selection->mfnFrom, selection->mfnTo, out);
}

bool SelectByNumber(std::string_view word, std::string_view allText, SelectionOptions* options,
                    std::ostream& out) {
  if (IsContradictory(*options)) {
    usage_tool(word, out);
    return false;
  }
  if (!options->listFile.empty()) return CheckListExists(options->listFile, out);

  ParseRange(options->range, &options->mfnFrom, &options->mfnTo);
  if (!CheckOrder(options->mfnFrom, options->mfnTo, out)) return false;
  if (!HasBounds(*options)) out << allText << '\n';
  return true;
}

}  // namespace tool
