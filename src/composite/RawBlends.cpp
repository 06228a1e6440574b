// The operations that know nothing but memory: each is its answer to the styles, its table of paths, its
// planes.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "composite/Wipes.h"
#include "foundation/ClassCapabilities.h"

namespace Zan {

constinit CPUcapabilities& ZanCompositor::CPUinstructionSet = classCapabilities[kOwnerZanCompositor];

namespace {

constexpr Ask kNo = Ask::kRefuse;

TwoSourceJob JobOf(const ULong32* srcA, const ULong32* srcB, void* dst, ULong32 width, ULong32 height,
                   Long32 pitchA, Long32 pitchB, std::ptrdiff_t pitchDst, PitchUnit unit) {
    return {{{{reinterpret_cast<const std::uint8_t*>(srcA), InUnit(pitchA, unit)},
              {reinterpret_cast<const std::uint8_t*>(srcB), InUnit(pitchB, unit)}}},
            {static_cast<std::uint8_t*>(dst), pitchDst},
            width,
            height};
}

KeyedJob WithKey(const TwoSourceJob& job, const ULong32* key, Long32 pitchKey) {
    const simd::ReadPlane plane = {reinterpret_cast<const std::uint8_t*>(key), pitchKey};
    return {{{job.source[0], job.source[1], plane}}, job.destination, job.units, job.rows};
}

/// The reference: double precision, one multiplication a sample made ahead.
void DissolveInDoubles(const TwoSourceJob& job, double fade) {
    double partOfA[256], partOfB[256];
    for (int i = 0; i < 256; ++i) {
        partOfA[i] = i * fade;
        partOfB[i] = i * (1 - fade);
    }
    for (std::size_t y = 0; y < job.rows; ++y) {
        const auto row = static_cast<std::ptrdiff_t>(y);
        const std::uint8_t* a = job.source[0].row + row * job.source[0].pitch;
        const std::uint8_t* b = job.source[1].row + row * job.source[1].pitch;
        std::uint8_t* out = job.destination.row + row * job.destination.pitch;
        for (std::size_t x = 0; x < job.units; ++x)
            out[x] = static_cast<std::uint8_t>(partOfB[b[x]] + partOfA[a[x]] + 0.5);
    }
}

}  // namespace

Long32 ZanCompositor::CrossDissolve(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width, ULong32 height,
                                    Long32 pitchA, Long32 pitchB, Long32 pitchDst, double fade,
                                    unsigned int codePath) {
    static constexpr StyleRule kStyles = {Ask::kFloat, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {true, Path::kSSE, Path::kMMX};
    // Blocks in bytes: the dissolve treats all samples of a pixel alike.
    static constexpr TwoSourcePath kPathTable[kPaths] = {
        /* refused */ {},
        /* float   */ {1, nullptr, nullptr, PitchUnit::kWords},
        /* scalar  */ {1, &kDissolveOf256, nullptr, PitchUnit::kWords},
        /* MMX     */ {8 * 4, &kDissolveOf255, &kDissolveOf255Tail, PitchUnit::kWords},
        /* SSE     */ {16 * 4, &kDissolveOf255, &kDissolveOf255Tail, PitchUnit::kWords},
        /* SSE2    */ {1, &kDissolveOf256, nullptr, PitchUnit::kWordsBelow},
    };

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused)
        return kStatusUnsupportedStyle;
    const TwoSourcePath& rows = kPathTable[static_cast<std::size_t>(path)];
    TwoSourceJob job =
        JobOf(srcA, srcB, dst, width, height, pitchA, pitchB, InUnit(pitchDst, rows.pitch), rows.pitch);
    job.units *= 4;

    const double weightOfA = fade > 0 ? (fade < 1 ? fade : 1) : 0;
    if (path == Path::kFloat) {
        DissolveInDoubles(job, weightOfA);
        return kStatusOk;
    }
    BlendSettings settings;
    settings.weight = static_cast<unsigned>(weightOfA * (rows.body == &kDissolveOf256 ? 256 : 255) + 0.5);
    Run<ByteLayout>(rows, job, settings);
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSources(ULong32* srcA, ULong32* srcB, ULong32* dst, ULong32 width,
                                          ULong32 height, Long32 pitchA, Long32 pitchB, Long32 pitchDst,
                                          unsigned int codePath) {
    static constexpr StyleRule kStyles = {kNo, kNo, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kMMX};
    static constexpr TwoSourcePath kRows = {4, &kBlendByOwnAlpha, nullptr, PitchUnit::kWords};

    if (ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly) == Path::kRefused)
        return kStatusUnsupportedStyle;
    Run<PixelLayout>(
        kRows,
        JobOf(srcA, srcB, dst, width, height, pitchA, pitchB, InUnit(pitchDst, kRows.pitch), kRows.pitch),
        {});
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
        /* scalar  */ {1, &kBlendByPlane, nullptr, PitchUnit::kWords},
        /* MMX     */ {8, &kBlendByPlane, nullptr, PitchUnit::kBytes},
        /* SSE     */ {8, &kBlendByPlane, nullptr, PitchUnit::kBytes},
        /* SSE2    */ {},
    };

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused)
        return kStatusUnsupportedStyle;
    const KeyedPath& rows = kPathTable[static_cast<std::size_t>(path)];
    Run<KeyedPixelLayout>(rows,
                          WithKey(JobOf(srcA, srcB, dst, width, height, pitchA, pitchB,
                                        InUnit(pitchDst, rows.pitch), rows.pitch),
                                  alpha, pitchAlpha),
                          {});
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
    if (path == Path::kRefused)
        return kStatusUnsupportedStyle;
    WipePixels(path,
               WithKey(JobOf(srcA, srcB, dst, width, height, pitchA, pitchB, pitchDst, PitchUnit::kBytes),
                       alpha, pitchAlpha),
               threshold, gain);
    return kStatusOk;
}

