#include "Gallery.h"

#include <cstring>

namespace gallery {

void Gallery::Masks() {
    const char* const names[] = {"half plane", "rectangle", "ellipse"};
    for (ULong32 shape = 1; shape <= 3; ++shape) {
        Show("masks", names[shape - 1], [&](ImageView& out) {
            const ImagePtr mask = New(kFmtAlpha8);
            std::memset(Line(*mask, 0), 0, mask->GetMemorySize(0));
            DrawMask(*mask, shape, 0.3F);
            Spread(*mask, out);
        });
    }
}

void Gallery::DrawKey(ULong32 pattern) {
    GradientGenerator::WgrGradientData map = {sizeof map, format.width,  format.height, Pitch(key), 8, 8,
                                              255,        Line(*key, 0), 16 / 9.0F,     0.25F,      0};
    Check(GradientGenerator::WgrGenerateGradient(&map, pattern));
}

void Gallery::DrawMask(Image& mask, ULong32 shape, float softness) const {
    std::memset(Line(mask, 0), 0, mask.GetMemorySize(0));
    const auto w = static_cast<float>(format.width), h = static_cast<float>(format.height);
    GradientGenerator::WgrMaskData data = {};
    data.structSize = sizeof data;
    data.width = format.width;
    data.height = format.height;
    data.pitch = static_cast<Long32>(mask.GetPitch(0));
    data.bitsPerSample = data.significantBits = 8;
    data.peakValue = 255;
    data.pixels = Line(mask, 0);
    data.aspectRatio = 1;
    data.x0 = w / 5;
    data.y0 = h / 8;
    data.x1 = w - data.x0;
    data.y1 = h - data.y0;
    data.softnessX = data.softnessY = softness;
    Check(GradientGenerator::WgrGenerateMask(&data, shape));
}

}  // namespace gallery
