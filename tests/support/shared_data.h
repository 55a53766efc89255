#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace test {

/// Folder of larger test data (real records, an independent verifier) that may lie beside the source tree or
/// where VELORA_SHARED says; empty when it is not there, and such tests are skipped.
inline std::string SharedData() {
  const char* named = std::getenv("VELORA_SHARED");
  const std::string folder = named ? named : std::string(VELORA_SOURCE_DIR) + "/../shared";
  return std::filesystem::is_directory(folder) ? folder : "";
}

}  // namespace test
