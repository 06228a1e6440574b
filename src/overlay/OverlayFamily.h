#ifndef TESSELU_SRC_OVERLAY_OVERLAYFAMILY_H
#define TESSELU_SRC_OVERLAY_OVERLAYFAMILY_H

#include <TesselU/foundation/CPUfeatures.h>

#include <cstddef>
#include <span>

#include "overlay/kernels/Overlay.h"

// What tells the renderers of one colour space from those of the other: depths, kernels and texts.

namespace Zan {

/// A kernel for the overlap, under the names that it has on a processor with SSE2, on one with the
/// instructions before that, and on any. Arithmetic and result are the same.
struct OverlayRow {
    enum class Mode { kAny, kPremultiplied, kStraight };

    unsigned backBits, foreBits;
    Mode mode;
    const char *nameSSE2, *nameBefore, *name;  ///< messages; null where there is none
    const OverlayKernel* kernel;               ///< null: the foreground is copied
    bool fillsAlpha = false;                   ///< with 255, in the alpha plane

    bool Suits(unsigned back, unsigned fore, bool premultiplied) const noexcept {
        return backBits == back && foreBits == fore &&
               (mode == Mode::kAny || (mode == Mode::kPremultiplied) == premultiplied);
    }
};

/// The same between pixels, by the axes that have a fraction.
struct MovedRow {
    struct Names {
        const char *nameSSE2, *nameMMX, *name;
    };

    unsigned backBits, foreBits;
    OverlayRow::Mode mode;
    Names both, across, down;
    const MixKernel* mix;                ///< what comes between pixels
    const OverlayKernel* blend;          ///< over the background; null: it is the result
    const MovedKernel* moved = nullptr;  ///< both in one pass

    bool Suits(unsigned back, unsigned fore, bool premultiplied) const noexcept {
        return backBits == back && foreBits == fore &&
               (mode == OverlayRow::Mode::kAny ||
                (mode == OverlayRow::Mode::kPremultiplied) == premultiplied);
    }
};

struct OverlayFamily {
    unsigned lowBits, highBits;  ///< of a pixel, without and with alpha
    bool hasPairs;               ///< pictures start on a pair, and whole pairs are blended
    bool (CPUfeatures::*isUsableBefore)() const noexcept;
    std::span<const OverlayRow> rows;
    std::span<const MovedRow> movedRows;

    struct {
        const char *position, *empty, *inPlace, *centringFailed, *toTemp, *tempFailed, *noTemp;
    } render;
    struct {
        const char *backBits, *foreBits, *resultBits, *foreRegion, *backRegion, *empty, *resultRegion, *lines,
            *pixels;
    } whole;
    struct {
        const char *backBits, *foreBits, *resultBits, *fore, *backCoefficients, *foreCoefficients, *fraction,
            *back, *longFraction, *foreSkipped, *backSkipped, *lines, *pixels;
    } moved;
    struct {
        const char *resultBits, *sourceBits, *differ, *sourceRegion, *destinationRegion, *resultRegion,
            *lines, *pixels;
    } centre;

    bool Takes(unsigned bits) const noexcept { return bits == lowBits || bits == highBits; }
    const OverlayRow* Find(unsigned back, unsigned fore, bool premultiplied) const noexcept;
    const MovedRow* FindMoved(unsigned back, unsigned fore, bool premultiplied) const noexcept;
};

extern const OverlayFamily kOverlayRgb;
extern const OverlayFamily kOverlayYuv;

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYFAMILY_H
