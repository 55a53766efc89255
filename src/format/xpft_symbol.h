#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The tokens of the format language. xpft_lexer.h reads them.
namespace xpft {

enum class Symbol : std::uint8_t {
  kNone,  // no token: after an error, or where the lexer found none
  kEnd,

  // Tokens with a value.
  kInteger,      // fits into 32 bits
  kLongInteger,  // fits into 64 bits
  kFloat,
  kIdentifier,
  kUncondLiteral,
  kRawLiteral,
  kCondLiteral,
  kEscLiteral,
  kRepLiteral,
  kSubfield,
  kNumVar,
  kStrVar,
  kExtFunc,
  kExtFmt,
  kExtFmtQuoted,

  // Signs.
  kComma,
  kSlash,
  kPoint,
  kHash,
  kPercent,
  kLeftParen,
  kRightParen,
  kStar,
  kPlus,
  kMinus,
  kSemicolon,
  kLeftBracket,
  kRightBracket,
  kColon,
  kAssign,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,

  // Words: fields, spacing, modes.
  kV,
  kG,
  kD,
  kN,
  kC,
  kX,
  kMpl,
  kMpu,
  kMhl,
  kMhu,
  kMdl,
  kMdu,

  // Control and logic.
  kIf,
  kThen,
  kElse,
  kFi,
  kSelect,
  kCase,
  kElseCase,
  kEndSel,
  kWhile,
  kBreak,
  kContinue,
  kExit,
  kAnd,
  kOr,
  kNot,
  kIn,
  kA,
  kP,

  // Numeric functions.
  kMfn,
  kVer,
  kMaxMfn,
  kVal,
  kRsum,
  kRmin,
  kRmax,
  kRavr,
  kL,
  kLr,
  kNpost,
  kNpst,
  kNocc,
  kOcc,
  kIocc,
  kSize,
  kType,
  kTag,
  kArgn,
  kInstr,
  kSeconds,
  kMath,
  kRegMatch,

  // String functions.
  kF,
  kS,
  kRef,
  kFmt,
  kCat,
  kGetEnv,
  kPutEnv,
  kMd5,
  kFileMd5,
  kFileName,
  kFilePath,
  kFileExt,
  kArg,
  kNewRec,
  kDb,
  kMstName,
  kDate,
  kDateX,
  kLeft,
  kRight,
  kMid,
  kSs,
  kReplace,
  kRegReplace,
  kTrim,
  kLtrim,
  kRtrim,
  kNewLine,
  kSort,
  kCitype,
  kEval,

  // Commands and parameter words.
  kProc,
  kSystem,
  kTrace,
  kSave,
  kDelete,
  kLast,
  kUpdMst,
  kUpdIf,
  kUpdAll,
  kDateTime,
  kDateOnly,
  kSrtCase,
  kSrtNoCase,
  kSrtNum,
  kSrtAsc,
  kSrtDesc,
};

inline constexpr std::size_t kSymbolCount = static_cast<std::size_t>(Symbol::kSrtDesc) + 1;
inline constexpr std::size_t kLongestWord = 10;  // letters of REGREPLACE

/// The symbol of an upper-case word; kNone when the language has no such word.
[[nodiscard]] Symbol FindKeyword(std::string_view word);

/// The upper-case word of a symbol; empty when the symbol is no word.
[[nodiscard]] std::string_view KeywordOf(Symbol symbol);

/// The symbol of a byte that is a token on its own; kNone for all others.
[[nodiscard]] Symbol CharClass(char c);

/// For each symbol the number of its row in a table of rows with a `symbol`, or kNoRow.
inline constexpr std::uint8_t kNoRow = 0xFF;
template <class Row, std::size_t count>
constexpr std::array<std::uint8_t, kSymbolCount> IndexBySymbol(const Row (&rows)[count]) {
  static_assert(count < kNoRow);
  std::array<std::uint8_t, kSymbolCount> index{};
  index.fill(kNoRow);
  for (std::size_t i = 0; i < count; ++i) {
    index[static_cast<std::size_t>(rows[i].symbol)] = static_cast<std::uint8_t>(i);
  }
  return index;
}

/// The row of a symbol, or null.
template <class Row, std::size_t count>
constexpr const Row* FindRow(const Row (&rows)[count], const std::array<std::uint8_t, kSymbolCount>& index,
                             Symbol symbol) {
  const std::uint8_t at = index[static_cast<std::size_t>(symbol)];
  return at == kNoRow ? nullptr : &rows[at];
}

}  // namespace xpft
