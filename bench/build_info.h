#pragma once

#include <cstdio>

/// What figures stand for: compiler and build, with a warning when they say little.
inline void PrintBuild() {
  std::printf("compiler: %s\n", __VERSION__);
#ifdef __OPTIMIZE__
  std::printf("optimised: yes\n");
#else
  std::printf("optimised: no\nWARNING: figures of a build without optimisation\n");
#endif
#ifdef NDEBUG
  std::printf("asserts: off\n");
#else
  std::printf("asserts: on\nWARNING: figures of a build with asserts\n");
#endif
}

/// The main function of a benchmark program.
#define VELORA_BENCHMARK_MAIN()                                       \
  int main(int argc, char** argv) {                                   \
    PrintBuild();                                                     \
    benchmark::Initialize(&argc, argv);                               \
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1; \
    benchmark::RunSpecifiedBenchmarks();                              \
    benchmark::Shutdown();                                            \
    return 0;                                                         \
  }
