#include "format/field_update_parser.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "format/char_text.h"
#include "format/pft_context.h"
#include "format/print_context.h"

namespace xpft::ast {

namespace {

constexpr int kBadUpdate = 500;

/// One reading of a text. Each method takes its part of a command off the text; a part that is not there
/// comes back empty, and the command says what that means.
class Reading {
 public:
  explicit Reading(const std::string& text) : text_(text), end_(text.size()) {
    const auto isQuote = [](char c) { return c == '"' || c == '\''; };
    if (position_ < end_ && isQuote(text_[position_])) ++position_;
    if (position_ < end_ && isQuote(text_[end_ - 1])) --end_;
  }

  /// Null when `error` is set.
  Owned<ICommand> ReadCommand();
  [[nodiscard]] bool IsAtEnd() const { return position_ >= end_; }
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  Owned<ICommand> ReadDelete();
  Owned<ICommand> ReadAdd();
  Owned<ICommand> ReadAddOfLength();

  bool Skip(char c) {
    const bool isThere = position_ < end_ && text_[position_] == c;
    position_ += isThere;
    return isThere;
  }

  /// Decimal digits as a number, held at the largest; -1 when there are none.
  int ReadNumber() {
    const char* begin = text_.data() + position_;
    const char* end = text_.data() + end_;
    const char* stop = std::find_if(begin, end, [](char c) { return c < '0' || c > '9'; });
    if (stop == begin) return -1;
    position_ += static_cast<std::size_t>(stop - begin);
    int value = 0;
    const std::errc error = std::from_chars(begin, stop, value).ec;
    return error == std::errc() ? value : std::numeric_limits<int>::max();
  }

  /// What stands up to the next "#", which is taken too; the last may be missing.
  std::string ReadMarked() {
    const std::size_t mark = std::min(text_.find('#', position_), end_);
    std::string value = text_.substr(position_, mark - position_);
    position_ = std::min(mark + 1, end_);
    return value;
  }

  std::string ReadBytes(std::size_t count) {
    std::string value = text_.substr(position_, std::min(count, end_ - position_));
    position_ += value.size();
    return value;
  }

  Owned<ICommand> Fail(const std::string& message) {
    error_ = message + " format=[" + text_ + "]";
    return nullptr;
  }

  const std::string& text_;
  std::size_t position_ = 0;
  std::size_t end_;  // without a closing quotation mark
  std::string error_;
};

Owned<ICommand> Reading::ReadCommand() {
  const std::size_t place = position_;
  if (Skip('d')) return ReadDelete();
  if (Skip('a')) return ReadAdd();
  if (Skip('h')) return ReadAddOfLength();
  error_ = "Invalid command - should be d|a|h format=[" + text_ + "] i=[" + std::to_string(place) +
           "] char= [" + text_[place] + "]";
  return nullptr;
}

Owned<ICommand> Reading::ReadDelete() {
  if (Skip('*')) return std::make_unique<DeleteAllFieldsCmd>();
  const int tag = ReadNumber();
  if (tag < 0) return Fail("d<tag> TAG is empty");
  if (!Skip('#')) return std::make_unique<DeleteAllOccurrencesCmd>(tag);
  const int occurrence = ReadNumber();
  if (occurrence < 0) return Fail("Occurrence is empty");
  Skip('#');
  return std::make_unique<DeleteFieldOccurrenceCmd>(tag, occurrence);
}

Owned<ICommand> Reading::ReadAdd() {
  const int tag = ReadNumber();
  if (tag < 0) return Fail("a<field tag>#<string># - TAG is empty");
  std::string value = Skip('#') ? ReadMarked() : std::string();
  if (value.empty()) return Fail("a<field tag>#<string># - <string> is empty");
  return std::make_unique<AddFieldOccurrence>(tag, std::move(value));
}

Owned<ICommand> Reading::ReadAddOfLength() {
  const int tag = ReadNumber();
  if (tag < 0) return Fail("h<field tag> <n> <string> - TAG is empty");
  const int length = Skip(' ') ? ReadNumber() : -1;
  if (length < 0) return Fail("h<field tag> <n> <string> - <n> is empty");
  std::string value = Skip(' ') ? ReadBytes(static_cast<std::size_t>(length)) : std::string();
  if (value.empty()) return Fail("h<field tag> <n> <string> - value is empty");
  return std::make_unique<AddFieldOccurrenceEx>(tag, length, std::move(value));
}

}  // namespace

Owned<FieldUpdateCmdList> FieldUpdateParser::Parse(IPftContext* ctx, const SourcePlace& place,
                                                   const std::string& text) {
  auto list = std::make_unique<FieldUpdateCmdList>();
  Reading reading(text);
  while (!reading.IsAtEnd()) {
    Owned<ICommand> command = reading.ReadCommand();
    if (!command) {
      PftExpr::LogError(ctx, place, reading.error(), kBadUpdate);
      return nullptr;
    }
    list->Add(std::move(command));
  }
  return list;
}

// ---- the commands ----

void AddFieldOccurrence::Print(IPrintContext* out) const {
  out->Print("a" + std::to_string(tag_) + "#" + text_ + "#");
}
void AddFieldOccurrence::DoCmd(IPftContext* ctx) const {
  ctx->AddRecordField(tag_, text_);
}

void AddFieldOccurrenceEx::Print(IPrintContext* out) const {
  out->Print("h" + std::to_string(tag_) + " " + std::to_string(length_) + " " + text_);
}
void AddFieldOccurrenceEx::DoCmd(IPftContext* ctx) const {
  if (length_ < 1) {
    ctx->AddRecordField(tag_, text_);
    return;
  }
  std::string converted;
  ctx->AddRecordField(tag_, std::string(LeftChars(AsUtf8(text_, converted), length_)));
}

void DeleteAllFieldsCmd::Print(IPrintContext* out) const {
  out->Print("d*");
}
void DeleteAllFieldsCmd::DoCmd(IPftContext* ctx) const {
  ctx->RemoveRecordFields();
}

void DeleteAllOccurrencesCmd::Print(IPrintContext* out) const {
  out->Print("d" + std::to_string(tag_));
}
void DeleteAllOccurrencesCmd::DoCmd(IPftContext* ctx) const {
  ctx->RemoveRecordField(tag_);
}

void DeleteFieldOccurrenceCmd::Print(IPrintContext* out) const {
  out->Print("d" + std::to_string(tag_) + "#" + std::to_string(occurrence_) + "#");
}
void DeleteFieldOccurrenceCmd::DoCmd(IPftContext* ctx) const {
  ctx->RemoveRecordField(tag_, occurrence_);
}

void FieldUpdateCmdList::Print(IPrintContext* out) const {
  for (const Owned<ICommand>& command : commands_) command->Print(out);
}
void FieldUpdateCmdList::DoCmd(IPftContext* ctx) const {
  for (const Owned<ICommand>& command : commands_) {
    if (ctx->GetErrorCode() != 0) return;
    command->DoCmd(ctx);
  }
}

}  // namespace xpft::ast
