#include "exchange/reformat.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

#include "exchange/exchange_files.h"
#include "exchange/text_record.h"
#include "format/format_run.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TStringList;
using velor_01::TVelorSpace;

namespace {

/// Calls `visit` for each line of an output that is not empty.
template <class Visit>
void ForEachLine(std::string_view output, Visit&& visit) {
  while (!output.empty()) {
    const std::size_t end = std::min(output.find_first_of("\r\n"), output.size());
    const std::string_view line = output.substr(0, end);
    if (!line.empty()) visit(line);
    output.remove_prefix(std::min(end + 1, output.size()));
  }
}

void AddField(TVelorSpace* space, int slot, int tag, std::string_view text) {
  if (tag == velor_01::kGuidTag) return;  // a record gets its GUID where it is stored
  if (text.empty() || !utils::TextUtil::CheckUTF8(text)) return;
  velor_32::Velorfldadd(space, slot, tag, 0, text.data(), static_cast<int>(text.size()));
}

void AddFields(TVelorSpace* space, int slot, const TStringList& table, const TStringList& outputs) {
  for (int i = 0; i < table.GetCount(); ++i) {
    const int tag = table.GetNumObject(i);
    if (tag < 1) continue;
    ForEachLine(outputs.Get(i), [&](std::string_view line) { AddField(space, slot, tag, line); });
  }
}

/// A line that opens no field goes on with the one before it, as in a text file.
void AddTaggedFields(TVelorSpace* space, int slot, std::string_view output) {
  int tag = 0;  // of the field at hand; there is none before the first one
  std::string text;
  ForEachLine(output, [&](std::string_view line) {
    int nextTag = 0;
    std::string_view nextText;
    if (!OpensField(line, &nextTag, &nextText)) {
      text.append(line);
      return;
    }
    if (tag > 0) AddField(space, slot, tag, text);
    tag = nextTag;
    text.assign(nextText);
  });
  if (tag > 0) AddField(space, slot, tag, text);
}

void AddRest(TVelorSpace* space, int slot, const TStringList& table, const TStringList& outputs) {
  for (int i = 0; i < table.GetCount(); ++i)
    if (table.GetNumObject(i) == 0) AddTaggedFields(space, slot, outputs.Get(i));
}

/// The classic language keeps one format on the space: it is prepared anew for each line.
void RunClassic(TVelorSpace* space, int fromSlot, int formatSlotEnd, bool addRest, const TStringList& table,
                TStringList* outputs) {
  constexpr int kMaxLength = 6;
  for (int i = 0; i < table.GetCount(); ++i) {
    const char* text = table.Get(i);
    const bool isRun =
        table.GetNumObject(i) >= (addRest ? 0 : 1) &&
        fmt_64::Velor_InitPFT(space, text, static_cast<int>(std::strlen(text))) == velor_32::kOk;
    if (isRun) fmt_64::Velor_Format(space, fromSlot, formatSlotEnd, kMaxLength, 0, "VELOR64");
    outputs->Add(isRun ? xpft::Velor_FormatResult(space) : "");
  }
}

}  // namespace

void RecReformat(TVelorSpace* space, int fromSlot, int toSlot, int formatSlotEnd, bool addRest,
                 const TStringList& table, xpft::XpftFst* compiled) {
  TStringList outputs;
  if (space->app->xpftEnabled)
    compiled->Format(space, fromSlot, formatSlotEnd, &outputs);
  else
    RunClassic(space, fromSlot, formatSlotEnd, addRest, table, &outputs);
  AddFields(space, toSlot, table, outputs);
  if (addRest) AddRest(space, toSlot, table, outputs);
}

void RecReformat(TVelorSpace* space, int fromSlot, int toSlot, int formatSlotEnd, bool addRest,
                 TStringList* table) {
  xpft::XpftFst compiled(space, table, !addRest);
  RecReformat(space, fromSlot, toSlot, formatSlotEnd, addRest, *table, &compiled);
}

void ReformatTable::Load(TVelorSpace* space, const std::string& database, const std::string& name,
                         std::ostream& out) {
  if (LoadTable(space->app, database, name, &table_)) {
    compiled_ = std::make_unique<xpft::XpftFst>(space, &table_, false);
    return;
  }
  out << "File not found " << name << std::endl;
  velor_server_proc::LogTool("File not found " + name);
}

void ReformatTable::Run(TVelorSpace* space, int fromSlot, int toSlot) {
  velor_32::Velornewrec(space, toSlot);
  RecReformat(space, fromSlot, toSlot, toSlot + 1, true, table_, compiled_.get());
}

}  // namespace velora
