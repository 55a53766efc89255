#include <iostream>

#include "format/format_parts.h"
#include "index/inv_context.h"
#include "index/record_index.h"
#include "search/format_search.h"
#include "tool/dispatcher.h"
#include "tool/signals.h"
#include "tool/tool_locale.h"
#include "tool/usage.h"
#include "utils/net_util.h"

int main(int argc, char** argv) {
  tool::SetupLocale();
  if (argc < 2) {
    tool::usage(std::cout);
    return 0;
  }

  tool::SetupSignals();
  utils::NetUtil::Init();
  xpft::InstallFormatParts();
  indexing::InstallInvContext();
  recif::InstallRecordIndex();
  Search18::InstallFormatSearch();
  const int status = tool::Dispatch(argc, argv);
  utils::NetUtil::Close();
  return status;
}
