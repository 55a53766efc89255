#include "maint/diag_lnk.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ostream>

#include "index/build_lock.h"
#include "maint/diagnosis.h"
#include "maint/posting_check.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_read.h"
#include "utils/endian.h"
#include "utils/file_layer.h"
#include "utils/utf8_order.h"

namespace velora {

using velor_01::kTermBlockSize;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

namespace {

constexpr int kMostKeys = 100;  // that are told; a dictionary with so many is built anew
constexpr char kNodeFault[] = "error in file N01";
constexpr char kLeafFault[] = "error in file L01";

bool Ascend(std::string_view a, std::string_view b) {
  return utils::CompareUtf8(a, b) < 0;
}

bool HasAscendingKeys(const TTermBlock& block) {
  for (int i = 2; i <= block.count; ++i)
    if (!Ascend(block.key(i - 1), block.key(i))) return false;
  return block.count > 0;
}

class IndexDiagnosis {
 public:
  /// `number` is that of the index, 0 for the main one.
  IndexDiagnosis(velor_01::TVelorSpace* space, int number, TSpaceTrm& index, std::string& message)
      : space_(space), number_(number), index_(index), message_(message) {}

  void Run() {
    if (!CheckControl()) return Tell("error in IFP cntrec");
    const int root = ReadRoot();
    if (root == 0) return;
    isTreeSound_ = root > 0 && root <= nodeBlocks_ && CheckNodes();
    if (!isTreeSound_) Tell(kNodeFault);
    if (!CheckLeaves()) Tell(kLeafFault);
    if (badKeys_ > kMostKeys || isCut_)
      Tell("error if file IFP: " + std::string(isCut_ ? "at least " : "") +
           std::to_string(badKeys_ - kMostKeys) + " more keys");
  }

 private:
  void Tell(const std::string& line) {
    if (!message_.empty()) message_ += '\n';
    message_ += line;
  }
  void TellKey(std::string_view key) {
    if (++badKeys_ <= kMostKeys) Tell("error if file IFP Key=" + std::string(key));
  }

  /// With another marker the sizes are those of the files. Files without a byte are an empty dictionary.
  bool CheckControl() {
    velor_01::Tifp_MaxFileSize control;
    const std::int64_t size = utils::FileSize(index_.ifp);
    const std::int64_t mostNodes = utils::FileSize(index_.n01) / kTermBlockSize;
    const std::int64_t mostLeaves = utils::FileSize(index_.l01) / kTermBlockSize;
    end_ = size;
    nodeBlocks_ = static_cast<std::int32_t>(mostNodes);
    leafBlocks_ = static_cast<std::int32_t>(mostLeaves);
    if (size == 0) return ReadRoot() == 0;
    if (!utils::ReadAt(index_.ifp, 0, &control, sizeof control)) return false;
    backup::ntoh_words(&control, sizeof control / 4);
    if (control.marker != velor_01::kSizeMarker) return true;
    end_ = backup::MakeInt64(control.sizeLow, control.sizeHigh);
    nodeBlocks_ = control.n01Blocks;
    leafBlocks_ = control.l01Blocks;
    return end_ >= static_cast<std::int64_t>(sizeof control) && end_ <= size && nodeBlocks_ >= 0 &&
           nodeBlocks_ <= mostNodes && leafBlocks_ >= 0 && leafBlocks_ <= mostLeaves;
  }

  [[nodiscard]] int ReadRoot() const {
    std::array<unsigned char, 4> word{};
    const std::int64_t got = utils::ReadSomeAt(index_.n01, 0, word.data(), word.size());
    if (got == 0) return 0;
    return got == std::ssize(word) ? static_cast<int>(utils::LoadBe32(word.data())) : -1;
  }

  /// A block that was claimed and never written.
  [[nodiscard]] static bool IsUnused(int file, std::int32_t number) {
    std::array<char, kTermBlockSize> bytes;
    return utils::ReadAt(file, (std::int64_t{number} - 1) * kTermBlockSize, bytes.data(), bytes.size()) &&
           std::ranges::all_of(bytes, [](char c) { return c == 0; });
  }

  /// The block behind this one on its level points back to it and goes on where it ends.
  [[nodiscard]] static bool FitsNext(int file, bool isInner, std::int32_t number, const TTermBlock& block) {
    TTermBlock next;
    return block.next < 1 || (velor_32::ReadTermBlock(file, block.next, isInner, &next) && next.count > 0 &&
                              next.prev == number && Ascend(block.key(block.count), next.key(1)));
  }

  [[nodiscard]] bool HasSoundChildren(const TTermBlock& block, std::int32_t number) const {
    for (int i = 1; i <= block.count; ++i) {
      const std::int64_t child = block.item(i).low;
      if (child == 0 || child == number || child > nodeBlocks_ || -child > leafBlocks_) return false;
    }
    return true;
  }

