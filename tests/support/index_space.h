#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "support/format_installation.h"
#include "support/memory_space.h"
#include "utils/int_list.h"

namespace test {

/// Before the first word is looked at: only such a locale knows letters outside ASCII.
inline void UseUtf8Locale() {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
}

/// The alphabet without a table file: Latin letters and all codes above ASCII.
inline void SetDefaultAlphabet(unsigned char actab[256]) {
  for (int code = 1; code < 256; ++code)
    actab[code - 1] = (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') || code >= 128;
}

/// Adds a line to the table of a space.
inline void AddLine(velor_01::TVelorSpace* space, int tag, int method, const std::string& format) {
  space->fstLines->AddObject(format, tag);
  space->fstMethods->Add(method);
}

/// A space in memory that makes terms.
class IndexSpace : private FormatParts, public MemorySpace {
 public:
  IndexSpace() {
    UseUtf8Locale();
    SetDefaultAlphabet(space()->actab);
  }
};

}  // namespace test
