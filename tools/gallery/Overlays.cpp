#include "Gallery.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

namespace gallery {

void Gallery::Overlays() {
    Show("overlay", "Mixup::Do", [&](ImageView& out) {
        const ImagePtr front = WithAlpha(rgbB);
        ImageView a = Whole(*front), b = Whole(*rgbA);
        Check(mixup.Do(a, b, out, kBestAvailable));
    });
    Show("overlay", "Mixup::DoAt", [&](ImageView& out) {
        const ImagePtr front = WithAlpha(rgbB);
        ImageView a = Whole(*front), b = Whole(*rgbA);
        Check(mixup.DoAt(a, b, out, 0.2 * format.width + 0.5, -0.25 * format.height, true, kBestAvailable));
    });
    Show("overlay", "Mixup::Center", [&](ImageView& out) {
        const Rectangle part(Side(0.2), Side(0.2), Side(0.8), Side(0.8));
        ImageView source(rgbA.get(), part, kFrame);
        Check(mixup.Center(source, out, kBestAvailable));
        ForOpaque(out);
    });
    Crossing();
}

/// Alpha of a picture that is shown as it is.
void Gallery::ForOpaque(ImageView& view) const {
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned x = 0; x < format.width; ++x) {
            Line(*view.GetImage(), y)[4 * x + 3] = 255;
        }
    }
}

/// A disc that crosses by an eighth of a pixel a frame: one line of each of forty frames below the other,
/// in the upper half by whole pixels, in the lower one between them.
void Gallery::Crossing() {
    constexpr unsigned kColumns = 40, kFrames = 40, kZoom = 12, kRows = 4, kGap = 8, kLogo = 20;
    tool::PictureFormat small;
    small.samples = kFmtRGB32;
    small.width = kColumns;
    small.height = kLogo;
    const ImagePtr back = tool::NewPicture(small), made = tool::NewPicture(small);
    small.width = kLogo;
    const ImagePtr disc = tool::NewPicture(small);
    const auto paint = [](Image& image, const std::function<ULong32(unsigned, unsigned)>& word) {
        for (unsigned y = 0; y < image.GetHeight(); ++y) {
            for (unsigned x = 0; x < image.GetWidth(); ++x) {
                const ULong32 pixel = word(x, y);
                std::memcpy(Line(image, y) + std::size_t{4} * x, &pixel, sizeof pixel);
            }
        }
    };
    paint(*back, [](unsigned, unsigned) { return 0xFF303848U; });
    paint(*disc, [](unsigned x, unsigned y) {
        const double dx = x - (kLogo - 1) / 2.0, dy = y - (kLogo - 1) / 2.0;
        const double covered = std::clamp(7.5 - std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
        return static_cast<ULong32>(covered * 255 + 0.5) << 24 | 0xFFC040U;
    });
    tool::Raster drawn(kColumns * kZoom, 2 * kFrames * kRows + kGap);
    for (unsigned i = 0; i < 2 * kFrames; ++i) {
        const bool isBetween = i >= kFrames;
        ImageView a = Whole(*disc), b = Whole(*back), out = Whole(*made);
        Check(mixup.DoAt(a, b, out, (i % kFrames) / 8.0 - 2.5, 0, isBetween, kBestAvailable));
        const std::uint8_t* line = Line(*made, kLogo / 2);
        for (unsigned y = i * kRows; y < (i + 1) * kRows; ++y) {
            for (unsigned x = 0; x < kColumns * kZoom; ++x) {
                for (unsigned c = 0; c < 3; ++c) {
                    drawn.At(x, y + (isBetween ? kGap : 0))[c] = line[4 * (x / kZoom) + 2 - c];
                }
            }
        }
    }
    Write("overlay", "Mixup::DoAt, an eighth of a pixel a frame", drawn);
}

}  // namespace gallery