  [[nodiscard]] bool CheckNodes() const {
    TTermBlock block;
    for (std::int32_t number = 1; number <= nodeBlocks_; ++number) {
      if (!velor_32::ReadTermBlock(index_.n01, number, true, &block)) {
        if (IsUnused(index_.n01, number)) continue;
        return false;
      }
      if (!HasAscendingKeys(block) || !HasSoundChildren(block, number) ||
          !FitsNext(index_.n01, true, number, block))
        return false;
    }
    return true;
  }

  /// All leaves that can be read are looked at, whatever the others are like.
  bool CheckLeaves() {
    PostingCheck postings(index_.ifp, end_, space_->isFullText);
    bool isSound = true;
    int ends = 0;  // leaves that none stands behind
    for (std::int32_t number = 1; number <= leafBlocks_; ++number) {
      if (app::CheckStopProcess(space_->app)) {
        Tell(kStopped);
        return isSound;
      }
      TTermBlock block;
      if (!velor_32::ReadTermBlock(index_.l01, number, false, &block) || !HasAscendingKeys(block)) {
        isSound &= IsUnused(index_.l01, number);
        continue;
      }
      isSound &= FitsNext(index_.l01, false, number, block);
      ends += block.next < 1 ? 1 : 0;
      CheckKeys(block, number, postings);
    }
    return isSound && ends == 1;
  }

  /// Keys ascend in every block on the way, so that where the first and the last key of a leaf are led to it,
  /// those in between are.
  void CheckKeys(const TTermBlock& leaf, std::int32_t number, PostingCheck& postings) {
    for (int i = 1; i <= leaf.count && !isCut_; ++i) {
      const velor_01::TKeyItem& item = leaf.item(i);
      const std::int64_t offset =
          backup::MakeInt64(static_cast<std::uint32_t>(item.low), static_cast<std::uint32_t>(item.high));
      const bool isAtEnd = i == 1 || i == leaf.count;
      const bool isFound = !isTreeSound_ || !isAtEnd || LeadsTo(leaf.key(i), number);
      if (!isFound || !postings.IsSound(offset)) TellKey(leaf.key(i));
      isCut_ = badKeys_ >= kMostKeys && postings.wasted() > end_;
    }
  }

  [[nodiscard]] bool LeadsTo(std::string_view key, std::int32_t leaf) const {
    std::array<char, velor_01::kTermBufferSize> term{};
    std::memcpy(term.data(), key.data(), key.size());
    return velor_32::Velorfind(space_, term.data()) == velor_32::kOk && space_->termIndex == number_ &&
           index_.leafBlock.number == leaf;
  }

  velor_01::TVelorSpace* space_;
  int number_;
  TSpaceTrm& index_;
  std::string& message_;
  std::int64_t end_ = 0;  // of the part of `.ifp` in use
  std::int32_t nodeBlocks_ = 0;
  std::int32_t leafBlocks_ = 0;
  bool isTreeSound_ = false;
  int badKeys_ = 0;
  bool isCut_ = false;  // chains that lead into each other would cost the square of the keys
};

std::string WhyNotLocked(const velor_01::TVelorSpace* space, int result) {
  if (app::CheckStopProcess(space->app)) return kStopped;
  if (result == velor_32::kLocked) return "database locked";
  return "database not locked, error " + std::to_string(result);
}

}  // namespace

int VelorLnk_Diagnostik(VelorAContext* settings, velor_01::TVelorSpace* space, std::string& message) {
  message.clear();
  return velor_32::AtEdge([&] {
    const BuildLock lock(space, settings->relayRecTime);
    if (lock.result() != velor_32::kOk) {
      message = WhyNotLocked(space, lock.result());
      return lock.result();
    }
    if (velor_32::HasAdditionalIndexes(space)) {
      for (int k = 1; k <= velor_01::kMaxTermIndexes && !app::CheckStopProcess(space->app); ++k)
        IndexDiagnosis(space, k, *space->trmIndex[k - 1], message).Run();
    } else {
      IndexDiagnosis(space, 0, *space->trmMain, message).Run();
    }
    return velor_32::kOk;
  });
}

}  // namespace velora

namespace velor_server_proc {

int VelorDiagLnk(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  return RunDiagnosis(ctx, db, "DiagLnk", out, [&](const OpenedDatabase& database) {
    std::string message;
    const int rc = velora::VelorLnk_Diagnostik(database.settings(), database.space(), message);
    if (rc == velor_32::kNoMemory) return rc;
    if (!message.empty()) out << "inverted file error\n" << message << '\n';
    velora::WriteVerdict("", !message.empty(), out);
    return velor_32::kOk;  // a database that is locked is a finding
  });
}

}  // namespace velor_server_proc
