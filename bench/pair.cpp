// Runs pairs of benchmarks, either through Google Benchmark or against each other.
//
// Against each other: the number of repeats is chosen so that one measurement is short, about half a millisecond,
// unless a single run takes longer; then engine and yardstick take turns, the first of a round changing, and the median
// of the rounds' ratios is the result. Short turns see the same state of a machine that is busy with other things. What
// is measured is the thread's own processor time, so that waiting for a processor does not count.
#include "pair.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

namespace bench {

namespace {

constexpr int kRounds = 41;
constexpr double kMeasureNs = 5e5;

std::vector<Pair> &Pairs() {
  static std::vector<Pair> pairs;
  return pairs;
}

double ThreadTimeNs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double TimeNs(const Work &work, long lCount) {
  const double start = ThreadTimeNs();
  work(lCount);
  return ThreadTimeNs() - start;
}

/// How often the work is to run to take about kMeasureNs. Warms it up by the way.
long Repeats(const Work &work) {
  TimeNs(work, 1);
  long lCount = 1;
  double ns = TimeNs(work, lCount);
  while (ns < kMeasureNs / 4) {
    lCount *= 2;
    ns = TimeNs(work, lCount);
  }
  return std::max(1L, static_cast<long>(static_cast<double>(lCount) * kMeasureNs / ns));
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct Result {
  double engineNs;
  double yardstickNs;
  double ratio;
};

Result Compare(const Works &works) {
  const long lEngine = Repeats(works.engine);
  const long lYardstick = Repeats(works.yardstick);
  std::vector<double> engine, yardstick, ratio;
  for (int round = 0; round < kRounds; ++round) {
    double ns[2];
    for (int turn = 0; turn < 2; ++turn) {
      const bool isEngine = (turn + round) % 2 == 0;
      const long lCount = isEngine ? lEngine : lYardstick;
      ns[isEngine ? 0 : 1] = TimeNs(isEngine ? works.engine : works.yardstick, lCount) / static_cast<double>(lCount);
    }
    engine.push_back(ns[0]);
    yardstick.push_back(ns[1]);
    ratio.push_back(ns[0] / ns[1]);
  }
  return {Median(engine), Median(yardstick), Median(ratio)};
}

void RunWork(benchmark::State &state, const Pair &pair, bool isEngine) {
  const Works works = pair.prepare();
  const Work &work = isEngine ? works.engine : works.yardstick;
  const long lBatch = Repeats(work);
  while (state.KeepRunningBatch(lBatch)) work(lBatch);
  if (pair.bytes) state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(pair.bytes));
}

}  // namespace

void AddPair(Pair pair) {
  Pairs().push_back(std::move(pair));
}

__attribute__((noinline)) void PlainCopy(void *pDst, const void *pSrc, std::size_t nCount) {
  std::memcpy(pDst, pSrc, nCount);
}

int PrintRatios(const std::string &filter) {
  int above = 0;
  std::printf("%-44s %14s %14s %8s %7s\n", "", "engine ns", "yardstick ns", "ratio", "limit");
  for (const Pair &pair : Pairs()) {
    if (pair.name.find(filter) == std::string::npos) continue;
    const Result result = Compare(pair.prepare());
    std::printf("%-44s %14.1f %14.1f %8.2f", pair.name.c_str(), result.engineNs, result.yardstickNs, result.ratio);
    if (pair.limit > 0) {
      const bool good = result.ratio <= pair.limit;
      above += good ? 0 : 1;
      std::printf(" %7.2f%s", pair.limit, good ? "" : "  above");
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  return above;
}

void RegisterPairs() {
  for (const Pair &pair : Pairs()) {
    for (const bool isEngine : {true, false}) {
      benchmark::RegisterBenchmark((pair.name + (isEngine ? "/engine" : "/yardstick")).c_str(),
                                   [&pair, isEngine](benchmark::State &state) { RunWork(state, pair, isEngine); });
    }
  }
}

}  // namespace bench
