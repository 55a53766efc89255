#include "storage/bulk_writer.h"

#include <sys/stat.h>

#include <memory>

#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "storage/edge.h"
#include "utils/file_layer.h"

namespace velor_32 {

namespace {

std::int64_t SizeOf(int handle) {
  struct stat info {};
  return ::fstat(handle, &info) == 0 ? info.st_size : -1;
}

}  // namespace

BulkWriter::BulkWriter(const TVelorSpace* space) : mutexName_(DatabaseMutexName(space)) {}

BulkWriter::~BulkWriter() {
  CloseFiles();
  mutex_.Close();
}

utils::NamedMutex* BulkWriter::Mutex() {
  if (mutex_.IsLinked()) return &mutex_;
  return mutex_.Create(mutexName_.c_str()) ? &mutex_ : nullptr;
}

void BulkWriter::CloseFiles() {
  for (int* handle : {&mstFile_, &xrfFile_}) {
    if (*handle >= 0) backup::_lclose(*handle);
    *handle = -1;
  }
}

int BulkWriter::Reopen(const TVelorSpace* space, int fragment) {
  CloseFiles();
  fragment_ = fragment;
  mstPath_ = FragmentPath(space, ".mst", fragment);
  mstFile_ = backup::_lopen(mstPath_.c_str(), kOpenWrite);
  xrfFile_ = backup::_lopen(FragmentPath(space, ".xrf", fragment).c_str(), kOpenWrite);
  struct stat info {};
  if (mstFile_ < 0 || xrfFile_ < 0 || ::fstat(mstFile_, &info) != 0) {
    CloseFiles();
    return kNoRecordFiles;
  }
  device_ = info.st_dev;
  node_ = info.st_ino;
  return kOk;
}

int BulkWriter::Open(const TVelorSpace* space, int fragment, WriteFiles* files) {
  struct stat info {};
  const bool isKept = mstFile_ >= 0 && fragment == fragment_ && ::stat(mstPath_.c_str(), &info) == 0 &&
                      info.st_ino == node_ && info.st_dev == device_;
  if (isKept) {
    files->mstSize = info.st_size;
  } else {
    if (int rc = Reopen(space, fragment); rc != kOk) return rc;
    files->mstSize = SizeOf(mstFile_);
  }
  files->xrfSize = SizeOf(xrfFile_);
  files->mstFile = mstFile_;
  files->xrfFile = xrfFile_;
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
