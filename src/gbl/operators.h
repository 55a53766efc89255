#pragma once

#include <string>
#include <string_view>

#include "gbl/gbl_ctx.h"

/// The operators of the correction language: one function behind each keyword. All give the index of the line
/// to go on with, and do nothing but step over their operands while a false IF is passed over.
namespace global {

// Control of the walk (flow_operators.cpp).
int ExecuteIF(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteFI(GblCtx* ctx, int index);
int ExecuteREPEAT(GblCtx* ctx, int index);
int ExecuteUNTIL(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);

// Scratch field, protocol, whole records (scratch_operators.cpp).
int ExecuteDEFFLD(GblCtx* ctx, velor_01::TVelorSpace* space, int index, const std::string& masterPath);
int ExecutePUTFLD(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteGETFLD(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecutePUTLOG(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteALL(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteEMPTY(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);

// Fields (field_operators.cpp).
int ExecuteADD(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteDEL(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteREP(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteCHA(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index, std::string_view keyword);

// Records (record_operators.cpp).
int ExecuteDELR(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteUNDELR(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteUNDOR(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index,
                 const std::string& masterPath);

// Blocks (block_operators.cpp).
int ExecuteNEWREC(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index, std::string_view keyword);
int ExecuteCORREC(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int index);
int ExecuteEND(GblCtx* ctx, velor_01::TVelorSpace* space, int index);

/// One step of the walk.
struct Step {
  GblCtx* ctx;
  velor_01::TVelorSpace* space;
  int slot;
  int index;
};

/// A row of the table of the language.
struct Operator {
  std::string_view keyword;
  bool isFieldOperator;  ///< its operands are a field line, occurrences and two values
  int (*run)(const Step& step);
};

/// Null for a line that is no keyword.
[[nodiscard]] const Operator* FindOperator(std::string_view line);

}  // namespace global
