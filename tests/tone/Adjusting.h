#ifndef TESSELU_TESTS_TONE_ADJUSTING_H
#define TESSELU_TESTS_TONE_ADJUSTING_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/ColorAdjustment.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/FencedMemory.h"

namespace tone_test {

using namespace Zan;
using test_support::Bytes;

struct Layout {
    const char* name;
    ColorSpaceEnum space;
    AggregateChannelSamplingEnum sampling;
    ComponentOrderEnum order;
    unsigned bytesPerPixel;
    bool hasIntegerPath;
};
inline constexpr Layout kCbYCrY{"Cb Y Cr Y", kYCrCb, k422, kCbYCrA, 2, false};
inline constexpr Layout kYCbYCrOrder{"Y Cb Y Cr", kYCrCb, k422, kYCbYCr, 2, false};
inline constexpr Layout kCbYCrAPixels{"Cb Y Cr A", kYCrCb, k4444, kCbYCrA, 4, true};
inline constexpr Layout kYCbCrAPixels{"Y Cb Cr A", kYCrCb, k4444, kYCbCrA, 4, true};
inline constexpr Layout kRgb32{"RGB32", kRGB, k4444, kBGRA, 4, true};
inline constexpr Layout kRgb24{"RGB24", kRGB, k444, kBGRA, 3, true};
inline constexpr Layout kLayouts[] = {kCbYCrY, kYCbYCrOrder, kCbYCrAPixels, kYCbCrAPixels, kRgb32, kRgb24};

/// A packed picture without gaps between its lines, every byte of which tests look at.
class Picture {
public:
    Picture(const Layout& layout, unsigned width, unsigned height, Bytes content)
        : bytes(std::move(content)),
          image(std::make_unique<Image>(
              bytes.data(), layout.bytesPerPixel * width,
              ImageDescriptor(width, height, layout.space, layout.sampling, layout.order, kPacked,
                              kUpperFieldFirst, kInterleavedFields, kTopLeft, 1.0F, kUnshaped),
              1U, 1U)) {}
    Picture(const Layout& layout, unsigned width, unsigned height, unsigned char fill = 0)
        : Picture(layout, width, height, Bytes(std::size_t{layout.bytesPerPixel} * width * height, fill)) {}

    Image& Get() { return *image; }
    ImageView View() { return ImageView(image.get()); }
    ImageView View(Rectangle region, WhichFieldEnum field = kFrame) {
        return ImageView(image.get(), region, field);
    }

    Bytes bytes;

private:
    std::unique_ptr<Image> image;
};

inline Picture Noise(const Layout& layout, unsigned width, unsigned height) {
    Bytes bytes(std::size_t{layout.bytesPerPixel} * width * height);
    test_support::FillRandom(bytes.data(), bytes.size());
    return {layout, width, height, std::move(bytes)};
}

}  // namespace tone_test

#endif  // TESSELU_TESTS_TONE_ADJUSTING_H
