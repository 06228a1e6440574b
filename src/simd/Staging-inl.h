// Columns through buffers, where rows or memory end.

#if defined(TESSELU_SRC_SIMD_STAGING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_STAGING_INL_H
#undef TESSELU_SRC_SIMD_STAGING_INL_H
#else
#define TESSELU_SRC_SIMD_STAGING_INL_H
#endif

#include <algorithm>
#include <cstring>

#include "simd/KernelPlanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

/// How many bytes of a row lie inside: all.
struct AllInside {
    std::size_t Source(const PlaneUse&, std::size_t, std::size_t bytes) const { return bytes; }
    std::size_t Destination(const PlaneUse&, std::size_t, std::size_t bytes) const { return bytes; }
};

/// The same for a band of which the memory holds a part only.
template <class K, class J>
struct PartlyInside {
    const J& job;
    std::size_t band;

    std::size_t Source(const PlaneUse& use, std::size_t i, std::size_t bytes) const {
        const Plane& plane = job.source[use.index];
        return plane.Clip(bytes, WindowRow<K>(use, plane, band, i, job.height));
    }
    std::size_t Destination(const PlaneUse& use, std::size_t i, std::size_t bytes) const {
        return job.destination[use.index].Clip(bytes, RowOf<K>(use, band, i, job.height));
    }
};

/// Buffers for `Columns` columns of all planes: what lies outside of the rows, or of the memory, is neither
/// read nor written. A clamped source repeats its last sample. What a destination holds is fetched, so that
/// bytes which the kernel passes over stay.
template <class K, std::size_t Columns>
class Staging {
public:
    using Place = typename K::Place;

    /// Takes `columns` columns from `x` of rows that have `width` columns.
    template <class Inside>
    HWY_INLINE const Place& Fill(const Place& place, std::size_t x, std::size_t columns, std::size_t width,
                                 const Inside& inside) {
        ForEachSource<K>([&](auto use) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            for (std::size_t i = 0; i < kUse.above + LinesOf<K>::kLines + kUse.below; ++i) {
                const std::uint8_t* const row = place.in[kUse.index][i];
                if (kUse.mayBeMissing && row == nullptr) {
                    continue;
                }
                const std::size_t before = std::min(kUse.left, x);
                const std::size_t from = kUse.Bytes(x - before);
                const std::size_t to = kUse.BytesUp(std::min(x + columns + kUse.right, width));
                const std::size_t end = inside.Source(kUse, i, to);
                std::uint8_t* const buffer = in[kUse.index][i];
                std::memset(buffer, 0, kBytes);
                std::uint8_t* const start = buffer + kUse.Bytes(kUse.left - before);
                std::memcpy(start, row + from, std::max(from, end) - from);
                if (kUse.isClamped && end != 0 && end < to) {
                    const std::size_t lacking = std::max(from, end);
                    std::memset(start + (lacking - from), row[end - 1], to - lacking);
                }
                made.in[kUse.index][i] = buffer + kUse.Bytes(kUse.left);
            }
        });
        ForEachDestination<K>([&](auto use) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            for (std::size_t i = 0; i < LinesOf<K>::kLines; ++i) {
                made.out[kUse.index][i] = out[kUse.index][kUse.halfHeight ? 0 : i];
                std::memcpy(made.out[kUse.index][i], place.out[kUse.index][i] + kUse.Bytes(x),
                            BytesToWrite(kUse, i, x, columns, inside));
            }
        });
        return made;
    }

    /// Hands over what was made.
    template <class Inside>
    HWY_INLINE void Flush(const Place& place, std::size_t x, std::size_t columns,
                          const Inside& inside) const {
        ForEachDestination<K>([&](auto use) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            for (std::size_t i = 0; i < LinesOf<K>::kLines; ++i) {
                std::memcpy(place.out[kUse.index][i] + kUse.Bytes(x), made.out[kUse.index][i],
                            BytesToWrite(kUse, i, x, columns, inside));
            }
        });
    }

private:
    static constexpr std::size_t kBytes =
        (LargestOf<K>(&PlaneUse::bytesPer16, 16) / 16 * (Columns + LeftOf<K>() + RightOf<K>()) + 63) / 64 *
        64;

    template <class Inside>
    static std::size_t BytesToWrite(const PlaneUse& use, std::size_t line, std::size_t x, std::size_t columns,
                                    const Inside& inside) {
        const std::size_t from = use.Bytes(x);
        return std::max(from, inside.Destination(use, line, use.BytesUp(x + columns))) - from;
    }

    alignas(64) std::uint8_t in[Place::kSources == 0 ? 1 : Place::kSources][Place::kRows][kBytes];
    alignas(64) std::uint8_t out[Place::kDestinations == 0 ? 1 : Place::kDestinations][Place::kLines][kBytes];
    Place made;
};

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
