// Blends on views.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "composite/ViewPlanes.h"
#include "composite/kernels/Fill.h"

namespace Zan {
namespace {

// The alpha planes of a dissolve, by one arithmetic on every path. A missing source is full.
void DissolveAlpha(const Plane& a, const Plane& b, const Plane& out, ULong32 width, ULong32 rows,
                   unsigned weightOfA) {
    if (a.first != nullptr && b.first != nullptr) {
        kDissolveOf256({{a, b}, {out}, width, rows, width}, {.weight = weightOfA});
    } else if (a.first != nullptr) {
        kDissolveWithFull({{a}, {out}, width, rows, width}, {.weight = weightOfA});
    } else if (b.first != nullptr) {
        kDissolveWithFull({{b}, {out}, width, rows, width}, {.weight = 256 - weightOfA});
    } else {
        kFillBytes({{}, {out}, width, rows, width}, {.pattern = 0xFFFFFFFFU, .boundary = 1});
    }
}

bool IsUnshapedPairsAndAlpha(const Image& image, ShapedEnum shaping) {
    return image.GetChannelSampling() == k4224 && image.GetColorSpace() == kYCrCb &&
           image.GetNumberOfChannels() == 4 && image.GetPixelShaping() == shaping;
}

/// The first row of a plane for all rows. It knows no bounds any more: `columns` is cut to what it holds.
Plane FirstRowForAll(const Plane& plane, std::size_t& columns) {
    columns = std::min(columns, plane.Clip(columns, 0) / 2 * 2);
    return {plane.first, 0};
}

}  // namespace

Long32 ZanCompositor::CrossDissolve(ImageView& srcA, ImageView& srcB, ImageView& dst, double fade,
                                    ProcessingStyleEnum style) {
    static constexpr StyleRule kStyles = {Ask::kFloat,  Ask::kScalar, Ask::kVector,
                                          Ask::kVector, Ask::kVector, Ask::kFloat};

    if (!HaveImages({&srcA, &srcB, &dst})) {
        return kStatusNullPointer;
    }
    const BlendFormat format = CommonFormat(*srcA.GetImage(), *srcB.GetImage(), *dst.GetImage());
    if (format == BlendFormat::kNeither) {
        return kStatusUnsupportedFormat;
    }
    const auto [width, height] = SmallestSize(srcA, srcB, dst);
    TwoSourceJob job{.height = height};
    Plane alphaA, alphaB, alphaOut;
    const bool hasAlpha = format == BlendFormat::kPairs && dst.GetMemoryPointer(3) != nullptr;
    if (const Long32 status = SelectPlanes({{srcA, 0, job.source[0]},
                                            {srcB, 0, job.source[1]},
                                            {dst, 0, job.destination[0]},
                                            {srcA, 3, alphaA, hasAlpha, true},
                                            {srcB, 3, alphaB, hasAlpha, true},
                                            {dst, 3, alphaOut, hasAlpha}},
                                           height);
        status != kStatusOk) {
        return status;
    }

    // An odd last pixel of 4:2:2 is no whole word.
    const std::size_t words = format == BlendFormat::kPixels ? width : width / 2;
    job.width = 4 * std::min(words, SIZE_MAX / 4);
    Dissolve(ChoosePath(kStyles, kDissolveVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly),
             job, fade);
    if (hasAlpha) {
        DissolveAlpha(alphaA, alphaB, alphaOut, width, height, WeightOf(fade, 256));
    }
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSources(ImageView& srcA, ImageView& srcB, ImageView& dst,
                                          ProcessingStyleEnum style) {
    static constexpr StyleRule kStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                          Ask::kRefuse, Ask::kVector, Ask::kRefuse};
    static constexpr VectorRule kVectors = {false, Path::kSSE, Path::kMMX};
    static constexpr TwoSourcePath kScalar = {&kBlendByOwnAlpha, 1, Tail::kByKernel, PitchUnit::kWords};
    static constexpr TwoSourcePath kVector = {&kBlendByOwnAlpha, 4, Tail::kUnwritten, PitchUnit::kWords};

    const Path path = ChoosePath(kStyles, kVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const auto [width, height] = SmallestSize(srcA, srcB, dst);
    TwoSourceJob job{.height = height};
    if (const Long32 status = SelectPlanes(
            {{srcA, 0, job.source[0]}, {srcB, 0, job.source[1]}, {dst, 0, job.destination[0]}}, height);
        status != kStatusOk) {
        return status;
    }
    job.width = WordsOf(*srcA.GetImage(), width);
    const TwoSourcePath& chosen = path == Path::kScalar ? kScalar : kVector;
    Run(chosen, InPitchOf(chosen, job), {});
    return kStatusOk;
}

Long32 ZanCompositor::CompositeTwoSrcAndAlpha(ImageView& srcA, ImageView& srcB, ImageView& key,
                                              ImageView& dst, ProcessingStyleEnum style) {
    static constexpr StyleRule kStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                          Ask::kRefuse, Ask::kVector, Ask::kScalar};
    static constexpr VectorRule kVectors = {true, Path::kSSE, Path::kMMX};
    static constexpr KeyedPath kScalar = {&kBlendByPlane, 1, Tail::kByKernel, PitchUnit::kWords};
    static constexpr KeyedPath kVector = {&kBlendByPlane, 8, Tail::kUnwritten, PitchUnit::kBytes};

    const Path path = ChoosePath(kStyles, kVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly);
    if (path == Path::kRefused) {
        return kStatusUnsupportedStyle;
    }
    const auto [width, height] = SmallestSize(srcA, srcB, key, dst);
    KeyedJob job{.height = height};
    if (const Long32 status = SelectPlanes({{srcA, 0, job.source[0]},
                                            {srcB, 0, job.source[1]},
                                            {key, 0, job.source[2]},
                                            {dst, 0, job.destination[0]}},
                                           height);
        status != kStatusOk) {
        return status;
    }
    job.width = WordsOf(*srcA.GetImage(), width);
    const KeyedPath& chosen = path == Path::kScalar ? kScalar : kVector;
    const Plane keys = job.source[2];
    job = InPitchOf(chosen, job);
    job.source[2] = keys;
    Run(chosen, job, {});
    return kStatusOk;
}

Long32 ZanCompositor::AoverB(ImageView& srcA, ImageView& srcB, ImageView& dst, ProcessingStyleEnum) {
    if (!HaveImages({&srcA, &srcB, &dst})) {
        return kStatusNullPointer;
    }
    if (!IsUnshapedPairsAndAlpha(*srcA.GetImage(), kUnshaped) ||
        !IsUnshapedPairsAndAlpha(*srcB.GetImage(), kShaped2) ||
        !IsUnshapedPairsAndAlpha(*dst.GetImage(), kShaped2)) {
        return kStatusUnsupportedFormat;
    }
    // The alpha of `srcB` must be there, and is not read.
    if (srcB.GetMemoryPointer(3) == nullptr) {
        return kStatusNullPointer;
    }
    const auto [width, height] = SmallestSize(srcA, srcB, dst);
    OverJob job{.height = height};
    Plane alphaA, alphaOut;
    Long32 status = SelectPlanes(
        {{srcA, 0, job.source[0]}, {srcB, 0, job.source[1]}, {dst, 0, job.destination[0]}}, height);
    if (status == kStatusOk) {
        status = SelectPlanes({{srcA, 3, alphaA}, {dst, 3, alphaOut}}, std::min<ULong32>(height, 1));
    }
    if (status != kStatusOk) {
        return status;
    }
    // Alpha is walked with a pitch of 0: its first row serves all.
    job.width = std::size_t{width} + width % 2;
    for (Plane* plane : {&job.source[0], &job.source[1], &job.destination[0]}) {
        *plane = plane->In(PitchUnit::kWordsBelow);
    }
    job.source[2] = FirstRowForAll(alphaA, job.width);
    job.destination[1] = FirstRowForAll(alphaOut, job.width);
    job.whole = job.width;
    kOverByPlane(job);
    return kStatusOk;
}

Long32 ZanCompositor::CompositeUnshapedAoverBwithFadeOfA(ImageView& srcA, ImageView& srcB, ImageView& dst,
                                                         double fade, ProcessingStyleEnum style) {
    static constexpr StyleRule kStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                          Ask::kVector, Ask::kVector, Ask::kScalar};
    static constexpr VectorRule kVectors = {true, Path::kScalar, Path::kScalar};
    static constexpr std::size_t kBlock = 8;

