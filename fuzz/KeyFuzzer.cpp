// The chroma keyer with any settings, on pictures and views of any kind, some of them the same, some missing:
// it stays inside the planes, and what is refused changes nothing.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/key/ChromaKeyerYUV.h>

#include <cstdlib>

namespace {

using namespace Zan;

fuzz::Calls calls;

void Change(fuzz::Input& input, ChromaKeyerYUV& keyer) {
    switch (input.Below(11)) {
        case 0:
            keyer.SetHueAngle(input.AnyReal(360));
            break;
        case 1:
            keyer.SetAcceptanceAngle(input.AnyReal(179));
            break;
        case 2:
            keyer.SetSaturationMinimum(input.AnyReal(1));
            break;
        case 3:
            keyer.SetSpillSuppressionAngle(input.AnyReal(360));
            break;
        case 4:
            keyer.SetSpillSuppressionGain(input.AnyReal(input.Flip() ? 256 : 1));
            break;
        case 5:
            keyer.SetKeyOffset(input.AnyReal(1));
            break;
        case 6:
            keyer.SetKeyGain(input.AnyReal(input.Flip() ? 256 : 1));
            break;
        case 7:
            keyer.SetInvertKeyBeforePostProcessing(input.Flip());
            break;
        case 8:
            keyer.SetInvertKeyAfterPostProcessing(input.Flip());
            break;
        case 9:
            keyer.SetSplitScreenHeight(input.Once(4) ? input.Raw<ULong32>() : input.Below(48), input.Flip());
            break;
        default:
            keyer.SetMMXonlyStyle(input.Flip());
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    ChromaKeyerYUV keyer;
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input),
                                       fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    if (!input.Once(8)) {
        const bool isPairs = input.Flip();
        for (std::size_t i = 0; i < 3; ++i) {
            pictures[i].Suit(kYCrCb, isPairs ? input.Pick({k422, k4224, k4224}) : k4444);
        }
        pictures[3].Suit(kAlphaOnly, k4444);
    }
    std::uint64_t before = Sum(pictures);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        ImageView foreground = pictures[0].View(input), background = pictures[1].View(input);
        // The result may be either of them, or the key another of their views.
        ImageView result = pictures[input.Pick({2, 2, 2, 0, 1})].View(input);
        ImageView key = pictures[input.Once(16) ? 2 : 3].View(input);
        const fuzz::Levels ofCall(input);
        const auto style = input.Enumeration<ProcessingStyleEnum>(7);
        const bool hasBackground = !input.Once(4), hasKey = !input.Once(4);
        for (unsigned changes = input.Below(4); changes > 0; --changes) {
            Change(input, keyer);
        }
        calls.Add();
        const Long32 status = keyer.Do(foreground, hasBackground ? &background : nullptr, result,
                                       hasKey ? &key : nullptr, style);
        const std::uint64_t after = Sum(pictures);
        // Whether a result lacks alpha is said when all else has been made.
        const bool mayLackAlpha =
            hasBackground && result.GetImage() != nullptr && result.GetMemoryPointer(3) == nullptr;
        if (status != 0 && after != before && !(status == 1 && mayLackAlpha)) {
            std::abort();
        }
        before = after;
    }
    return 0;
}
