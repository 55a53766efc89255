#pragma once

#include "storage/velor_space.h"

/// The status bits of a record. The functions on a shelf change memory only: nothing reaches the file before
/// the record is updated. Those with an mfn look at the file.
namespace velor_32 {

/// Status words of the shelf: which 0 the leader's, any other the cross-reference entry's.
[[nodiscard]] int Velorrecstatus(const TVelorSpace* space, int shelf, int which);

int Velorrecdel(TVelorSpace* space, int shelf);
int Velorrecundelete(TVelorSpace* space, int shelf);
/// Sets the bit of physical deletion in each status word that does not say "deleted".
int Velorrecphysdel(TVelorSpace* space, int shelf);
int Velorreclock(TVelorSpace* space, int shelf);
int Velorrecunlock(TVelorSpace* space, int shelf);
int Velorrecactualize(TVelorSpace* space, int shelf);
int Velorrecunactualize(TVelorSpace* space, int shelf);
/// These two act in a full-text space only.
int Velorrecftactualize(TVelorSpace* space, int shelf);
int Velorrecftunactualize(TVelorSpace* space, int shelf);

[[nodiscard]] bool VelorIsDeleted(const TVelorSpace* space, int shelf);
[[nodiscard]] bool VelorIsLocked(const TVelorSpace* space, int shelf);
[[nodiscard]] bool VelorIsActualized(const TVelorSpace* space, int shelf);
/// Asks the file for the number of the shelf's record; true on any doubt.
[[nodiscard]] bool VelorIsActualizedFT(const TVelorSpace* space, int shelf);

/// The word in the file: true when the index is up to date; true when the page texts are not; -602 for a
/// locked record, 0 for a free one, -400 when the entry cannot be read.
[[nodiscard]] bool VelorIsRealyActualized(const TVelorSpace* space, int mfn);
[[nodiscard]] bool VelorIsRealyNotActualizedFT(const TVelorSpace* space, int mfn);
[[nodiscard]] int VelorIsRealyLocked(const TVelorSpace* space, int mfn);

}  // namespace velor_32
