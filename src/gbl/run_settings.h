#pragma once

#include "format/format_run.h"
#include "storage/app_context.h"
#include "storage/velor_space.h"

namespace global {

/// What of the application a run of a task changes.
struct LanguageSettings {
  bool formatsUpdate = false;  ///< formats may change records
  bool ignoresTables = false;  ///< spaces are opened without their tables
  app::RecordCacheOpt::Type recordCache = app::RecordCacheOpt::kOption2;

  [[nodiscard]] static LanguageSettings Of(const app::VelorAppContext* ctx) {
    return {ctx->xpftUpdateEnabled, ctx->ignoreIfs, ctx->recordCacheOpt};
  }
  void ApplyTo(app::VelorAppContext* ctx) const {
    ctx->xpftUpdateEnabled = formatsUpdate;
    app::velor_app_ignore_ifs(ctx, ignoresTables);
    if (ctx->xpftEnabled) ctx->recordCacheOpt = recordCache;
  }
};

/// Settings for the life of the object; then what was before. They nest.
class ScopedSettings {
 public:
  ScopedSettings(app::VelorAppContext* ctx, const LanguageSettings& settings)
      : ctx_(ctx), former_(LanguageSettings::Of(ctx)) {
    settings.ApplyTo(ctx);
  }
  ~ScopedSettings() { former_.ApplyTo(ctx_); }
  ScopedSettings(const ScopedSettings&) = delete;
  ScopedSettings& operator=(const ScopedSettings&) = delete;

 private:
  app::VelorAppContext* ctx_;
  LanguageSettings former_;
};

/// A run of a task: formats may change records, and keep no fields, since the record changes between them.
class RunSettings {
 public:
  explicit RunSettings(velor_01::TVelorSpace* space)
      : space_(space), settings_(space->app, {true, true, app::RecordCacheOpt::kOption0}) {
    if (space->app->xpftEnabled) xpft::Velor_ClearXPFTFieldCache(space, true);
  }
  ~RunSettings() {
    if (space_->app->xpftEnabled) xpft::Velor_ClearXPFTFieldCache(space_, false);
  }
  RunSettings(const RunSettings&) = delete;
  RunSettings& operator=(const RunSettings&) = delete;

 private:
  velor_01::TVelorSpace* space_;
  ScopedSettings settings_;
};

}  // namespace global
