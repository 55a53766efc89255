#include "storage/term_files.h"

#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::TSpaceTrm;

namespace {

int OpenIndex(TVelorSpace* space, const char* path, int mode) {
  if (!space || !path) return kNoSpace;
  return AtEdge([&] {
    const std::string own = path;
    Velorcloseterm(space);
    space->termPath = own;
    space->trmMain = new TSpaceTrm;
    space->trmMain->path = own;
    space->trmMain->n01 = backup::_lopen((own + ".n01").c_str(), mode);
    space->trmMain->l01 = backup::_lopen((own + ".l01").c_str(), mode);
    space->trmMain->ifp = backup::_lopen((own + ".ifp").c_str(), mode);
    if (space->trmMain->n01 >= 0 && space->trmMain->l01 >= 0 && space->trmMain->ifp >= 0) return kOk;
    CloseTermFiles(space);
    return kNoInvertedFile;
  });
}

}  // namespace

int Velorinitterm(TVelorSpace* space, const char* path) {
  return OpenIndex(space, path, kOpenRead);
}

int Velorinitterm_write(TVelorSpace* space, const char* path) {
  return OpenIndex(space, path, kOpenWrite);
}

void CloseTermIndex(TSpaceTrm*& index) {
  if (!index) return;
  for (const int handle : {index->n01, index->l01, index->ifp})
    if (handle >= 0) backup::_lclose(handle);
  delete index;
  index = nullptr;
}

void CloseTermFiles(TVelorSpace* space) {
  if (!space) return;
  CloseTermIndex(space->trmMain);
  for (TSpaceTrm*& index : space->trmIndex) CloseTermIndex(index);
}

void Velorcloseterm(TVelorSpace* space) {
  if (!space) return;
  CloseTermFiles(space);
  space->termPath.clear();
  space->lazyTerm = false;
}

}  // namespace velor_32
