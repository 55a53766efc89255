#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "format/format_parts.h"
#include "format/format_run.h"
#include "format/velor64_context.h"
#include "storage/app_context.h"
#include "storage/record_read.h"
#include "support/open_space.h"
#include "support/temp_dir.h"
#include "support/test_base.h"

namespace test {

/// What a format gave for a record.
struct Outcome {
  std::string text;
  int error = 0;  // of compiling or running it
  std::string errorText;
};

/// A database "oryx" of a few records, shared files beside it, and a context of the language. Each run starts
/// with the record as it is in the file, and without variables.
class FormatRunner {
 public:
  explicit FormatRunner(const std::vector<Fields>& records) {
    xpft::InstallFormatParts();
    ctx_.reset(app::velor_app_init());
    ctx_->depositPath = dir_.Path() + "/";
    TestBase base;
    for (const Fields& fields : records) base.Record(fields);
    base.WriteTo(dir_.File("oryx"));
    space_ = OpenSpace(ctx_.get(), dir_.File("oryx"));
  }

  [[nodiscard]] app::VelorAppContext* ctx() const { return ctx_.get(); }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }
  [[nodiscard]] const TempDir& dir() const { return dir_; }

  /// Runs a format over record `mfn`. `option`: how fields are read, 0 to 2.
  Outcome Run(const std::string& format, int option = 2, int mfn = 1) {
    ForgetVariables();
    ctx_->recordCacheOpt = static_cast<app::RecordCacheOpt::Type>(option);
    Outcome outcome;
    velor_32::VelorRecord(space(), 0, mfn);
    const std::string utf8 = "!" + format;
    outcome.error = xpft::Velor_InitXPFT(space(), utf8.data(), static_cast<int>(utf8.size()));
    if (outcome.error == 0) outcome.error = xpft::Velor_FormatXPFT(space(), 0, 1, 0);
    outcome.text = xpft::Velor_FormatResult(space());
    outcome.errorText = xpft::SpaceContext(space())->GetErrorText();
    return outcome;
  }

 private:
  void ForgetVariables() {
    ctx_->numericVariables.clear();
    ctx_->stringVariables.clear();
    if (ctx_->xpftRecord != nullptr) ctx_->xpftRecord->Clear();
    velor_32::Velorclose(ctx_->globalSpace);
    ctx_->globalSpace = nullptr;
  }

  TempDir dir_;
  ContextPointer ctx_;
  velor_32::SpacePointer space_;
};

}  // namespace test
