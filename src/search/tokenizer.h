#pragma once

#include <array>
#include <string>
#include <string_view>

#include "utils/string_list.h"

/// Search expressions compiled to steps.
///
/// An expression joins terms by operators; five levels bind, loosest first:
///
///   +                OR
///   *  ^             AND, AND NOT; one level, read from left to right
///   (G)              AND within one field
///   (F)              AND within one occurrence of a field
///   " . "  " $ "     words near each other in one occurrence; up to ten points or dollar signs
///
/// Operands are terms, with what may belong to them ("TERM"/(200,210), TERM$, TERM@, FROM[...]TO), and groups
/// in round brackets. Between double quotes nothing but the next quote counts; behind "/" a "(" opens a
/// qualification, which is part of the term up to its ")".
///
/// The result is a flat list. Each item is a step: its text the operands, a line each, its number the code of
/// the operator that joins them. "#n" as operand is the result of step n, from 1; it always names an earlier
/// step. The last step is the answer.
///
///   A + B * C     1: B C   by *     2: A #1  by +
///   (A + B) * C   1: A B   by +     2: #1 C  by *
///   A * B ^ C     1: A B   by *     2: #1 C  by ^
///
/// No expression is wrong. What has no operand on a side joins nothing, brackets and quotes that stay open
/// end with the text, a closing bracket too many is passed over. Line ends and zero bytes count as blanks.
/// Time and memory grow with the length of the expression, the stack does not.
namespace tokenizer {

/// Codes of the operators: indexes in kOperators.
enum Operator : int {
  kOr = 0,
  kAnd = 1,
  kAndNot = 2,
  kSameField = 3,
  kSameOccurrence = 4,
  kFirstPoint = 9,    // " . "; kFirstPoint + n has n points more
  kFirstDollar = 19,  // " $ "
};

/// Most points or dollar signs in one operator.
constexpr int kLongestDistance = 10;

/// Spellings of the operators by code. The rows without one keep the point operators at their index.
constexpr std::array<std::string_view, 29> kOperators = {
    "+",        "*",         "^",          "(G)",         "(F)",
    "",         "",          "",
    "",  //
    " . ",      " .. ",      " ... ",      " .... ",      " ..... ",
    " ...... ", " ....... ", " ........ ", " ......... ", " .......... ",
    " $ ",      " $$ ",      " $$$ ",      " $$$$ ",      " $$$$$ ",
    " $$$$$$ ", " $$$$$$$ ", " $$$$$$$$ ", " $$$$$$$$$ ", " $$$$$$$$$$ "};

/// Spelling that ToTerms takes for "there is no second one".
constexpr std::string_view kNoSpelling = "???";

/// Compiles an expression, bytes in the code of the dictionary. `steps` is emptied first. The results are
/// numbered from `firstStep`. An expression without operands gives no steps.
void UnpackSearchExpression(std::string expression, velor_01::TStringList* steps, int firstStep);

/// Splits a text at its top level, outside quotes and qualifications, at either spelling of an operator.
///   operators  receives for each piece the operator in front of it, "" for the first
///   operands   receives the pieces without the blanks around them; a piece may be empty
///   opA, opB   spellings; kNoSpelling for opB when there is one only. A spelling between blanks stands for
///              its longer forms, too
///   count      longest form, as the number of signs between the blanks
void ToTerms(velor_01::TStringList* operators, velor_01::TStringList* operands, const std::string& text,
             const std::string& opA, const std::string& opB, int count);

/// Adds a step with operands `text`, CR LF between them, joined by `op`, a spelling in `operators`. "[F]" and
/// "[G]" stand for "(F)" and "(G)". Result: the number of the step, where `firstStep` is that of the first.
int AddOp(const std::string& text, std::string op, int firstStep, velor_01::TStringList* operators,
          velor_01::TStringList* steps);

/// True for an operand that stands for the result of a step.
[[nodiscard]] inline bool IsReference(std::string_view operand) {
  return operand.starts_with('#');
}

/// The number of the step that an operand refers to; 0 when it is no number from 1 on, or no reference.
[[nodiscard]] int ReferredStep(std::string_view operand);

/// The words that a ranked search for the expression looks for.
///   words   receives them in the order of the steps, each once, without prefix, quotes, qualification and
///           marks. What is subtracted in the expression is no word of it, nor is a range
///   prefix  receives what the first term has up to its "=", that included; "" without one
///   text    receives the words with blanks between them
void ConvertToFullText(velor_01::TStringList* words, std::string expression, std::string& prefix,
                       std::string& text);

}  // namespace tokenizer
