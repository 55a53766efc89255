#include "utils/guid_util.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <random>

namespace {

using GuidBytes = std::array<unsigned char, 16>;

bool FillFromKernel(GuidBytes& bytes) {
  ssize_t got;
  do {
    got = getrandom(bytes.data(), bytes.size(), 0);
  } while (got < 0 && errno == EINTR);
  return got == static_cast<ssize_t>(bytes.size());  // so few bytes never come in part
}

/// For a sandbox that forbids the system call: the device file, or the processor's own generator.
void FillFromDevice(GuidBytes& bytes) {
  std::random_device device;
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(device());
}

}  // namespace

namespace utils {

std::string GuidUtil::CreateGuid() {
  GuidBytes bytes;
  if (!FillFromKernel(bytes)) FillFromDevice(bytes);
  bytes[6] = static_cast<unsigned char>(0x40 | (bytes[6] & 0x0F));  // version 4: random
  bytes[8] = static_cast<unsigned char>(0x80 | (bytes[8] & 0x3F));  // variant of RFC 4122

  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string guid = "{";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) guid += '-';
    guid += kDigits[bytes[i] >> 4];
    guid += kDigits[bytes[i] & 0x0F];
  }
  return guid += '}';
}

}  // namespace utils
