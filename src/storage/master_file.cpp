#include "storage/master_file.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/shelf.h"
#include "storage/term_files.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_32 {

using velor_01::Tcntmst;
using velor_01::TMstHandle;

namespace {

void CloseHandle(int& handle) {
  if (handle >= 0) backup::_lclose(handle);
  handle = -1;
}

void CloseFragments(TVelorSpace* space) {
  for (velor_01::TMstFragment& fragment : space->fragments) {
    CloseHandle(fragment.mstFile);
    CloseHandle(fragment.xrfFile);
    fragment.control = Tcntmst{};
  }
}

void CloseBaseFiles(TVelorSpace* space) {
  CloseHandle(space->mst->mstFile);
  CloseHandle(space->mst->xrfFile);
}

/// Opens the base files and reads the control record. Result 0 or -400, nothing then being open.
int OpenBaseFiles(TVelorSpace* space, int mode) {
  TMstHandle& base = *space->mst;
  base.mstFile = backup::_lopen(FragmentPath(space, ".mst", 0).c_str(), mode);
  base.xrfFile = base.mstFile < 0 ? -1 : backup::_lopen(FragmentPath(space, ".xrf", 0).c_str(), mode);
  if (base.xrfFile < 0) {
    CloseBaseFiles(space);
    return kNoRecordFiles;
  }
  if (!ReadControl(base.mstFile, &base.control)) base.control = DefaultControl();
  space->isFullText = base.control.mstType > velor_01::kLargestOrdinaryType;
  return kOk;
}

void OpenFragments(TVelorSpace* space, int mode) {
  CloseFragments(space);
  const int files = std::clamp(space->mst->control.fragmentCount, 0, velor_01::kFragmentSlots + 1);
  for (int slot = 0; slot < files - 1; ++slot) VelorInitMSTXRF(space, slot, mode);
}

/// The folder of a companion ends in the mark.
bool IsCompanionPath(const std::string& path) {
  return utils::StringUtils::EndsWith(utils::PathUtil::GetDirectoryName(path), kCompanionMark);
}

/// Path of the page texts that belong to a full-text database. It is folded to lower case; a tree with
/// capitals in the names of its folders is found as it is written.
std::string CompanionPath(const std::string& path) {
  const std::string end = std::string(kCompanionMark) + "/text";
  const std::string folded = utils::StringUtils::ToLower(path) + end;
  return utils::PathUtil::IsFile(folded + ".mst") ? folded : path + end;
}

int OpenCompanion(TVelorSpace* space, int shelfCount, int mode) {
  SpacePointer companion(Velorinit(space->app));
  if (!companion) return kNoMemory;
  companion->parentSpace = space;
  companion->isTextSpace = true;
  const std::string path = CompanionPath(space->path);
  if (int rc = Velorinitmst_mode(companion.get(), path.c_str(), shelfCount, mode); rc != kOk) return rc;
  companion->isFullText = true;
  const int rc = mode == kOpenWrite ? Velorinitterm_write(companion.get(), path.c_str())
                                    : Velorinitterm(companion.get(), path.c_str());
  if (rc != kOk) return rc;
  space->textSpace = companion.release();
  return kOk;
}

int OpenDatabase(TVelorSpace* space, const char* path, int shelfCount, int mode) {
  space->mst = new TMstHandle;
  space->path = path;
  if (int rc = OpenBaseFiles(space, mode); rc != kOk) return rc;
  OpenFragments(space, mode);
  if (int rc = VelorInitAltShelf(space, shelfCount); rc != kOk) return rc;
  for (int shelf = 0; shelf < space->shelfCount; ++shelf) Velornewrec(space, shelf);
  if (space->isFullText && !space->isTextSpace && !IsCompanionPath(space->path))
    return OpenCompanion(space, shelfCount, mode);
  return kOk;
}

}  // namespace

Tcntmst DefaultControl() {
  Tcntmst control;
  control.nxtmfn = 1;
  control.nxtLow = static_cast<std::uint32_t>(velor_01::kControlSize);
  return control;
}

bool ReadControl(int mstFile, Tcntmst* control) {
  Tcntmst raw;
  if (mstFile < 0 || !utils::ReadAt(mstFile, 0, &raw, sizeof raw)) return false;
  backup::ntoh_velor_struct(&raw, backup::kControlStruct);
  *control = raw;
  return true;
}

std::string FragmentPath(const TVelorSpace* space, const char* extension, int fragment) {
  std::string path = space->path + extension;
  if (fragment > 0) path += std::to_string(fragment);
  return path;
}

FilePair ReadHandles(const TVelorSpace* space, int fragment) {
  if (fragment == 0) return {space->mst->mstFile, space->mst->xrfFile};
  const velor_01::TMstFragment& files = space->fragments[fragment - 1];
  return {files.mstFile, files.xrfFile};
}

int LastFragment(const TVelorSpace* space) {
  const Tcntmst& control = space->mst->control;
  if (control.fragmentSize < 1) return 0;
  return std::clamp(control.fragmentCount, 1, velor_01::kFragmentSlots + 1) - 1;
}

std::int64_t GlobalMfn(const TVelorSpace* space, int fragment, int localMfn) {
  return std::int64_t{space->mst->control.fragmentSize} * fragment + localMfn;
}

int Velorinitmst(TVelorSpace* space, const char* path, int shelfCount) {
  return Velorinitmst_mode(space, path, shelfCount, kOpenRead);
}

