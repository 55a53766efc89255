#include "exchange/import_report.h"

#include <algorithm>
#include <ostream>

#include "storage/codes.h"

namespace velora {

void ImportReport::Note(std::string_view line) {
  if (!protocol_.isOpen()) return;
  protocol_.buffer().append(line).append("\r\n");
  protocol_.FlushIfLarge();
}

void ImportReport::NoteNumber(std::string_view what, std::string_view remark) {
  if (!protocol_.isOpen()) return;
  std::string line(what);
  line.append(": NUMBER ").append(std::to_string(number_)).append(" ").append(remark);
  std::ranges::replace_if(
      line, [](char c) { return c == '\r' || c == '\n'; }, ' ');
  line.erase(line.find_last_not_of(' ') + 1);
  Note(line);
}

void ImportReport::NoteMfn(std::string_view what, int mfn, std::int64_t count) {
  if (!protocol_.isOpen()) return;
  std::string line(what);
  line.append(": MFN ").append(std::to_string(mfn));
  if (count > 0) line.append(" COUNT ").append(std::to_string(count));
  Note(line);
}

void ImportReport::Skip(std::string_view reason) {
  ++counts_["skipped"];
  NoteNumber("Record skipped", reason);
}

void ImportReport::Ignore(int mfn) {
  ++counts_["merge ignored"];
  NoteMfn("Record merge ignored", mfn);
}

void ImportReport::Stored(int result, int mfn, bool isNew) {
  if (result != velor_32::kOk) {
    const std::string status = "Record update error: " + std::to_string(result);
    ++counts_[status];
    Note(status + " NUMBER " + std::to_string(number_));
    return;
  }
  const std::string status = isNew ? "inserted" : "updated";
  ++counts_[status];
  ++imported_;
  NoteMfn("Record " + status, mfn);
}

void ImportReport::Merged(int mfn) {
  ++merged_;
  NoteMfn("Record merged", mfn, ++mergeCount_[mfn]);
}

bool ImportReport::Finish(std::ostream& out) {
  const bool isComplete = protocol_.Close();
  out << "Records imported total" << std::endl;
  for (const auto& [status, count] : counts_) out << status << " " << count << std::endl;
  out << "Records merged " << merged_ << std::endl << "Records imported " << imported_ << std::endl;
  return isComplete;
}

}  // namespace velora
