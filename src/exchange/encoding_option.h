#pragma once

#include <cstdint>

namespace velora {

/// The encoding of an exchange file. Any other number stands for UTF-8 too.
struct EncodingOption {
  enum Type : std::int32_t {
    kDos = 0,      ///< DOS code page 866
    kWindows = 1,  ///< single-byte Windows code page 1251
    kUtf8 = 2,
  };
};

}  // namespace velora
