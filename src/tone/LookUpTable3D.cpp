#include <TesselU/tone/LookUpTable3D.h>

#include "tone/ColourTables.h"

namespace Zan {

Long32 LookUpTable3D::Do(ULong32* source, ULong32* destination, ULong32 width, ULong32 height,
                         ULong32 sourcePitch, ULong32 destinationPitch, unsigned int /*codePath*/) const {
    // The least number has no counterpart: it does nothing where the other negative ones are refused.
    constexpr ULong32 kLeast = 0x80000000U;
    if (width > kLeast || height > kLeast) {
        return kStatusBadArgument;
    }
    if (width % kLeast == 0 || height % kLeast == 0) {
        return kStatusOk;
    }
    if (source == nullptr || destination == nullptr) {
        return kStatusNullPointer;
    }
    const auto memory = [](ULong32* address, ULong32 pitch) {
        return Plane{reinterpret_cast<std::uint8_t*>(address), static_cast<Long32>(pitch)}.In(
            PitchUnit::kWordsBelow);
    };
    MapPixels32(
        {{memory(source, sourcePitch)}, {memory(destination, destinationPitch)}, width, height, width},
        lattice.get(), 0x00FFFFFFU);
    return kStatusOk;
}

}  // namespace Zan
