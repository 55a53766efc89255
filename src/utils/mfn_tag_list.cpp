#include "utils/mfn_tag_list.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "utils/file_layer.h"
#include "utils/named_mutex.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace ExtList {

namespace {

constexpr int kPresentBits = 40000;
constexpr int kLargestStep = 10485760;
constexpr int kLongestWaitSeconds = 300;

template <auto Member>
void SortBy(std::span<TMfnTag> all, TSortType type) {
  using Item = const TMfnTag&;
  const auto isBefore = [](Item a, Item b) { return a.*Member < b.*Member; };
  if (type == TSortType::up && !std::is_sorted(all.begin(), all.end(), isBefore))
    std::stable_sort(all.begin(), all.end(), isBefore);
  if (type == TSortType::down)
    std::stable_sort(all.begin(), all.end(), [&](Item a, Item b) { return isBefore(b, a); });
}

class OpenFile {
 public:
  explicit OpenFile(int newHandle) : handle_(newHandle) {}
  ~OpenFile() { Close(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  [[nodiscard]] int Handle() const { return handle_; }
  bool Close() { return handle_ >= 0 && backup::_lclose(std::exchange(handle_, -1)) == 0; }

 private:
  int handle_;
};

struct CloseTerm {
  void operator()(char* text) const { backup::CloseTerm_x(text); }
};

// The mutex of the database that a cell file belongs to: "/data/oryx/oryx12.cell" is a cell of ORYX.
std::string MutexNameOf(const char* path) {
  const std::string name = utils::PathUtil::GetFileNameWithoutExtension(path);
  return "VELOR64_MUTEX" + utils::StringUtils::ToUpper(utils::StringUtils::TrimRight(name, "0123456789"));
}

}  // namespace

TMfnTagList::TMfnTagList() noexcept : present(kPresentBits) {
  if (items != nullptr)
    std::memset(static_cast<void*>(items), 0, sizeof(TMfnTag) * static_cast<std::size_t>(capacity));
}

bool TMfnTagList::IsRefused(std::int32_t mfn) const noexcept {
  return mfn < 0 || (!allowDuplicate && Contains(mfn));
}

// Clears the bit of a record number unless another item still has it.
void TMfnTagList::Unmark(std::int32_t mfn) noexcept {
  if (!allowDuplicate || IndexOf(mfn) < 0) present.Put(mfn, false);
}

bool TMfnTagList::Insert(int i, TMfnTag item) noexcept {
  if (i < 0 || i > count || IsRefused(item.mfn)) return false;
  const bool wasPresent = Contains(item.mfn);
  if (!present.Put(item.mfn, true)) return false;
  const int step = count == 0 ? kPortion : std::min(count, kLargestStep);
  if (InsertWithStep(i, item, step)) return true;
  present.Put(item.mfn, wasPresent);
  return false;
}

bool TMfnTagList::Put(int i, TMfnTag item) noexcept {
  if (!IsIndex(i)) return false;
  const std::int32_t before = items[i].mfn;
  if (item.mfn != before && (IsRefused(item.mfn) || !present.Put(item.mfn, true))) return false;
  items[i] = item;
  if (item.mfn != before) Unmark(before);
  return true;
}

bool TMfnTagList::Delete(int i) noexcept {
  if (!IsIndex(i)) return false;
  const std::int32_t mfn = items[i].mfn;
  PlainList::Delete(i);
  Unmark(mfn);
  return true;
}

void TMfnTagList::Clear() noexcept {
  constexpr int kSparse = 512;  // few items in a wide range: touch their bits only, not the whole set
  if (count < present.GetCount() / kSparse) {
    for (const TMfnTag& item : Items()) present.Put(item.mfn, false);
  } else {
    present.Clear();
  }
  PlainList::Clear();
}

bool TMfnTagList::IncTag(int i) noexcept {
  if (!IsIndex(i)) return false;
  if (items[i].tag < std::numeric_limits<std::int32_t>::max()) ++items[i].tag;
  return true;
}

int TMfnTagList::IndexOf(std::int32_t mfn) const noexcept {
  const auto all = Items();
  const auto hit = std::ranges::find(all, mfn, &TMfnTag::mfn);
  return hit == all.end() ? -1 : static_cast<int>(hit - all.begin());
}

bool TMfnTagList::Find(std::int32_t mfn, bool useBits, int* index, TSortType type) const noexcept {
  *index = -1;
  if (items == nullptr || !velor_01::IsSortType(type)) return false;
  if (useBits && !Contains(mfn)) return false;
  const TMfnTag* place =
      std::lower_bound(items, items + count, mfn, [type](const TMfnTag& item, std::int32_t wanted) {
        return type == TSortType::up ? item.mfn < wanted : item.mfn > wanted;
      });
  *index = static_cast<int>(place - items);
  return place != items + count && place->mfn == mfn;
}

void TMfnTagList::Sort(TSortType type) noexcept {
  SortBy<&TMfnTag::mfn>(PlainList::Items(), type);
}

void TMfnTagList::SortByTag(TSortType type) noexcept {
  SortBy<&TMfnTag::tag>(PlainList::Items(), type);
}

int TMfnTagList::SaveToFileCellIndex0(const char* path) const noexcept {
  if (path == nullptr) return kNoFile;
  OpenFile file(::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0664));
  if (file.Handle() < 0) return kNoFile;
  std::int64_t size = backup::_llseek(file.Handle(), 0, SEEK_END);
  if (size < 0) return kNoFile;

  size -= size % static_cast<std::int64_t>(sizeof(TMfnTag));
  const std::size_t added = sizeof(TMfnTag) * static_cast<std::size_t>(count);
  const bool written = added == 0 || utils::WriteAt(file.Handle(), size, items, added);
  const std::int64_t end = written ? size + static_cast<std::int64_t>(added) : size;
  const bool cut = ::ftruncate(file.Handle(), end) == 0;
  return file.Close() && cut && written ? kOk : kNoFile;
}

int TMfnTagList::SaveToFileCellIndexTime(const char* path, int timeoutSeconds,
                                         std::string_view mutexName) const noexcept {
  if (path == nullptr) return kNoFile;
  utils::NamedMutex mutex;
  try {
    const std::string name = mutexName.empty() ? MutexNameOf(path) : std::string(mutexName);
    if (!mutex.Create(name.c_str())) return kLocked;
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }

  int result = kLocked;
  if (mutex.WaitTime(std::clamp(timeoutSeconds, 1, kLongestWaitSeconds))) {
    result = SaveToFileCellIndex0(path);
    mutex.Release();
  }
  mutex.Close();
  return result;
}

int TMfnTagList::SaveToFileCellIndex(const char* path) const noexcept {
  return SaveToFileCellIndexTime(path, kLongestWaitSeconds);
}

int TMfnTagList::LoadFromFileCellIndex(const char* path, bool clear) noexcept {
  if (clear) Clear();
  std::int64_t size = 0;
  const std::unique_ptr<char, CloseTerm> file(backup::OpenTerm_x(path, &size));
  if (file == nullptr) return kOk;

  const std::int64_t pairCount = size / static_cast<std::int64_t>(sizeof(TMfnTag));
  if (pairCount > kMaxCount - count || !Reserve(std::max(1, count + static_cast<int>(pairCount))))
    return kNoMemory;
  for (std::int64_t i = 0; i < pairCount; ++i) {
    TMfnTag item;
    std::memcpy(&item, file.get() + i * static_cast<std::int64_t>(sizeof item), sizeof item);
    Add(item);
  }
  return kOk;
}

}  // namespace ExtList