    if (!HaveImages({&srcA, &srcB, &dst})) {
        return kStatusNullPointer;
    }
    const auto is = [](const ImageView& view, ShapedEnum shaping) {
        const Image& image = *view.GetImage();
        return image.GetChannelSampling() == k4444 && image.GetColorSpace() == kRGB &&
               image.GetPixelShaping() == shaping;
    };
    if (!is(srcA, kUnshaped) || !is(srcB, kUnshaped) || !is(dst, kShaped)) {
        return kStatusUnsupportedFormat;
    }
    const auto [width, height] = SmallestSize(srcA, srcB, dst);
    TwoSourceJob job{.width = width, .height = height, .whole = width};
    if (const Long32 status = SelectPlanes(
            {{srcA, 0, job.source[0]}, {srcB, 0, job.source[1]}, {dst, 0, job.destination[0]}}, height);
        status != kStatusOk) {
        return status;
    }
    BlendSettings settings;
    settings.weight = WeightOf(fade, 256);
    settings.tailWeight = settings.weight;
    if (ChoosePath(kStyles, kVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly) ==
        Path::kSSE2) {
        // The tail of this path takes the fade as a whole number.
        job.whole = width - width % kBlock;
        settings.tailWeight = fade >= 1 ? 1 : 0;
    }
    const bool isStraight = srcB.GetImage()->GetAlphaChannelDescription() == kAlphaOpaque;
    (isStraight ? kOverFaded : kOverFadedShaping)(job, settings);
    return kStatusOk;
}

}  // namespace Zan
