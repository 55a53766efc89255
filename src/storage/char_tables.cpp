#include "storage/char_tables.h"

#include <cctype>
#include <limits>

#include "storage/app_paths.h"
#include "utils/text_util.h"

namespace fmt_64 {
namespace {

constexpr std::int32_t kNoNumber = -1;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// One more digit behind a number, held at the biggest 32-bit value instead of running over.
std::int32_t AppendDigit(std::int32_t number, char digit) {
  const std::int64_t longer = std::int64_t{number == kNoNumber ? 0 : number} * 10 + (digit - '0');
  constexpr std::int64_t kBiggest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(longer < kBiggest ? longer : kBiggest);
}

bool IsByteCode(std::int32_t value) {
  return value > 0 && value < kTableSize;
}

bool IsDefaultLetter(int code) {
  return (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') || code >= 128;
}

void MarkLetter(app::VelorAppContext& ctx, std::int32_t code) {
  ctx.acTable[code - 1] = 1;
  ctx.acCodes[ctx.acTableLength++] = static_cast<unsigned char>(code);
}

void InitAlphabet(app::VelorAppContext& ctx, const std::string& path) {
  ctx.acTable.fill(0);
  ctx.acCodes.fill(0);
  ctx.acTableLength = 0;

  TableNumbers numbers;
  const int count = parse_tab(path, numbers);
  for (int i = 0; i < count; ++i) {
    if (IsByteCode(numbers[i])) MarkLetter(ctx, numbers[i]);
  }
  if (count > 0) return;
  for (int code = 1; code < kTableSize; ++code) {
    if (IsDefaultLetter(code)) MarkLetter(ctx, code);
  }
}

void InitUpperCase(const std::string& path, std::array<unsigned char, kTableSize>& table,
                   std::int32_t& length) {
  TableNumbers numbers{};
  if (!path.empty()) parse_tab(path, numbers);

  bool isUsable = false;
  for (int code = 0; code < kTableSize; ++code) {
    const bool isGiven = IsByteCode(numbers[code]);
    table[code] = isGiven ? static_cast<unsigned char>(numbers[code]) : 0;
    isUsable = isUsable || isGiven;
  }
  length = kTableSize;
  if (isUsable) return;
  for (int code = 0; code < kTableSize; ++code) table[code] = static_cast<unsigned char>(std::toupper(code));
}

}  // namespace

int parse_tab(const std::string& path, TableNumbers& table) {
  table.fill(0);
  std::string text;
  if (!utils::TextUtil::FileReadAllBytes(path + ".tab", text)) return 0;

  text += ' ';  // the end of the file closes the last number
  int count = 0;
  std::int32_t number = kNoNumber;
  for (char c : text) {
    if (IsDigit(c)) {
      number = AppendDigit(number, c);
      continue;
    }
    if (number == kNoNumber) continue;
    table[count++] = number;
    if (count == kTableSize) break;
    number = kNoNumber;
  }
  return count;
}

void velor_uatab_init(app::VelorAppContext* ctx, const std::string& ucPath, const std::string& altUcPath,
                      const std::string& acPath, std::string_view execDir, std::string_view dataPath) {
  InitAlphabet(*ctx, acPath);
  InitUpperCase(ucPath, ctx->ucTable, ctx->ucTableLength);
  InitUpperCase(altUcPath, ctx->altUcTable, ctx->altUcTableLength);
  velor_init_ExecDir(ctx, execDir);
  velor_init_DataPath(ctx, dataPath);
}

}  // namespace fmt_64
