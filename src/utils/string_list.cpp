#include "utils/string_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "utils/code_page.h"
#include "utils/file_layer.h"
#include "utils/posting_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"
#include "utils/utf8_order.h"

namespace velor_01 {

namespace {

struct Free {
  void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<char, Free>;

struct CloseTerm {
  void operator()(char* text) const { backup::CloseTerm_x(text); }
};

constexpr std::string_view kLineEnd = "\r\n";

// A zero-terminated copy up to the first NUL, null on memory failure.
char* Duplicate(std::string_view text) {
  const std::size_t length = text.empty() ? 0 : strnlen(text.data(), text.size());
  auto* copy = static_cast<char*>(std::malloc(length + 1));
  if (copy == nullptr) return nullptr;
  if (length > 0) std::memcpy(copy, text.data(), length);
  copy[length] = 0;
  return copy;
}

int CompareBytes(const char* a, const char* b) {
  return std::strcmp(a, b);
}

int CompareUtf8(const char* a, const char* b) {
  constexpr std::size_t kLongest = std::numeric_limits<int>::max();
  return backup::keycmpUtf8(a, b, static_cast<int>(strnlen(a, kLongest)),
                            static_cast<int>(strnlen(b, kLongest)));
}

// Sorts by a three-way comparison of two items.
template <typename Compare>
void SortItems(std::span<TStringItem> all, TSortType type, Compare compare) {
  using Item = const TStringItem&;
  if (type == TSortType::up)
    std::stable_sort(all.begin(), all.end(), [&](Item a, Item b) { return compare(a, b) < 0; });
  if (type == TSortType::down)
    std::stable_sort(all.begin(), all.end(), [&](Item a, Item b) { return compare(b, a) < 0; });
}

template <int (*compare)(const char*, const char*)>
bool FindFirst(std::span<const TStringItem> all, const char* text, int* index) {
  *index = -1;
  if (text == nullptr || all.data() == nullptr) return false;
  const auto place = std::lower_bound(
      all.begin(), all.end(), text,
      [](const TStringItem& item, const char* wanted) { return compare(item.text, wanted) < 0; });
  *index = static_cast<int>(place - all.begin());
  return place != all.end() && compare(place->text, text) == 0;
}

template <typename Matches>
int FirstIndex(std::span<const TStringItem> all, Matches matches) {
  const auto hit = std::ranges::find_if(all, matches);
  return hit == all.end() ? -1 : static_cast<int>(hit - all.begin());
}

}  // namespace

TStringList::~TStringList() {
  Truncate(0);
}

void TStringList::SetSorted(bool on) noexcept {
  if (on && !sorted) Sort();
  sorted = on;
}

const char* TStringList::Get(int i) const noexcept {
  return items.IsIndex(i) ? items.Get(i).text : "";
}

bool TStringList::InsertItem(int i, std::string_view text, void* object, std::int32_t number) noexcept {
  char* copy = Duplicate(text);
  if (copy != nullptr && items.Insert(i, {object, number, copy})) return true;
  std::free(copy);
  return false;
}

// Frees the items from index `n` on.
void TStringList::Truncate(int n) noexcept {
  for (int last = items.GetCount() - 1; last >= n; --last) {
    std::free(items.Get(last).text);
    items.Delete(last);
  }
}

// Moves the item just appended to its place behind its equals, as sorting the whole list would.
void TStringList::PlaceLastItem() noexcept {
  const auto isBefore = [](const TStringItem& a, const TStringItem& b) {
    return std::strcmp(a.text, b.text) < 0;
  };
  const auto all = items.Items();
  const auto last = all.end() - 1;
  if (!std::is_sorted(all.begin(), last, isBefore)) {
    SortItems(all, TSortType::up, [](const auto& a, const auto& b) { return CompareBytes(a.text, b.text); });
    return;
  }
  std::rotate(std::upper_bound(all.begin(), last, *last, isBefore), last, all.end());
}

bool TStringList::AddObject(std::string_view text, void* object, std::int32_t number) noexcept {
  if (sorted && ignoreDuplicates && IndexOf(text) >= 0) return false;
  if (!InsertItem(GetCount(), text, object, number)) return false;
  if (sorted) PlaceLastItem();
  NoteChange();
  return true;
}

bool TStringList::Put(int i, std::string_view text) noexcept {
  if (!items.IsIndex(i)) return false;
  char* copy = Duplicate(text);
  if (copy == nullptr) return false;
  std::free(std::exchange(items.Items()[i].text, copy));
  NoteChange();
  return true;
}

bool TStringList::PutObject(int i, void* object) noexcept {
  if (!items.IsIndex(i)) return false;
  items.Items()[i].object = object;
  NoteChange();
  return true;
}

bool TStringList::PutObject(int i, std::int32_t number) noexcept {
  if (!items.IsIndex(i)) return false;
  items.Items()[i].numObject = number;
  NoteChange();
  return true;
}

bool TStringList::Insert(int i, std::string_view text) noexcept {
  if (!InsertItem(i, text, nullptr, 0)) return false;
  NoteChange();
  return true;
}

bool TStringList::Delete(int i) noexcept {
  if (!items.IsIndex(i)) return false;
  std::free(items.Get(i).text);
  items.Delete(i);
  NoteChange();
  return true;
}

void TStringList::Clear() noexcept {
  Truncate(0);
  NoteChange();
}

bool TStringList::Exchange(int i, int j) noexcept {
  if (!items.IsIndex(i) || !items.IsIndex(j)) return false;
  std::swap(items.Items()[i], items.Items()[j]);
  NoteChange();
  return true;
}

void TStringList::Reverse() noexcept {
  std::ranges::reverse(items.Items());
  NoteChange();
}

// Ends a change of many items: in order again, and told once.
void TStringList::Settle() noexcept {
  if (sorted)
    Sort();
  else
    NoteChange();
}

// Adds copies of all items of `other`; on memory failure the list is as before.
bool TStringList::AppendCopies(const TStringList& other) noexcept {
  const int before = GetCount();
  const int added = other.GetCount();
  for (int i = 0; i < added; ++i) {
    const TStringItem item = other.items.Get(i);
    if (InsertItem(GetCount(), item.text, item.object, item.numObject)) continue;
    Truncate(before);
    return false;
  }
  return true;
}

// Adds the lines of a text, which ends at its first NUL; on memory failure the list is as before.
bool TStringList::AppendLines(std::string_view text) noexcept {
  const int before = GetCount();
  std::string_view rest = text.substr(0, text.find('\0'));
  std::string_view line;
  while (utils::StringUtils::NextLine(rest, line)) {
    if (InsertItem(GetCount(), line, nullptr, 0)) continue;
    Truncate(before);
    return false;
  }
  return true;
}

void TStringList::DropFirst(int n) noexcept {
  const auto all = items.Items();
  std::rotate(all.begin(), all.begin() + n, all.end());
  Truncate(GetCount() - n);
}

bool TStringList::Append(const TStringList& other) noexcept {
  if (!AppendCopies(other)) return false;
  Settle();
  return true;
}

// The new items are made before the old ones go: a failure changes nothing, and the source may lie in the old
// ones.
bool TStringList::Assign(const TStringList& other) noexcept {
  if (this == &other) return true;
  const int before = GetCount();
  if (!AppendCopies(other)) return false;
  DropFirst(before);
  Settle();
  return true;
}

bool TStringList::SetText(std::string_view text) noexcept {
  const int before = GetCount();
  if (!AppendLines(text)) return false;
  DropFirst(before);
  Settle();
  return true;
}

int TStringList::IndexOf(const char* text) const noexcept {
  const char* wanted = text == nullptr ? "" : text;
  return FirstIndex(Items(), [&](const TStringItem& item) { return std::strcmp(item.text, wanted) == 0; });
}

int TStringList::IndexOf(std::string_view text) const noexcept {
  return FirstIndex(Items(), [&](const TStringItem& item) { return std::string_view(item.text) == text; });
}

int TStringList::IndexOf(const char* text, int lengthBytes) const noexcept {
  if (text == nullptr || lengthBytes < 0) lengthBytes = 0;
  return IndexOf(std::string_view(text, static_cast<std::size_t>(lengthBytes)));
}

int TStringList::IndexOfNoCase(std::string_view text) const noexcept {
  return FirstIndex(
      Items(), [&](const TStringItem& item) { return utils::StringUtils::EqualsNoCase(item.text, text); });
}

int TStringList::IndexOfObject(std::int32_t number) const noexcept {
  return FirstIndex(Items(), [&](const TStringItem& item) { return item.numObject == number; });
}

bool TStringList::Find(const char* text, int* index) const noexcept {
  return FindFirst<CompareBytes>(Items(), text, index);
}

bool TStringList::FindUTF8(const char* text, int* index) const noexcept {
  return FindFirst<CompareUtf8>(Items(), text, index);
}

void TStringList::Sort(TSortType type) noexcept {
  SortItems(items.Items(), type, [](const auto& a, const auto& b) { return CompareBytes(a.text, b.text); });
  NoteChange();
}

void TStringList::SortUtf8(TSortType type) noexcept {
  SortItems(items.Items(), type, [](const auto& a, const auto& b) { return CompareUtf8(a.text, b.text); });
  NoteChange();
}

void TStringList::SortAnsi(TSortType type) noexcept {
  SortItems(items.Items(), type, [](const auto& a, const auto& b) { return std::strcoll(a.text, b.text); });
  NoteChange();
}

void TStringList::SortByObject(TSortType type) noexcept {
  SortItems(items.Items(), type, [](const auto& a, const auto& b) {
    return a.numObject < b.numObject ? -1 : static_cast<int>(a.numObject > b.numObject);
  });
  NoteChange();
}

bool TStringList::Sort_with_Postings(const TIfpPostingList& postings) noexcept {
  struct Pair {
    TStringItem item;
    const TifpItemPosting* posting;
  };
  static_assert(sizeof(Pair) == 32);

  const int n = std::min(GetCount(), postings.GetCount());
  std::unique_ptr<Pair[]> pairs(new (std::nothrow) Pair[static_cast<std::size_t>(n)]);
  if (pairs == nullptr) return false;

  constexpr TifpItemPosting kNone;
  for (int i = 0; i < n; ++i) {
    const TStringItem item = items.Get(i);
    const TifpItemPosting* posting = postings.At(item.numObject);
    pairs[i] = {item, posting != nullptr ? posting : &kNone};
  }
  std::stable_sort(pairs.get(), pairs.get() + n, [](const Pair& a, const Pair& b) {
    const int order = std::strcmp(a.item.text, b.item.text);
    return order != 0 ? order < 0 : backup::ComparePostings(*a.posting, *b.posting) < 0;
  });
  for (int i = 0; i < n; ++i) items.Put(i, pairs[i].item);
  NoteChange();
  return true;
}

bool TStringList::LoadFromFile(const char* path) noexcept {
  Clear();
  std::int64_t size = 0;
  const std::unique_ptr<char, CloseTerm> file(backup::OpenTerm_x(path, &size));
  if (file == nullptr) return false;
  std::string_view text(file.get(), static_cast<std::size_t>(size));
  text.remove_prefix(static_cast<std::size_t>(utils::TextUtil::CheckUTF8Bom(text)));
  return SetText(text);
}

bool TStringList::SaveToFile(const char* path) const noexcept {
  std::int64_t size = 0;
  const Block text(GetTextWithSize(&size));
  if (text == nullptr) return false;
  const int handle = backup::_lcreat(path, 0);
  if (handle < 0) return false;
  const bool written = size == 0 || backup::_lwrite64(handle, text.get(), size) == size;
  return backup::_lclose(handle) == 0 && written;
}

std::int64_t TStringList::GetTextSize() const noexcept {
  std::size_t size = 0;
  for (const TStringItem& item : Items()) size += std::strlen(item.text) + kLineEnd.size();
  return static_cast<std::int64_t>(size);
}

char* TStringList::GetText() const noexcept {
  std::int64_t size = 0;
  return GetTextWithSize(&size);
}

char* TStringList::GetTextWithSize(std::int64_t* sizeBytes) const noexcept {
  *sizeBytes = GetTextSize();
  auto* text = static_cast<char*>(std::malloc(static_cast<std::size_t>(*sizeBytes) + 1));
  if (text == nullptr) return nullptr;
  char* to = text;
  for (const TStringItem& item : Items()) {
    const std::size_t length = std::strlen(item.text);
    to = std::copy_n(item.text, length, to);
    to = std::copy_n(kLineEnd.data(), kLineEnd.size(), to);
  }
  *to = 0;
  return text;
}

bool TStringList::EnsureUtf8() noexcept {
  bool converted = true;
  std::string utf8;
  for (TStringItem& item : items.Items()) {
    if (utils::TextUtil::CheckUTF8(item.text)) continue;
    char* copy = nullptr;
    try {
      backup::AnsiToUtf8(item.text, utf8);
      copy = Duplicate(utf8);
    } catch (const std::bad_alloc&) {
    }
    converted = converted && copy != nullptr;
    if (copy != nullptr) std::free(std::exchange(item.text, copy));
  }
  NoteChange();
  return converted;
}

}  // namespace velor_01
