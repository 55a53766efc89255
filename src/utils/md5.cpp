#include "utils/md5.h"

#include <openssl/evp.h>

#include <array>
#include <cstdio>
#include <memory>

namespace utils {
namespace {

constexpr std::size_t kPieceSize = 65536;

/// A running sum. Once a step has failed, the text of the sum is empty.
class Md5 {
 public:
  Md5() : context_(EVP_MD_CTX_new()) {
    isGood_ = context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_md5(), nullptr) == 1;
  }

  void Add(const void* data, std::size_t size) {
    isGood_ = isGood_ && EVP_DigestUpdate(context_.get(), data, size) == 1;
  }

  [[nodiscard]] std::string Finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum;
    unsigned size = 0;
    if (!isGood_ || EVP_DigestFinal_ex(context_.get(), sum.data(), &size) != 1) return {};

    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(size * std::size_t{2});
    for (unsigned i = 0; i < size; ++i) {
      hex += kDigits[sum[i] >> 4];
      hex += kDigits[sum[i] & 15];
    }
    return hex;
  }

 private:
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  std::unique_ptr<EVP_MD_CTX, Free> context_;
  bool isGood_ = false;
};

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::string Md5Hex(std::string_view data) {
  Md5 md5;
  md5.Add(data.data(), data.size());
  return md5.Finish();
}

std::string Md5HexOfFile(const std::string& path) {
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) return {};

  Md5 md5;
  std::array<char, kPieceSize> piece;
  while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file.get())) {
    md5.Add(piece.data(), size);
  }
  return std::ferror(file.get()) != 0 ? std::string() : md5.Finish();  // a directory opens, but does not read
}

}  // namespace utils
