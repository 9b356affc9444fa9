// qel_bench: the engine beside its yardsticks. `--ratios[=PART]` prints ratios of all pairs, or of those whose names
// contain PART, and fails when one is above its limit; everything else goes to Google Benchmark.
#include <benchmark/benchmark.h>

#include <string_view>

#include "pair.h"

int main(int argc, char **argv) {
  constexpr std::string_view kRatios = "--ratios";
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == kRatios) return bench::PrintRatios("") ? 1 : 0;
    if (argument.starts_with(kRatios) && argument[kRatios.size()] == '=') {
      return bench::PrintRatios(std::string(argument.substr(kRatios.size() + 1))) ? 1 : 0;
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  bench::RegisterPairs();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
