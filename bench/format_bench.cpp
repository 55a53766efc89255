#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "build_info.h"
#include "format/xpft_formatter.h"

namespace {

/// Pieces of a format as they stand in display and index formats; "#" is a number that differs each time.
constexpr const char* kPieces[] = {
    "\"Title: \"d#,v#^a,",
    "if p(v#) then |. - |v#^b fi,",
    "(v#^a+|, |,v#^b/),",
    "select v#^c case 'a': 'Авт. ' case 'b': v#.5 elsecase mpl endsel,",
    "&uf('Av#^a#'),",
    "e1:=val(v#)*2+#,f(e1,0,2),",
    "if s(v#^a):'текст' and not a(v#) then '/' else /x3 fi,",
    "left(replace(v#,' ','_'),#),",
    "ref(l('K='v#^a),v#),",
};

std::vector<std::string> MakeFormats(int count, std::size_t bytes) {
  std::mt19937 random(20240601);
  std::vector<std::string> formats;
  for (int i = 0; i < count; ++i) {
    std::string text;
    while (text.size() < bytes) {
      for (const char* c = kPieces[random() % std::size(kPieces)]; *c != 0; ++c) {
        if (*c == '#') {
          text += std::to_string(1 + random() % 999);
        } else {
          text += *c;
        }
      }
    }
    formats.push_back(std::move(text));
  }
  return formats;
}

/// Compiles 10,000 different formats; the argument is their least size in bytes.
void Compile(benchmark::State& state) {
  const std::vector<std::string> formats = MakeFormats(10000, static_cast<std::size_t>(state.range(0)));
  std::size_t bytes = 0;
  for (const std::string& text : formats) bytes += text.size();
  int code = 0;
  std::string error;
  for (auto _ : state) {
    for (const std::string& text : formats) {
      const auto formatter = xpft::XpftFormatter::GetFormatter("", text, false, code, error);
      if (!formatter) state.SkipWithError(error.c_str());
      benchmark::DoNotOptimize(formatter.get());
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(formats.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(Compile)->Arg(20)->Arg(180)->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace

VELORA_BENCHMARK_MAIN()
