#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"

// What the procedures of the tools on one database begin and end with.

namespace velor_server_proc {

/// A database opened for a maintenance procedure, with the settings that such a procedure needs. Closed at
/// the end of the scope.
class OpenedDatabase {
 public:
  /// The opening is reported to `out` and in the log.
  OpenedDatabase(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

  [[nodiscard]] bool isReady() const { return space_ != nullptr && settings_ != nullptr; }
  /// The code of a failed opening, -100 when memory is short for the settings; 0 when ready.
  [[nodiscard]] int result() const { return result_; }
  /// The name in lower case.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] velor_01::TVelorSpace* space() const { return space_.get(); }
  [[nodiscard]] velora::VelorAContext* settings() const { return settings_.get(); }
  /// Time-out for locks, in seconds.
  [[nodiscard]] int relayRecTime() const { return settings_->relayRecTime; }

 private:
  std::string name_;
  int result_ = 0;
  velor_32::SpacePointer space_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> settings_;
};

/// Writes "Done" or "Error <number>" to `out`, and to the log `subject` with " done" or " error <number>"
/// behind it. Gives `rc`.
int ReportOutcome(const std::string& subject, int rc, std::ostream& out);

}  // namespace velor_server_proc
