#include "format/xpft_symbol.h"

#include <algorithm>
#include <functional>

namespace xpft {
namespace {

struct Keyword {
  std::string_view word;
  Symbol symbol;
};
constexpr Keyword kKeywords[] = {
    {"A", Symbol::kA},
    {"AND", Symbol::kAnd},
    {"ARG", Symbol::kArg},
    {"ARGN", Symbol::kArgn},
    {"BREAK", Symbol::kBreak},
    {"C", Symbol::kC},
    {"CASE", Symbol::kCase},
    {"CAT", Symbol::kCat},
    {"CITYPE", Symbol::kCitype},
    {"CONTINUE", Symbol::kContinue},
    {"D", Symbol::kD},
    {"DATE", Symbol::kDate},
    {"DATEONLY", Symbol::kDateOnly},
    {"DATETIME", Symbol::kDateTime},
    {"DATEX", Symbol::kDateX},
    {"DB", Symbol::kDb},
    {"DELETE", Symbol::kDelete},
    {"ELSE", Symbol::kElse},
    {"ELSECASE", Symbol::kElseCase},
    {"ENDSEL", Symbol::kEndSel},
    {"EVAL", Symbol::kEval},
    {"EXIT", Symbol::kExit},
    {"F", Symbol::kF},
    {"FI", Symbol::kFi},
    {"FILEEXT", Symbol::kFileExt},
    {"FILEMD5", Symbol::kFileMd5},
    {"FILENAME", Symbol::kFileName},
    {"FILEPATH", Symbol::kFilePath},
    {"FMT", Symbol::kFmt},
    {"G", Symbol::kG},
    {"GETENV", Symbol::kGetEnv},
    {"IF", Symbol::kIf},
    {"IN", Symbol::kIn},
    {"INSTR", Symbol::kInstr},
    {"IOCC", Symbol::kIocc},
    {"L", Symbol::kL},
    {"LAST", Symbol::kLast},
    {"LEFT", Symbol::kLeft},
    {"LR", Symbol::kLr},
    {"LTRIM", Symbol::kLtrim},
    {"MATH", Symbol::kMath},
    {"MAXMFN", Symbol::kMaxMfn},
    {"MD5", Symbol::kMd5},
    {"MDL", Symbol::kMdl},
    {"MDU", Symbol::kMdu},
    {"MFN", Symbol::kMfn},
    {"MHL", Symbol::kMhl},
    {"MHU", Symbol::kMhu},
    {"MID", Symbol::kMid},
    {"MPL", Symbol::kMpl},
    {"MPU", Symbol::kMpu},
    {"MSTNAME", Symbol::kMstName},
    {"N", Symbol::kN},
    {"NEWLINE", Symbol::kNewLine},
    {"NEWREC", Symbol::kNewRec},
    {"NOCC", Symbol::kNocc},
    {"NOT", Symbol::kNot},
    {"NPOST", Symbol::kNpost},
    {"NPST", Symbol::kNpst},
    {"OCC", Symbol::kOcc},
    {"OR", Symbol::kOr},
    {"P", Symbol::kP},
    {"PROC", Symbol::kProc},
    {"PUTENV", Symbol::kPutEnv},
    {"RAVR", Symbol::kRavr},
    {"REF", Symbol::kRef},
    {"REGMATCH", Symbol::kRegMatch},
    {"REGREPLACE", Symbol::kRegReplace},
    {"REPLACE", Symbol::kReplace},
    {"RIGHT", Symbol::kRight},
    {"RMAX", Symbol::kRmax},
    {"RMIN", Symbol::kRmin},
    {"RSUM", Symbol::kRsum},
    {"RTRIM", Symbol::kRtrim},
    {"S", Symbol::kS},
    {"SAVE", Symbol::kSave},
    {"SECONDS", Symbol::kSeconds},
    {"SELECT", Symbol::kSelect},
    {"SIZE", Symbol::kSize},
    {"SORT", Symbol::kSort},
    {"SRTASC", Symbol::kSrtAsc},
    {"SRTCASE", Symbol::kSrtCase},
    {"SRTDESC", Symbol::kSrtDesc},
    {"SRTNOCASE", Symbol::kSrtNoCase},
    {"SRTNUM", Symbol::kSrtNum},
    {"SS", Symbol::kSs},
    {"SYSTEM", Symbol::kSystem},
    {"TAG", Symbol::kTag},
    {"THEN", Symbol::kThen},
    {"TRACE", Symbol::kTrace},
    {"TRIM", Symbol::kTrim},
    {"TYPE", Symbol::kType},
    {"UPDALL", Symbol::kUpdAll},
    {"UPDIF", Symbol::kUpdIf},
    {"UPDMST", Symbol::kUpdMst},
    {"V", Symbol::kV},
    {"VAL", Symbol::kVal},
    {"VER", Symbol::kVer},
    {"WHILE", Symbol::kWhile},
    {"X", Symbol::kX},
};
static_assert(std::size(kKeywords) <= 140);
static_assert(std::ranges::adjacent_find(kKeywords, std::ranges::greater_equal{}, &Keyword::word) ==
                  std::ranges::end(kKeywords),
              "rows ascend, no word stands twice");

constexpr auto kKeywordOfSymbol = IndexBySymbol(kKeywords);

struct Sign {
  char c;
  Symbol symbol;
};
constexpr Sign kSigns[] = {
    {',', Symbol::kComma},       {'/', Symbol::kSlash},        {'.', Symbol::kPoint},
    {'#', Symbol::kHash},        {'%', Symbol::kPercent},      {'(', Symbol::kLeftParen},
    {')', Symbol::kRightParen},  {'*', Symbol::kStar},         {'+', Symbol::kPlus},
    {'-', Symbol::kMinus},       {';', Symbol::kSemicolon},    {'=', Symbol::kEqual},
    {'[', Symbol::kLeftBracket}, {']', Symbol::kRightBracket},
};
constexpr std::array<Symbol, 256> kCharClass = [] {
  std::array<Symbol, 256> table{};
  for (const Sign& sign : kSigns) table[static_cast<unsigned char>(sign.c)] = sign.symbol;
  return table;
}();

}  // namespace

Symbol FindKeyword(std::string_view word) {
  const auto* const row = std::ranges::lower_bound(kKeywords, word, {}, &Keyword::word);
  return row != std::end(kKeywords) && row->word == word ? row->symbol : Symbol::kNone;
}

std::string_view KeywordOf(Symbol symbol) {
  const Keyword* const row = FindRow(kKeywords, kKeywordOfSymbol, symbol);
  return row != nullptr ? row->word : std::string_view();
}

Symbol CharClass(char c) {
  return kCharClass[static_cast<unsigned char>(c)];
}

}  // namespace xpft
