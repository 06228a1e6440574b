#include <TesselU/key/GenerateCrCbGradient.h>

#include <algorithm>
#include <cstring>

#include "key/KeyViews.h"

namespace Zan {
namespace {

/// The form of a picture: words of one or two pixels, and the least number of words and rows that a step is
/// made of. With one 32-bit pixel the step is infinite, and never taken.
struct Form {
    std::size_t pixelsOfWord;
    ULong32 leastCount;
    std::uint8_t lastByte;
};
constexpr Form kPixels = {1, 1, 255}, kPairs = {2, 2, 128};

double StepOf(ULong32 count, const Form& form) {
    const ULong32 steps = std::max(count, form.leastCount) - 1;
    return steps == 0 ? 0.0 : 255.0 / steps;
}

std::uint8_t Nearest(double value) {
    return static_cast<std::uint8_t>(value + 0.5);
}

void DrawPlane(const Plane& plane, ViewSize size, const Form& form) {
    const std::size_t words = size.width / form.pixelsOfWord;
    const double stepX = StepOf(static_cast<ULong32>(words), form), stepY = StepOf(size.height, form);
    double red = 255.0;
    for (std::size_t y = 0; y < size.height; ++y, red -= stepY) {
        std::uint8_t* const row = plane.Row(y);
        const std::size_t inside = plane.Clip(4 * words, y) / 4;
        double blue = 0.0;
        for (std::size_t x = 0; x < inside; ++x, blue += stepX) {
            const std::uint8_t word[4] = {Nearest(blue), 128, Nearest(red), form.lastByte};
            std::memcpy(row + 4 * x, word, sizeof word);
        }
    }
}

}  // namespace

Long32 GenerateCrCbGradient(ImageView& view) {
    if (!HasImage(view)) {
        return kStatusNullPointer;
    }
    const Image& image = *view.GetImage();
    const bool hasPairs = Is422Family(image);
    if (image.GetColorSpace() != kYCrCb || !(hasPairs || Is4444(image))) {
        return kStatusUnsupportedFormat;
    }
    const ViewSize size = {view.GetWidth(), view.GetHeight()};
    Plane colour, alpha;
    const Long32 ofColour = SelectPlane(view, 0, size.height, colour);
    if (ofColour == kStatusNullPointer) {
        return kStatusNullPointer;
    }
    if (colour.pitch % 4 != 0) {
        return kStatusUnsupportedKind;
    }
    if (size.width == 0 || size.height == 0) {
        return kStatusOk;
    }
    const Long32 ofAlpha = image.GetChannelSampling() == k4224 ? SelectPlane(view, 3, size.height, alpha)
                                                               : Long32{kStatusNullPointer};
    if (ofColour != kStatusOk || (ofAlpha != kStatusOk && ofAlpha != kStatusNullPointer)) {
        return kStatusUnsupportedField;
    }

    DrawPlane(colour, size, hasPairs ? kPairs : kPixels);
    if (ofAlpha == kStatusOk) {
        for (std::size_t y = 0; y < size.height; ++y) {
            std::memset(alpha.Row(y), 255, alpha.Clip(size.width, y));
        }
    }
    return kStatusOk;
}

}  // namespace Zan
