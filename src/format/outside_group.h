#pragma once

#include "format/pft_context.h"

namespace xpft::ast {

/// Leaves the repeat group for the life of the object: what runs meanwhile sees all occurrences and may have
/// groups of its own, and the group does not learn of the fields that it reads.
class OutsideGroup {
 public:
  explicit OutsideGroup(IPftContext* ctx) : ctx_(ctx) {
    ctx_->PushRepGrpState();
    ctx_->EndRepGroup();
  }
  ~OutsideGroup() { ctx_->PopRepGrpState(); }
  OutsideGroup(const OutsideGroup&) = delete;
  OutsideGroup& operator=(const OutsideGroup&) = delete;

 private:
  IPftContext* ctx_;
};

}  // namespace xpft::ast
