// Conversions between pictures and views of any kind, with any matrix: they stay inside the planes,
// and what is refused changes nothing.

#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/convert/ColorSpaceConverter.h>

#include <cstdlib>

using namespace Zan;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    ColorSpaceConverter converter;
    converter.SetMMXonlyStyle(input.Flip());
    converter.SetAlphaChannel(input.Byte());
    converter.SetPlusFunction(input.Once(16) ? input.Raw<ULong32>() : input.Below(7));

    double matrix[16];
    double offset[8];
    const bool ownMatrix = input.Once(4);
    const bool ownOffset = input.Once(4);
    if (ownMatrix) {
        for (double& entry : matrix) {
            entry = input.Real();
        }
    }
    if (ownOffset) {
        for (double& entry : offset) {
            entry = input.Real() * 16.0;
        }
    }

    fuzz::HostilePicture first(input);
    fuzz::HostilePicture second(input);
    for (int calls = 0; calls < 2; ++calls) {
        ImageView source = first.View(input);
        ImageView destination = input.Once(16) ? first.View(input) : second.View(input);
        const std::uint64_t before = first.Sum() * 31 + second.Sum();
        const Long32 status = converter.Do(source, destination, input.Enumeration<ProcessingStyleEnum>(7),
                                           ownMatrix ? matrix : nullptr, ownOffset ? offset : nullptr);
        if (status != 0 && first.Sum() * 31 + second.Sum() != before) {
            std::abort();
        }
    }
    return 0;
}
