#pragma once

#include <cstdint>
#include <initializer_list>

#include "storage/term_files.h"

/// The way back from a change of the dictionary that takes several writes and is cut off between them.
///
/// Before such a change writes over anything, it notes what stands there. The note lies in the free space
/// behind the part of the posting file in use and is cleared when the change is done, so it needs no file of
/// its own and takes part in every copy and swap of the three. Whoever takes over the mutex of a dead writer
/// puts the noted bytes back. Nothing may be appended to the posting file while there is a note.
///
/// At the end of the part in use: the bytes of the entries (0 when there is no note), a mark, the entries,
/// each one the file, the length, the low and the high word of the offset and the bytes.
namespace velor_32 {

class TermJournal {
 public:
  enum File : std::int32_t { kIfp = 0, kL01 = 1, kN01 = 2 };
  struct Range {
    File file;
    std::int64_t offset;
    std::int64_t length;
  };

  /// Notes what the ranges hold now. False when that fails; nothing may be written to them then. A posting
  /// file without a control record has no place for a note, and is changed without.
  [[nodiscard]] bool Save(const velor_01::TSpaceTrm& index, const velor_01::Tifp_MaxFileSize& control,
                          std::initializer_list<Range> ranges);

  [[nodiscard]] bool isActive() const { return length_ > 0; }

  /// The change is done: clears the note. When that fails the change counts as not done.
  [[nodiscard]] bool Clear(const velor_01::TSpaceTrm& index);

 private:
  std::int64_t place_ = 0;   // in the posting file
  std::int64_t length_ = 0;  // bytes of the entries
};

/// Puts back what the note of an index holds, if there is one, and clears all that stands behind the part of
/// the posting file in use. The caller holds the database mutex; the files are open for writing.
void UndoTermChange(const velor_01::TSpaceTrm& index);

}  // namespace velor_32
