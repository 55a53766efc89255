#pragma once

#include <cstdint>
#include <string_view>

#include "storage/velor_space.h"
#include "utils/posting_list.h"
#include "utils/string_list.h"

/// The terms of a record: what a field selection table makes of it.
///
/// Each line of the table (inv_context.h) runs its format over the record. The result is cut at each "%" into
/// occurrences, and the line's method cuts an occurrence into words:
///
///   method  words                                                 position in the posting
///   0       the text lines                                        line, from 1
///   2, 6    what stands between "<" and ">"                       stretch, from 1
///   3, 7    what stands between "/" and "/"                       stretch, from 1
///   4, 8    words by the alphabet, stemmed if the space says so   word, stop words counted
///   5       words of a page; only where the space is full-text    word, over all pages of the record
///   1, 9    none
///
/// The results of methods 5 to 9 begin with a prefix between two equal characters, which goes before each
/// word. A term is prefix and word in upper case, well-formed UTF-8, at most kMaxTermBytes, on one line,
/// without white space at its ends; words of the stop list make none. The rules of words are in words.h.
namespace recif {

using velor_01::TifpItemPosting;
using velor_01::TIfpPostingList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

constexpr std::size_t kMaxTermBytes = 253;

/// Which lines of a table count.
enum TermSelection : std::int32_t {
  kAllLines = 0,
  kCatalogLines = 1,   ///< without methods 5 and 9
  kFullTextLines = 2,  ///< methods 5 and 9 alone
};

/// What a bulk build says about the terms that it wants; an update of one record has none.
struct VeloraRecTermParams {
  bool skipFullText = false;  ///< no words of pages, no extraction of attached files
  std::int32_t select = kAllLines;
  std::int32_t extractMode = 0;  ///< handed on to the extraction of page texts
};

/// Takes the terms of a record as they are made.
class TermSink {
 public:
  virtual ~TermSink() = default;
  /// `term` is good for the call only. `fullText` says that it belongs to the dictionary of the page texts.
  virtual void Add(std::string_view term, const TifpItemPosting& posting, bool fullText) = 0;
  /// False saves the making of the words of pages.
  [[nodiscard]] virtual bool TakesFullText() const { return true; }
};

/// Hands the terms of the record in `shelf` to `sink`, in the order of the table. A format that reads other
/// records reads them into the shelves behind `shelf`. `params` may be null.
/// Result 0, -100 without an open space or memory, -102 for a bad shelf.
/// In the steady state no memory is taken per term: what the work needs stays with the space.
int EmitRecTerms(TVelorSpace* space, int shelf, const VeloraRecTermParams* params, TermSink& sink);

/// Appends the terms to lists: the number of a term is the index of its posting, the object of a posting is 1
/// when `toDelete`, else 0. `ftTerms` and `ftPostings` may be null: there are then no words of pages.
/// Results as above; after -100 the lists hold the terms up to the failure.
int MyIsisRecTerm(TVelorSpace* space, int shelf, TStringList* terms, TStringList* ftTerms,
                  TIfpPostingList* postings, TIfpPostingList* ftPostings, bool toDelete,
                  const VeloraRecTermParams* params);
/// The same for the catalogue alone, to be inserted.
int MyIsisRecTerm(TVelorSpace* space, int shelf, TStringList* terms, TIfpPostingList* postings);

/// Replace `out` by the words that methods 0, 2 and 3 make of an occurrence (see above), numbered from 1. "<"
/// does not nest: "<a<b>" gives "a<b". An opening without its end gives nothing.
void StrToTerms0(const char* text, TStringList* out);
void StrToTerms2(const char* text, TStringList* out);
void StrToTerms3(const char* text, TStringList* out);

}  // namespace recif
