#pragma once

#include <cstdint>

#include "maint/file_window.h"
#include "storage/record_format.h"

namespace velora {

/// Goes through a master file from its control record to its end and tells what lies there, without a look at
/// the cross-reference file.
///
/// A piece counts as an image when its leader and its directory add up: `base` is what `nvf` fields need, and
/// the lengths in the directory fill `length`, but for one filling byte. Four words that belong to each other
/// do not meet by chance, so that an image is known wherever it begins: behind a gap of zero bytes that ends
/// in the middle of a word, or behind the remains of a damaged one. Number, version, tags and positions are
/// not looked at; that is the record check's business.
///
/// An image that follows the one before it may have lost this sum and still be what a reader accepts: it
/// counts when its end is borne out, by the end of the file, zero bytes or the leader of another image there,
/// and when no image that adds up begins within it.
class MasterScan {
 public:
  enum class Kind {
    kImage,     // `leader` is in host order
    kEmpty,     // zero bytes
    kEmptyEnd,  // zero bytes up to the end of the file
    kDamaged,   // `leader` is what stands in the place of one, where the file has so much
    kEnd,
  };
  struct Piece {
    Kind kind = Kind::kEnd;
    std::int64_t offset = 0;
    std::int64_t length = 0;
    velor_01::Tlider leader;
  };

  MasterScan(int mstFile, std::int64_t size);

  /// The next piece; kEnd, for good, behind the last one.
  Piece Next();

  /// Leader and directory of a damaged piece add up, but the file ends before the image does.
  [[nodiscard]] bool IsCutOff(const Piece& piece);

  [[nodiscard]] std::int64_t size() const { return window_.size(); }

 private:
  bool ReadLeader(std::int64_t offset, velor_01::Tlider* leader);
  bool AddsUp(std::int64_t offset, const velor_01::Tlider& leader);
  bool DirectoryFills(std::int64_t offset, const velor_01::Tlider& leader);
  bool IsReadable(std::int64_t offset, const velor_01::Tlider& leader);
  bool IsBoundary(std::int64_t offset);
  void FindNextImage();
  std::int64_t FindImage(std::int64_t offset);
  Piece PassOver();

  FileWindow window_;
  std::int64_t at_;
  std::int64_t nextImage_ = 0;  // the next image at or behind at_, when it lies behind it; else out of date
  std::int64_t endOfData_ = 0;  // behind the last byte before nextImage_ that is not zero
};

}  // namespace velora
