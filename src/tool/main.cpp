#include <iostream>

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
  const int status = tool::Dispatch(argc, argv);
  utils::NetUtil::Close();
  return status;
}
