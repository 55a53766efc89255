#pragma once

#include <string>
#include <string_view>

/// MD5 sums (RFC 1321) as 32 lower-case hexadecimal digits. They name and compare contents; they protect
/// nothing.
namespace utils {

/// The sum of the bytes. Empty only when the cryptographic library refuses the algorithm.
[[nodiscard]] std::string Md5Hex(std::string_view data);

/// The sum of a file's bytes, read piece by piece; empty when the file cannot be read to its end.
[[nodiscard]] std::string Md5HexOfFile(const std::string& path);

}  // namespace utils
