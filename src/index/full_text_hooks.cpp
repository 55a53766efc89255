#include "index/full_text_hooks.h"

namespace indexing {

FullTextHooks& DefaultFullTextHooks() {
  static FullTextHooks hooks;
  return hooks;
}

}  // namespace indexing
