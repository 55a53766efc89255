#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "utils/plain_list.h"
#include "utils/sort_type.h"

namespace velor_01 {

class TIfpPostingList;

/// One line of a TStringList. The text is the list's own malloc block; the objects are the caller's business.
struct TStringItem {
  void* object = nullptr;
  std::int32_t numObject = 0;
  char* text = nullptr;
};
static_assert(sizeof(TStringItem) == 24);

/// A list of zero-terminated texts with a pointer and a number each: lines of a file, terms, words,
/// parameters. Texts are bytes; the list has no encoding of its own, the calls that need one say so. A text
/// ends at its first NUL. See PlainList for what every list promises.
///
/// `sorted` means: the list stands in ascending bytewise order, and additions keep it so. Add, AddObject,
/// Append, Assign and the loading calls hold to it; Put, Insert, Exchange, Reverse and the other orders place
/// items where the caller says. Switching `sorted` on sorts the list. It is meant for short lists, for an
/// addition walks the whole list; a bulk loader switches it off, loads and switches it on again.
/// `ignoreDuplicates` counts only together with `sorted`: Add and AddObject then drop a text that is present.
/// What was loaded in bulk is not searched for duplicates.
///
/// Everywhere a null text means the empty text, except in the two Find calls.
class TStringList {
 public:
  /// Called after every change once SetChanged(true) was said; for derived lists that keep something
  /// computed.
  virtual void Changed() noexcept {}

  TStringList() noexcept = default;
  explicit TStringList(bool isSorted) noexcept : sorted(isSorted) {}
  virtual ~TStringList();
  TStringList(const TStringList&) = delete;
  TStringList& operator=(const TStringList&) = delete;

  [[nodiscard]] int GetCount() const noexcept { return items.GetCount(); }
  [[nodiscard]] int GetCapacity() const noexcept { return items.GetCapacity(); }
  [[nodiscard]] int GetPortion() const noexcept { return items.GetPortion(); }
  [[nodiscard]] bool GetSorted() const noexcept { return sorted; }
  [[nodiscard]] bool GetIgnoreDuplicates() const noexcept { return ignoreDuplicates; }
  [[nodiscard]] std::span<const TStringItem> Items() const noexcept { return items.Items(); }

  bool SetCapacity(int n) noexcept { return items.SetCapacity(n); }
  void SetSorted(bool on) noexcept;
  void SetIgnoreDuplicates(bool on) noexcept { ignoreDuplicates = on; }
  void SetChanged(bool on) noexcept { changed = on; }

  /// Text of item i, "" for a bad index; good until the item changes.
  [[nodiscard]] const char* Get(int i) const noexcept;
  [[nodiscard]] void* GetObject(int i) const noexcept { return items.Get(i).object; }
  [[nodiscard]] std::int32_t GetNumObject(int i) const noexcept { return items.Get(i).numObject; }

  /// Add a copy of the text behind the last item, or at its place in a sorted list. False when it was dropped
  /// as a duplicate and on memory failure. A std::string_view is the form with a length.
  bool Add(const char* text) noexcept { return AddObject(text, nullptr, 0); }
  bool Add(std::string_view text) noexcept { return AddObject(text, nullptr, 0); }
  bool AddObject(const char* text, void* object, std::int32_t number) noexcept {
    return AddObject(ViewOf(text), object, number);
  }
  bool AddObject(std::string_view text, void* object, std::int32_t number) noexcept;
  bool AddObject(const char* text, void* object) noexcept { return AddObject(ViewOf(text), object, 0); }
  bool AddObject(std::string_view text, void* object) noexcept { return AddObject(text, object, 0); }
  bool AddObject(const char* text, std::int32_t number) noexcept {
    return AddObject(ViewOf(text), nullptr, number);
  }
  bool AddObject(std::string_view text, std::int32_t number) noexcept {
    return AddObject(text, nullptr, number);
  }

  /// Replaces the text of item i; its objects stay.
  bool Put(int i, const char* text) noexcept { return Put(i, ViewOf(text)); }
  bool Put(int i, std::string_view text) noexcept;
  bool PutObject(int i, void* object) noexcept;
  bool PutObject(int i, std::int32_t number) noexcept;

