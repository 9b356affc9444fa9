// Every vector width that the processor has, one after the other.
#pragma once

#include <gtest/gtest.h>

#include <hwy/targets.h>
#include <functional>

namespace test {

/// Runs a check once for every vector width of this processor.
inline void ForEachTarget(const std::function<void()> &check) {
  for (std::int64_t targets = hwy::SupportedTargets(); targets != 0; targets &= targets - 1) {
    const std::int64_t target = targets & -targets;
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    check();
    if (testing::Test::HasFatalFailure()) break;
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace test
