#include "index/tree_writer.h"

#include <cstring>

#include "storage/record_format.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velora {

using velor_01::kNoBlock;

namespace {

constexpr int kMostKeys = 254;  // that a reader takes
constexpr std::string_view kLowest(&velor_01::kLowestKey, 1);

}  // namespace

bool BlockFill::HasRoom(std::string_view key) const {
  const int itemsEnd = velor_01::kBlockHeadSize + velor_01::kKeyItemSize * (block_.count + 1);
  return block_.count < kMostKeys && itemsEnd + static_cast<int>(key.size()) <= block_.free;
}

void BlockFill::Add(std::string_view key, std::int32_t low, std::int32_t high) {
  block_.free = static_cast<std::uint16_t>(block_.free - key.size());
  block_.item(++block_.count) = {static_cast<std::uint16_t>(key.size()), block_.free, low, high};
  std::memcpy(block_.at(block_.free), key.data(), key.size());
}

void BlockFill::WriteTo(BuildFile* file, std::int32_t number, std::int32_t prev, std::int32_t next) {
  block_.number = number;
  block_.prev = prev;
  block_.next = next;
  backup::hton_velor_struct(&block_, backup::kBlockStruct);
  file->Append(&block_, sizeof block_);
  block_ = {};
}

bool TreeWriter::Create(const std::string& l01, const std::string& n01, std::string* failed) {
  for (const auto& [file, path] : {std::pair{&l01_, &l01}, std::pair{&n01_, &n01}}) {
    *failed = *path;
    if (!file->Create(*path)) return false;
  }
  return true;
}

void TreeWriter::Add(std::string_view term, std::int64_t offset) {
  if (!leaf_.HasRoom(term)) FlushLeaf(false);
  std::uint32_t low;
  std::uint32_t high;
  backup::MakeFromInt64(offset, &low, &high);
  leaf_.Add(term, static_cast<std::int32_t>(low), static_cast<std::int32_t>(high));
}

void TreeWriter::FlushLeaf(bool isLast) {
  const std::int32_t number = ++leaves_;
  const std::string_view key = number == 1 ? kLowest : leaf_.firstKey();
  if (!node_.HasRoom(key)) FlushNode(nodes_ == 0 ? kNoBlock : nodes_, false, &upper_);
  node_.Add(key, -number, 0);
  leaf_.WriteTo(&l01_, number, number == 1 ? kNoBlock : number - 1, isLast ? kNoBlock : number + 1);
}

void TreeWriter::FlushNode(std::int32_t prev, bool isLast, std::vector<Child>* above) {
  const std::int32_t number = ++nodes_;
  above->push_back({std::string(node_.firstKey()), number});
  node_.WriteTo(&n01_, number, prev, isLast ? kNoBlock : number + 1);
}

void TreeWriter::WriteUpperLevels() {
  while (upper_.size() > 1) {
    std::vector<Child> above;
    std::int32_t prev = kNoBlock;
    for (const Child& child : upper_) {
      if (!node_.HasRoom(child.firstKey)) {
        FlushNode(prev, false, &above);
        prev = nodes_;
      }
      node_.Add(child.firstKey, child.number, 0);
    }
    FlushNode(prev, true, &above);
    upper_ = std::move(above);
  }
}

bool TreeWriter::Finish() {
  if (leaf_.isEmpty()) {  // no terms: a zero block in each file, with the root 0
    l01_.AppendZeros(velor_01::kTermBlockSize);
    n01_.AppendZeros(velor_01::kTermBlockSize);
  } else {
    FlushLeaf(true);
    FlushNode(nodes_ == 0 ? kNoBlock : nodes_, true, &upper_);
    WriteUpperLevels();
    char root[sizeof(std::int32_t)];
    utils::StoreBe32(root, static_cast<std::uint32_t>(upper_.front().number));
    n01_.Rewrite(0, root, sizeof root);
  }
  const bool isNodeFileGood = n01_.Close();
  return l01_.Close() && isNodeFileGood;
}

}  // namespace velora
