#include "tool/tool_locale.h"

#include <clocale>
#include <initializer_list>

namespace tool {

const char* SetupLocale() {
  for (const char* name : {"en_US.UTF-8", "C.UTF-8"}) {
    if (std::setlocale(LC_ALL, name) != nullptr) return name;
  }
  return nullptr;
}

}  // namespace tool
