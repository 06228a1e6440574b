// Whole colours through a lattice or through curves.

#include "tone/kernels/Colours.h"

#include <cstring>

#include "tone/kernels/LatticeFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Colours.cpp"
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

using Place = simd::Place<1, 1>;
constexpr PlaneUse kPixels32[] = {{.index = 0, .bytesPer16 = 64}};
constexpr PlaneUse kPixels24[] = {{.index = 0, .bytesPer16 = 48}};

/// The identity, or a part of it.
struct Keep32 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels32;
    static constexpr auto& kDestinations = kPixels32;
    std::uint32_t kept;

    void Unit(const Place& at, std::size_t x) const {
        std::uint32_t word;
        std::memcpy(&word, at.in[0][0] + 4 * x, sizeof word);
        word &= kept;
        std::memcpy(at.out[0][0] + 4 * x, &word, sizeof word);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const VU8 mask = hn::BitCast(DU8(), hn::Set(DU32(), kept));
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            return hn::And(hn::LoadU(DU8(), at.in[0][0] + 4 * x + i * kVectorBytes), mask);
        });
    }
#endif
};

struct Keep24 {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels24;
    static constexpr auto& kDestinations = kPixels24;

    void Unit(const Place& at, std::size_t x) const { Row(at, x, 1); }
    bool Row(const Place& at, std::size_t columns) const { return Row(at, 0, columns); }

private:
    static bool Row(const Place& at, std::size_t x, std::size_t columns) {
        std::memmove(at.out[0][0] + 3 * x, at.in[0][0] + 3 * x, 3 * columns);
        return true;
    }
};

template <std::size_t Bytes, void (*Map)(const ColourLattice&, const std::uint8_t*, std::uint8_t*)>
struct MapPixels {
    using Place = HWY_NAMESPACE::Place;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    const ColourLattice& lattice;
    std::uint8_t keptAlpha;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* const in = at.in[0][0] + Bytes * x;
        std::uint8_t* const out = at.out[0][0] + Bytes * x;
        if constexpr (Bytes == 4) {
            out[3] = static_cast<std::uint8_t>(in[3] & keptAlpha);
        }
        Map(lattice, in, out);
    }
};

void ThroughLattice(const ColourLattice& lattice, const std::uint8_t* in, std::uint8_t* out) {
    MapColour(lattice, in, out);
}
void ThroughCurves(const ColourLattice& lattice, const std::uint8_t* in, std::uint8_t* out) {
    for (std::size_t i = 0; i < 3; ++i) {
        out[i] = lattice.curves[i][in[i]];
    }
}

void RunKeep32(const simd::Job<1, 1>& job, std::uint32_t kept) {
    Walk(Keep32{kept}, job);
}
void RunKeep24(const simd::Job<1, 1>& job, std::uint32_t) {
    Walk(Keep24{}, job);
}
void RunMap32(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t kept) {
    Walk(MapPixels<4, ThroughLattice>{lattice, static_cast<std::uint8_t>(kept >> 24)}, job);
}
void RunMap24(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t) {
    Walk(MapPixels<3, ThroughLattice>{lattice, 0}, job);
}
void RunCurve32(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t kept) {
    Walk(MapPixels<4, ThroughCurves>{lattice, static_cast<std::uint8_t>(kept >> 24)}, job);
}
void RunCurve24(const simd::Job<1, 1>& job, const ColourLattice& lattice, std::uint32_t) {
    Walk(MapPixels<3, ThroughCurves>{lattice, 0}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(KeepKernel, kKeepPixels32, RunKeep32);
TESSELU_KERNEL(KeepKernel, kKeepPixels24, RunKeep24);
TESSELU_KERNEL(ColourKernel, kMapPixels32, RunMap32);
TESSELU_KERNEL(ColourKernel, kMapPixels24, RunMap24);
TESSELU_KERNEL(ColourKernel, kCurvePixels32, RunCurve32);
TESSELU_KERNEL(ColourKernel, kCurvePixels24, RunCurve24);

}  // namespace Zan

#endif  // HWY_ONCE
