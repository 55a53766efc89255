#pragma once

#include <exception>
#include <new>

#include "storage/codes.h"

namespace velor_32 {

/// Runs the body of a public storage function and lets no exception out: what the standard library throws (it
/// can only be a lack of memory) becomes -100.
template <class Body>
int AtEdge(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::exception&) {
    return kNoMemory;
  }
}

}  // namespace velor_32
