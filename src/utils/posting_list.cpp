#include "utils/posting_list.h"

#include <algorithm>

namespace velor_01 {

bool TIfpPostingList::AddObject(const TifpItemPosting& posting, std::int32_t object) noexcept {
  return InsertWithStep(count, {posting, object}, kPortion);
}

bool TIfpPostingList::Insert(int i, const TifpItemPosting& posting) noexcept {
  return InsertWithStep(i, {posting, 0}, kPortion);
}

bool TIfpPostingList::Put(int i, const TifpItemPosting& posting) noexcept {
  if (!IsIndex(i)) return false;
  items[i].posting = posting;
  return true;
}

bool TIfpPostingList::PutObject(int i, std::int32_t object) noexcept {
  if (!IsIndex(i)) return false;
  items[i].object = object;
  return true;
}

int TIfpPostingList::IndexOf(const TifpItemPosting& posting) const noexcept {
  const auto all = Items();
  const auto hit = std::ranges::find(all, posting, &TIfpPostingListItem::posting);
  return hit == all.end() ? -1 : static_cast<int>(hit - all.begin());
}

}  // namespace velor_01

namespace backup {

int ComparePostings(const velor_01::TifpItemPosting& a, const velor_01::TifpItemPosting& b) noexcept {
  using Word = std::int32_t velor_01::TifpItemPosting::*;
  using P = velor_01::TifpItemPosting;
  constexpr Word kOrder[] = {&P::mfn,          &P::tag,      &P::occ,  &P::pos,
                             &P::wordsInPiece, &P::reserved, &P::page, &P::pageWord};
  for (const Word word : kOrder) {
    // Unsigned, so that the negative words of picture postings stand behind the others, as they do in the
    // file.
    const auto left = static_cast<std::uint32_t>(a.*word);
    const auto right = static_cast<std::uint32_t>(b.*word);
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

}  // namespace backup
