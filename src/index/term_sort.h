#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "storage/maintenance_context.h"
#include "utils/file_map.h"

/// Sorting in memory: the middle stage of a bulk build, for a file or a piece of one (lnk_sort.h). Lines
/// are ordered by term, and lines of one term by their numbers.
///
/// A dictionary has many postings for each term, so lines are not compared with one another: each distinct
/// term gets a number by way of a hash table, the distinct terms are sorted, and a counting sort spreads the
/// lines over them in the order of the file. A file is recorded record by record, so that the lines of a term
/// then mostly stand in their order already.
///
/// A file that does not fit is cut into pieces by ranges of terms: sorted one by one they make up the whole.
namespace velora {

class BuildFile;

/// The first eight bytes of a text as a number, the first one highest, zeros behind the end: for two texts
/// that differ in them the order of the numbers is that of the bytes.
[[nodiscard]] std::uint64_t TermPrefix(std::string_view text);

/// True for valid UTF-8 without zero bytes: the order of such terms is that of their bytes.
[[nodiscard]] bool IsPlainTerm(std::string_view term);

/// A line in the sort.
struct TTerm {
  std::uint32_t offset;  // of the line in the text
  std::uint32_t term;    // index into the distinct terms
};

class TTerms {
 public:
  /// Bytes of text in memory at most: the memory of the machine divided by 10, within 1000000 and 858993459.
  [[nodiscard]] static std::int64_t DefaultMemoryLimit();

  /// `numbers` is what a line has, see NumbersInLine.
  TTerms(VelorAContext* ctx, int numbers, std::int64_t memoryLimit);
  ~TTerms();
  TTerms(const TTerms&) = delete;
  TTerms& operator=(const TTerms&) = delete;

  /// Maps a file, unless it is above the limit; the file must not change until the end. Result 0 or -400.
  int LoadFromFile(const std::string& path);
  /// True when the file does not fit: the text is above the limit, or turned out to be with what the sort
  /// needs beside it.
  [[nodiscard]] bool isTooLarge() const { return isTooLarge_; }

  /// Finds the lines and sorts them by terms. Lines with another number of fields are passed over; those with
  /// bad numbers or a term that no dictionary holds are told on the standard error and in the log, too.
  /// Result 0 or -999.
  int Sort();

  /// Writes the lines in order to a new file, or behind what is in it; of many lines a second process writes
  /// half, unless there is to be but one. Result 0, -400 when the
  /// file that was read was cut meanwhile, -516 or -999.
  int SaveToFile(const std::string& path, bool append);

  /// Gives up the text and what was found in it.
  void FreeText();

  /// Chooses the bounds of the pieces from terms read all over the file. The same file gives the same bounds.
  /// Result 0 or -400.
  int InitAvarage();

  /// Reads the file once and gives each line to the piece of its term: piece n, from 1, is the file
  /// <directory><n><stem>_.srt, whose path goes to `pieces`, also on failure: the caller removes them. Lines
  /// without a term go to the first. Result 0, -400, -516 or -999.
  int DevideInputFile(const std::string& directory, std::vector<std::string>* pieces);

  /// Order of two lines: by term as utils::CompareUtf8 says, then by CompareLineNumbers, and where that makes
  /// no difference by bytes. Lines that are none come first.
  [[nodiscard]] static int CompareTerms(std::string_view lineA, std::string_view lineB, int numbers);

 private:
  struct Distinct {
    std::uint32_t offset;  // of the term in the text
    std::uint32_t hash;
    std::uint32_t count;  // of its lines
    std::uint32_t length;
    std::uint32_t bytes;  // of its lines, with their ends, in the output
  };
  struct Slot {
    std::uint32_t hash;
    std::uint32_t index;
  };
  struct Key {
    std::uint64_t prefix;  // eight bytes of the term, the first one highest
    std::uint32_t index;
    std::uint32_t length;
  };
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  template <class Item>
  using Array = std::unique_ptr<Item[], Free>;

  /// A line whose term is still to be looked up.
  struct Pending {
    std::uint32_t offset;
    std::uint32_t hash;
    std::string_view term;
    std::size_t place;    // of the first slot that the term can be in
    std::uint32_t bytes;  // of the line with its end
  };

  int Parse();
  void TakeLine(std::string_view line);
  bool AddPending();
  void FetchTerms();
  bool GrowItems();
  bool GrowTable();
  [[nodiscard]] bool Fits() const;
  std::uint32_t FindTerm(const Pending& line);
  std::vector<std::uint32_t> OrderTerms() const;
  void SortKeys(Key* first, Key* last, std::uint32_t depth) const;
  void LoadPrefixes(Key* first, Key* last, std::uint32_t depth) const;
  void SpreadLines(const std::vector<std::uint32_t>& sorted);
  int SaveGroups(std::size_t firstGroup, std::size_t endGroup, BuildFile* file);
  [[nodiscard]] int SaveTail(const std::string& path, std::int64_t start);
  void SortGroup(std::uint32_t* first, std::uint32_t* last) const;
  [[nodiscard]] bool IsBefore(std::uint32_t a, std::uint32_t b) const;
  [[nodiscard]] std::string_view LineAt(std::uint32_t offset) const;
  [[nodiscard]] std::string_view TermOf(const Distinct& distinct) const;
  [[nodiscard]] std::size_t PieceOf(std::string_view line) const;

  VelorAContext* ctx_;
  const int numbers_;
  const std::int64_t memoryLimit_;
  std::string path_;
  std::int64_t size_ = 0;
  bool isTooLarge_ = false;
  bool hasOnlyValidTerms_ = true;
  utils::FileMap map_;
  const char* text_ = nullptr;  // in the map
  std::vector<Pending> pending_;
  Array<TTerm> items_;
  std::size_t count_ = 0;
  std::size_t capacity_ = 0;
  std::vector<Distinct> distinct_;
  std::vector<Slot> slots_;               // a power of two; free ones have the index kNone
  Array<std::uint32_t> order_;            // offsets of the lines, by term
  std::vector<std::uint32_t> groupEnds_;  // in order_: of the lines of one term
  std::size_t tailGroup_ = 0;             // from which the second half of the output begins
  std::int64_t tailOffset_ = 0;           // of that half, in bytes

  int pieceCount_ = 0;
  std::vector<std::string> bounds_;  // ascending; each is the first term of a piece
  std::vector<std::uint64_t> boundPrefixes_;
};

}  // namespace velora
