// Overlays of pictures and views of any kind, at positions of any bits: they stay inside the planes, and what
// is refused changes nothing. One picture may be all three.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/overlay/Mixup.h>

#include <cstdlib>

namespace {

using namespace Zan;

fuzz::Calls calls;

/// Mostly of the formats that overlays take, all of one colour space.
const FormatRecord* Known(fuzz::Input& input, bool isRgb) {
    if (input.Once(8)) {
        return nullptr;
    }
    const auto format = isRgb ? input.Pick({kFmtRGB32, kFmtRGB24, kFmtRGB32Shaped})
                              : input.Pick({kFmtCbYCrY, kFmtCbYCrY4, kFmtCbYCrY4Shaped, kFmtYCbYCr});
    return &Formats()[static_cast<std::size_t>(format)];
}

double Position(fuzz::Input& input) {
    switch (input.Below(4)) {
        case 0:
            return input.Raw<double>();
        case 1:
            return static_cast<std::int8_t>(input.Byte());
        default:
            return static_cast<double>(input.Raw<std::int16_t>()) / 512;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const bool isRgb = input.Flip();
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input, Known(input, isRgb)),
                                       fuzz::HostilePicture(input, Known(input, isRgb)),
                                       fuzz::HostilePicture(input, Known(input, isRgb))};
    MixupPosition::Mixup mixup;
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        const unsigned third = input.Below(8);
        fuzz::HostilePicture& result = pictures[third < 3 ? third : 2];
        ImageView fore = pictures[0].View(input), back = pictures[input.Once(8) ? 0 : 1].View(input);
        ImageView out = result.View(input);
        if (!input.Once(8)) {
            out.SetFieldOfInterest(input.Pick({kFrame, kFrame, kUpperField, kLowerField}));
        }
        const fuzz::Levels levels(input);
        const std::uint64_t before = result.Sum();
        const unsigned kind = input.Below(8);
        Long32 status = 0;
        calls.Add();
        if (kind == 0) {
            status = mixup.Center(fore, out, kBestAvailable);
        } else if (kind < 3) {
            status = mixup.Do(fore, back, out, input.Enumeration<ProcessingStyleEnum>(7));
        } else {
            const double x = Position(input), y = Position(input);
            status = mixup.DoAt(fore, back, out, x, y, input.Below(4) != 0, kBestAvailable);
        }
        if (status != 0 && result.Sum() != before) {
            std::abort();
        }
    }
    return 0;
}
