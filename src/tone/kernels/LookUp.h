#ifndef TESSELU_SRC_TONE_KERNELS_LOOKUP_H
#define TESSELU_SRC_TONE_KERNELS_LOOKUP_H

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// The tables of bytes 0, 1 and 3, and 2 of a pair of 4:2:2 pixels.
struct PairTables {
    const std::uint8_t* first;
    const std::uint8_t* luma;
    const std::uint8_t* third;
};

using LookUpJob = simd::Job<1, 1>;
/// Pairs and a plane of alpha, on both sides.
using LookUpByAlphaJob = simd::Job<2, 2>;

/// Three tables of 256 bytes. Columns are pixels, in whole pairs.
extern const simd::Kernel<void(const LookUpJob&, const PairTables&)> kLookUpPairs;
/// One table of 256 bytes. Columns are bytes.
extern const simd::Kernel<void(const LookUpJob&, const std::uint8_t* table)> kLookUpBytes;

/// Three tables of component * 256 + alpha. Columns are pixels; of an odd last one alpha is copied.
struct AlphaTables {
    PairTables table;
    std::size_t bytes;  ///< of each table, which reads as 0 beyond
};
extern const simd::Kernel<void(const LookUpByAlphaJob&, const AlphaTables&)> kLookUpByAlpha;

/// Pairs of a picture; an odd last pixel of a row stays as it was.
inline void LookUpPairs(const Plane& source, const Plane& destination, std::size_t width, std::size_t height,
                        const PairTables& tables) {
    const std::size_t whole = width / 2 * 2;
    kLookUpPairs({{source}, {destination}, whole, height, whole}, tables);
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_LOOKUP_H
