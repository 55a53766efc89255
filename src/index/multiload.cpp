#include "index/multiload.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <utility>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/lnk_sort.h"
#include "index/progress.h"
#include "index/worker_numbers.h"
#include "storage/app_paths.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

namespace velora {

using velor_32::kOk;

namespace {

constexpr const char* kSection = "MULTILOAD";
constexpr int kFailed = -1;
constexpr int kNotStarted = 127;  // the status of a shell whose command was not found

enum Mode { kRecordMode = 1, kSortMode = 2, kLoadMode = 3 };

using Keys = std::vector<std::pair<const char*, std::string>>;

int GetNumber(const utils::IniFile& ini, const char* section, const char* key, int def) {
  return utils::TextUtil::Int32ParseExact(ini.Get(section, key, "").c_str(), def);
}

std::string WorkDirectory(const app::VelorAppContext* app) {
  const std::string directory = fmt_64::WorkDirectoryPath(app);
  // A worker would read a relative one from another place.
  return utils::PathUtil::IsPathRooted(directory) ? directory : std::filesystem::absolute(directory).string();
}

/// The options of the frame that change what formats give, and the prefix of shared names.
std::string FrameOptions(const app::VelorAppContext& app) {
  std::string options;
  if (!app::AppPrefixText().empty()) options += " -pref \"" + std::string(app::AppPrefixText()) + '"';
  if (!app.xpftEnabled) return options + " -xpftoff";
  if (app.recordCacheOpt == app::RecordCacheOpt::kOption0) options += " -xpft0";
  if (app.recordCacheOpt == app::RecordCacheOpt::kOption1) options += " -xpft1";
  return options;
}

/// Workers of one stage, numbered from 1 in the order of their assignments.
class Workers {
 public:
  Workers(VelorAContext* ctx, std::string database, std::string logTitle)
      : ctx_(ctx),
        database_(std::move(database)),
        logTitle_(std::move(logTitle)),
        directory_(WorkDirectory(ctx->app)),
        numbers_(directory_) {}
  ~Workers() {
    for (; waited_ < workers_.size(); ++waited_) WaitFor(workers_[waited_]);
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  /// Writes the assignment and starts the worker. Result 0 or -1.
  int Start(Mode mode, const Keys& keys) {
    const int number = static_cast<int>(workers_.size()) + 1;
    Worker worker;
    worker.file = directory_ + "velora_multi" + std::to_string(numbers_.base() + number) + ".ini";
    if (numbers_.base() < 0 || !WriteAssignment(worker.file, mode, number, keys)) {
      ReportBuildError("Assignment file not written: " + worker.file);
      return kFailed;
    }
    const std::string command = CommandFor(worker.file);
    velor_server_proc::LogTool("starting " + command + logTitle_ +
                               (logTitle_.empty() ? "" : std::to_string(number)));
    worker.pid = MyWinExec(command.c_str());
    if (worker.pid < 0) {
      velor_server_proc::LogTool("process failed to start");
      return kFailed;
    }
    workers_.push_back(worker);
    return kOk;
  }

  [[nodiscard]] std::size_t running() const { return workers_.size() - waited_; }
  [[nodiscard]] std::size_t done() const { return waited_; }

  /// Waits for the worker that was started first among those that run. Gives its exit status.
  int WaitForOldest() { return WaitFor(workers_[waited_++]); }

  /// Waits for all and takes their results; the assignments go when all succeeded.
  int Finish() {
    int rc = status_;
    while (running() > 0)
      if (const int status = WaitForOldest(); status != kOk) rc = status;
    for (std::size_t i = 0; i < workers_.size(); ++i) {
      const auto ini = utils::IniFile::ParseFile(workers_[i].file, "");
      const int result = GetNumber(*ini, kSection, "RESULT", kFailed);
      if (!logTitle_.empty())
        velor_server_proc::LogTool(logTitle_ + std::to_string(i + 1) + " result " + std::to_string(result));
      if (rc == kOk) rc = result;
    }
    if (app::CheckStopProcess(ctx_->app)) return kFailed;
    if (rc == kOk)
      for (const Worker& worker : workers_) ::unlink(worker.file.c_str());
    return rc;
  }

 private:
  struct Worker {
    std::string file;
    pid_t pid = -1;
  };

  bool WriteAssignment(const std::string& path, Mode mode, int number, const Keys& keys) const {
    const std::string settings = ctx_->app->mainIni->FlattenFile()->ToText();
    const auto ini = utils::IniFile::Parse(settings, path, utils::IniFile::Reader());
    ini->Put(kSection, "CURDBN", database_);
    ini->Put(kSection, "Mode", std::to_string(static_cast<int>(mode)));
    ini->Put(kSection, "MULTINUMB", std::to_string(number));
    ini->Put(kSection, "RESULT", std::to_string(kFailed));
    for (const auto& [key, value] : keys) ini->Put(kSection, key, value);
    return ini->Save();
  }

  [[nodiscard]] std::string CommandFor(const std::string& file) const {
    std::string program = ctx_->app->mainIni->Get(kSection, "CMDLINE", "");
    if (program.empty()) program = "\"" + utils::PathUtil::GetExePathA() + "\"";
    return program + " multiload \"" + file + "\"" + FrameOptions(*ctx_->app);
  }

  int WaitFor(const Worker& worker) {
    if (app::CheckStopProcess(ctx_->app)) ::kill(worker.pid, SIGINT);
    const int status = app::WaitProcess(worker.pid);
    if (status != kOk) status_ = status;
    return status;
  }

  VelorAContext* ctx_;
  const std::string database_;
  const std::string logTitle_;
  const std::string directory_;
  const WorkerNumbers numbers_;
  std::vector<Worker> workers_;
  std::size_t waited_ = 0;
  int status_ = kOk;
};

/// Starts a worker for each assignment, as many at once as the settings say. `operation` reports what part of
/// them is done.
int RunAll(VelorAContext* ctx, Workers* workers, Mode mode, const std::vector<Keys>& assignments,
           AdmOperation::Type operation) {
  const auto wait = [&] {
    const int status = workers->WaitForOldest();
    VelorReportProgress(ctx, operation, static_cast<int>(workers->done() * 100 / assignments.size()));
    return status;
  };
  int rc = kOk;
  for (const Keys& keys : assignments) {
    if (app::CheckStopProcess(ctx->app)) break;
    if (workers->running() >= static_cast<std::size_t>(ctx->multiload)) rc = wait();
    if (rc == kOk) rc = workers->Start(mode, keys);
    if (rc != kOk) break;
  }
  while (rc == kOk && workers->running() > 0) rc = wait();
  const int result = workers->Finish();
  return rc != kOk ? rc : result;
}

/// Puts the files of the workers together and gives the whole its name.
int MergeRecordings(const std::string& stem, int workers) {
  if (stem.empty()) return kOk;
  const std::string first = RecordingFile(stem, 1);
  int rc = kOk;
  for (int n = 2; rc == kOk && n <= workers; ++n) {
    const std::string part = RecordingFile(stem, n);
    rc = MergeFiles(part, first);
    ::unlink(part.c_str());
  }
  if (rc == kOk && std::rename(first.c_str(), RecordingFile(stem, 0).c_str()) == 0) return kOk;
  std::cerr << "Merge LN files error" << std::endl;
  return velor_32::kNoRecordFiles;
}

/// Removes what workers recorded, also the file that one was at when it was killed.
void RemoveRecordings(const std::string& stem, int workers) {
  for (int n = 1; n <= workers && !stem.empty(); ++n)
    for (const char* end : {"", "_"}) ::unlink((RecordingFile(stem, n) + end).c_str());
}

/// What a worker was told.
struct Assignment {
  explicit Assignment(const utils::IniFile& ini)
      : mode(GetNumber(ini, kSection, "Mode", 0)),
        number(GetNumber(ini, kSection, "MULTINUMB", 0)),
        isFullText(GetNumber(ini, kSection, "FTMode", 0) == 1),
        mfnFrom(GetNumber(ini, kSection, "MFNFrom", 1)),
        mfnTo(GetNumber(ini, kSection, "MFNTo", 0)),
        isCatalogOnly(GetNumber(ini, kSection, "CatalogOnly", 0) == 1),
        isFullTextOnly(GetNumber(ini, kSection, "FullText", 0) == 1),
        database(ini.Get(kSection, "CURDBN", "")),
        lkFile(ini.Get(kSection, "LKFileName", "")),
        sortFile(ini.Get(kSection, "SortFileName", "")) {}

