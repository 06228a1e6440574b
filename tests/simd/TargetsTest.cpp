#include "simd/Targets.h"

#include <gtest/gtest.h>

#include <string>

namespace Zan::simd {
namespace {

TEST(Targets, FormulasAreAlwaysThere) {
    EXPECT_TRUE(IsTargetAvailable(kPortable));
    EXPECT_TRUE(IsTargetAvailable(BestTarget()));
}

TEST(Targets, LimitHoldsAsLongAsItsScope) {
    const Target before = CurrentTarget();
    {
        const ScopedTarget formulas(kPortable);
        EXPECT_EQ(CurrentTarget(), kPortable);
        {
            const ScopedTarget best(BestTarget());
            EXPECT_EQ(CurrentTarget(), BestTarget());
        }
        EXPECT_EQ(CurrentTarget(), kPortable);
    }
    EXPECT_EQ(CurrentTarget(), before);
}

TEST(Targets, WhatIsNotThereIsNotChosen) {
    const Target before = CurrentTarget();
    for (std::size_t t = 0; t < kTargetCount; ++t) {
        const auto target = static_cast<Target>(t);
        const ScopedTarget scoped(target);
        EXPECT_EQ(CurrentTarget(), IsTargetAvailable(target) ? target : BestTarget()) << TargetName(target);
    }
    EXPECT_EQ(CurrentTarget(), before);
}

TEST(Targets, HaveNames) {
    EXPECT_STREQ(TargetName(kPortable), "portable");
    for (std::size_t t = 0; t < kTargetCount; ++t) {
        EXPECT_NE(std::string(TargetName(static_cast<Target>(t))), "?");
    }
    EXPECT_STREQ(TargetName(kTargetCount), "?");
}

}  // namespace
}  // namespace Zan::simd
