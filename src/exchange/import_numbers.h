#pragma once

#include <cstdint>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"
#include "utils/int_list.h"

/// The numbers that imported records get: those of their headers, those of physically deleted records, and
/// the next free ones.
namespace velora {

/// For the life of the object new records take numbers at the end only, whatever the main ini says.
class NumbersInOrder {
 public:
  NumbersInOrder(app::VelorAppContext* ctx, bool active) : ctx_(ctx), former_(ctx->reusePhysDel) {
    if (active) ctx_->reusePhysDel = false;
  }
  ~NumbersInOrder() { ctx_->reusePhysDel = former_; }
  NumbersInOrder(const NumbersInOrder&) = delete;
  NumbersInOrder& operator=(const NumbersInOrder&) = delete;

 private:
  app::VelorAppContext* ctx_;
  bool former_;
};

/// Takes the number from a record, which keeps the GUID that came with it.
void MakeNewRecord(velor_01::TVelorSpace* space, int slot);

/// Makes room for the number of the record in `slot`, which its header asks for. A number in use gets a
/// further version of its record; the next free one is simply a new record. Result 0, or why the number
/// cannot be had: -140, -141. Blank records go through `blankSlot`.
[[nodiscard]] int TakeHeaderNumber(velor_01::TVelorSpace* space, int slot, int blankSlot, int timeoutSeconds);

/// The numbers of physically deleted records, each given out once.
class FreedNumbers {
 public:
  /// Looks for them in the whole database.
  void Load(velor_01::TVelorSpace* space);
  [[nodiscard]] bool isEmpty() const { return next_ >= numbers_.GetCount(); }
  /// Gives the record in `slot` the next number, at version 0.
  void GiveNext(velor_01::TVelorSpace* space, int slot);

 private:
  velor_01::TIntList numbers_;
  int next_ = 0;
};

}  // namespace velora
