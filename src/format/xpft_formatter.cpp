#include "format/xpft_formatter.h"

#include "format/xpft_parser.h"

namespace xpft {

std::shared_ptr<XpftFormatter> XpftFormatter::GetFormatter(std::string_view name, std::string_view text,
                                                           bool keepSource, int& errorCode,
                                                           std::string& errorText) {
  XpftParser parser;
  parser.SetVelorCompatibility(true);
  parser.SetParseComments(keepSource);
  parser.SetParseCrLf(keepSource);
  std::shared_ptr<XpftFormatter> formatter = parser.format(name, text);
  errorCode = parser.GetErrorCode();
  errorText = parser.GetErrorDescription();
  if (formatter || errorCode != 0) return formatter;
  return std::make_shared<XpftFormatter>(std::make_unique<ast::CommandList>());
}

std::shared_ptr<XpftFormatter> XpftFormatter::GetPartialExpressionFormatter(std::string_view text) {
  XpftParser parser;
  parser.SetVelorCompatibility(true);
  std::shared_ptr<XpftFormatter> formatter = parser.booleanExpr(text);
  return formatter ? formatter : parser.numExpr(text);
}

}  // namespace xpft
