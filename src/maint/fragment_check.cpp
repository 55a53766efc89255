#include "maint/fragment_check.h"

#include <algorithm>
#include <new>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "storage/xrf_entries.h"
#include "utils/file_layer.h"

namespace velora {

using utils::FileSize;
using velor_01::kControlSize;
using velor_01::kLeaderSize;
using velor_01::kXrfEntrySize;
using velor_01::TNew_Xrf;

namespace {

constexpr std::int64_t kSmallTable = 1 << 16;  // records whose table is made without further thought
constexpr std::int32_t kKnownFlags = velor_01::kStatusDeleted | velor_01::kStatusPhysicallyDeleted |
                                     velor_01::kStatusNotActualized | velor_01::kStatusLocked |
                                     velor_01::kStatusFullTextNotActualized;
constexpr std::int32_t kFlagsOfImage =
    velor_01::kStatusDeleted | velor_01::kStatusNotActualized | velor_01::kStatusFullTextNotActualized;
constexpr TNew_Xrf kNoImage = {0, 0, velor_01::kStatusPhysicallyDeleted};

bool IsSame(const TNew_Xrf& a, const TNew_Xrf& b) {
  return a.offsetLow == b.offsetLow && a.offsetHigh == b.offsetHigh && a.flags == b.flags;
}

std::string Bytes(const char* what, std::int64_t count, const char* then) {
  return what + std::to_string(count) + " bytes, " + then;
}

}  // namespace

FragmentCheck::FragmentCheck(velor_01::TVelorSpace* space, int fragment, bool repair, Findings& findings)
    : space_(space), fragment_(fragment), repair_(repair), findings_(findings) {}

bool FragmentCheck::Run() {
  if (!Open() || !PrepareTable()) return true;
  if (!ScanMaster()) {
    findings_.Fault(kStopped);  // half a table would condemn the other half of the records
    return false;
  }
  if (repair_) LengthenXrf();
  SetAsideForeignImages();
  const bool isComplete = VisitEntries([&](int mfn, const TNew_Xrf& entry) { CompareEntry(mfn, entry); });
  if (!isComplete) findings_.Fault("read != sizeof(TNew_Xrf)");
  if (repair_) ClearStrayEntries();
  CheckControl();
  return true;
}

bool FragmentCheck::Open() {
  const FragmentState state = OpenFragment(space_, fragment_);
  if (repair_ && update_.Open(space_, fragment_) == velor_32::kOk) {
    mstFile_ = update_.files.mstFile;
    xrfFile_ = update_.files.xrfFile;
  } else if (!repair_) {
    const velor_32::FilePair files = velor_32::ReadHandles(space_, fragment_);
    mstFile_ = files.mstFile;
    xrfFile_ = files.xrfFile;
  }
  if (velor_32::ReadControl(mstFile_, &control_)) return true;
  if (state != FragmentState::kUnused) findings_.Fault("read != sizeof(Tcntmst)");
  return false;
}

/// A record needs an image or an entry. Where the files are too small for the number that the control record
/// gives, that number is damaged, and no memory is asked for. A negative one counts as a large one.
bool FragmentCheck::PrepareTable() {
  const std::int64_t count = static_cast<std::uint32_t>(control_.nxtmfn) - 1;
  const std::int64_t possible =
      std::max({kSmallTable, FileSize(mstFile_) / kLeaderSize, FileSize(xrfFile_) / kXrfEntrySize});
  bool isPrepared = count <= possible;
  if (isPrepared) {
    try {
      offsets_.assign(static_cast<std::size_t>(count), 0);
    } catch (const std::bad_alloc&) {
      isPrepared = false;
    }
  }
  lastMfn_ = isPrepared ? static_cast<int>(count) : 0;
  if (!isPrepared) findings_.Fault("failed to allocate " + std::to_string(count * 8));
  return isPrepared;
}

/// False on a stop request.
bool FragmentCheck::ScanMaster() {
  using Kind = MasterScan::Kind;
  MasterScan scan(mstFile_, FileSize(mstFile_));
  for (MasterScan::Piece piece = scan.Next(); piece.kind != Kind::kEnd; piece = scan.Next()) {
    if (app::CheckStopProcess(space_->app)) return false;
    ReportProgress(piece.offset, scan.size());
    if (piece.kind == Kind::kImage) TakeImage(piece);
    if (piece.kind == Kind::kDamaged) ReportDamage(piece, scan.size());
    if (piece.kind == Kind::kDamaged && repair_ && scan.IsCutOff(piece))
      ShortenImage(piece.offset, scan.size());
    if (piece.kind == Kind::kEmpty) findings_.Tell(Bytes("empty space found: ", piece.length, "skipped"));
    if (piece.kind == Kind::kEmptyEnd)
      findings_.Tell(Bytes("empty space at the end of file: ", piece.length, "exit"));
  }
  findings_.Tell("100%");
  return true;
}

void FragmentCheck::ReportProgress(std::int64_t offset, std::int64_t size) {
  const int tenths = static_cast<int>(offset * 10 / std::max<std::int64_t>(size, 1));
  while (tenths_ < tenths) findings_.Tell(std::to_string(++tenths_ * 10) + "%");
}

void FragmentCheck::TakeImage(const MasterScan::Piece& piece) {
  const int mfn = piece.leader.mfn;
  endOfImages_ = piece.offset + piece.length;
  endOfData_ = endOfImages_;
  if (mfn >= 1 && mfn <= lastMfn_) {
    offsets_[static_cast<std::size_t>(mfn) - 1] = piece.offset;
    return;
  }
  // Without a lock this may be a record that another process has added meanwhile.
  velor_01::Tcntmst now = control_;
  if (mfn > lastMfn_ && velor_32::ReadControl(mstFile_, &now) && mfn < now.nxtmfn) return;
  findings_.Fault("reclider.mfn out of range " + std::to_string(mfn) + " maxmfn " +
                  std::to_string(control_.nxtmfn));
}

/// Without a lock others may be writing behind what was in use at the start: half an image is no damage then.
bool FragmentCheck::IsBeingWritten(const MasterScan::Piece& piece) const {
  velor_01::Tcntmst now = control_;
  return piece.offset + piece.length >= backup::MakeInt64(control_.nxtLow, control_.nxtHigh) &&
         velor_32::ReadControl(mstFile_, &now) &&
         (now.nxtLow != control_.nxtLow || now.nxtHigh != control_.nxtHigh);
}

void FragmentCheck::ReportDamage(const MasterScan::Piece& piece, std::int64_t size) {
  if (IsBeingWritten(piece)) return;
  const std::int64_t behindLeader = size - piece.offset - kLeaderSize;
  const std::int64_t wanted = std::int64_t{piece.leader.length} - kLeaderSize;
  if (behindLeader < 0) {
    findings_.Fault("read != sizeof(Tlider)");
  } else if (piece.leader.length < 1) {
    findings_.Fault("reclider.mfrl <= 0");
  } else if (wanted > behindLeader) {
    findings_.Fault("read (" + std::to_string(behindLeader) + ") != reclider.mfrl - sizeof(Tlider) (" +
                    std::to_string(wanted) + ")");
  } else {
    findings_.Fault("directory does not fit reclider.mfrl " + std::to_string(piece.leader.length));
  }
  findings_.Tell(Bytes("damaged space found: ", piece.length, "skipped"));
  endOfData_ = piece.offset + piece.length;
}

/// An image that the end of the file cuts off gets the length of what is left of it. Once the file has grown
/// it would otherwise look like a whole one, with bytes of what was written meanwhile.
void FragmentCheck::ShortenImage(std::int64_t offset, std::int64_t end) {
  WriteWord(offset + velor_01::kLengthWordOffset, static_cast<std::int32_t>(end - offset));
}

/// Gives each entry in use to `visit`. False when the file ends before they do.
template <class Visit>
bool FragmentCheck::VisitEntries(Visit&& visit) {
  const auto visitAll = [&](int mfn, const TNew_Xrf& entry) {
    visit(mfn, entry);
    return true;
  };
  return velor_32::VisitXrfEntries(xrfFile_, 1, lastMfn_, visitAll) > lastMfn_;
}

void FragmentCheck::LengthenXrf() {
  const std::int64_t size = FileSize(xrfFile_);
  const std::int64_t needed = kXrfEntrySize * lastMfn_;
  if (size < needed) findings_.Fault("fsize < xrfOffset");
  if (size >= needed && size % velor_01::kXrfStep == 0) return;
  if (!velor_32::PadFile(xrfFile_, size, std::max(size, needed), velor_01::kXrfStep))
    findings_.Fault("xrf file write error");
}

/// The number in the leader of an image may be the damage: it would then replace the image of the record that
/// has this number. So where a record can be read, a later image replaces its own only when that is marked as
/// the last version, as an update marks it, and when the entry of no other record leads to it. Where one
/// does, the image gets the number of that record back.
void FragmentCheck::SetAsideForeignImages() {
  std::vector<Suspect> suspects;
  VisitEntries([&](int mfn, const TNew_Xrf& entry) {
    const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
    const std::int64_t found = offsets_[static_cast<std::size_t>(mfn) - 1];
    if (offset >= kControlSize && offset < found && IsReadable(mfn)) suspects.push_back({found, mfn});
  });
  if (suspects.empty()) return;
  std::ranges::sort(suspects, {}, &Suspect::offset);
  VisitEntries([&](int mfn, const TNew_Xrf& entry) {
    const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
    const auto found = std::ranges::lower_bound(suspects, offset, {}, &Suspect::offset);
    if (found == suspects.end() || found->offset != offset || found->mfn == mfn) return;
    offsets_[static_cast<std::size_t>(found->mfn) - 1] = 0;
    if (offsets_[static_cast<std::size_t>(mfn) - 1] < offset) Relabel(offset, found->mfn, mfn);
  });
  for (const Suspect& suspect : suspects) {
    velor_01::Tlider leader;
    const bool isLast = velor_32::ReadLeaderAt(mstFile_, suspect.offset, &leader) &&
                        (leader.status & velor_01::kStatusLastVersion);
    if (!isLast) offsets_[static_cast<std::size_t>(suspect.mfn) - 1] = 0;
  }
}

void FragmentCheck::Relabel(std::int64_t offset, int foundMfn, int mfn) {
  const bool isDone = repair_ && velor_32::WriteWordAt(mstFile_, offset, mfn);
  findings_.Fault("mfn " + std::to_string(GlobalNumber(mfn)) + " reclider.mfn " + std::to_string(foundMfn) +
                  (isDone ? " reclider.mfn fixed" : ""));
  offsets_[static_cast<std::size_t>(mfn) - 1] = offset;
}

bool FragmentCheck::IsReadable(int mfn) const {
  const int rc = velor_32::VelorRecord(space_, 0, static_cast<int>(GlobalNumber(mfn)), true);
  return rc == velor_32::kOk || rc == velor_32::kDeleted;
}

std::int64_t FragmentCheck::GlobalNumber(int mfn) const {
  return velor_32::GlobalMfn(space_, fragment_, mfn);
}

void FragmentCheck::AwaitLastEntry(TNew_Xrf* entry) const {
  if (repair_ || !IsSame(*entry, {})) return;
  AwaitLastRecord(
      [&] { return velor_32::ReadEntryAt(xrfFile_, lastMfn_, entry) && !IsSame(*entry, TNew_Xrf{}); });
}

void FragmentCheck::CompareEntry(int mfn, TNew_Xrf entry) {
  if (mfn == lastMfn_) AwaitLastEntry(&entry);
  const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
  const std::int64_t found = offsets_[static_cast<std::size_t>(mfn) - 1];
  // The image of a physically deleted record stays in the master file.
  if (IsSame(entry, kNoImage)) return;
  const std::string who = "mfn " + std::to_string(GlobalNumber(mfn));
  TNew_Xrf wanted = {entry.offsetLow, entry.offsetHigh, entry.flags & kKnownFlags};
  std::string line;
  if (offset == 0 && (entry.flags & velor_01::kStatusPhysicallyDeleted)) {
    wanted = kNoImage;
  } else if (offset > found && IsReadable(mfn)) {
    // Another process has written it since the scan, or its directory does not add up.
  } else if (found == 0) {
    wanted = kNoImage;
    line = who + " xrf offset: " + std::to_string(offset) +
           " record offset not found hense must be physically deleted";
  } else if (offset != found || (entry.flags & velor_01::kStatusPhysicallyDeleted)) {
    wanted = TurnedTo(mfn, entry);
    line = who + " xrf offset: " + std::to_string(offset) + " mst offset " + std::to_string(found) +
           Fixed(" xrf offset fixed");
  }
  if (IsSame(entry, wanted)) return;
  if (line.empty()) line = who + " xrf flags: " + std::to_string(entry.flags) + Fixed(" xrf flags fixed");
  findings_.Fault(line);
  if (repair_ && !velor_32::WriteEntryAt(xrfFile_, mfn, wanted)) findings_.Fault("xrf file write error");
}

void FragmentCheck::WriteWord(std::int64_t offset, std::int32_t word) {
  if (!velor_32::WriteWordAt(mstFile_, offset, word)) findings_.Fault("mst file write error");
}

/// Entries behind the last number that lead to no image with their number. One that does stays: the number in
/// the control record may be the damage.
void FragmentCheck::ClearStrayEntries() {
  const auto clear = [&](int mfn, const TNew_Xrf& entry) {
    const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
    velor_01::Tlider leader;
    if (IsSame(entry, {}) || (velor_32::ReadLeaderAt(mstFile_, offset, &leader) && leader.mfn == mfn))
      return true;
    findings_.Fault("mfn " + std::to_string(GlobalNumber(mfn)) +
                    " out of range, xrf offset: " + std::to_string(offset) + " xrf offset fixed");
    if (!velor_32::WriteEntryAt(xrfFile_, mfn, {})) findings_.Fault("xrf file write error");
    return true;
  };
  velor_32::VisitXrfEntries(xrfFile_, std::int64_t{lastMfn_} + 1, FileSize(xrfFile_) / kXrfEntrySize, clear);
}

/// Writes the status word of an image.
void FragmentCheck::SetMarks(std::int64_t offset, std::int32_t status) {
  if (repair_) WriteWord(offset + velor_01::kStatusWordOffset, status);
}

/// The entry that leads to the image which the scan found. It keeps its flags. An entry that was lost has
/// none: those of the image are the next best. An image that is not marked as the last version has been so
/// once, and what the dictionary has of the record is not known: it is marked, and to be indexed again. The
/// marks go first: without the entry they mean nothing.
TNew_Xrf FragmentCheck::TurnedTo(int mfn, const TNew_Xrf& entry) {
  using velor_01::kStatusLastVersion;
  const std::int64_t found = offsets_[static_cast<std::size_t>(mfn) - 1];
  const std::int64_t former = backup::New_XrfToMstOffSet(entry);
  TNew_Xrf wanted = {0, 0, entry.flags & kKnownFlags & ~velor_01::kStatusPhysicallyDeleted};
  backup::MakeFromInt64(found, &wanted.offsetLow, &wanted.offsetHigh);
  velor_01::Tlider leader;
  if (!velor_32::ReadLeaderAt(mstFile_, found, &leader)) return entry;
  if (!(leader.status & kStatusLastVersion)) {
    leader.status |= kStatusLastVersion | velor_01::kStatusNotActualized;
    SetMarks(found, leader.status);
  }
  velor_01::Tlider old;
  if (former < found && velor_32::ReadLeaderAt(mstFile_, former, &old) && old.mfn == mfn &&
      (old.status & kStatusLastVersion))
    SetMarks(former, old.status & ~kStatusLastVersion);
  const bool wasLost = entry.offsetLow == 0 && entry.offsetHigh == 0 && entry.flags == 0;
  wanted.flags |= leader.status & (wasLost ? kFlagsOfImage : velor_01::kStatusNotActualized);
  return wanted;
}

/// An image behind the next offset would be overwritten by the next update, and behind a next offset beyond
/// the end of the file there is nothing to write to.
void FragmentCheck::CheckControl() {
  velor_01::Tcntmst now;
  if (!velor_32::ReadControl(mstFile_, &now)) return;
  const std::int64_t size = FileSize(mstFile_);
  const std::int64_t next = backup::MakeInt64(now.nxtLow, now.nxtHigh);
  const bool isBefore = next < endOfImages_;
  if (!isBefore && next <= size) return;
  const std::int64_t end = isBefore ? endOfImages_ : endOfData_;
  findings_.Fault("Not valid mst file size - Size in cnt= " + std::to_string(next) + " Size of mst= " +
                  std::to_string(isBefore ? endOfImages_ : size) + Fixed(" next offset fixed"));
  if (!repair_) return;
  backup::MakeFromInt64(end, &now.nxtLow, &now.nxtHigh);
  if (!velor_32::PadFile(mstFile_, size, std::max(size, end), velor_01::kMstStep) ||
      !velor_32::WriteControl(mstFile_, now))
    findings_.Fault("mst file write error");
}

}  // namespace velora