  /// Puts a text before item i; i may be the count, which appends.
  bool Insert(int i, const char* text) noexcept { return Insert(i, ViewOf(text)); }
  bool Insert(int i, std::string_view text) noexcept;
  bool Delete(int i) noexcept;
  /// Frees the texts; the room stays.
  void Clear() noexcept;
  bool Exchange(int i, int j) noexcept;
  void Reverse() noexcept;

  /// Add the items of `other` with their objects, or replace the contents by them. `other` may be this list.
  bool Append(const TStringList& other) noexcept;
  bool Assign(const TStringList& other) noexcept;

  /// Index of the first equal item by linear search, -1 when there is none.
  [[nodiscard]] int IndexOf(const char* text) const noexcept;
  [[nodiscard]] int IndexOf(std::string_view text) const noexcept;
  [[nodiscard]] int IndexOf(const char* text, int lengthBytes) const noexcept;
  /// The same without regard to case; texts are UTF-8.
  [[nodiscard]] int IndexOfNoCase(std::string_view text) const noexcept;
  /// Index of the first item with this number.
  [[nodiscard]] int IndexOfObject(std::int32_t number) const noexcept;

  /// Binary search in a list in ascending bytewise order. Gives whether the text is there; `index` receives
  /// the first equal item or the place where the text belongs. A null text gives false and -1.
  bool Find(const char* text, int* index) const noexcept;
  /// The same in a list in the order of SortUtf8.
  bool FindUTF8(const char* text, int* index) const noexcept;

  /// Stable orders: equal items keep their sequence.
  void Sort(TSortType type = TSortType::up) noexcept;          ///< by bytes
  void SortUtf8(TSortType type = TSortType::up) noexcept;      ///< by backup::keycmpUtf8
  void SortAnsi(TSortType type = TSortType::up) noexcept;      ///< by strcoll, that is by the process locale
  void SortByObject(TSortType type = TSortType::up) noexcept;  ///< by number

  /// Sorts by bytes and, on equal texts, by the items' postings; the number of an item is the index of its
  /// posting. Only the first min(count, postings' count) items take part. A number without a posting counts
  /// as a zero posting. False on memory failure, the order is then the old one.
  bool Sort_with_Postings(const TIfpPostingList& postings) noexcept;

  /// Replaces the contents by the lines of a file, or of a text that ends at its first NUL. Lines end at CR,
  /// LF or CR LF; empty lines count, and what follows the last line end counts unless it is empty. A UTF-8
  /// byte-order mark of a file is skipped, the bytes are taken as they are. False when the file cannot be
  /// read (the list is then empty) and on memory failure.
  bool LoadFromFile(const char* path) noexcept;
  bool LoadFromFile(const std::string& path) noexcept { return LoadFromFile(path.c_str()); }
  bool SetText(const char* text) noexcept { return SetText(ViewOf(text)); }
  bool SetText(std::string_view text) noexcept;

  /// Writes every text and CR LF. No byte-order mark; an empty list gives an empty file.
  bool SaveToFile(const char* path) const noexcept;
  bool SaveToFile(const std::string& path) const noexcept { return SaveToFile(path.c_str()); }

  /// The texts with CR LF behind each, zero-terminated, in a malloc block that becomes the caller's; null on
  /// memory failure. The size does not count the terminating zero.
  [[nodiscard]] char* GetText() const noexcept;
  [[nodiscard]] char* GetTextWithSize(std::int64_t* sizeBytes) const noexcept;
  [[nodiscard]] std::int64_t GetTextSize() const noexcept;

  /// Turns every text that is not valid UTF-8 from cp1251 into UTF-8. False on memory failure only.
  bool EnsureUtf8() noexcept;

 private:
  [[nodiscard]] static std::string_view ViewOf(const char* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(text);
  }
  bool InsertItem(int i, std::string_view text, void* object, std::int32_t number) noexcept;
  bool AppendCopies(const TStringList& other) noexcept;
  bool AppendLines(std::string_view text) noexcept;
  void DropFirst(int n) noexcept;
  void PlaceLastItem() noexcept;
  void Settle() noexcept;
  void Truncate(int n) noexcept;
  void NoteChange() noexcept {
    if (changed) Changed();
  }

  PlainList<TStringItem> items;
  bool sorted = false;
  bool ignoreDuplicates = false;
  bool changed = false;
};

}  // namespace velor_01
