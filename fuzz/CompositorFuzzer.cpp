// Fills, memory passes and the soft wipe on pictures and views of any kind: whatever they are handed, they
// stay inside the planes, and what is refused changes nothing.

#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/composite/ZanCompositor.h>

#include <cstdlib>

namespace {

using namespace Zan;

ProcessingStyleEnum AnyStyle(fuzz::Input& input) {
    return input.Enumeration<ProcessingStyleEnum>(7);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    ZanCompositor compositor;
    compositor.SetMMXonlyStyle(input.Flip());
    const unsigned operation = input.Below(8);

    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input),
                                       fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    ImageView views[4];
    for (unsigned i = 0; i < 4; ++i) {
        views[i] = pictures[input.Once(8) ? input.Below(4) : i].View(input);
    }
    const ProcessingStyleEnum style = AnyStyle(input);
    const auto sum = [&pictures] {
        std::uint64_t all = 0;
        for (const fuzz::HostilePicture& picture : pictures) {
            all = all * 31 + picture.Sum();
        }
        return all;
    };
    const std::uint64_t before = sum();
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
        default: {
            const double position = input.Real();
            const double softness = input.Flip() ? input.Real() : input.Real() * 255.0;
            status = compositor.CompositeTwoSrcAndAlphaGradient(views[0], views[1], views[2], views[3],
                                                                position, softness, style);
            break;
        }
    }
    if (status != 0 && (sum() != before || result != kUntouched)) {
        std::abort();
    }
    return 0;
}
