#include <algorithm>
#include <ostream>

#include "format/format_cache.h"
#include "format/format_files.h"
#include "format/velor64_context.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"
#include "utils/md5.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

// Other records and databases, files and functions that a run reaches.

namespace xpft {

namespace {

constexpr int kWritesForbidden = -403;
constexpr int kUnknownFunction = 2;
constexpr int kLockWaitSeconds = 300;
constexpr int kAltShelves = 5;
constexpr std::size_t kMostIdleSpaces = 8;  // each holds files open
constexpr int kShellRefused = 65;

bool IsRead(int result) {
  return result == velor_32::kOk || result == velor_32::kDeleted || result == velor_32::kRecordLocked;
}

/// A name may be followed by options behind a comma.
std::string NameOf(std::string_view name) {
  return std::string(utils::StringUtils::Trim(name.substr(0, name.find(','))));
}

/// Opens a database by the path of its record files, or by its name.
velor_32::SpacePointer OpenSpace(app::VelorAppContext* app, const std::string& name) {
  if (name.find_first_of("/\\") == std::string::npos) {
    std::ostream nowhere(nullptr);
    int result = velor_32::kOk;
    return velor_32::SpacePointer(velor_server_proc::VelorOpenDb(app, name, nowhere, &result));
  }
  velor_32::SpacePointer space(velor_32::Velorinit(app));
  std::string path = name;
  std::replace(path.begin(), path.end(), '\\', '/');
  if (space && velor_32::Velorinitmst(space.get(), path.c_str(), kAltShelves) != velor_32::kOk) space.reset();
  return space;
}

/// Whether a command of the shell would change the directory of the program.
bool ChangesDirectory(std::string_view command) {
  constexpr std::string_view kWords[] = {"cd", "chdir", "pushd", "popd"};
  constexpr std::string_view kEnds = " \t\r\n;&|(){}`";
  std::size_t begin = 0;
  while (begin < command.size()) {
    const std::size_t end = std::min(command.find_first_of(kEnds, begin), command.size());
    const std::string word = utils::StringUtils::ToLower(command.substr(begin, end - begin));
    if (std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords)) return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

Velor64Context::Velor64Context(app::VelorAppContext* app, const std::string& database)
    : app_(app), ownSpace_(OpenSpace(app, database)) {
  space_ = ownSpace_.get();
  baseShelfCount_ = space_ ? space_->shelfCount : 0;
}

// ---- databases ----

void Velor64Context::UseSpace(velor_01::TVelorSpace* space, int currShelf, int altShelf) {
  if (space != space_ || currShelf != currShelf_) ClearFieldCache();
  space_ = space;
  currShelf_ = currShelf;
  altShelf_ = altShelf;
}

bool Velor64Context::OpenDb(const std::string& name) {
  velor_32::SpacePointer space = OpenSpace(app_, NameOf(name));
  if (!space) return false;
  UseSpace(space.get(), 0, 1);
  ClearFieldCache();
  ownSpace_ = std::move(space);
  return true;
}

/// A database is opened once and then kept for the next record that refers to it.
bool Velor64Context::OpenAltDb(const std::string& name) {
  const std::string key = NameOf(name);
  const auto idle = std::find_if(idleSpaces_.begin(), idleSpaces_.end(),
                                 [&](const AltSpace& alt) { return alt.name == key; });
  AltSpace alt{key, nullptr, space_, currShelf_, altShelf_};
  if (idle != idleSpaces_.end()) {
    alt.space = std::move(idle->space);
    idleSpaces_.erase(idle);
  } else {
    alt.space = OpenSpace(app_, key);
    if (!alt.space) return false;
  }
  velor_01::TVelorSpace* space = alt.space.get();
  altSpaces_.push_back(std::move(alt));
  UseSpace(space, 0, 1);
  return true;
}

void Velor64Context::CloseAltDb() {
  if (altSpaces_.empty()) return;
  AltSpace alt = std::move(altSpaces_.back());
  altSpaces_.pop_back();
  UseSpace(alt.former, alt.formerShelf, alt.formerAltShelf);
  if (idleSpaces_.size() == kMostIdleSpaces) idleSpaces_.erase(idleSpaces_.begin());
  idleSpaces_.push_back(std::move(alt));
}

// ---- records ----

bool Velor64Context::LoadRecord(int mfn) {
  const int result = velor_32::VelorRecord(space_, currShelf_, mfn);
  ClearFieldCache();
  return IsRead(result);
}

/// Makes sure that the alternate shelf is there. One far behind the last shelf is not worth all those
/// between.
bool Velor64Context::TakeAltShelf() {
  if (!space_) return false;
  altShelf_ = std::min(altShelf_, space_->shelfCount);
  return altShelf_ < space_->shelfCount ||
         velor_32::VelorInitAltShelf(space_, altShelf_ + 1) == velor_32::kOk;
}

bool Velor64Context::LoadAltRecord(int mfn) {
  if (!TakeAltShelf() || !IsRead(velor_32::VelorRecord(space_, altShelf_, mfn))) return false;
  formerShelves_.push_back(currShelf_);
  SetCurrShelf(altShelf_++);
  return true;
}

void Velor64Context::CloseAltRecord() {
  if (formerShelves_.empty()) return;
  SetCurrShelf(formerShelves_.back());
  formerShelves_.pop_back();
  --altShelf_;
}

bool Velor64Context::NewRecord() {
  ClearFieldCache();
  return velor_32::Velornewrec(space_, currShelf_) == velor_32::kOk;
}

bool Velor64Context::NewAltRecord() {
  if (!TakeAltShelf() || velor_32::Velornewrec(space_, altShelf_) != velor_32::kOk) return false;
  formerShelves_.push_back(currShelf_);
  SetCurrShelf(altShelf_++);
  return true;
}

int Velor64Context::DeleteRecord(bool updateIndex) {
  if (!app_ || !app_->xpftUpdateEnabled) return kWritesForbidden;
  velor_32::Velorrecdel(space_, currShelf_);
  return WriteRecord(true, updateIndex);
}

int Velor64Context::WriteRecord(bool updateMaster, bool updateIndex) {
  if (!app_ || !app_->xpftUpdateEnabled) return kWritesForbidden;
  if (!updateMaster) {
    if (!updateIndex) return velor_32::kOk;
    return velor_32::VelorRecIfUpdateTime(space_, currShelf_, GetMfn(), kLockWaitSeconds);
  }
  int result = velor_32::kOk;
  int indexResult = velor_32::kOk;
  velor_32::VelorRecUpdateTime(space_, currShelf_, false, updateIndex, kLockWaitSeconds, &result,
                               &indexResult);
  ClearFieldCache();
  return result != velor_32::kOk ? result : indexResult;
}

// ---- files ----

std::string Velor64Context::LookupFile(VelorPath kind, const std::string& database, const std::string& name,
                                       bool useDatabase) {
  return xpft::LookupFile(app_, kind, database, name, useDatabase);
}

bool Velor64Context::ReadFile(VelorPath kind, const std::string& name, bool useDatabase,
                              std::string& content) {
  return xpft::ReadFile(app_, kind, space_ ? space_->path : std::string(), name, useDatabase, content);
}

bool Velor64Context::ReadFileDate(VelorPath kind, const std::string& name, bool useDatabase,
                                  std::time_t& date) {
  date = xpft::ReadFileDate(app_, kind, space_ ? space_->path : std::string(), name, useDatabase);
  return date != 0;
}

std::string Velor64Context::FileMd5(VelorPath kind, const std::string& name, bool useDatabase) {
  const std::string path = LookupFile(kind, space_ ? space_->path : std::string(), name, useDatabase);
  return path.empty() ? std::string() : utils::Md5HexOfFile(path);
}

// ---- formats and functions ----

std::shared_ptr<XpftFormatter> Velor64Context::GetPrintFormat(const std::string& name, bool quiet) {
  if (!app_ || !app_->formatCache) return nullptr;
  return app_->formatCache->GetFormat(this, name, quiet);
}

void Velor64Context::ExtFunc(std::string_view, const std::string&) {
  SetErrorCode(kUnknownFunction);
}

/// Runs `search` on the current database, or on the one that is named and opens.
template <class Search>
void Velor64Context::SearchIn(const std::string& db, Search&& search) {
  const bool isOther = !db.empty();
  if (isOther && !OpenAltDb(db)) return;
  if (space_) search(space_);
  if (isOther) CloseAltDb();
}

void Velor64Context::SearchMfn(const std::string& db, const std::string& query, int from, int count,
                               QueryType queryType, std::vector<int>& result) {
  const auto search = DefaultFormatHooks().searchMfn;
  if (!search) return;
  SearchIn(db, [&](velor_01::TVelorSpace* space) { search(space, query, from, count, queryType, result); });
}

int Velor64Context::CountPostings(const std::string& db, const std::string& query, QueryType queryType) {
  const auto countIn = DefaultFormatHooks().countPostings;
  int count = 0;
  if (!countIn) return count;
  SearchIn(db, [&](velor_01::TVelorSpace* space) { count = countIn(space, query, queryType); });
  return count;
}

void Velor64Context::ExecuteShellCommand(const std::string& command) {
  if (ChangesDirectory(command)) {
    ast::PftExpr::LogError(this, "", "changing directory forbidden in shell command: " + command, 0, 0,
                           kShellRefused);
    return;
  }
  const int status = DefaultFormatHooks().runShellCommand(command.c_str());
  if (status == -1) ast::PftExpr::LogError(this, "", "shell command not run: " + command, 0, 0, 0);
}

bool Velor64Context::CheckDummyClientMode() const {
  return app_ && app_->isClient && !app_->client;
}

std::string Velor64Context::GetAppPrefix() const {
  return std::string(app::AppPrefixText());
}

}  // namespace xpft
