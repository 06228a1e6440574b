#include "commands/MatteEdge.h"

#include <algorithm>
#include <cstring>

#include "Errors.h"
#include "commands/Lines.h"
#include "commands/ToneEffect.h"

namespace tool {
namespace {

void Check(Zan::Long32 status) {
    CheckStatus("key", status);
}

}  // namespace

void MatteEdge::Prepare(const PictureFormat& format) {
    width = format.width;
    height = format.height;
    const unsigned lines = format.IsInterlaced() ? height / 2 : height;
    const long most = (static_cast<long>(std::min(width, lines)) - 2) / 2;
    if (std::max(choke, feather) > most) {
        throw UsageError("--choke, --feather: " + std::to_string(most) +
                         " pixels at most in pictures of this size");
    }
    PictureFormat wide = format;
    wide.samples = Zan::kFmtRGB32;
    spread = NewPicture(wide);
    blurred = NewPicture(wide);
    tightened = NewKey(format);
    Check(tight.Set(1, 0, 0.5, 1, 0, false));
}

void MatteEdge::Apply(Zan::ImageView& picture, const Zan::ImageView& matte) {
    if (choke > 0) {
        Blur(matte, choke);
        Zan::ImageView reworked = Whole(*tightened, matte.GetFieldOfInterest());
        Check(tight.Do(picture, reworked, Zan::kBestAvailable));
        CopyLines(*tightened, matte, width);
    }
    if (feather > 0) {
        Blur(matte, feather);
    }
}

/// The mean of a box that reaches so many pixels to each side; in a field, half as many lines.
void MatteEdge::Blur(const Zan::ImageView& matte, long reach) {
    const Zan::Image& key = *matte.GetImage();
    const Zan::WhichFieldEnum field = matte.GetFieldOfInterest();
    ForLines(matte, [&](unsigned y) {
        const std::uint8_t* in = Line(key, y);
        std::uint8_t* out = Line(*spread, y);
        for (unsigned x = 0; x < width; ++x, out += 4) {
            std::memset(out, in[x], 4);
        }
    });
    Zan::ImageView from = Whole(*spread, field), to = Whole(*blurred, field);
    const auto side = [](long each) { return static_cast<double>(2 * each + 1); };
    Check(defocus.Do(from, to, side(reach), side(field == Zan::kFrame ? reach : (reach + 1) / 2), 0, width, 0,
                     height, Zan::kBestAvailable));
    ForLines(matte, [&](unsigned y) {
        const std::uint8_t* in = Line(*blurred, y);
        std::uint8_t* out = Line(key, y);
        for (unsigned x = 0; x < width; ++x, in += 4) {
            out[x] = *in;
        }
    });
}

}  // namespace tool
