// The processing amplifier on pictures and views of any kind, with any settings: it stays inside the planes,
// what is refused changes nothing, and angles that are taken in fixed point give what doubles give.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/tone/ColorAdjustment.h>

#include <cmath>
#include <cstdlib>

#include "tone/kernels/FixedTurn.h"

namespace {

using namespace Zan;

fuzz::Calls calls;

double Angle(fuzz::Input& input) {
    return input.Once(4) ? input.Pick({0.0, 30.0, 45.0, 60.0, 90.0, 180.0, -90.0, -180.0, 1e-7})
                         : input.Real() * 180;
}

void Change(fuzz::Input& input, ColorAdjustment& adjustment) {
    switch (input.Below(8)) {
        case 0:
            adjustment.SetBrightness(input.Real());
            break;
        case 1:
            adjustment.SetContrast(input.Real());
            break;
        case 2:
            adjustment.SetSaturation(input.Real());
            break;
        case 3:
        case 4:
            adjustment.SetHue(Angle(input));
            break;
        case 5:
            adjustment.SetYgamma(input.Real());
            break;
        case 6:
            adjustment.SetContrast(input.Real() * 128);
            break;
        default:
            adjustment.SetMMXonlyStyle(input.Flip());
            break;
    }
}

void CompareTurn(fuzz::Input& input) {
    const double radians = Angle(input) * 0.017453292500000002;
    const double cosine = std::cos(radians), sine = std::sin(radians);
    if (std::isnan(cosine)) {
        return;
    }
    const FixedTurn turn = FixedTurn::Of(cosine, sine);
    for (int u = -128; turn.isExact && u <= 128; ++u) {
        const int v = input.Byte() - 128;
        if (turn(u, v) != static_cast<int>(u * cosine + v * sine)) {
            std::abort();
        }
    }
}

/// Mostly of the formats that the operation takes.
const FormatRecord* Known(fuzz::Input& input) {
    return input.Once(8) ? nullptr
                         : &Formats()[static_cast<std::size_t>(input.Pick(
                               {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB24, kFmtYCbYCr, kFmtYCbCrA}))];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    if (input.Once(16)) {
        const fuzz::Levels levels(input);
        CompareTurn(input);
        return 0;
    }
    const FormatRecord* known = Known(input);
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input, known),
                                       fuzz::HostilePicture(input, input.Once(4) ? Known(input) : known)};
    ColorAdjustment adjustment;
    std::uint64_t before = Sum(pictures);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        ImageView views[] = {pictures[0].View(input), pictures[input.Once(4) ? 0 : 1].View(input)};
        const fuzz::Levels levels(input);
        for (unsigned changes = input.Below(3); changes > 0; --changes) {
            Change(input, adjustment);
        }
        const auto style =
            input.Once(4) ? input.Enumeration<ProcessingStyleEnum>(7) : input.Pick({kFlp, kInt_MMXorSIMD});
        calls.Add();
        const Long32 status = adjustment.Do(views[0], views[1], style);
        const std::uint64_t after = Sum(pictures);
        if (status != 0 && after != before) {
            std::abort();
        }
        before = after;
    }
    return 0;
}
