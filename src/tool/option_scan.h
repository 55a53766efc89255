#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "utils/text_util.h"

// The scanner of the tools' command lines. Each tool declares its options as a table of rows that name the
// member of its option record that an option fills.
//
// Scripts depend on these properties of the walk:
// - it looks at every word, also at those that are values of an earlier option: in "-d -r" the "-r" is the
//   value of -d and the flag -r at once;
// - an option with a value counts only with a word behind it; in last place it is ignored;
// - a later occurrence overwrites an earlier one;
// - names are compared exactly, unknown words are passed over.

namespace tool {

/// A choice among several words: stores `value` in the member.
template <typename Options>
struct Choice {
  std::int32_t Options::*member;
  std::int32_t value;
};

/// One option of a tool that keeps its options in a record of type Options.
template <typename Options>
struct OptionRow {
  std::string_view name;
  /// A text or a number takes the next word (what is no whole decimal number gives 0); a flag or a choice is
  /// the bare word.
  std::variant<std::string Options::*, std::int32_t Options::*, bool Options::*, Choice<Options>> target;
  /// The bare word does not count in last place.
  bool isIgnoredLast = false;
};

/// Stores one option. `value` is the next word, null in last place.
template <typename Options>
void StoreOption(const OptionRow<Options>& row, const char* value, Options* options) {
  if (value == nullptr && row.isIgnoredLast) return;
  if (const auto* flag = std::get_if<bool Options::*>(&row.target)) {
    options->** flag = true;
  } else if (const auto* choice = std::get_if<Choice<Options>>(&row.target)) {
    options->*(choice->member) = choice->value;
  } else if (value == nullptr) {
    return;
  } else if (const auto* text = std::get_if<std::string Options::*>(&row.target)) {
    options->** text = value;
  } else if (const auto* number = std::get_if<std::int32_t Options::*>(&row.target)) {
    options->** number = utils::TextUtil::Int32ParseExact(value, 0);
  }
}

/// Walks the words behind the program name and fills `options`.
template <typename Options>
void ScanOptions(int argc, char** argv, std::span<const OptionRow<Options>> rows, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    const char* next = i + 1 < argc ? argv[i + 1] : nullptr;
    for (const OptionRow<Options>& row : rows) {
      if (word == row.name) StoreOption(row, next, options);
    }
  }
}

}  // namespace tool
