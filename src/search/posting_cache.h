#pragma once

#include <string>

#include "storage/velor_space.h"

/// Access to the dictionary through the term cache of the context. Each call does what its counterpart in
/// storage/term_read.h does, and with `noCache`, or while the cache is off, nothing else.
namespace Tmthrd_32 {

using velor_01::TVelorSpace;

/// Whether the cache of the space's context is there and in use.
[[nodiscard]] bool UsesTermCache(const TVelorSpace* space);

/// Finds a term: `term` is a buffer of kTermBufferSize bytes with the text and receives what was found.
///   text  the term as it was asked for. When it ends with a blank, a term that only differs in the blanks at
///         its end is as good
///   key   name of the database in the cache
/// Result of Velorfind; a term that is remembered gives its status again.
int isisfindNew(TVelorSpace* space, char* term, const std::string& text, const std::string& key,
                bool noCache);

/// Postings of the current term; the next one; field n of it, from 1; its record number.
[[nodiscard]] int isisnpostsnew(const TVelorSpace* space, bool noCache);
int isisnxtpostnew(TVelorSpace* space, bool noCache);
[[nodiscard]] int isispostingnew(const TVelorSpace* space, int fieldNo, bool noCache);
[[nodiscard]] int isispostingmfn(const TVelorSpace* space, bool noCache);

// ---- pages of a full-text search ----

constexpr int kPageField = 7;  // of a posting, from 1

/// Whether searches in the space gather pages.
[[nodiscard]] bool CollectsPages(const TVelorSpace* space);

/// Adds a posting's record with its tag and with its page to the lists of the context. False when the record
/// does not pass the page filter; the posting then does not count.
bool AddPage(TVelorSpace* space, int mfn, int tag, int page);

/// The same for the current posting. Result 0 when it counts, also where no pages are gathered or with
/// `skip`.
int AddMfnPage(TVelorSpace* space, int mfn, bool skip, bool noCache);

}  // namespace Tmthrd_32
