// Keys from alpha and luma, and the chroma plane, on pictures and views of any kind: whatever they are
// handed, they stay inside the planes, and what is refused changes nothing.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/key/GenerateCrCbGradient.h>
#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>

#include <cstdlib>

namespace {

using namespace Zan;

fuzz::Calls calls;

template <class Keyer>
void Change(fuzz::Input& input, Keyer& keyer) {
    if (input.Flip()) {
        const std::uint8_t index = input.Byte(), value = input.Byte();
        keyer.SetLUT(index, value);
        if (keyer.GetLUT(index) != value) {
            std::abort();
        }
        return;
    }
    double values[5] = {};
    for (double& value : values) {
        value = input.AnyReal();
    }
    Long32 expected = 0;
    for (int i = 0; i < 5; ++i) {
        if (!(values[i] >= (i == 4 ? -1.0 : 0.0) && values[i] <= 1.0)) {
            expected = -(i + 1);
        }
    }
    if (keyer.Set(values[0], values[1], values[2], values[3], values[4], input.Flip()) != expected) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    LinearKeyer linear;
    LumaKeyer luma;
    fuzz::HostilePicture pictures[] = {fuzz::HostilePicture(input), fuzz::HostilePicture(input)};
    if (!input.Once(4)) {
        pictures[0].Suit(kYCrCb, input.Pick({k4224, k4224, k422, k4444}));
        pictures[1].Suit(kAlphaOnly, k4444);
    }
    std::uint64_t before = Sum(pictures);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        ImageView views[] = {pictures[0].View(input), pictures[input.Once(4) ? 0 : 1].View(input)};
        const fuzz::Levels ofCall(input);
        const auto style = input.Enumeration<ProcessingStyleEnum>(7);
        if (input.Once(4)) {
            Change(input, linear);
            Change(input, luma);
        }
        calls.Add();
        Long32 status = 0;
        switch (input.Below(3)) {
            case 0:
                status = linear.Do(views[0], views[1], style);
                break;
            case 1:
                status = luma.Do(views[0], views[1], style);
                break;
            default:
                status = GenerateCrCbGradient(views[0]);
                break;
        }
        const std::uint64_t after = Sum(pictures);
        if (status != 0 && after != before) {
            std::abort();
        }
        before = after;
    }
    return 0;
}
