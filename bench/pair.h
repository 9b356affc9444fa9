// Pairs of benchmarks: an operation of the engine and the plain code that does the same work, its yardstick.
//
// A pair registers both with Google Benchmark as NAME/engine and NAME/yardstick. `qel_bench --ratios` runs the pairs in
// interleaved rounds instead and prints engine time / yardstick time, which says the same on machines of any speed and
// is steady while the machine's load changes.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace bench {

/// Does the work `lCount` times in a row.
using Work = std::function<void(long lCount)>;

struct Works {
  Work engine;
  Work yardstick;
};

struct Pair {
  std::string name;
  double limit;                    // highest ratio engine / yardstick that is good; 0 when there is none
  std::size_t bytes;               // moved by one run of the work; 0 when no rate is to be told
  std::function<Works()> prepare;  // sets up what the works use; called when the pair runs
};

/// Adds a pair, while static objects are being initialised or before the run starts.
void AddPair(Pair pair);

/// For initialising a static object: the pairs of a file.
struct PairsAtStart {
  explicit PairsAtStart(void (*add)()) { add(); }
};

/// Makes a loop of one piece of work, without a call between its runs.
template <class Once>
Work Repeat(Once once) {
  return [once](long lCount) mutable {
    for (long l = 0; l < lCount; ++l) once();
  };
}

/// Makes the compiler believe that memory behind the pointer was read and written.
inline void Touch(const void *p) {
  asm volatile("" : : "r"(p) : "memory");
}

/// memcpy as a call, whatever the compiler knows about the size.
void PlainCopy(void *pDst, const void *pSrc, std::size_t nCount);

/// Runs the pairs whose names contain `filter` and prints their ratios; the number of pairs above their limit.
int PrintRatios(const std::string &filter);

/// Registers the pairs with Google Benchmark.
void RegisterPairs();

}  // namespace bench
