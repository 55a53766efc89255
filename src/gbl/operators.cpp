#include "gbl/operators.h"

#include <algorithm>
#include <iterator>

namespace global {

namespace {

// In the order of their words, so that a line is found by halving.
constexpr Operator kOperators[] = {
    {"ADD", true, [](const Step& s) { return ExecuteADD(s.ctx, s.space, s.slot, s.index); }},
    {"ALL", false, [](const Step& s) { return ExecuteALL(s.ctx, s.space, s.slot, s.index); }},
    {"CHA", true, [](const Step& s) { return ExecuteCHA(s.ctx, s.space, s.slot, s.index, "CHA"); }},
    {"CHAC", true, [](const Step& s) { return ExecuteCHA(s.ctx, s.space, s.slot, s.index, "CHAC"); }},
    {"CORREC", false, [](const Step& s) { return ExecuteCORREC(s.ctx, s.space, s.slot, s.index); }},
    {"DEFFLD", false,
     [](const Step& s) { return ExecuteDEFFLD(s.ctx, s.space, s.index, MasterPath(s.ctx, s.space)); }},
    {"DEL", true, [](const Step& s) { return ExecuteDEL(s.ctx, s.space, s.slot, s.index); }},
    {"DELR", false, [](const Step& s) { return ExecuteDELR(s.ctx, s.space, s.slot, s.index); }},
    {"EMPTY", false, [](const Step& s) { return ExecuteEMPTY(s.ctx, s.space, s.slot, s.index); }},
    {"END", false, [](const Step& s) { return ExecuteEND(s.ctx, s.space, s.index); }},
    {"FI", false, [](const Step& s) { return ExecuteFI(s.ctx, s.index); }},
    {"GETFLD", false, [](const Step& s) { return ExecuteGETFLD(s.ctx, s.space, s.slot, s.index); }},
    {"IF", false, [](const Step& s) { return ExecuteIF(s.ctx, s.space, s.slot, s.index); }},
    {"NEWMFN", false, [](const Step& s) { return ExecuteNEWREC(s.ctx, s.space, s.slot, s.index, "NEWMFN"); }},
    {"NEWREC", false, [](const Step& s) { return ExecuteNEWREC(s.ctx, s.space, s.slot, s.index, "NEWREC"); }},
    {"PUTFLD", false, [](const Step& s) { return ExecutePUTFLD(s.ctx, s.space, s.slot, s.index); }},
    {"PUTLOG", false, [](const Step& s) { return ExecutePUTLOG(s.ctx, s.space, s.slot, s.index); }},
    {"REP", true, [](const Step& s) { return ExecuteREP(s.ctx, s.space, s.slot, s.index); }},
    {"REPEAT", false, [](const Step& s) { return ExecuteREPEAT(s.ctx, s.index); }},
    {"UNDEL", false, [](const Step& s) { return ExecuteUNDELR(s.ctx, s.space, s.slot, s.index); }},
    {"UNDOR", false,
     [](const Step& s) { return ExecuteUNDOR(s.ctx, s.space, s.slot, s.index, MasterPath(s.ctx, s.space)); }},
    {"UNTIL", false, [](const Step& s) { return ExecuteUNTIL(s.ctx, s.space, s.slot, s.index); }},
};
static_assert(std::ranges::adjacent_find(kOperators, std::ranges::greater_equal{}, &Operator::keyword) ==
                  std::ranges::end(kOperators),
              "rows ascend, no keyword stands twice");

}  // namespace

const Operator* FindOperator(std::string_view line) {
  const Operator* row = std::ranges::lower_bound(kOperators, line, {}, &Operator::keyword);
  return row != std::end(kOperators) && row->keyword == line ? row : nullptr;
}

}  // namespace global
