// The evaluator: any bytes as a format, run over two fixed records with fields read in each way. What it
// prints must not depend on that way. Loops are short, and no command of the shell is run.

#include <algorithm>
#include <cstdlib>
#include <string>

#include "format/format_parts.h"
#include "format/format_run.h"
#include "format/velor64_context.h"
#include "storage/record_read.h"
#include "support/fuzz_file.h"
#include "support/open_space.h"

namespace {

class Records {
 public:
  Records() {
    xpft::InstallFormatParts();
    xpft::DefaultFormatHooks().runShellCommand = [](const char*) { return 0; };
    ctx_ = test::MakeContext();
    ctx_->maxRepeat = 4;
    const test::TestBase base =
        test::TestBase()
            .Record({{1, "one"}, {1, "two^aX^by^az"}, {2, "Москва <a=b>"}, {10, "12.5"}})
            .Record({{1, "^aother"}, {3, "\xFF\xFE cp1251"}});
    const std::string mst = base.Mst();
    const std::string xrf = base.Xrf();
    mst_.Set(reinterpret_cast<const std::uint8_t*>(mst.data()), mst.size());
    xrf_.Set(reinterpret_cast<const std::uint8_t*>(xrf.data()), xrf.size());
    space_.reset(velor_32::Velorinit(ctx_.get()));
    const std::string path = mst_.path().substr(0, mst_.path().size() - 4);
    if (velor_32::Velorinitmst(space_.get(), path.c_str(), 2) != 0) std::abort();
    xpft::SpaceContext(space_.get())->SetNoErrorLog(true);
  }

  std::string Run(const std::string& format, int option, int mfn) {
    ctx_->numericVariables.clear();
    ctx_->stringVariables.clear();
    ctx_->recordCacheOpt = static_cast<app::RecordCacheOpt::Type>(option);
    app::velor_app_xpft_clearcache(ctx_.get());
    if (velor_32::VelorRecord(space_.get(), 0, mfn) != 0) std::abort();
    if (xpft::Velor_InitXPFT(space_.get(), format.data(), static_cast<int>(format.size())) != 0) return {};
    xpft::Velor_FormatXPFT(space_.get(), 0, 1, 0);
    return xpft::Velor_FormatResult(space_.get());
  }

 private:
  test::Context ctx_;
  test::FuzzFile mst_{".mst"};
  test::FuzzFile xrf_{".xrf"};
  velor_32::SpacePointer space_;
};

/// What changes from run to run of itself: the time, chance, and global variables and the environment, which
/// outlive a run.
bool IsRepeatable(std::string format) {
  std::transform(format.begin(), format.end(), format.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  for (const char* word : {"date", "rand", "g", "env", "eval", "/*"})
    if (format.find(word) != std::string::npos) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Records records;
  const std::string format = "!" + std::string(reinterpret_cast<const char*>(data), size);
  for (const int mfn : {1, 2}) {
    const std::string direct = records.Run(format, 0, mfn);
    const std::string eager = records.Run(format, 1, mfn);
    const std::string lazy = records.Run(format, 2, mfn);
    if (IsRepeatable(format) && (direct != eager || direct != lazy)) std::abort();
  }
  return 0;
}
