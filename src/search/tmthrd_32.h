#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "storage/velor_space.h"
#include "utils/bit_list.h"
#include "utils/int_list.h"
#include "utils/string_list.h"

/// The postings of one operand of a search, read into bit lists.
///
/// An operand is a term, a truncated term, a range, a term with a qualification, or a term to be expanded by
/// morphology:
///
///   TERM  "TERM"       the term itself
///   TERM$              every term that begins with it, itself included
///   "TERM"/(200,210)   only postings with one of these tags
///   FROM[...]TO        from the first term not below FROM to the last not above TO
///   TERM@              every form of the word, with a morphology database (see InitMorph); without one the
///                      character belongs to the term
///
/// Terms are UTF-8; what goes beyond 255 bytes is cut off. Postings ascend by record, so that a limit ends
/// the reading of a term early, and candidates let whole segments be passed over (storage/posting_blocks.h).
///
/// In a bit list bit n - 1 stands for the number n. Nothing here takes a lock: a dictionary that is missing,
/// damaged or just being changed yields what could be read.
namespace Tmthrd_32 {

using Bitarr::TBitList;
using velor_01::TIntList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

/// A limit that limits nothing.
constexpr int kNoLimit = -1;

/// Where the postings of an operand are. Good for the search that asked for it.
struct FoundOperand {
  int count = -1;           // of postings; -1 when they must be read to be counted
  int termIndex = 0;        // of TVelorSpace
  std::int64_t offset = 0;  // of the first segment
};

/// Makes what search keeps in a context: the term cache and the lists of full-text search. Nothing when they
/// are there already. False without a context or memory.
bool Tmthrd_32_init(app::VelorAppContext* app);

/// Adds the postings of one operand to bit lists.
///   db          name of the database's files, tells databases apart in the term cache
///   term        the operand
///   op          operator of the step it stands in
///   mfnBits     receives the records
///   tagBits     receives the tags of the postings; null when not wanted. Tags below 1 have no bit
///   occBits     the same for occurrences
///   mfnLimit    records above it do not count; a negative limit is none, 0 lets nothing through
///   tagLimit    the same for tags, when tagBits is given
///   occLimit    the same for occurrences, when occBits is given
///   useNew      expand a term that ends in "@"
///   candidates  the only records that still matter, the postings of others may be left out; null for all
///   found       what FindOperand gave for the operand; null when it has not been called
/// Result 0, also for a term that does not exist; -1 without a space.
int TrmPostProc_Range(TVelorSpace* space, const std::string& db, const std::string& term, int op,
                      TBitList* mfnBits, TBitList* tagBits, TBitList* occBits, int mfnLimit, int tagLimit,
                      int occLimit, bool useNew, const TBitList* candidates = nullptr,
                      const FoundOperand* found = nullptr);

/// The same with `useNew` true.
int TrmPostProc_RangeNew(TVelorSpace* space, const std::string& db, const std::string& term, int op,
                         TBitList* mfnBits, TBitList* tagBits, TBitList* occBits, int mfnLimit, int tagLimit,
                         int occLimit, const TBitList* candidates = nullptr);

/// Looks for the term of an operand. Its postings are counted by the head of the first segment, which costs
/// no reading; a term that does not exist has none. An operand of many terms, a word of many forms among them
/// with `useNew`, must be read to be counted.
[[nodiscard]] FoundOperand FindOperand(TVelorSpace* space, const std::string& term, bool useNew);

/// Collects the postings of one operand as quadruples (record, tag, occurrence, position), one behind the
/// other, ascending, none twice; record, tag and occurrence are above 0. A term that ends in "@" is expanded.
///   mfnBits  the records that count; null for all
///   tagBits, occBits  the tags and occurrences that count; null for all
///   out      the quadruples are put among those that are there
/// Result as above.
int TrmPostCash(TVelorSpace* space, const std::string& term, const TBitList* mfnBits, const TBitList* tagBits,
                const TBitList* occBits, TIntList* out);

/// Sets bits from ascending quadruples:
///   mfn 0                   of all records
///   mfn, tag 0              of the tags that the record has
///   mfn, tag, occ 0         of the occurrences of this tag
///   mfn, tag, occ, op 5     of the `index` numbers from each position downwards
///   mfn, tag, occ, other op of the position less `index`
/// A limit above 0 leaves out values above it, 0 everything. Numbers below 1 have no bit.
/// For callers that look at single records. A search goes through whole lists (near_terms.h).
void TrmPostCashProc(const TIntList* posts, TBitList* out, int limit, int mfn, int tag, int occ, int unused,
                     int index, unsigned char op);

/// Opens the morphology database for searches in the context of the space; one that is open under this name
/// stays. An empty name or a database that does not open leaves the search without one.
/// Result 0, or why there is none.
int InitMorph(TVelorSpace* space, const std::string& dbName);

/// The prefix that word forms get in the dictionary, with its "=": "K=".
void InitMorphPrefix(TVelorSpace* space, const std::string& prefix);

/// Closes the morphology database and forgets the prefix.
void ClearMorph(TVelorSpace* space);

/// Word forms written out in the term: "КНИГ$А,И,У" becomes "КНИГ", and `forms` receives "КНИГА", "КНИГИ" and
/// "КНИГУ". A term without "$" stays, and there are no forms.
void InitFlexList(std::string& term, TStringList* forms);

}  // namespace Tmthrd_32
