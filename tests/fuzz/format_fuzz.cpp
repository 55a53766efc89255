// The compiler of formats and its printer: any bytes, with and without what is kept for printing. What a tree
// prints must compile, and print the same again.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "format/print_context.h"
#include "format/xpft_formatter.h"

namespace {

template <class Context>
std::string Print(const xpft::XpftFormatter& formatter) {
  Context out;
  out.Start();
  formatter.Print(&out);
  std::string text;
  out.GetText(text);
  return text;
}

template <class Context>
void CheckRoundTrip(const xpft::XpftFormatter& formatter, bool keepSource) {
  const std::string printed = Print<Context>(formatter);
  int code = 0;
  std::string error;
  const auto again = xpft::XpftFormatter::GetFormatter("", printed, keepSource, code, error);
  const std::string second = again ? Print<Context>(*again) : error;
  if (second == printed) return;
  std::fprintf(stderr, "printed: [%s]\nagain:   [%s]\n", printed.c_str(), second.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const bool keepSource : {false, true}) {
    int code = 0;
    std::string error;
    const auto formatter = xpft::XpftFormatter::GetFormatter("", text, keepSource, code, error);
    if ((code == 0) != (formatter != nullptr) || (code == 0) != error.empty()) std::abort();
    if (!formatter) continue;
    CheckRoundTrip<xpft::PlainPrintContext>(*formatter, keepSource);
    CheckRoundTrip<xpft::PrettyPrintContext>(*formatter, keepSource);
  }
  static_cast<void>(xpft::XpftFormatter::GetPartialExpressionFormatter(text));
  return 0;
}
