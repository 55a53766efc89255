#pragma once

#include <array>
#include <fstream>
#include <string>
#include <string_view>

/// What the indexing peers read of a file of make_corpus: the words of the same fields that the table of
/// scripts/bench indexes.
namespace bench {

constexpr std::array<int, 7> kIndexedTags = {200, 210, 300, 606, 610, 700, 702};

/// The texts of one record, one per indexed tag; subfield marks are blanks, occurrences end with a line end.
using Texts = std::array<std::string, kIndexedTags.size()>;

/// Reads the records of an ISO 2709 file one after the other.
class PeerFile {
 public:
  explicit PeerFile(const char* path) : file_(path, std::ios::binary) {}

  /// False at the end.
  bool Next(Texts* texts) {
    if (!std::getline(file_, record_, '\x1D') || record_.size() < 24) return false;
    for (std::string& text : *texts) text.clear();
    const std::size_t base = Number(12, 5);
    for (std::size_t entry = 24; entry + 12 < base; entry += 12)
      Take(Number(entry, 3), base + Number(entry + 7, 5), Number(entry + 3, 4), texts);
    return true;
  }

 private:
  [[nodiscard]] std::size_t Number(std::size_t at, std::size_t digits) const {
    std::size_t value = 0;
    for (const char c : record_.substr(at, digits)) value = 10 * value + static_cast<std::size_t>(c - '0');
    return value;
  }

  void Take(std::size_t tag, std::size_t begin, std::size_t length, Texts* texts) const {
    for (std::size_t i = 0; i < kIndexedTags.size(); ++i) {
      if (static_cast<int>(tag) != kIndexedTags[i]) continue;
      const std::string_view field = std::string_view(record_).substr(begin, length - 1);
      for (std::size_t at = field.find('\x1F'); at != std::string_view::npos;) {
        const std::size_t next = field.find('\x1F', at + 2);
        (*texts)[i]
            .append(field.substr(at + 2, next == std::string_view::npos ? next : next - at - 2))
            .push_back(' ');
        at = next;
      }
      (*texts)[i].push_back('\n');
    }
  }

  std::ifstream file_;
  std::string record_;
};

}  // namespace bench