  int mode;
  int number;
  bool isFullText;
  int mfnFrom;
  int mfnTo;
  bool isCatalogOnly;
  bool isFullTextOnly;
  std::string database;
  std::string lkFile;
  std::string sortFile;
};

int Record(VelorAContext* ctx, velor_01::TVelorSpace* space, const Assignment& told) {
  RecordingJob job = JobFor(space, told.isCatalogOnly, told.isFullTextOnly);
  job.mfnFrom = told.mfnFrom;
  job.mfnTo = told.mfnTo;
  job.processNo = told.number;
  return VelorRecTerms_Base(ctx, space, 0, job);
}

int SortPiece(VelorAContext* ctx, const velor_01::TVelorSpace* space, const Assignment& told) {
  if (ctx->app->mainIni->Get("MAIN", "MULTISORT_STRICT", "0") == "1") ctx->multiload = 1;
  const std::string directory = utils::PathUtil::GetDirectoryName(told.lkFile) + "/";
  return VelorLnkSort0(ctx, told.sortFile, told.lkFile, directory, {told.database, space->isFullText});
}

int CarryOut(VelorAContext* ctx, velor_01::TVelorSpace* space, const Assignment& told) {
  velor_01::TVelorSpace* const side = told.isFullText ? space->textSpace : space;
  if (side == nullptr) return velor_32::kNoSpace;
  ctx->worker = told.number;
  switch (told.mode) {
    case kSortMode:
      return SortPiece(ctx, side, told);
    case kLoadMode:
      return VelorLnk_Load_Base(ctx, side, told.lkFile, told.number);
    default:
      return Record(ctx, side, told);
  }
}

}  // namespace

bool UsesWorkers(const VelorAContext& ctx) {
  return ctx.multiload > 1 && ctx.app->mainIni != nullptr;
}

namespace {

/// The arguments of a command line.
std::vector<std::string> SplitCommand(const char* commandLine) {
  std::vector<std::string> words;
  bool isQuoted = false;
  bool isInWord = false;
  for (const char* at = commandLine; *at != '\0'; ++at) {
    if (*at == ' ' && !isQuoted) {
      isInWord = false;
      continue;
    }
    if (!std::exchange(isInWord, true)) words.emplace_back();
    if (*at == '"') {
      isQuoted = !isQuoted;
    } else {
      words.back() += *at;
    }
  }
  return words;
}

}  // namespace

/// The child has a pipe, which running the program closes: a byte out of it says that there is no running.
pid_t MyWinExec(const char* commandLine) {
  std::vector<std::string> words = SplitCommand(commandLine);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  int ends[2];
  if (words.empty() || ::pipe2(ends, O_CLOEXEC) != 0) return -1;
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::execv(arguments[0], arguments.data());
    [[maybe_unused]] const ssize_t told = ::write(ends[1], "", 1);
    ::_exit(kNotStarted);
  }
  ::close(ends[1]);
  char byte;
  ssize_t got;
  do {
    got = pid > 0 ? ::read(ends[0], &byte, 1) : 0;
  } while (got < 0 && errno == EINTR);
  ::close(ends[0]);
  if (got <= 0) return pid;
  app::WaitProcess(pid);
  return -1;
}

int Multi_VelorRecTerms(VelorAContext* ctx, velor_01::TVelorSpace* space, const RecordingJob& job) {
  return velor_32::AtEdge([&] {
    if (velor_32::Velormaxmfn(space) < 1) return velor_32::kNoRecordFiles;
    const int count = velor_32::LastMfn(space);
    const int workerCount = std::min(ctx->multiload, WorkerNumbers::kPerRun);
    std::vector<Keys> assignments;
    for (int i = 1; i <= workerCount; ++i) {
      const int share = count / workerCount;
      assignments.push_back({{"MFNFrom", std::to_string(share * (i - 1) + 1)},
                             {"MFNTo", std::to_string(i == workerCount ? count : share * i)},
                             {"CatalogOnly", job.select == recif::kCatalogLines ? "1" : "0"},
                             {"FullText", job.select == recif::kFullTextLines ? "1" : "0"}});
    }
    Workers workers(ctx, backup::GetOwnName(space), "");  // its workers write beside the files of this space
    int rc = RunAll(ctx, &workers, kRecordMode, assignments, AdmOperation::kTerms);
    if (rc == kOk) rc = MergeRecordings(job.stem, workerCount);
    if (rc == kOk) rc = MergeRecordings(job.textStem, workerCount);
    for (const std::string& stem : {job.stem, job.textStem})
      if (rc != kOk) RemoveRecordings(stem, workerCount);
    return rc;
  });
}

int Multi_ProcessSortList(VelorAContext* ctx, const std::string& database,
                          const std::vector<std::string>& pieces, const std::string& output) {
  return velor_32::AtEdge([&] {
    std::vector<Keys> assignments;
    std::vector<std::string> sorted;
    for (const std::string& piece : pieces) {
      sorted.push_back(piece + ".lk1");
      assignments.push_back({{"SortFileName", piece}, {"LKFileName", sorted.back()}});
    }
    Workers workers(ctx, database, " multi sort process ");
    int rc = RunAll(ctx, &workers, kSortMode, assignments, AdmOperation::kSort);
    ::unlink(output.c_str());
    for (const std::string& file : sorted) {
      if (rc == kOk) rc = MergeFiles(file, output);
      ::unlink(file.c_str());
    }
    return rc;
  });
}

int Multi_LoadParts(VelorAContext* ctx, const velor_01::TVelorSpace* space,
                    const std::vector<std::string>& parts) {
  return velor_32::AtEdge([&] {
    std::vector<Keys> assignments;
    assignments.reserve(parts.size());
    for (const std::string& part : parts)
      assignments.push_back({{"LKFileName", part}, {"FTMode", space->isTextSpace ? "1" : "0"}});
    Workers workers(ctx, backup::GetDbNameEK(space), "");
    return RunAll(ctx, &workers, kLoadMode, assignments, AdmOperation::kLoadDict);
  });
}

int Multiload(app::VelorAppContext* app) {
  if (app == nullptr || app->mainIni == nullptr) return kFailed;
  return velor_32::AtEdge([&] {
    const Assignment told(*app->mainIni);
    int rc = kOk;
    std::ostream silent(nullptr);
    const velor_32::SpacePointer space(velor_server_proc::VelorOpenDb(app, told.database, silent, &rc));
    if (space == nullptr) return rc;
    const std::unique_ptr<VelorAContext, VelorACloser> ctx(VelorA_init(app));
    return ctx == nullptr ? velor_32::kNoMemory : CarryOut(ctx.get(), space.get(), told);
  });
}

}  // namespace velora
