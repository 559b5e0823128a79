#pragma once

#include <cstdint>

#include <gtest/gtest.h>
#include <hwy/targets.h>

/// Runs the check once with each instruction set that the sources were compiled
/// for and this processor has.
template <class Check>
void onEveryTarget(Check check) {
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
}
