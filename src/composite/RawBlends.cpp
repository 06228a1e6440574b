// The operations that know nothing but memory: each is its answer to the styles, its table of paths, its
// planes.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "foundation/ClassCapabilities.h"

namespace Zan {

constinit CPUcapabilities& ZanCompositor::CPUinstructionSet = classCapabilities[kOwnerZanCompositor];

namespace {

constexpr Ask kNo = Ask::kRefuse;

Plane Memory(void* address, Long32 pitch, PitchUnit unit) {
    return {static_cast<std::uint8_t*>(address), PitchIn(unit, pitch)};
}

}  // namespace

void Dissolve(Path path, const TwoSourceJob& job, double fade) {
    // Blocks in bytes: the dissolve treats all samples of a pixel alike.
    static constexpr TwoSourcePath kPathTable[kPaths] = {
        /* refused */ {},
        /* float   */ {&kDissolveInDoubles, 1, Tail::kByKernel, PitchUnit::kWords},
        /* scalar  */ {&kDissolveOf256, 1, Tail::kByKernel, PitchUnit::kWords},
        /* MMX     */ {&kDissolveOf255, 8 * 4, Tail::kByKernel, PitchUnit::kWords},
        /* SSE     */ {&kDissolveOf255, 16 * 4, Tail::kByKernel, PitchUnit::kWords},
        /* SSE2    */ {&kDissolveOf256, 1, Tail::kByKernel, PitchUnit::kWordsBelow},
    };

    const TwoSourcePath& chosen = kPathTable[static_cast<std::size_t>(path)];
    BlendSettings settings;
    double parts[2][256];
    if (path == Path::kFloat) {
        const double weightOfA = fade > 0 ? (fade < 1 ? fade : 1) : 0;
        for (int i = 0; i < 256; ++i) {
            parts[0][i] = i * weightOfA;
            parts[1][i] = i * (1 - weightOfA);
        }
        settings.parts = parts;
    } else {
        settings.weight = WeightOf(fade, chosen.kernel == &kDissolveOf256 ? 256 : 255);
    }
    Run(chosen, InPitchOf(chosen, job), settings);
}

Long32 ZanCompositor::CrossDissolve(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width, ULong32 height,
                                    Long32 pitchA, Long32 pitchB, Long32 pitchDst, double fade,
                                    unsigned int codePath) {
    static constexpr StyleRule kStyles = {Ask::kFloat, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};

    const Path path = ChoosePath(kStyles, kDissolveVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const TwoSourceJob job = {
        {Memory(srcA, pitchA, PitchUnit::kBytes), Memory(srcB, pitchB, PitchUnit::kBytes)},
        {Memory(dst, pitchDst, PitchUnit::kBytes)},
        4 * std::size_t{width},
        height};
    Dissolve(path, job, fade);
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSources(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width,
                                          ULong32 height, Long32 pitchA, Long32 pitchB, Long32 pitchDst,
                                          unsigned int codePath) {
    static constexpr StyleRule kStyles = {kNo, kNo, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kMMX};
    static constexpr TwoSourcePath kPath = {&kBlendByOwnAlpha, 4, Tail::kUnwritten, PitchUnit::kWords};

    if (ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly) == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const TwoSourceJob job = {{Memory(srcA, pitchA, kPath.pitch), Memory(srcB, pitchB, kPath.pitch)},
                              {Memory(dst, pitchDst, kPath.pitch)},
                              width,
                              height};
    Run(kPath, job, {});
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSrcAndAlpha(ULong32* srcA, ULong32* srcB, ULong32* alpha, ULong32* dst,
                                              ULong32 width, ULong32 height, Long32 pitchA, Long32 pitchB,
                                              Long32 pitchAlpha, Long32 pitchDst, unsigned int codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kMMX};
    static constexpr KeyedPath kPathTable[kPaths] = {
        /* refused */ {},
        /* float   */ {},
        /* scalar  */ {&kBlendByPlane, 1, Tail::kByKernel, PitchUnit::kWords},
        /* MMX     */ {&kBlendByPlane, 8, Tail::kUnwritten, PitchUnit::kBytes},
        /* SSE     */ {&kBlendByPlane, 8, Tail::kUnwritten, PitchUnit::kBytes},
        /* SSE2    */ {},
    };

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const KeyedPath& chosen = kPathTable[static_cast<std::size_t>(path)];
    const KeyedJob job = {{Memory(srcA, pitchA, chosen.pitch), Memory(srcB, pitchB, chosen.pitch),
                           Memory(alpha, pitchAlpha, PitchUnit::kBytes)},
                          {Memory(dst, pitchDst, chosen.pitch)},
                          width,
                          height};
    Run(chosen, job, {});
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSrcAndAlphaGradient(ULong32* srcA, ULong32* srcB, ULong32* alpha,
                                                      ULong32* dst, ULong32 width, ULong32 height,
                                                      Long32 pitchA, Long32 pitchB, Long32 pitchAlpha,
                                                      Long32 pitchDst, double threshold, double gain,
                                                      unsigned int codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kScalar};

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const KeyedJob job = {{Memory(srcA, pitchA, PitchUnit::kBytes), Memory(srcB, pitchB, PitchUnit::kBytes),
                           Memory(alpha, pitchAlpha, PitchUnit::kBytes)},
                          {Memory(dst, pitchDst, PitchUnit::kBytes)},
                          width,
                          height};
    WipePixels(path, job, threshold, gain);
    return kStatusOk;
}

Long32 ZanCompositor::SumOfAbsDiffs(ULong32* srcA, ULong32* srcB, unsigned char* dst, ULong32 width,
                                    ULong32 height, Long32 pitchA, Long32 pitchB, Long32 pitchDst,
                                    ULong32 codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kRefused};
    static constexpr TwoSourcePath kScalar = {&kSumOfDifferences, 1, Tail::kByKernel, PitchUnit::kWords};
    static constexpr TwoSourcePath kVector = {&kSumOfDifferences, 8, Tail::kUnwritten, PitchUnit::kWords};

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const TwoSourceJob job = {
        {Memory(srcA, pitchA, PitchUnit::kWords), Memory(srcB, pitchB, PitchUnit::kWords)},
        {Memory(dst, pitchDst, PitchUnit::kBytes)},
        width,
        height};
    Run(path == Path::kScalar ? kScalar : kVector, job, {});
    return kStatusOk;
}

Long32 ZanCompositor::XSubPixelPosition(ULong32* src, ULong32* dst, ULong32 width, ULong32 height,
                                        Long32 pitchSrc, Long32 pitchDst, double position, ULong32 codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, kNo, kNo, kNo, kNo};

    if (ChoosePath(kStyles, {}, codePath, CPUinstructionSet, mmxOnly) == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const double p = position * 256;
    BlendSettings settings;
    settings.weight = p > 0 ? static_cast<unsigned>(p < 255 ? p : 255) : 0;
    kShiftSubPixel({{Memory(src, pitchSrc, PitchUnit::kWords)},
                    {Memory(dst, pitchDst, PitchUnit::kWords)},
                    width,
                    height,
                    width},
                   settings);
    return kStatusOk;
}

}  // namespace Zan
