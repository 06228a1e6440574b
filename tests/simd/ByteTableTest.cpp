// Every byte through tables of any contents, on every target and in every lane of a vector.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "simd/Dispatch.h"
#include "support/FencedMemory.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/ByteTableTest.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/ByteTable-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// `count` is a whole number of vectors.
void LookUpAll(const std::uint8_t* table, const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
#if HWY_TARGET != HWY_SCALAR
    namespace hn = hwy::HWY_NAMESPACE;
    using namespace simd::HWY_NAMESPACE;
    WithByteTables([&]<class Table>() HWY_ATTR {
        const Table vectors(table);
        const DU8 d;
        for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
            hn::StoreU(vectors(hn::LoadU(d, in + i)), d, out + i);
        }
    });
#else
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = table[in[i]];
    }
#endif
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {
namespace {

using Function = void(const std::uint8_t*, const std::uint8_t*, std::uint8_t*, std::size_t);
TESSELU_KERNEL(simd::Kernel<Function>, kLookUpAll, LookUpAll);

TEST(ByteTable, EveryByteInEveryLane) {
    constexpr std::size_t kLanes = 64;
    for (std::size_t target = 0; target < simd::kTargetCount; ++target) {
        if (!simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
            continue;
        }
        const simd::ScopedTarget scope(static_cast<simd::Target>(target));
        for (int round = 0; round < 20; ++round) {
            std::vector<std::uint8_t> table(256), in(256 * kLanes), out(in.size());
            test_support::FillRandom(table.data(), table.size());
            // Byte i + lane stands in lane `lane` of vector i.
            for (std::size_t i = 0; i < in.size(); ++i) {
                in[i] = static_cast<std::uint8_t>(i / kLanes + i % kLanes);
            }
            kLookUpAll(table.data(), in.data(), out.data(), in.size());
            for (std::size_t i = 0; i < in.size(); ++i) {
                ASSERT_EQ(out[i], table[in[i]]) << simd::TargetName(simd::CurrentTarget()) << ", byte " << i;
            }
        }
    }
}

}  // namespace
}  // namespace Zan

#endif  // HWY_ONCE
