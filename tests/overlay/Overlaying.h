#ifndef TESSELU_TESTS_OVERLAY_OVERLAYING_H
#define TESSELU_TESTS_OVERLAY_OVERLAYING_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/overlay/Mixup.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "support/FencedMemory.h"

namespace overlay_test {

using namespace Zan;
using MixupPosition::Mixup;
using test_support::Bytes;

enum class Kind { kRgb32, kRgb24, kPairs, kPairsAlpha };

inline bool IsRgb(Kind kind) {
    return kind == Kind::kRgb32 || kind == Kind::kRgb24;
}
inline std::size_t PixelBytes(Kind kind) {
    return kind == Kind::kRgb32 ? 4 : kind == Kind::kRgb24 ? 3 : 2;
}

/// A packed picture without gaps between its lines, and its alpha plane.
class Picture {
public:
    struct Setup {
        ShapedEnum shaped = kUnshaped;
        ScanStyleEnum scan = kProgressive;
        FieldPackingEnum fields = kNoFields;
        OriginEnum origin = kTopLeft;
    };

    Picture(Kind k, unsigned w, unsigned h, Bytes content, Bytes alphas, const Setup& setup)
        : kind(k), width(w), height(h), bytes(std::move(content)), alpha(std::move(alphas)) {
        const ImageDescriptor format(w, h, IsRgb(k) ? kRGB : kYCrCb,
                                     k == Kind::kRgb32   ? k4444
                                     : k == Kind::kRgb24 ? k444
                                     : k == Kind::kPairs ? k422
                                                         : k4224,
                                     IsRgb(k) ? kBGRA : kCbYCrA, kPacked, setup.scan, setup.fields,
                                     setup.origin, 1.0F, setup.shaped);
        unsigned char* planes[] = {bytes.data(), alpha.data(), nullptr};
        ULong32 pitches[] = {static_cast<ULong32>(PixelBytes(k) * w), w, w};
        image = std::make_unique<Image>(planes, pitches, format, 1U, 1U);
    }
    Picture(Kind k, unsigned w, unsigned h, Bytes content, Bytes alphas = {})
        : Picture(k, w, h, std::move(content), std::move(alphas), Setup()) {}

    /// Noise.
    Picture(Kind k, unsigned w, unsigned h, const Setup& setup)
        : Picture(k, w, h, Noise(PixelBytes(k) * w * h), Noise(k == Kind::kPairsAlpha ? w * h : 0), setup) {}
    Picture(Kind k, unsigned w, unsigned h) : Picture(k, w, h, Setup()) {}

    Image& Get() { return *image; }
    ImageView View() { return ImageView(image.get()); }
    ImageView View(WhichFieldEnum field) {
        ImageView view(image.get());
        view.SetFieldOfInterest(field);
        return view;
    }
    ImageView View(Rectangle region, WhichFieldEnum field = kFrame) {
        return ImageView(image.get(), region, field);
    }
    const std::uint8_t* Pixel(std::size_t x, std::size_t y) const {
        return bytes.data() + PixelBytes(kind) * (y * width + x);
    }

    const Kind kind;
    const unsigned width, height;
    Bytes bytes, alpha;

private:
    static Bytes Noise(std::size_t count) {
        Bytes noise(count);
        test_support::FillRandom(noise.data(), count);
        return noise;
    }

    std::unique_ptr<Image> image;
};

inline Long32 Do(Picture& fore, Picture& back, Picture& result) {
    ImageView f = fore.View(), b = back.View(), r = result.View();
    return Mixup().Do(f, b, r, kBestAvailable);
}
inline Long32 DoAt(Picture& fore, Picture& back, Picture& result, double x, double y, bool subPixel) {
    ImageView f = fore.View(), b = back.View(), r = result.View();
    return Mixup().DoAt(f, b, r, x, y, subPixel, kBestAvailable);
}
inline Long32 Center(Picture& source, Picture& result) {
    ImageView s = source.View(), r = result.View();
    return Mixup().Center(s, r, kBestAvailable);
}

}  // namespace overlay_test

#endif  // TESSELU_TESTS_OVERLAY_OVERLAYING_H
