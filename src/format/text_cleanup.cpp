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

/// Takes the last character off each `pattern`.
void DropLastOf(std::string& text, std::size_t start, std::string_view pattern) {
  for (std::size_t i = text.find(pattern, start); i != std::string::npos; i = text.find(pattern, i))
    text.erase(i + pattern.size() - 1, 1);
}

bool StartsAt(const std::string& text, std::size_t i, std::string_view part) {
  return text.compare(i, part.size(), part) == 0;
}

/// Takes away a ". - " that joins nothing, since a line end or another one follows.
void DropIdleDashes(std::string& text, std::size_t start) {
  constexpr std::string_view kDash = ". - ";
  std::size_t i = text.find(kDash, start);
  while (i != std::string::npos) {
    const std::size_t next = i + kDash.size();
    bool isIdle = false;
    for (const std::string_view follower :
         {kDash, std::string_view("\\par"), std::string_view("<br>"), std::string_view("\r")})
      isIdle |= StartsAt(text, next, follower);
    if (isIdle) text.erase(i, kDash.size());
    i = text.find(kDash, isIdle ? i : next);
  }
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
  DropLastOf(text, start, ".\\b0 .");
  DropLastOf(text, start, ".</b>.");
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
