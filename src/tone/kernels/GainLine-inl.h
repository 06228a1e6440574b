// A gain on bytes: as a table, and as a line that 16-bit lanes draw exactly.

#if defined(TESSELU_SRC_TONE_KERNELS_GAINLINE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_TONE_KERNELS_GAINLINE_INL_H
#undef TESSELU_SRC_TONE_KERNELS_GAINLINE_INL_H
#else
#define TESSELU_SRC_TONE_KERNELS_GAINLINE_INL_H
#endif

#include <cmath>
#include <limits>

#include "simd/Extra-inl.h"
#include "tone/kernels/AdjustmentFormulas.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// What `Amplified` gives for every byte.
class GainTable {
public:
    HWY_ATTR GainTable(double gain, int center) {
#if HWY_TARGET == HWY_SCALAR
        for (unsigned i = 0; i < 256; ++i) {
            value[i] = Amplified(i, gain, center);
        }
#else
        const hn::ScalableTag<double> d;
        const hn::Rebind<std::int32_t, hn::ScalableTag<double> > d32;
        const auto middle = hn::Set(d, center), factor = hn::Set(d, gain);
        const auto zero = hn::Zero(d), most = hn::Set(d, 255);
        auto index = hn::Iota(d32, 0);
        const auto step = hn::Set(d32, static_cast<std::int32_t>(hn::Lanes(d32)));
        for (std::size_t i = 0; i < 256; i += hn::Lanes(d)) {
            auto made = index;
            if (gain != 1) {
                const auto sample = hn::PromoteTo(d, index);
                const auto sum = hn::Add(hn::Mul(hn::Sub(sample, middle), factor), middle);
                made = hn::DemoteTo(d32, hn::Min(hn::Max(sum, zero), most));
            }
            hn::StoreU(made, d32, value + i);
            index = hn::Add(index, step);
        }
#endif
    }

    std::int32_t operator[](std::size_t i) const {
        return value[i];
    }

#if HWY_TARGET != HWY_SCALAR
    const std::int32_t* Values() const {
        return value;
    }
#endif

private:
    alignas(64) std::int32_t value[256];
};

#if HWY_TARGET != HWY_SCALAR

/// ((x * multiplier + start) * slope >> 16) - below, limited to 0...255, for a byte x: nothing on the way
/// leaves 16 bits without a sign but the result, which then has one.
struct GainLine {
    std::uint8_t multiplier = 0;
    std::uint16_t start = 0, slope = 0, below = 0;
    bool isExact = false;  ///< that it gives what the table has for every byte

    /// The line of a table made with `gain`.
    static HWY_ATTR GainLine Through(const GainTable& table, double gain) {
        const double wanted = gain * 65536;
        const Bounds bounds(table);
        GainLine line;
        // Products of an odd slope and some start take every value in their lower 16 bits.
        for (auto m = static_cast<std::uint32_t>(wanted / 65535) + 1; m < 128; ++m) {
            const double each = wanted / m;
            const auto odd = static_cast<std::uint32_t>(each) | 1;
            for (const std::uint32_t slope : {odd, odd > each && odd > 1 ? odd - 2
                                                   : odd < 65535         ? odd + 2
                                                                         : odd}) {
                double low, high;
                bounds.Offsets(slope * m, low, high);
                if (low < high &&
                    line.Place(m, slope, static_cast<std::int32_t>(low), static_cast<std::int32_t>(high))) {
                    return line;
                }
            }
        }
        return line;
    }

private:
    /// Between which the line must pass, in 65536ths.
    class Bounds {
    public:
        HWY_ATTR explicit Bounds(const GainTable& table) {
            const hn::ScalableTag<double> d;
            const hn::Rebind<std::int32_t, hn::ScalableTag<double> > d32;
            const auto one = hn::Set(d, 65536), none = hn::Set(d, 1e15);
            for (std::size_t i = 0; i < 256; i += hn::Lanes(d)) {
                const auto value = hn::PromoteTo(d, hn::LoadU(d32, table.Values() + i));
                const auto from = hn::Mul(value, one);
                hn::StoreU(hn::IfThenElse(hn::Eq(value, hn::Zero(d)), hn::Neg(none), from), d, lower + i);
                hn::StoreU(hn::IfThenElse(hn::Eq(value, hn::Set(d, 255)), none, hn::Add(from, one)), d,
                           upper + i);
            }
        }

        /// The offsets that a line of slope `rise` may have: from `low` to below `high`.
        HWY_ATTR void Offsets(std::uint32_t rise, double& low, double& high) const {
            const hn::ScalableTag<double> d;
            const hn::Rebind<std::int32_t, hn::ScalableTag<double> > d32;
            const auto factor = hn::Set(d, rise);
            const auto step = hn::Mul(factor, hn::Set(d, static_cast<double>(hn::Lanes(d))));
            auto risen = hn::Mul(factor, hn::PromoteTo(d, hn::Iota(d32, 0)));
            auto greatest = hn::Set(d, -1e15), least = hn::Set(d, 1e15);
            for (std::size_t i = 0; i < 256; i += hn::Lanes(d)) {
                greatest = hn::Max(greatest, hn::Sub(hn::LoadU(d, lower + i), risen));
                least = hn::Min(least, hn::Sub(hn::LoadU(d, upper + i), risen));
                risen = hn::Add(risen, step);
            }
            low = hn::GetLane(hn::MaxOfLanes(d, greatest));
            high = hn::GetLane(hn::MinOfLanes(d, least));
        }

    private:
        alignas(64) double lower[256], upper[256];
    };

    /// Finds a start whose product has a fraction between the bounds.
    bool Place(std::uint32_t m, std::uint32_t s, std::int32_t low, std::int32_t high) {
        std::uint32_t inverse = s;  // in 3 bits; each step doubles them
        for (int i = 0; i < 3; ++i) {
            inverse *= 2 - s * inverse;
        }
        for (std::int32_t offset = low; offset < high; ++offset) {
            const std::uint32_t from = static_cast<std::uint32_t>(offset) * inverse & 0xFFFF;
            if (from <= 65535 - 255 * m) {
                multiplier = static_cast<std::uint8_t>(m);
                start = static_cast<std::uint16_t>(from);
                slope = static_cast<std::uint16_t>(s);
                below = static_cast<std::uint16_t>((from * s - static_cast<std::uint32_t>(offset)) >> 16);
                isExact = true;
                break;
            }
        }
        return isExact;
    }
};

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
