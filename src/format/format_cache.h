#pragma once

#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "format/xpft_formatter.h"

namespace xpft {

class Velor64Context;

/// The compiled formats of a run, by the name of their file and by their text.
///
/// A format is compiled once. One that fails to compile is not kept, so it is tried again. Entries that were
/// not used for half an hour are dropped when something new is compiled, and the older half of the texts when
/// there are very many or they are very long: formats that make formats of their own make a new one for each
/// record. All access is under the mutex; a formatter is given out by shared pointer, so that one in use
/// outlives its entry.
class Velor64Cache {
 public:
  /// `fileDateCheck` fixes whether the cache can compare an entry with the date of its file; the run-time
  /// switch says whether it does.
  explicit Velor64Cache(bool fileDateCheck) : fileDateCheck_(fileDateCheck) {}

  [[nodiscard]] bool GetRuntimeDateCheck() const { return runtimeDateCheck_; }
  void SetRuntimeDateCheck(bool on) { runtimeDateCheck_ = on; }

  /// The format of a text, or of a file: "@name", "@%n,name" where n is a VelorPath. ".pft" is put behind the
  /// name. A file that is not there gives a format that prints so. Null after an error, which the context
  /// has; `quiet` keeps it out of the log.
  [[nodiscard]] std::shared_ptr<XpftFormatter> GetFormat(Velor64Context* ctx, const std::string& name,
                                                         bool quiet);

  [[nodiscard]] int GetCount();
  void Clear();
  /// Drops what was not used since a moment.
  void RemoveInactiveFormats(std::chrono::steady_clock::time_point before);
  /// Takes over the entries of another cache; an entry that is here stays.
  void Merge(Velor64Cache* other);

  void Lock() { mutex_.lock(); }
  void Unlock() { mutex_.unlock(); }

 private:
  using Clock = std::chrono::steady_clock;
  template <class Value>
  struct CacheItem {
    Value value;
    std::time_t lastWrite = 0;  // of the file; 0 when there is none
    Clock::time_point lastUse;
  };
  using Items = std::unordered_map<std::string, CacheItem<std::shared_ptr<XpftFormatter>>>;

  std::shared_ptr<XpftFormatter> GetFormatterByFileName(Velor64Context* ctx, const std::string& name,
                                                        bool quiet);
  std::shared_ptr<XpftFormatter> GetFormatterByText(Velor64Context* ctx, const std::string& text, bool quiet);
  static std::shared_ptr<XpftFormatter> GetFileNotFoundFormatter(Velor64Context* ctx,
                                                                 const std::string& name);
  static bool GetFormatText(Velor64Context* ctx, const std::string& name, std::string& text,
                            std::string& path);
  /// 0 when the file is not there.
  static std::time_t GetFormatLastWriteDate(Velor64Context* ctx, const std::string& name);
  std::shared_ptr<XpftFormatter> Find(Items& items, const std::string& key, const std::time_t* date);
  void Store(Items& items, const std::string& key, std::shared_ptr<XpftFormatter> formatter,
             std::time_t date);
  // The next three are called under the mutex.
  void Sweep(Clock::time_point before);
  void MakeRoom(Items& items, Clock::time_point now);
  void MakeRoomForText(std::size_t length, Clock::time_point now);
  static std::shared_ptr<XpftFormatter> Compile(Velor64Context* ctx, std::string_view name,
                                                const std::string& text, bool quiet);

  const bool fileDateCheck_;
  bool runtimeDateCheck_ = false;
  std::mutex mutex_;
  Items files_;
  Items texts_;
  std::size_t textBytes_ = 0;  // of the texts, at most: it is counted anew when it grows beyond measure
  Clock::time_point lastSweep_ = Clock::now();
};

}  // namespace xpft
