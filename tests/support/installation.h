#pragma once

#include <filesystem>
#include <string>

#include "storage/app_context.h"
#include "storage/app_paths.h"
#include "support/context.h"
#include "support/temp_dir.h"

namespace test {

/// A copy of the starting installation in a temporary directory, with the application context of a run in it:
/// the empty database "blank" can be opened by name. Removed at the end of the scope.
class Installation : public TempDir {
 public:
  Installation() {
    std::filesystem::copy(VELORA_SOURCE_DIR "/share", Path(), std::filesystem::copy_options::recursive);
    ctx_.reset(app::velor_app_init());
    fmt_64::velor_MainIni_Init(ctx(), File("velora.ini"));
    fmt_64::velor_init_ExecDir(ctx(), Path());
    fmt_64::velor_init_DataPath(ctx(), File("datai"));
    fmt_64::velor_init_DepositPath(ctx(), File("datai/deposit"));
  }

  [[nodiscard]] app::VelorAppContext* ctx() const { return ctx_.get(); }

 private:
  ContextPointer ctx_;
};

}  // namespace test
