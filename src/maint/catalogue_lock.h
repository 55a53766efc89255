#pragma once

#include <array>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Held by whoever changes which databases there are: gives or takes the name of one, its parameter file, its
/// entries in the lists and on the web. These files are read, changed and exchanged as wholes, so without it
/// two tools would lose each other's entries. It is a lock on the data directory and the one of the shared
/// files, which outlives the exchange of any file in them and ends with its process.
///
/// The constructor waits. A process must not take it twice. On a file system without locks nobody waits.
class CatalogueLock {
 public:
  explicit CatalogueLock(const app::VelorAppContext* ctx);
  ~CatalogueLock();
  CatalogueLock(const CatalogueLock&) = delete;
  CatalogueLock& operator=(const CatalogueLock&) = delete;

 private:
  std::array<int, 2> directories_ = {-1, -1};
};

}  // namespace velor_server_proc
