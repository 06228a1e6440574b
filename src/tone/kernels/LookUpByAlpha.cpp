// Bytes through tables of a component and its alpha: one entry after the other, on every target the same.

// In place of Foreach.h: the portable form alone.
#define HWY_COMPILE_ONLY_SCALAR
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/Walk-inl.h"
#include "tone/kernels/LookUp.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

constexpr PlaneUse kPairs = {.index = 0, .bytesPer16 = 32, .columns = 2};

/// `Whole`: all tables have 65536 entries.
template <bool Whole>
struct ByAlpha {
    using Place = simd::Place<2, 2>;
    static constexpr PlaneUse kSources[] = {kPairs, {.index = 1}};
    static constexpr PlaneUse kDestinations[] = {kPairs, {.index = 1}};
    static constexpr std::size_t kUnit = 2;
    AlphaTables set;

    static std::uint8_t Entry(const AlphaTables& set, const std::uint8_t* table, std::size_t component,
                              std::size_t alpha) {
        const std::size_t entry = component * 256 + alpha;
        return Whole || entry < set.bytes ? table[entry] : std::uint8_t{0};
    }

    static void Pair(const AlphaTables& set, const std::uint8_t* in, const std::uint8_t* alpha,
                     std::uint8_t* out, std::uint8_t* alphaOut) {
        const std::uint8_t a0 = alpha[0], a1 = alpha[1];
        const std::uint8_t first = Entry(set, set.table.first, in[0], a0);
        const std::uint8_t luma = Entry(set, set.table.luma, in[1], a0);
        const std::uint8_t third = Entry(set, set.table.third, in[2], a0);
        const std::uint8_t second = Entry(set, set.table.luma, in[3], a1);
        out[0] = first;
        out[1] = luma;
        out[2] = third;
        out[3] = second;
        alphaOut[0] = a0;
        alphaOut[1] = a1;
    }

    void Unit(const Place& at, std::size_t x) const {
        Pair(set, at.in[0][0] + 2 * x, at.in[1][0] + x, at.out[0][0] + 2 * x, at.out[1][0] + x);
    }
    void Tail(const Place& at, std::size_t x, std::size_t) const { at.out[1][0][x] = at.in[1][0][x]; }

    bool Row(const Place& at, std::size_t columns) const {
        const AlphaTables local = set;
        const std::uint8_t *const in = at.in[0][0], *const alpha = at.in[1][0];
        std::uint8_t *const out = at.out[0][0], *const alphaOut = at.out[1][0];
        for (std::size_t x = 0; x < columns / 2 * 2; x += 2) {
            Pair(local, in + 2 * x, alpha + x, out + 2 * x, alphaOut + x);
        }
        if (columns % 2 != 0) {
            Tail(at, columns - 1, 1);
        }
        return true;
    }
};

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

namespace Zan {

using ByAlphaKernel = simd::Kernel<void(const LookUpByAlphaJob&, const AlphaTables&)>;

TESSELU_PORTABLE_KERNEL(ByAlphaKernel, kLookUpByAlpha, HWY_NAMESPACE::RunByAlpha);

}  // namespace Zan
