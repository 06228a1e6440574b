#include "Gallery.h"

#include <utility>

namespace gallery {

void Gallery::Conversions() {
    for (const auto& [samples, name] : {std::pair(kFmtCbYCrY, "to packed 4:2:2 and back"),
                                        {kFmtPlanar420, "to planar 4:2:0 and back"},
                                        {kFmtPlanar411, "to planar 4:1:1 and back"},
                                        {kFmtCbYCrYMono, "to monochrome and back"}}) {
        Show("converter", name, [&, wanted = samples](ImageView& out) {
            const ImagePtr between = Converted(rgbA, wanted);
            ImageView from = Whole(*between);
            Check(converter.Do(from, out, kBestAvailable, nullptr, nullptr));
        });
    }
    Show("converter", "Shape", [&](ImageView& out) {
        const ImagePtr picture = WithAlpha(rgbA);
        ImageView view = Whole(*picture);
        Check(converter.Shape(view, kBestAvailable));
        Copy(picture, out);
    });
    Show("converter", "Unshape", [&](ImageView& out) {
        const ImagePtr picture = WithAlpha(rgbA);
        ImageView view = Whole(*picture);
        Check(converter.Shape(view, kBestAvailable));
        Check(converter.Unshape(view, kBestAvailable));
        Copy(picture, out);
    });
}

}  // namespace gallery
