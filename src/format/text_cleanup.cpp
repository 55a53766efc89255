#include "format/text_cleanup.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace xpft {

namespace {

constexpr std::string_view kMarker = "&&&&&";

/// Where the text that is to be cleaned begins: behind the last marker.
std::size_t CleanStart(const std::string& text) {
  const std::size_t marker = text.rfind(kMarker);
  return marker == std::string::npos ? 0 : marker + kMarker.size();
}

bool StartsAt(const std::string& text, std::size_t i, std::string_view part) {
  return text.compare(i, part.size(), part) == 0;
}

/// Takes away the points directly behind each `closing`.
void DropPointsBehind(std::string& text, std::size_t start, std::string_view closing) {
  std::size_t to = start;
  std::size_t i = start;
  while (i < text.size()) {
    if (!StartsAt(text, i, closing)) {
      text[to++] = text[i++];
      continue;
    }
    to += closing.copy(&text[to], closing.size());
    i = std::min(text.find_first_not_of('.', i + closing.size()), text.size());
  }
  text.resize(to);
}

constexpr std::string_view kDash = ". - ";

/// A dash that joins nothing, since a line end or another one follows.
bool IsIdleDash(const std::string& text, std::size_t i) {
  if (!StartsAt(text, i, kDash)) return false;
  constexpr std::string_view kFollowers[] = {kDash, "\\par", "<br>", "\r"};
  return std::ranges::any_of(
      kFollowers, [&](std::string_view follower) { return StartsAt(text, i + kDash.size(), follower); });
}

void DropIdleDashes(std::string& text, std::size_t start) {
  std::size_t to = start;
  std::size_t i = start;
  while (i < text.size()) {
    if (IsIdleDash(text, i)) {
      i += kDash.size();
    } else {
      text[to++] = text[i++];
    }
  }
  text.resize(to);
}

/// ".." becomes "."; longer runs of points stay as they are.
void DropDoubleDots(std::string& text, std::size_t start) {
  std::size_t to = start;
  std::size_t i = start;
  while (i < text.size()) {
    std::size_t run = i;
    while (run < text.size() && text[run] == '.') ++run;
    std::size_t keep = run - i;
    if (keep == 2) keep = 1;
    if (run == i) keep = 1;
    for (std::size_t k = 0; k < keep; ++k) text[to++] = text[i + k];
    i = run == i ? i + 1 : run;
  }
  text.resize(to);
}

}  // namespace

void CleanupText(std::string& text) {
  const std::size_t start = CleanStart(text);
  DropPointsBehind(text, start, ".\\b0 ");
  DropPointsBehind(text, start, ".</b>");
  DropIdleDashes(text, start);
  DropDoubleDots(text, start);
}

void CleanupDoubleDots(std::string& text) {
  DropDoubleDots(text, CleanStart(text));
}

void StripRichTextFormat(std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '{' || c == '}') continue;
    if (c != '\\') {
      out += c;
      continue;
    }
    if (i + 1 == text.size()) break;
    const char next = text[i + 1];
    if (next == '\\' || next == '{' || next == '}') {  // an escaped character of the text
      out += next;
      ++i;
      continue;
    }
    std::size_t end = i + 1;
    while (end < text.size() && std::isalpha(static_cast<unsigned char>(text[end]))) ++end;
    if (end < text.size() && text[end] == '-') ++end;
    while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) ++end;
    if (text.compare(i, 4, "\\par") == 0 && end == i + 4) out += '\r';
    if (end < text.size() && text[end] == ' ') ++end;  // it belongs to the control word
    i = std::max(end, i + 2) - 1;
  }
  text.swap(out);
}

}  // namespace xpft
