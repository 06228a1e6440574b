#include "Gallery.h"

namespace gallery {

void Gallery::Keys() {
    const auto show = [this](const char* operation, double acceptance, bool showsKey) {
        Show("key", operation, [&](ImageView& out) {
            const ImagePtr front = Converted(rgbA, kFmtCbYCrA), back = Converted(rgbB, kFmtCbYCrA),
                           made = New(kFmtCbYCrA);
            ChromaKeyerYUV keyer;
            keyer.SetHueAngle(236);  // green
            keyer.SetAcceptanceAngle(acceptance);
            keyer.SetSpillSuppressionAngle(236);
            keyer.SetKeyGain(3);
            keyer.SetInvertKeyAfterPostProcessing(true);
            keyer.SetSplitScreenHeight(showsKey ? format.height / 2 : 0xFFFFFFFF, true);
            ImageView a = Whole(*front), b = Whole(*back), mixed = Whole(*made);
            Check(keyer.Do(a, &b, mixed, nullptr, kBestAvailable));
            Check(converter.Do(mixed, out, kBestAvailable, nullptr, nullptr));
        });
    };
    show("ChromaKeyerYUV, green becomes the second picture", 90, false);
    show("ChromaKeyerYUV, the key below a split", 90, true);
    Show("key", "LumaKeyer", [&](ImageView& out) {
        const ImagePtr source = Converted(rgbB, kFmtCbYCrY), made = New(kFmtAlpha8);
        LumaKeyer keyer;
        Check(keyer.Set(0.5, 0.1, 0.3, 1, 0, false));
        ImageView from = Whole(*source), to = Whole(*made);
        Check(keyer.Do(from, to, kBestAvailable));
        Spread(*made, out);
    });
    Show("key", "LinearKeyer", [&](ImageView& out) {
        const ImagePtr source = Converted(WithAlpha(rgbA), kFmtCbYCrY4), made = New(kFmtAlpha8);
        LinearKeyer keyer;
        Check(keyer.Set(0.5, 0.05, 0.2, 1, 0, false));
        ImageView from = Whole(*source), to = Whole(*made);
        Check(keyer.Do(from, to, kBestAvailable));
        Spread(*made, out);
    });
    Show("key", "GenerateCrCbGradient", [&](ImageView& out) {
        const ImagePtr plane = New(kFmtCbYCrA);
        ImageView whole = Whole(*plane);
        Check(GenerateCrCbGradient(whole));
        Check(converter.Do(whole, out, kBestAvailable, nullptr, nullptr));
    });
}

}  // namespace gallery
