#pragma once

#include <cstdint>
#include <string>

#include "storage/app_context.h"

namespace velora {

/// The small context of one maintenance or indexing procedure: the settings it needs, read once.
struct VelorAContext {
  std::int32_t relayRecTime = 5;        ///< RELAY_RECTIME: time-out for record locks, in seconds
  std::int32_t progressCount = 0;       ///< reports made so far
  std::int32_t lastProgress = -1;       ///< percentage of the last report, -1 before the first
  std::int32_t lastProgressTotal = -1;  ///< its total, -1 before the first
  bool reportProgress = false;          ///< a progress callback is set, or REPORT_PROGRESS is positive
  std::int32_t multiload = 1;           ///< MULTILOAD: worker processes of the bulk build
  std::int32_t worker = 0;              ///< number of this worker process, 0 in any other
  std::string etalonDb;                 ///< EtalonDBN, lower case: the reference database
  std::string emptyDb;                  ///< EmptyDBN, lower case: the empty template database
  std::string dataPath;                 ///< the data directory, ending in "/"
  std::string dataPathRaw;              ///< Datapath as the INI file has it
  app::VelorAppContext* app = nullptr;  ///< not owned
};

/// Makes the context of one procedure. Without a main INI file every setting has its default and dataPath is
/// the system directory. Null without an application context or when memory is short; else the caller calls
/// VelorA_close.
VelorAContext* VelorA_init(app::VelorAppContext* ctx);

/// A number of section Main; `byDefault` without an INI file, and for a value that is none.
[[nodiscard]] int MainNumber(const app::VelorAppContext& ctx, const char* key, int byDefault);

/// A text of section Main; `byDefault` without an INI file or the key.
[[nodiscard]] std::string MainText(const app::VelorAppContext& ctx, const char* key, const char* byDefault);

/// Frees the context; null is ignored.
void VelorA_close(VelorAContext* context);

/// Closes a VelorAContext at the end of a scope: std::unique_ptr<VelorAContext, VelorACloser>.
struct VelorACloser {
  void operator()(VelorAContext* context) const { VelorA_close(context); }
};

}  // namespace velora
