#pragma once

#include <array>
#include <vector>

#include "format/xpft_parser.h"

namespace xpft {

/// What the parentheses of a function have given. A form of arguments fills some of the fields, and the
/// functions of that form know which.
struct XpftParser::Arguments {
  ast::DatabaseName database;
  QueryType queryType = QueryType::kDefault;
  std::array<List, 3> lists;
  std::array<Number, 3> numbers;
  std::array<ast::NumParamSpec, 2> parameters;
  Operand value;
  std::vector<Number> values;
  ast::Owned<ast::Field> field;
  int length = 6;          // of MFN
  bool isPlus = false;     // a "+" was written in front
  bool isWritten = false;  // the parentheses were written
  ast::SourcePlace place;  // of the function, where the form keeps it
};

}  // namespace xpft
