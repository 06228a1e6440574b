// The soft wipe that converts 4:2:2 to RGB as it goes.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "composite/kernels/ConvertingWipe.h"

namespace Zan {

Long32 ZanCompositor::CompositeTwoSrcCSCAndAlphaGradient(ULong32* srcA, ULong32* srcB, ULong32* key,
                                                         ULong32* dst, ULong32 width, ULong32 height,
                                                         Long32 pitchA, Long32 pitchB, Long32 pitchKey,
                                                         Long32 pitchDst, double threshold, double gain,
                                                         unsigned int codePath) {
    constexpr Ask kNo = Ask::kRefuse;
    static constexpr StyleRule kStyles = {kNo, kNo, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kMMX};
    static constexpr std::size_t kBlock = 16;

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    // There is no MMX form.
    if (path == Path::kMMX) {
        return kStatusOk;
    }
    const auto picture = [](ULong32* first, Long32 pitch) {
        return Plane{reinterpret_cast<std::uint8_t*>(first), PitchIn(PitchUnit::kWords, pitch)};
    };
    const std::size_t whole = width - width % kBlock;
    const KeyedJob job = {
        {picture(srcA, pitchA), picture(srcB, pitchB), Plane{reinterpret_cast<std::uint8_t*>(key), pitchKey}},
        {picture(dst, pitchDst)},
        whole,
        height,
        whole};
    kWipeConverting(job, KeyMap8::From(threshold, gain),
                    DefaultCoefficients(kKindYCrCbToFullRGB, kOffsetsIn16ths));
    return kStatusOk;
}

}  // namespace Zan
