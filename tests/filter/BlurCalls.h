#ifndef TESSELU_TESTS_FILTER_BLURCALLS_H
#define TESSELU_TESTS_FILTER_BLURCALLS_H

#include <TesselU/filter/DeepDefocus.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <vector>

#include "filter/BlurPicture.h"
#include "support/EveryTarget.h"

// What the tests of the blur have in common: its styles, a call, the targets to run it on.

namespace filter_test {

inline constexpr ULong32 kAll = 0xFFFFFFFFU;

inline constexpr ProcessingStyleEnum kTruncating[] = {kFlp, kFP};
inline constexpr ProcessingStyleEnum kRounding[] = {kInt_MMXorSIMD, kFlp_SIMD, kBestAvailable};
inline const ProcessingStyleEnum kAfresh[] = {kStyle4, kGeneralFormat, static_cast<ProcessingStyleEnum>(7),
                                              static_cast<ProcessingStyleEnum>(-1),
                                              static_cast<ProcessingStyleEnum>(INT_MIN)};

inline std::vector<ProcessingStyleEnum> AllStyles() {
    std::vector<ProcessingStyleEnum> all(std::begin(kTruncating), std::end(kTruncating));
    all.insert(all.end(), std::begin(kRounding), std::end(kRounding));
    all.insert(all.end(), std::begin(kAfresh), std::end(kAfresh));
    return all;
}

inline Form FormOf(ProcessingStyleEnum style) {
    const auto is = [style](ProcessingStyleEnum other) { return style == other; };
    if (std::any_of(std::begin(kTruncating), std::end(kTruncating), is)) {
        return Form::kShifts;
    }
    return std::any_of(std::begin(kRounding), std::end(kRounding), is) ? Form::kSingle : Form::kAfresh;
}

struct Limits {
    ULong32 xStart = 0, xEnd = kAll, yStart = 0, yEnd = kAll;
};

inline Long32 Blur(ImageView from, ImageView to, double horizontal, double vertical,
                   ProcessingStyleEnum style, Limits limits = {}, ULong32 bits = 8) {
    const DeepDefocus filter(bits);
    return filter.Do(from, to, horizontal, vertical, limits.xStart, limits.xEnd, limits.yStart, limits.yEnd,
                     style);
}

/// A destination, and the same filled by the plain formula.
class Compared {
public:
    Compared(unsigned width, unsigned height, PictureOptions options = {})
        : made(width, height, options), expected(width, height, options) {
        CopyMemory(made, expected);
    }
    BlurPicture made, expected;
};

}  // namespace filter_test

#endif  // TESSELU_TESTS_FILTER_BLURCALLS_H
