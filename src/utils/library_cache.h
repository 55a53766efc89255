#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "utils/ini_file.h"

namespace app {

/// The shared objects loaded in one run and the functions found in them. A library is loaded on first demand;
/// a failure is not remembered, so a later call tries again.
class LibraryCache {
 public:
  /// withMutex: several threads share the cache. The tools make it without.
  explicit LibraryCache(bool withMutex);
  /// Closes the loaded libraries.
  ~LibraryCache();
  LibraryCache(const LibraryCache&) = delete;
  LibraryCache& operator=(const LibraryCache&) = delete;

  /// Take and give back the mutex; nothing without one. The Get functions lock by themselves.
  void Lock();
  void Unlock();

  /// Closes every library; handles and addresses given out before are dead.
  void Clear();

  /// The handle of a library for dlsym, or null. The file name is LIBDIR of section "MAIN" and `name`, joined
  /// with nothing between them; `ini` may be null. The handle stays the cache's.
  void* GetLibrary(const utils::IniFile* ini, const std::string& name);

  /// The address of a function of that library, or null.
  void* GetFunction(const utils::IniFile* ini, const std::string& library, const std::string& function);

 private:
  void* FindOrLoad(const utils::IniFile* ini, const std::string& name);

  const bool withMutex_;
  std::mutex mutex_;
  std::unordered_map<std::string, void*> handles_;
  std::unordered_map<std::string, void*> functions_;  // key: library name, zero byte, function name
};

}  // namespace app
