// The second handle on a database that an index update writes through.

#include <sys/stat.h>

#include "index/record_index.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/term_files.h"

namespace recif {

namespace {

/// True when the name of a file leads to the file that was opened.
bool IsCurrent(const OpenedFile& file) {
  struct stat info {};
  return ::stat(file.path.c_str(), &info) == 0 && info.st_ino == file.node && info.st_dev == file.device;
}

bool AllCurrent(const RecIfContext& context) {
  for (const OpenedFile& file : context.files)
    if (!IsCurrent(file)) return false;
  return true;
}

void Remember(std::string path, RecIfContext* context) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) context->files.push_back({std::move(path), info.st_dev, info.st_ino});
}

/// The files whose replacement tells that of all: record files and dictionaries come and go as sets.
void RememberFiles(const TVelorSpace* space, RecIfContext* context) {
  Remember(space->path + ".mst", context);
  Remember(space->termPath + ".ifp", context);
  if (space->textSpace) RememberFiles(space->textSpace, context);
}

}  // namespace

void RecIfContext::ClearTerms() {
  for (TStringList* list : {&newTerms, &newFtTerms, &oldTerms, &oldFtTerms}) list->Clear();
  postings.Clear();
  ftPostings.Clear();
}

int IsisInitExclusive_new(TVelorSpace* space, RecIfContext* context) {
  velor_32::SpacePointer exclusive(velor_32::Velorinit(space->app));
  if (!exclusive) return velor_32::kLockedByCaller;
  exclusive->isTextSpace = space->isTextSpace;
  if (velor_32::Velorinitmst_mode(exclusive.get(), space->path.c_str(), 0, velor_32::kOpenWrite) !=
          velor_32::kOk ||
      velor_32::Velorinitterm_write(exclusive.get(), space->termPath.c_str()) != velor_32::kOk)
    return velor_32::kLockedByCaller;
  exclusive->isFullText = space->isFullText;
  context->space = std::move(exclusive);
  context->files.clear();
  RememberFiles(context->space.get(), context);
  return velor_32::kOk;
}

std::shared_ptr<RecIfContext> IfUpdateGetMem_new(TVelorSpace* space) {
  velor_32::BulkWriter* bulk = space->bulk.get();
  if (bulk && bulk->indexUpdate && AllCurrent(*bulk->indexUpdate)) {
    bulk->indexUpdate->ClearTerms();
    return bulk->indexUpdate;
  }
  auto context = std::make_shared<RecIfContext>();
  if (IsisInitExclusive_new(space, context.get()) != velor_32::kOk) context.reset();
  if (bulk) bulk->indexUpdate = context;
  return context;
}

void IfUpdateFreeMem_new(std::shared_ptr<RecIfContext>& context) {
  context.reset();
}

}  // namespace recif
