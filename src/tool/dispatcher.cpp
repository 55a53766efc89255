#include "tool/dispatcher.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>

#include "tool/tools.h"
#include "tool/usage.h"
#include "utils/string_utils.h"

namespace tool {
namespace {

struct Tool {
  std::string_view word;  // lower case
  int (*run)(int argc, char** argv);
};

constexpr Tool kTools[] = {
    {"actualif", main_actualif},   {"dict", main_dict},           {"terms", main_terms},
    {"sort", main_sort},           {"loaddict", main_loaddict},   {"newdb", main_newdb},
    {"dropdb", main_dropdb},       {"webadddb", main_webadddb},   {"webdeldb", main_webdeldb},
    {"lockdb", main_lockdb},       {"unlockdb", main_unlockdb},   {"unlockmfn", main_unlockmfn},
    {"emptydb", main_emptydb},     {"emptyftdb", main_emptyftdb}, {"import", main_import},
    {"export", main_export},       {"global", main_global},       {"batch", main_batch},
    {"diagrec", main_diagrec},     {"diagrecft", main_diagrecft}, {"diagmfn", main_diagmfn},
    {"diaglnk", main_diaglnk},     {"reorgif", main_reorgif},     {"reorgmf", main_reorgmf},
    {"reorgexmf", main_reorgexmf}, {"format", main_format},       {"ftinput", main_ftinput},
    {"ftcache", main_ftcache},     {"delcells", main_delcells},   {"cells", main_cells},
    {"exportif", main_exportif},   {"pdfclean", main_pdfclean},   {"fmtprint", main_fmtprint},
    {"fst2ifs", main_fst2ifs},     {"recupdate", main_recupdate}, {"diagmstxrf", main_diagmstxrf},
    {"mergedb", main_mergedb},     {"multiload", main_multiload}, {"cleanmtx", main_cleanmtx},
};

}  // namespace

int Dispatch(int argc, char** argv) {
  const std::string word = utils::StringUtils::ToLower(argv[1]);
  const auto found = std::ranges::find(kTools, std::string_view(word), &Tool::word);
  if (found != std::ranges::end(kTools)) return found->run(argc, argv);

  usage(std::cout);
  return 0;
}

}  // namespace tool
