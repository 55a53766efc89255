#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "build_info.h"
#include "utils/code_page.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"
#include "utils/utf8_order.h"

namespace {

using utils::StringUtils;
using utils::TextUtil;

/// Words of 2 to 10 letters with single blanks between them, the same for every run.
/// `cyrillicPercent` of the words are Cyrillic; `bytes` is the size in cp1251.
std::string MakeAnsiText(std::size_t bytes, int cyrillicPercent) {
  std::mt19937 random(20240601);
  std::string text;
  while (text.size() < bytes) {
    const bool isCyrillic = static_cast<int>(random() % 100) < cyrillicPercent;
    const std::size_t letters = 2 + random() % 9;
    for (std::size_t i = 0; i < letters; ++i) {
      text += static_cast<char>(isCyrillic ? 0xE0 + random() % 32 : 'a' + random() % 26);
    }
    text += ' ';
  }
  text.resize(bytes);
  return text;
}

std::string MakeUtf8Text(std::size_t bytes, int cyrillicPercent) {
  return backup::AnsiToUtf8(MakeAnsiText(bytes, cyrillicPercent));
}

void SetBytes(benchmark::State& state, std::size_t bytesPerTurn) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesPerTurn));
}

/// Arguments of the text benchmarks: size in bytes, percentage of Cyrillic words.
void TextSizes(benchmark::internal::Benchmark* bench) {
  for (const int size : {64, 4096, 1 << 20}) {
    for (const int cyrillic : {0, 2, 100}) bench->Args({size, cyrillic});
  }
}

void CheckUTF8(benchmark::State& state) {
  const std::string text =
      MakeUtf8Text(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) benchmark::DoNotOptimize(TextUtil::CheckUTF8(text));
  SetBytes(state, text.size());
}
BENCHMARK(CheckUTF8)->Apply(TextSizes);

void AnsiToUtf8(benchmark::State& state) {
  const std::string text =
      MakeAnsiText(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  std::string out;
  for (auto _ : state) {
    backup::AnsiToUtf8(text, out);
    benchmark::DoNotOptimize(out.data());
  }
  SetBytes(state, text.size());
}
BENCHMARK(AnsiToUtf8)->Apply(TextSizes);

void Utf8ToAnsi(benchmark::State& state) {
  const std::string text =
      MakeUtf8Text(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  std::string out;
  for (auto _ : state) {
    backup::Utf8ToAnsi(text, out);
    benchmark::DoNotOptimize(out.data());
  }
  SetBytes(state, text.size());
}
BENCHMARK(Utf8ToAnsi)->Apply(TextSizes);

void ToUpper(benchmark::State& state) {
  const std::string text =
      MakeUtf8Text(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  std::string out;
  for (auto _ : state) {
    StringUtils::ToUpper(text, out);
    benchmark::DoNotOptimize(out.data());
  }
  SetBytes(state, text.size());
}
BENCHMARK(ToUpper)->Apply(TextSizes);

void ReadUTF8(benchmark::State& state) {
  const std::string text =
      MakeUtf8Text(static_cast<std::size_t>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) benchmark::DoNotOptimize(TextUtil::ReadUTF8(text).data());
  SetBytes(state, text.size());
}
BENCHMARK(ReadUTF8)->Apply(TextSizes);

/// A term against its neighbours in a sorted dictionary, which share most of their first bytes with it.
void CompareKeys(benchmark::State& state) {
  std::vector<std::string> terms =
      StringUtils::Split(MakeUtf8Text(1 << 16, static_cast<int>(state.range(0))), ' ');
  for (std::string& term : terms) term.insert(0, "A=");
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& a = terms[i];
    const std::string& b = terms[(i * 7 + 1) % terms.size()];
    i = i + 1 < terms.size() ? i + 1 : 0;
    const int order =
        backup::keycmpUtf8(a.data(), b.data(), static_cast<int>(a.size()), static_cast<int>(b.size()));
    benchmark::DoNotOptimize(order);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(CompareKeys)->Arg(0)->Arg(100);

}  // namespace

VELORA_BENCHMARK_MAIN()
