#pragma once

#include <string>

#include "gbl/gbl_ctx.h"

/// The work of the operators on fields: tag, subfield and occurrences as the task has them, values as
/// formats. Result 0 when the record changed, -1 when it did not, or when the work failed.
namespace global {

constexpr int kUnchanged = -1;

/// Adds fields, or a subfield to fields. With `toOther` the format and the occurrences are those of the
/// record in `slot` of `space`, and the result goes to the record in slot 0 of `other`.
int ADDF(GblCtx* ctx, int toOther, velor_01::TVelorSpace* other, velor_01::TVelorSpace* space, int slot,
         const std::string& tag, const std::string& subfield, const std::string& occurrence,
         const std::string& format);

int DEL(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, const std::string& tag,
        const std::string& subfield, const std::string& occurrence, const std::string& format);

int REP(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, const std::string& tag,
        const std::string& subfield, const std::string& occurrence, const std::string& format);

/// Replaces texts within fields, with regard to case as `caseSensitive` of the context says.
int CHA(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, const std::string& tag,
        const std::string& subfield, const std::string& occurrence, const std::string& from,
        const std::string& to);

}  // namespace global
