#pragma once

#include <string>

#include "gbl/gbl_ctx.h"

/// The opener of a block that runs once for each record found through the index of a database.
namespace global {

constexpr int kCorrecLength = 4;  // lines of CORREC; the limit behind them is passed over as an unknown line

/// Finds the records: the hits, which stand in `spaces` of the context. All are read, so that one that cannot
/// be stops the task before the first round; each gets a space of its own when its turn comes.
///   dbFormat      the database
///   fieldsFormat  lines that each hit gets as fields 1001; may be empty
///   keyFormat     keys, one a line; a "$" at the end makes them prefixes
///   limit         postings taken of each term; not above 0: all
/// Result: the number of hits; 0 also when another server ran the block.
int CORREC(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, const std::string& dbFormat,
           const std::string& fieldsFormat, std::string keyFormat, const std::string& limit);

/// Opens the space of hit `index`, unless it is open, and reads its record. Null, and an error record, when
/// that fails.
velor_01::TVelorSpace* OpenHit(GblCtx* ctx, const velor_01::TVelorSpace* space, int index);

/// Lets the server of a redirected database run the block at `blockLine`. True when it did; `remoteEnd` is
/// then the line to go on with, and what came back is in the streams.
bool RunRemotely(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, const char* keyword,
                 const std::string& name);

/// A database that cannot be opened: error record and log.
void FailDatabase(GblCtx* ctx, const char* keyword, int rc, const std::string& name);

}  // namespace global
