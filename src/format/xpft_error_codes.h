#pragma once

/// Error codes of the compiler: what a format with a mistake gives to its caller. A number can stand for more
/// than one mistake; the message tells them apart. Callers that keep results know these numbers.
namespace xpft::syntax {

inline constexpr int kGeneral = -1;  // nested groups, the parts of SELECT, items of an in-list
inline constexpr int kWord = 2;
inline constexpr int kCharacter = 3;
inline constexpr int kTrailingText = 6;
inline constexpr int kClose = 7;  // ")" where the rule has no code of its own
inline constexpr int kNumber = 8;
inline constexpr int kOccurrence = 8;
inline constexpr int kSuffix = 9;

// Control.
inline constexpr int kThen = 14;
inline constexpr int kFi = 15;
inline constexpr int kWhileOpen = 14;
inline constexpr int kWhileClose = 15;

// Conditions and operands.
inline constexpr int kRelation = 16;
inline constexpr int kStringOperand = 17;
inline constexpr int kPresence = 19;
inline constexpr int kStringInParens = 20;
inline constexpr int kInExpression = 20;
inline constexpr int kNumberClose = 22;
inline constexpr int kArithmetic = 23;
inline constexpr int kNumericItem = 8;
inline constexpr int kRangePoint = 123;
inline constexpr int kInClose = 222;
inline constexpr int kInOpen = 450;
inline constexpr int kCondition = 3000;
inline constexpr int kOperandInParens = 3010;

// Occurrences, and functions over a field.
inline constexpr int kFieldOpen = 20;
inline constexpr int kOccurrenceClose = 81;
inline constexpr int kFieldSelection = 220;
inline constexpr int kFieldClose = 222;

// Assignments.
inline constexpr int kNumberAssign = 333;
inline constexpr int kStringAssignOpen = 334;
inline constexpr int kFieldAssignOpen = 335;
inline constexpr int kStringAssignClose = 336;
inline constexpr int kFieldAssignClose = 337;

// Functions: numeric ones, then those that give a text.
inline constexpr int kNumericOpen = 21;
inline constexpr int kArrow = 21;
inline constexpr int kComma = 22;
inline constexpr int kTextOpen = 54;
inline constexpr int kTextClose = 55;
inline constexpr int kFirstNumber = 118;
inline constexpr int kSecondNumber = 218;
inline constexpr int kThirdNumber = 318;
inline constexpr int kWindowOffset = 718;
inline constexpr int kWindowCount = 818;
inline constexpr int kMathName = 453;
inline constexpr int kDatabaseClose = 5000;

// LEFT, RIGHT, MID.
inline constexpr int kCutOpen = 400;
inline constexpr int kCutText = 401;
inline constexpr int kCutSeparator = 402;
inline constexpr int kCutNumber = 403;
inline constexpr int kCutClose = 404;
inline constexpr int kCutSecondNumber = 405;

// Functions over two or three lists, and the arguments of included formats.
inline constexpr int kListsOpen = 450;
inline constexpr int kFirstList = 451;
inline constexpr int kNextList = 453;
inline constexpr int kSemicolon = 454;
inline constexpr int kThirdList = 455;
inline constexpr int kThreeListsCount = 456;
inline constexpr int kListsClose = 456;

// Functions with parameter words.
inline constexpr int kParameterOpen = 500;
inline constexpr int kParameter = 501;
inline constexpr int kParameterComma = 502;
inline constexpr int kTypeOpen = 850;
inline constexpr int kTypeComma = 851;
inline constexpr int kTypeValue = 853;
inline constexpr int kDate = 1234;

// Limits.
inline constexpr int kNumberLength = 6000;
inline constexpr int kNumberRange = 7000;
inline constexpr int kTooDeep = 9000;

}  // namespace xpft::syntax