int Velorinitmst_mode(TVelorSpace* space, const char* path, int shelfCount, int mode) {
  if (!space || !path) return kNoSpace;
  return AtEdge([&] {
    const std::string own = path;  // the caller may pass the space's own path, which closing clears
    Velorclosemst(space);
    const int rc = OpenDatabase(space, own.c_str(), shelfCount, mode);
    if (rc != kOk) Velorclosemst(space);
    return rc;
  });
}

int VelorInitMSTXRF(TVelorSpace* space, int fragmentIndex, int mode) {
  if (!IsOpen(space) || space->mst->mstFile < 0) return 0;
  if (fragmentIndex < 0 || fragmentIndex >= velor_01::kFragmentSlots) return 0;
  velor_01::TMstFragment& fragment = space->fragments[fragmentIndex];
  CloseHandle(fragment.mstFile);
  CloseHandle(fragment.xrfFile);
  fragment.control = DefaultControl();

  fragment.mstFile = backup::_lopen(FragmentPath(space, ".mst", fragmentIndex + 1).c_str(), mode);
  if (fragment.mstFile < 0) return 0;
  fragment.xrfFile = backup::_lopen(FragmentPath(space, ".xrf", fragmentIndex + 1).c_str(), mode);
  const bool opened = fragment.xrfFile >= 0;
  if (opened && ReadControl(fragment.mstFile, &fragment.control)) return 1;
  CloseHandle(fragment.mstFile);
  CloseHandle(fragment.xrfFile);
  return opened ? 1 : 0;
}

void Velorclosemst(TVelorSpace* space) {
  if (!space) return;
  space->bulk.reset();
  if (space->mst) {
    CloseFragments(space);
    CloseBaseFiles(space);
    VelorInitAltShelf(space, 0);
    delete space->mst;
    space->mst = nullptr;
  }
  space->path.clear();
  space->lazyMst = false;
  Velorclose(space->textSpace);
  space->textSpace = nullptr;
}

int VelorinitNewDB(const char* path) {
  if (!path) return 0;
  static constexpr const char* kExtensions[] = {".mst", ".xrf", ".l01", ".n01", ".ifp"};
  return AtEdge([&] {
    std::string made[std::size(kExtensions)];
    for (std::size_t i = 0; i < std::size(kExtensions); ++i) {
      made[i] = std::string(path) + kExtensions[i];
      const int handle = backup::_lcreat(made[i].c_str(), 0);
      if (handle < 0) {
        while (i > 0) ::unlink(made[--i].c_str());
        return 0;
      }
      backup::_lclose(handle);
    }
    return 1;
  });
}

int VelorLazyMst(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  space->bulk.reset();
  CloseFragments(space);
  CloseBaseFiles(space);
  space->lazyMst = true;
  return space->textSpace ? VelorLazyMst(space->textSpace) : kOk;
}

int VelorLazyTerm(TVelorSpace* space) {
  if (!space) return kNoSpace;
  if (!space->termPath.empty()) {  // terms that were never opened are not missed later
    CloseTermFiles(space);
    space->lazyTerm = true;
  }
  return space->textSpace ? VelorLazyTerm(space->textSpace) : kOk;
}

int VelorLazy(TVelorSpace* space) {
  if (int rc = VelorLazyMst(space); rc != kOk) return rc;
  return VelorLazyTerm(space);
}

int VelorUnlazyMst(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    if (int rc = OpenBaseFiles(space, kOpenRead); rc != kOk) return rc;
    OpenFragments(space, kOpenRead);
    space->lazyMst = false;
    return space->textSpace && space->textSpace->lazyMst ? VelorUnlazyMst(space->textSpace) : kOk;
  });
}

int WakeRecordFiles(TVelorSpace* space) {
  return space->lazyMst ? VelorUnlazyMst(space) : kOk;
}

int VelorUnlazyTerm(TVelorSpace* space) {
  if (!space) return kNoSpace;
  return AtEdge([&] {
    const std::string path = space->termPath;
    if (int rc = Velorinitterm(space, path.c_str()); rc != kOk) {
      space->termPath = path;
      space->lazyTerm = true;
      return rc;
    }
    return space->textSpace && space->textSpace->lazyTerm ? VelorUnlazyTerm(space->textSpace) : kOk;
  });
}

int VelorUnlazy(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  if (space->lazyMst)
    if (int rc = VelorUnlazyMst(space); rc != kOk) return rc;
  return space->lazyTerm ? VelorUnlazyTerm(space) : kOk;
}

}  // namespace velor_32

namespace backup {

int VelorGetMfn(const velor_01::TVelorSpace* space, int mfn, int* fragment) {
  *fragment = 0;
  if (!velor_32::IsOpen(space) || space->mst->mstFile < 0 || mfn < 1) return velor_32::kNoRecordFiles;
  const std::int32_t size = space->mst->control.fragmentSize;
  if (size < 1) return mfn;
  *fragment = std::min((mfn - 1) / size, velor_32::LastFragment(space));
  return static_cast<int>(mfn - std::int64_t{size} * *fragment);
}

std::string GetDbNameEK(const velor_01::TVelorSpace* space) {
  std::string name = utils::PathUtil::GetFileName(space->path);
  const std::string folder = utils::PathUtil::GetFileName(utils::PathUtil::GetDirectoryName(space->path));
  const std::string_view mark = velor_32::kCompanionMark;
  if (!utils::StringUtils::EndsWith(folder, mark)) return name;
  return folder.substr(0, folder.size() - mark.size());
}

std::string GetOwnName(const velor_01::TVelorSpace* space) {
  std::string name = GetDbNameEK(space);
  if (space->isTextSpace) name += velor_32::kCompanionMark;
  return name;
}

}  // namespace backup
