// Fills, memory passes, blends and wipes on pictures and views of any kind: whatever they are handed, they
// stay inside the planes, and what is refused changes nothing.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/composite/ZanCompositor.h>

#include <cstdlib>

namespace {

using namespace Zan;

fuzz::Calls calls;

ProcessingStyleEnum AnyStyle(fuzz::Input& input) {
    return input.Enumeration<ProcessingStyleEnum>(7);
}

/// A width of an edge, in code values of the key.
double Width(fuzz::Input& input) {
    return input.Flip() ? input.Real() : input.Real() * 255.0;
}

/// Pictures of the formats that the operations take; any other kind is refused before a plane is touched.
void MakeAlike(fuzz::Input& input, fuzz::HostilePicture* pictures) {
    const bool pairs = input.Flip();
    for (unsigned i = 0; i < 4; ++i) {
        ImageDescriptor* record = pictures[i].GetImage().GetImageDescriptor();
        if (record == nullptr || record->colorSpace == kAlphaOnly) {
            continue;
        }
        record->colorSpace = pairs ? kYCrCb : kRGB;
        if (!pairs) {
            record->channelSampling = k4444;
        } else if (record->channelSampling != k4224) {
            record->channelSampling = k422;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    ZanCompositor compositor;
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input),
                                       fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    if (input.Flip()) {
        MakeAlike(input, pictures);
    }
    std::uint64_t before = Sum(pictures);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        const fuzz::Levels levels(input);
        compositor.SetMMXonlyStyle(input.Flip());
        const unsigned operation = input.Below(14);
        ImageView views[4];
        for (unsigned i = 0; i < 4; ++i) {
            views[i] = pictures[input.Once(8) ? input.Below(4) : i].View(input);
        }
        const ProcessingStyleEnum style = AnyStyle(input);
        constexpr ULong32 kUntouched = 0xC0FFEE11U;
        ULong32 result = kUntouched;
        Long32 status = 0;
        switch (operation) {
            case 0:
                status = compositor.Fill(views[0], input.Raw<ULong32>(), 0xFFFFFFFFU, style);
                break;
            case 1:
                status = compositor.Fill(views[0], input.Raw<ULong32>(), input.Raw<ULong32>(), style);
                break;
            case 2:
                status = compositor.FillAlpha(views[0], input.Raw<ULong32>(), style);
                break;
            case 3:
                status = compositor.ReadOnlySingleSource(views[0], result, style);
                break;
            case 4:
                status = compositor.ReadOnlyTwoSources(views[0], views[1], result, style);
                break;
            case 5:
                status = compositor.ReadTwoSourcesWriteDst(views[0], views[1], views[2], style);
                break;
            case 6:
                status = compositor.CrossDissolve(views[0], views[1], views[2], input.Real(), style);
                break;
            case 7:
                status = compositor.CompositeTwoSources(views[0], views[1], views[2], style);
                break;
            case 8:
                status = compositor.CompositeTwoSrcAndAlpha(views[0], views[1], views[2], views[3], style);
                break;
            case 9:
                // Few pictures are of that shaping by themselves.
                for (unsigned i = 0; i < 3 && !input.Once(4); ++i) {
                    pictures[i].GetImage().SetPixelShaping(i == 0 ? kUnshaped : kShaped2);
                }
                status = compositor.AoverB(views[0], views[1], views[2], style);
                break;
            case 10:
                for (unsigned i = 0; i < 3 && !input.Once(4); ++i) {
                    pictures[i].GetImage().SetPixelShaping(i == 2 ? kShaped : kUnshaped);
                }
                status = compositor.CompositeUnshapedAoverBwithFadeOfA(views[0], views[1], views[2],
                                                                       input.Real(), style);
                break;
            case 11: {
                const double position = input.Real();
                const double widths[3] = {Width(input), Width(input), Width(input)};
                status = compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
                    views[0], views[1], views[2], views[3], position, widths[0], widths[1], widths[2],
                    input.Raw<ULong32>(), style);
                break;
            }
            default: {
                const double position = input.Real();
                status = compositor.CompositeTwoSrcAndAlphaGradient(views[0], views[1], views[2], views[3],
                                                                    position, Width(input), style);
                break;
            }
        }
        calls.Add();
        const std::uint64_t after = Sum(pictures);
        if (status != 0 && (after != before || result != kUntouched)) {
            std::abort();
        }
        before = after;
    }
    return 0;
}
