#include "storage/bulk_writer.h"

#include <sys/stat.h>

#include <memory>

#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "storage/edge.h"
#include "utils/file_layer.h"

namespace velor_32 {

namespace {

std::string SharedMemoryPath(const std::string& name) {
  return "/dev/shm/" + name;
}

/// Node of the file a path leads to, 0 when there is none.
ino_t NodeOf(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

std::int64_t SizeOf(int handle) {
  struct stat info {};
  return ::fstat(handle, &info) == 0 ? info.st_size : -1;
}

}  // namespace

BulkWriter::BulkWriter(const TVelorSpace* space) : mutexName_(DatabaseMutexName(space)) {}

BulkWriter::~BulkWriter() {
  Close(mst_);
  Close(xrf_);
  mutex_.Close();
}

utils::NamedMutex* BulkWriter::Mutex() {
  const ino_t node = NodeOf(SharedMemoryPath(mutexName_));
  if (mutexOpen_ && node != 0 && node == mutexNode_) return &mutex_;
  mutex_.Close();
  mutexOpen_ = mutex_.Create(mutexName_.c_str());
  mutexNode_ = NodeOf(SharedMemoryPath(mutexName_));
  return mutexOpen_ ? &mutex_ : nullptr;
}

void BulkWriter::Close(KeptFile& file) {
  if (file.handle >= 0) backup::_lclose(file.handle);
  file.handle = -1;
}

bool BulkWriter::Refresh(KeptFile& file, std::int64_t* size) {
  struct stat info {};
  if (::stat(file.path.c_str(), &info) != 0) {
    Close(file);
    return false;
  }
  if (file.handle < 0 || file.device != info.st_dev || file.node != info.st_ino) {
    Close(file);
    file.handle = backup::_lopen(file.path.c_str(), kOpenWrite);
    if (file.handle < 0 || ::fstat(file.handle, &info) != 0) return false;
    file.device = info.st_dev;
    file.node = info.st_ino;
  }
  *size = info.st_size;
  return true;
}

int BulkWriter::Open(const TVelorSpace* space, int fragment, WriteFiles* files) {
  if (fragment != fragment_ || mst_.path.empty()) {
    Close(mst_);
    Close(xrf_);
    mst_.path = FragmentPath(space, ".mst", fragment);
    xrf_.path = FragmentPath(space, ".xrf", fragment);
    fragment_ = fragment;
  }
  if (!Refresh(mst_, &files->mstSize) || !Refresh(xrf_, &files->xrfSize)) return kNoRecordFiles;
  files->mstFile = mst_.handle;
  files->xrfFile = xrf_.handle;
  return kOk;
}

int VelorBulkStart(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    space->bulk = std::make_unique<BulkWriter>(space);
    return kOk;
  });
}

void VelorBulkStop(TVelorSpace* space) {
  if (space) space->bulk.reset();
}

UpdateFiles::~UpdateFiles() {
  if (!own_) return;
  if (files.mstFile >= 0) backup::_lclose(files.mstFile);
  if (files.xrfFile >= 0) backup::_lclose(files.xrfFile);
}

int UpdateFiles::Open(TVelorSpace* space, int fragment) {
  if (space->bulk) return space->bulk->Open(space, fragment, &files);
  own_ = true;
  files.mstFile = backup::_lopen(FragmentPath(space, ".mst", fragment).c_str(), kOpenWrite);
  files.xrfFile = backup::_lopen(FragmentPath(space, ".xrf", fragment).c_str(), kOpenWrite);
  if (files.mstFile < 0 || files.xrfFile < 0) return kNoRecordFiles;
  files.mstSize = SizeOf(files.mstFile);
  files.xrfSize = SizeOf(files.xrfFile);
  return kOk;
}

}  // namespace velor_32
