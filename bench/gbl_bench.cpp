#include <benchmark/benchmark.h>

#include <string>

#include "build_info.h"
#include "format/format_parts.h"
#include "gbl/gbl_rec.h"
#include "gbl/task_run.h"
#include "storage/app_context.h"
#include "storage/fields.h"
#include "storage/shelf.h"

namespace {

/// A record of 25 fields, about 1 kB, in memory.
class Record {
 public:
  Record() : ctx_(app::velor_app_init()), space_(velor_32::Velorinit(ctx_)) {
    velor_32::VelorInitSpaceDummy(space_.get());
    for (int i = 0; i < 20; ++i)
      Add(600 + i % 5, "^aсловарь^xword " + std::to_string(i) + " and ten more bytes");
    for (int i = 0; i < 5; ++i) Add(910, "^a0^b40000" + std::to_string(i));
  }
  ~Record() {
    space_.reset();
    app::velor_app_close(ctx_);
  }
  [[nodiscard]] app::VelorAppContext* ctx() const { return ctx_; }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }

 private:
  void Add(int tag, const std::string& text) { velor_32::Velorfldadd(space_.get(), 0, tag, 0, text.c_str()); }

  app::VelorAppContext* ctx_;
  velor_32::SpacePointer space_;
};

/// One run of a task of three operators behind a condition that holds, argument 1, or does not.
void RunTask(benchmark::State& state) {
  xpft::InstallFormatParts();
  const Record record;
  velor_01::TStringList lines;
  lines.SetText(
      std::string("0\nIF\nif v910[1]^b*0.1='") + (state.range(0) == 1 ? "4" : "5") +
      "' then '1' fi\nREP\n910^z\n1\n'checked'\n-\nREP\n601^a\n*\n'NEW'\n-\nCHA\n602^a\n*\n'ва'\n'ВА'\nFI\n");
  const global::TaskText task = global::ReadTask(record.ctx(), lines);
  global::BlockSpaces pool;
  std::string errors;
  std::string protocol;
  for (auto _ : state) {
    global::RunTask(record.space(), 0, task, nullptr, errors, protocol, {}, &pool);
    if (!errors.empty()) state.SkipWithError(errors.c_str());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(RunTask)->Arg(0)->Arg(1);

void HashRecord(benchmark::State& state) {
  const Record record;
  std::string hash;
  for (auto _ : state) {
    velor_server_proc::HashRecord(record.space(), 0, hash);
    benchmark::DoNotOptimize(hash.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(HashRecord);

}  // namespace

VELORA_BENCHMARK_MAIN()
