#ifndef TESSELU_SRC_TONE_COLOURTABLES_H
#define TESSELU_SRC_TONE_COLOURTABLES_H

#include "tone/kernels/Colours.h"

namespace Zan {

/// Runs the kernel for a table; null is the identity. The bits of `kept` keep what they have.
inline void MapPixels32(const simd::Job<1, 1>& job, const ColourLattice* table, std::uint32_t kept) {
    if (table == nullptr) {
        kKeepPixels32(job, kept);
    } else {
        (table->dimensions == 1 ? kCurvePixels32 : kMapPixels32)(job, *table, kept);
    }
}

/// The same for pixels of three bytes.
inline void MapPixels24(const simd::Job<1, 1>& job, const ColourLattice* table) {
    if (table == nullptr) {
        kKeepPixels24(job, 0);
    } else {
        (table->dimensions == 1 ? kCurvePixels24 : kMapPixels24)(job, *table, 0);
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_COLOURTABLES_H
