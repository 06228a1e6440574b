#ifndef TESSELU_TESTS_CONVERT_PACKEDPICTURE_H
#define TESSELU_TESTS_CONVERT_PACKEDPICTURE_H

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageView.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "support/FencedMemory.h"

namespace convert_test {

using namespace Zan;
using namespace test_support;

/// As callers hand them in.
using Matrix16 = std::array<double, 16>;
using Offsets8 = std::array<double, 8>;

inline constexpr Matrix16 kUnitMatrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Matrix16 MatrixOf(const ColorSpaceConverter& converter) {
    Matrix16 matrix{};
    converter.GetMatrixCoef(matrix.data());
    return matrix;
}

inline Offsets8 OffsetsOf(const ColorSpaceConverter& converter) {
    Offsets8 offsets{};
    converter.GetOffset(offsets.data());
    return offsets;
}

/// A packed picture in memory of our own, every byte of which tests look at.
class Packed {
public:
    Packed(ColorSpaceEnum space, AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
           unsigned width, unsigned height, unsigned char fill = 0)
        : pitch((sampling == k422   ? 2
                 : sampling == k444 ? 3
                                    : 4) *
                width),
          bytes(std::size_t{pitch} * height, fill),
          image(std::make_unique<Image>(
              bytes.data(), pitch,
              ImageDescriptor(width, height, space, sampling, order, kPacked, kUpperFieldFirst,
                              kInterleavedFields, kTopLeft, 1.0F, kUnshaped),
              1U, 1U)) {}

    Image& Get() { return *image; }
    ImageView View() { return ImageView(image.get()); }
    ImageView View(Rectangle region, WhichFieldEnum field = kFrame) {
        return ImageView(image.get(), region, field);
    }
    unsigned char* Row(unsigned y) { return bytes.data() + std::size_t{y} * pitch; }
    Bytes Pixel(unsigned x, unsigned y) { return Bytes(Row(y) + 4 * x, Row(y) + 4 * x + 4); }

    /// Repeats four bytes over the picture.
    Packed& Fill(const Bytes& four) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = four[i % 4];
        }
        return *this;
    }

    const unsigned pitch;
    Bytes bytes;

private:
    std::unique_ptr<Image> image;
};

inline Packed Uyvy(unsigned width, unsigned height) {
    return {kYCrCb, k422, kCbYCrA, width, height};
}
inline Packed Yuyv(unsigned width, unsigned height) {
    return {kYCrCb, k422, kYCbYCr, width, height};
}
inline Packed Rgb32(unsigned width, unsigned height, unsigned char fill = 0) {
    return {kRGB, k4444, kBGRA, width, height, fill};
}

inline Long32 Convert(ColorSpaceConverter& converter, ImageView from, ImageView to,
                      ProcessingStyleEnum style = kInt_MMXorSIMD, const Matrix16* matrix = nullptr,
                      const Offsets8* offsets = nullptr) {
    Matrix16 m = matrix != nullptr ? *matrix : Matrix16{};
    Offsets8 o = offsets != nullptr ? *offsets : Offsets8{};
    return converter.Do(from, to, style, matrix != nullptr ? m.data() : nullptr,
                        offsets != nullptr ? o.data() : nullptr);
}

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_PACKEDPICTURE_H
