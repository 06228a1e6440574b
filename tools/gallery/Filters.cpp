#include "Gallery.h"

namespace gallery {

void Gallery::Filters() {
    Show("filter", "DeepDefocus, 15 x 15", [&](ImageView& out) {
        ImageView from = Whole(*rgbA);
        Check(DeepDefocus().Do(from, out, 15, 15, 0, format.width, 0, format.height, kBestAvailable));
    });
    const ImagePtr clean = Converted(rgbA, kFmtCbYCrY), noisy = New(kFmtCbYCrY), made = New(kFmtCbYCrY);
    const ULong32 w = format.width, h = format.height, pitch = clean->GetPitch(0);
    Check(NoiseSource().AddGaussian(Words(clean), Words(noisy), w / 2, h, pitch, pitch, 225, 0));
    const auto show = [&](const char* operation, const ImagePtr& picture) {
        Show("filter", operation, [&](ImageView& out) {
            ImageView from = Whole(*picture);
            Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
        });
    };
    show("NoiseSource::AddGaussian, a deviation of 15", noisy);
    NoiseReduction reduction;
    float levels[] = {12, 12, 12};
    reduction.SetBaseNoiseLevel(levels);
    ULong32* frames[] = {Words(noisy)};
    Check(reduction.DoFilterSSF(frames, Words(made), w, h, pitch, pitch, nullptr, 5, 5, 1,
                                static_cast<NoiseReduction::AlphaControlEnum>(3), false, 1, 2, 3));
    show("NoiseReduction::DoFilterSSF of it, 5 x 5", made);
}

}  // namespace gallery
