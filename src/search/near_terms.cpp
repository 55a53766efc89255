#include "search/near_terms.h"

#include <algorithm>

namespace Search18 {

namespace {
constexpr std::size_t kQuadruple = 4;  // numbers of a posting
}

CommonPlaces::Starts CommonPlaces::StartsOf(const std::int32_t* posting) const {
  const Place place = {posting[0], posting[1], op_ >= kSameOccurrenceOp ? posting[2] : 0};
  const std::int64_t position = posting[3];
  if (op_ < kNearOp) return {place, 0, 0};
  if (op_ == kSequenceOp) return {place, position - 1 - added_, position - 1 - added_};
  return {place, std::max<std::int64_t>(position - terms_, 0), position - 1};
}

CommonPlaces::List CommonPlaces::ReadStarts(const velor_01::TIntList& postings) const {
  const auto numbers = postings.Items();
  List list;
  for (std::size_t at = 0; at + kQuadruple <= numbers.size(); at += kQuadruple) {
    const Starts starts = StartsOf(&numbers[at]);
    if (starts.first < 0 || starts.last < 0) continue;
    const bool isAdjoining =
        !list.empty() && list.back().place == starts.place && starts.first <= list.back().last;
    if (isAdjoining) {
      list.back().last = std::max(list.back().last, starts.last);
    } else {
      list.push_back(starts);
    }
  }
  return list;
}

CommonPlaces::List CommonPlaces::Intersect(const List& a, const List& b) {
  List both;
  for (auto left = a.begin(), right = b.begin(); left != a.end() && right != b.end();) {
    if (left->place != right->place) {
      ++(left->place < right->place ? left : right);
      continue;
    }
    const Starts shared = {left->place, std::max(left->first, right->first),
                           std::min(left->last, right->last)};
    if (shared.first <= shared.last) both.push_back(shared);
    ++(left->last < right->last ? left : right);
  }
  return both;
}

void CommonPlaces::Add(const velor_01::TIntList& postings) {
  List starts = ReadStarts(postings);
  common_ = added_ == 0 ? std::move(starts) : Intersect(common_, starts);
  ++added_;
}

bool CommonPlaces::CopyRecords(Bitarr::TBitList* records) const {
  records->Clear();
  return std::ranges::all_of(common_, [&](const Starts& at) { return records->Put(at.place[0] - 1, true); });
}

}  // namespace Search18
