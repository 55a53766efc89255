#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

using Fields = std::vector<std::pair<int, std::string>>;

/// Builds the files of a small database byte by byte, without any code of the program.
class TestBase {
 public:
  static constexpr std::uint32_t kControlSize = 36;

  TestBase() { PutControl(); }

  /// Marks the database as full-text.
  TestBase& FullText() {
    type_ = 65552;
    return *this;
  }

  /// Appends a record with the next number and the given status words.
  TestBase& Record(const Fields& fields, std::uint32_t flags = 8, std::uint32_t status = 40) {
    AddImage(static_cast<std::uint32_t>(entries_.size() + 1), fields, 0, 1, status);
    entries_.push_back({lastImage_, flags});
    return *this;
  }

  /// Appends a further version of a record.
  TestBase& Version(int mfn, const Fields& fields, std::uint32_t version) {
    Entry& entry = entries_[static_cast<std::size_t>(mfn) - 1];
    PokeMst(entry.offset + 28, 8);
    AddImage(static_cast<std::uint32_t>(mfn), fields, entry.offset, version, 40);
    entry.offset = lastImage_;
    return *this;
  }

  TestBase& PhysicallyDeleted() {
    entries_.push_back({0, 2});
    return *this;
  }

  /// Offset of the image added last.
  [[nodiscard]] std::uint32_t lastImage() const { return lastImage_; }

  TestBase& PokeMst(std::size_t offset, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) mst_[offset + i] = static_cast<char>(word >> (24 - 8 * i));
    return *this;
  }
  TestBase& PokeEntry(int mfn, std::uint32_t offset, std::uint32_t flags) {
    entries_[static_cast<std::size_t>(mfn) - 1] = {offset, flags};
    return *this;
  }

  [[nodiscard]] std::string Mst() const {
    TestBase own = *this;
    own.PokeMst(4, static_cast<std::uint32_t>(entries_.size() + 1));
    own.PokeMst(8, static_cast<std::uint32_t>(mst_.size()));
    own.PokeMst(24, type_);
    return own.mst_;
  }
  [[nodiscard]] std::string Xrf() const {
    std::string xrf;
    for (const Entry& entry : entries_) {
      Append(xrf, entry.offset);
      Append(xrf, 0);
      Append(xrf, entry.flags);
    }
    return xrf;
  }

  /// Writes <path>.mst, .xrf and three empty files of the inverted file.
  void WriteTo(const std::string& path) const { WriteFiles(path, Mst(), Xrf()); }

  static void WriteFiles(const std::string& path, const std::string& mst, const std::string& xrf) {
    Write(path + ".mst", mst);
    Write(path + ".xrf", xrf);
    for (const char* extension : {".n01", ".l01", ".ifp"}) Write(path + extension, "");
  }

 private:
  struct Entry {
    std::uint32_t offset;
    std::uint32_t flags;
  };

  static void Append(std::string& to, std::uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8) to.push_back(static_cast<char>(word >> shift));
  }
  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  void PutControl() { mst_.assign(kControlSize, '\0'); }

  void AddImage(std::uint32_t mfn, const Fields& fields, std::uint32_t back, std::uint32_t version,
                std::uint32_t status) {
    lastImage_ = static_cast<std::uint32_t>(mst_.size());
    std::string data;
    std::string directory;
    for (const auto& [tag, text] : fields) {
      Append(directory, static_cast<std::uint32_t>(tag));
      Append(directory, static_cast<std::uint32_t>(data.size()));
      Append(directory, static_cast<std::uint32_t>(text.size()));
      data += text;
    }
    const std::uint32_t base = static_cast<std::uint32_t>(32 + directory.size());
    for (const std::uint32_t word : {mfn, static_cast<std::uint32_t>(base + data.size()), back, 0U, base,
                                     static_cast<std::uint32_t>(fields.size()), version, status})
      Append(mst_, word);
    mst_ += directory + data;
  }

  std::string mst_;
  std::vector<Entry> entries_;
  std::uint32_t type_ = 15;
  std::uint32_t lastImage_ = 0;
};

}  // namespace test