Long32 ZanCompositor::SumOfAbsDiffs(ULong32* srcA, ULong32* srcB, unsigned char* dst, ULong32 width,
                                    ULong32 height, Long32 pitchA, Long32 pitchB, Long32 pitchDst,
                                    ULong32 codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, Ask::kVector, kNo, kNo, kNo};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kRefused};
    static constexpr TwoSourcePath kScalarRows = {1, &kSumOfDifferences, nullptr, PitchUnit::kWords};
    static constexpr TwoSourcePath kVectorRows = {8, &kSumOfDifferences, nullptr, PitchUnit::kWords};

    const Path path = ChoosePath(kStyles, kVectors, codePath, CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused)
        return kStatusUnsupportedStyle;
    const TwoSourcePath& rows = path == Path::kScalar ? kScalarRows : kVectorRows;
    Run<DifferenceLayout>(rows, JobOf(srcA, srcB, dst, width, height, pitchA, pitchB, pitchDst, rows.pitch),
                          {});
    return kStatusOk;
}

Long32 ZanCompositor::XSubPixelPosition(ULong32* src, ULong32* dst, ULong32 width, ULong32 height,
                                        Long32 pitchSrc, Long32 pitchDst, double position, ULong32 codePath) {
    static constexpr StyleRule kStyles = {kNo, Ask::kScalar, kNo, kNo, kNo, kNo};

    if (ChoosePath(kStyles, {}, codePath, CPUinstructionSet, mmxOnly) == Path::kRefused)
        return kStatusUnsupportedStyle;
    const double p = position * 256;
    const unsigned weight = p > 0 ? static_cast<unsigned>(p < 255 ? p : 255) : 0;
    const unsigned ofCurrent = 2 * weight, ofNext = 512 - 2 * weight;
    for (ULong32 y = 0; y < height && width != 0; ++y) {
        const auto row = static_cast<std::ptrdiff_t>(y);
        const auto* from =
            reinterpret_cast<const std::uint8_t*>(src) + row * InUnit(pitchSrc, PitchUnit::kWords);
        auto* out = reinterpret_cast<std::uint8_t*>(dst) + row * InUnit(pitchDst, PitchUnit::kWords);
        const std::size_t last = 4 * (std::size_t{width} - 1);
        for (std::size_t x = 0; x < last; ++x)
            out[x] = SubPixel(from[x], from[x + 4], ofCurrent, ofNext);
        for (std::size_t x = last; x < last + 4; ++x)
            out[x] = SubPixel(from[x], 0, ofCurrent, ofNext);
    }
    return kStatusOk;
}

}  // namespace Zan
