// Bytes through tables.

#include "tone/kernels/LookUp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/LookUp.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

constexpr PlaneUse kPairs = {.index = 0, .bytesPer16 = 32, .columns = 2};

struct Pairs {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {kPairs};
    static constexpr PlaneUse kDestinations[] = {kPairs};
    static constexpr std::size_t kUnit = 2;
    PairTables table;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* const in = at.in[0][0] + 2 * x;
        const std::uint8_t made[4] = {table.first[in[0]], table.luma[in[1]], table.third[in[2]],
                                      table.luma[in[3]]};
        std::memcpy(at.out[0][0] + 2 * x, made, 4);
    }
};

struct Bytes {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    const std::uint8_t* table;

    void Unit(const Place& at, std::size_t x) const { at.out[0][0][x] = table[at.in[0][0][x]]; }
};

/// `Whole`: all tables have 65536 entries.
template <bool Whole>
struct ByAlpha {
    using Place = simd::Place<2, 2>;
    static constexpr PlaneUse kSources[] = {kPairs, {.index = 1}};
    static constexpr PlaneUse kDestinations[] = {kPairs, {.index = 1}};
    static constexpr std::size_t kUnit = 2;
    AlphaTables set;

    std::uint8_t Entry(const std::uint8_t* table, std::size_t component, std::size_t alpha) const {
        const std::size_t entry = component * 256 + alpha;
        return Whole || entry < set.bytes ? table[entry] : std::uint8_t{0};
    }
    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *const in = at.in[0][0] + 2 * x, *const alpha = at.in[1][0] + x;
        const std::uint8_t a[2] = {alpha[0], alpha[1]};
        const PairTables& table = set.table;
        const std::uint8_t made[4] = {Entry(table.first, in[0], a[0]), Entry(table.luma, in[1], a[0]),
                                      Entry(table.third, in[2], a[0]), Entry(table.luma, in[3], a[1])};
        std::memcpy(at.out[0][0] + 2 * x, made, 4);
        std::memcpy(at.out[1][0] + x, a, 2);
    }
    void Tail(const Place& at, std::size_t x, std::size_t) const { at.out[1][0][x] = at.in[1][0][x]; }
};

void RunPairs(const LookUpJob& job, const PairTables& tables) {
    Walk(Pairs{tables}, job);
}
void RunBytes(const LookUpJob& job, const std::uint8_t* table) {
    Walk(Bytes{table}, job);
}
void RunByAlpha(const LookUpByAlphaJob& job, const AlphaTables& set) {
    if (set.bytes >= 65536) {
        Walk(ByAlpha<true>{set}, job);
    } else {
        Walk(ByAlpha<false>{set}, job);
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

using PairsKernel = simd::Kernel<void(const LookUpJob&, const PairTables&)>;
using BytesKernel = simd::Kernel<void(const LookUpJob&, const std::uint8_t*)>;
using ByAlphaKernel = simd::Kernel<void(const LookUpByAlphaJob&, const AlphaTables&)>;

TESSELU_KERNEL(PairsKernel, kLookUpPairs, RunPairs);
TESSELU_KERNEL(BytesKernel, kLookUpBytes, RunBytes);
TESSELU_KERNEL(ByAlphaKernel, kLookUpByAlpha, RunByAlpha);

}  // namespace Zan

#endif  // HWY_ONCE
