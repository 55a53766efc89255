#pragma once

#include <memory>
#include <string>

#include "format/print_context.h"
#include "format/xpft_formatter.h"

namespace test {

/// A format printed anew, with its comments: on one line, or pretty. False when it does not compile.
inline bool PrintAnew(const std::string& format, bool isPretty, std::string* text) {
  int code = 0;
  std::string error;
  const auto formatter = xpft::XpftFormatter::GetFormatter("", format, true, code, error);
  if (!formatter) return false;
  std::unique_ptr<xpft::IPrintContext> out = std::make_unique<xpft::PlainPrintContext>();
  if (isPretty) out = std::make_unique<xpft::PrettyPrintContext>();
  out->Start();
  formatter->Print(out.get());
  out->GetText(*text);
  return true;
}

}  // namespace test
