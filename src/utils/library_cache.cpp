#include "utils/library_cache.h"

#include <dlfcn.h>

namespace app {
namespace {

class Guard {
 public:
  explicit Guard(LibraryCache& cache) : cache_(cache) { cache_.Lock(); }
  ~Guard() { cache_.Unlock(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  LibraryCache& cache_;
};

}  // namespace

LibraryCache::LibraryCache(bool withMutex) : withMutex_(withMutex) {}

LibraryCache::~LibraryCache() {
  Clear();
}

void LibraryCache::Lock() {
  if (withMutex_) mutex_.lock();
}

void LibraryCache::Unlock() {
  if (withMutex_) mutex_.unlock();
}

void LibraryCache::Clear() {
  const Guard guard(*this);
  functions_.clear();
  for (const auto& [name, handle] : handles_) dlclose(handle);
  handles_.clear();
}

void* LibraryCache::GetLibrary(const utils::IniFile* ini, const std::string& name) {
  const Guard guard(*this);
  return FindOrLoad(ini, name);
}

void* LibraryCache::GetFunction(const utils::IniFile* ini, const std::string& library,
                                const std::string& function) {
  const Guard guard(*this);
  const std::string key = library + '\0' + function;
  if (const auto known = functions_.find(key); known != functions_.end()) return known->second;

  void* handle = FindOrLoad(ini, library);
  void* address = handle != nullptr ? dlsym(handle, function.c_str()) : nullptr;
  if (address != nullptr) functions_.emplace(key, address);
  return address;
}

void* LibraryCache::FindOrLoad(const utils::IniFile* ini, const std::string& name) {
  if (const auto known = handles_.find(name); known != handles_.end()) return known->second;

  const std::string path = (ini != nullptr ? ini->Get("MAIN", "LIBDIR", "") : "") + name;
  void* handle = dlopen(path.c_str(), RTLD_NOW);
  if (handle != nullptr) handles_.emplace(name, handle);
  return handle;
}

}  // namespace app
