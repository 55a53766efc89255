#pragma once

#include <string>

#include "support/open_space.h"

namespace test {

/// A space without files, for records in memory.
class MemorySpace {
 public:
  MemorySpace() : context_(MakeContext()), space_(velor_32::Velorinit(context_.get())) {
    velor_32::VelorInitSpaceDummy(space_.get());
  }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }
  [[nodiscard]] app::VelorAppContext* context() const { return context_.get(); }

 private:
  ContextPointer context_;
  velor_32::SpacePointer space_;
};

inline std::string Repeat(const std::string& text, std::size_t times) {
  std::string out;
  for (; times > 0; --times) out += text;
  return out;
}

}  // namespace test
