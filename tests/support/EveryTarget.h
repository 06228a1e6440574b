#ifndef TESSELU_TESTS_SUPPORT_EVERYTARGET_H
#define TESSELU_TESTS_SUPPORT_EVERYTARGET_H

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "simd/Targets.h"
#include "support/Choices.h"
#include "support/Streaming.h"

// What every vector body is run on: all targets, all widths.

namespace test_support {

/// Those of this machine, the portable one first.
inline std::vector<Zan::simd::Target> Targets() {
    std::vector<Zan::simd::Target> targets;
    for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
        const auto target = static_cast<Zan::simd::Target>(i);
        if (Zan::simd::IsTargetAvailable(target)) {
            targets.push_back(target);
        }
    }
    return targets;
}

/// Runs `body()` on every target of this machine; on the best one with stores around the cache as well.
template <class Body>
void OnEveryTarget(Body body) {
    for (const Zan::simd::Target target : Targets()) {
        const Zan::simd::ScopedTarget limit(target);
        for (const bool aroundCache : {false, true}) {
            if (aroundCache && target != Zan::simd::BestTarget()) {
                continue;
            }
            const ScopedStreaming streaming(aroundCache);
            SCOPED_TRACE(std::string("on ") + Zan::simd::TargetName(target) +
                         (aroundCache ? ", streaming" : ""));
            body();
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

/// Widths `least` to 70, a few of them where a sanitizer makes everything slow.
template <class Body>
void ForWidths(int least, Body body) {
    for (int width = least; width <= 70; ++width) {
        if (kSanitized && !OneIn(12)) {
            continue;
        }
        SCOPED_TRACE(::testing::Message() << "width " << width);
        body(width);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_EVERYTARGET_H
