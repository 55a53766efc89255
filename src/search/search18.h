#pragma once

#include <string>

#include "search/bit_operations.h"
#include "storage/velor_space.h"
#include "utils/int_list.h"
#include "utils/string_list.h"

/// Boolean search: runs the steps of an expression (tokenizer.h) against the inverted file.
///
/// Results are record numbers, ascending unless the caller asks for the reverse. A term that does not exist
/// finds nothing and is no failure, and neither is a damaged dictionary. There is no limit on what is found.
/// Read on in boolean_step.h (one step), near_terms.h (the operators that compare places), tmthrd_32.h (the
/// postings of an operand).
namespace Search18 {

/// What search calls upward.
struct SearchHooks {
  /// Client mode: lets the server search. Results as for VelorFreeVelorSearch.
  int (*remoteSearch)(velor_01::TVelorSpace* space, const std::string& expression, velor_01::TIntList* result,
                      bool reverse) = nullptr;
};

/// Written before the first search, not later. Without a function searches in client mode fail with -400.
SearchHooks& DefaultSearchHooks();

/// Search for the tools. The expression is UTF-8 or, where it is not valid as such, cp1251.
///   lock     search under the mutex of the database, which is waited for up to 300 seconds
///   reverse  highest record number first
/// Result 0, -1 a step failed, -300 no mutex, -100 no space or memory, or what the server said. On failure
/// nothing is found.
int VelorFreeVelorSearch(velor_01::TVelorSpace* space, std::string expression, velor_01::TIntList* result,
                         bool lock = false, bool reverse = false);

/// Compiles an expression, UTF-8, and runs it. Result 0, or -1 when a step failed; nothing is found then.
int FreeVelorSearchNew(velor_01::TVelorSpace* space, std::string expression, velor_01::TIntList* result,
                       bool reverse = false);

/// Runs one step.
///   operands     terms, and references "#n" whose objects are TIntList with the records of an earlier step;
///                a reference without an object is passed over. The list stays as it is
///   op           0 OR, 1 AND, 2 AND NOT, 3 (G), 4 (F), 5 near each other, 6 and above one behind the other
///                in the order of the operands. With a reference among them 3 and above are AND NOT
///   bits         size of the bit lists at first, in records; they grow
///   useNewTerms  expand terms that end in "@"
/// Result 0, -1 without a space when there is a term to be read, -100 without memory.
int VelorSearch_Range(velor_01::TVelorSpace* space, velor_01::TStringList* operands, unsigned char op,
                      int bits, velor_01::TIntList* result, bool useNewTerms);
/// The same without expansion of terms, and with it.
int VelorSearch_Range(velor_01::TVelorSpace* space, velor_01::TStringList* operands, unsigned char op,
                      int bits, velor_01::TIntList* result);
int VelorSearchNew(velor_01::TVelorSpace* space, velor_01::TStringList* operands, unsigned char op, int bits,
                   velor_01::TIntList* result);

}  // namespace Search18

/// Leaves in the list the records for which a format says yes: it prints "1", or a longer text that has a "1"
/// before its last character. Records that cannot be read or are deleted go, and so do those for which the
/// format fails. The order stays. Shelf 0 of the space holds each record in turn. A stop signal ends the scan
/// with what has passed until then.
///   format  as fmt_64::Velor_InitPFT takes it; without one all records stay
///   mode    kept for callers, every value means the same
/// Result 0, or the code of the compiler for a format that it refuses; no record passes then.
int SearchScan(velor_01::TVelorSpace* space, const std::string& format, velor_01::TIntList* list, int mode);
