// Wipes along a key, on views.

#include "composite/Wipes.h"

#include <TesselU/composite/ZanCompositor.h>

#include <array>

#include "composite/ViewRows.h"
#include "image/ViewFormat.h"

namespace Zan {

namespace {

constexpr std::size_t kKeys = 256;

std::array<std::uint8_t, kKeys> AlphasOf(const KeyMapFloat& map) {
    std::array<std::uint8_t, kKeys> alphas;
    for (unsigned key = 0; key < kKeys; ++key)
        alphas[key] = map(key);
    return alphas;
}

/// What `position` and `softness` (in code values of the key) mean to the kernels.
struct Ramp {
    double threshold;
    double gain;

    static Ramp From(double position, double softness) {
        const double soft = softness > 0 ? (softness < 32768 ? softness : 32768) : 0;
        const double at = position > 0 ? (position < 1 ? position : 1) : 0;
        const double threshold = -soft / 255 + (255 + soft) / 255 * at;
        return {threshold > 1 ? 1 : threshold, 1 / (1 + soft)};
    }
};

/// Two sources, key and destination of a wipe. Sources without memory are left out, and limit nobody.
struct WipePlanes {
    ViewPlane a, b, key, out;

    /// Calls `run` with jobs that stay inside all planes.
    template <class Layout, class RunJob>
    void Walk(std::size_t units, std::size_t rows, RunJob&& run) const {
        const auto at = [](const ViewPlane& plane, std::ptrdiff_t row) -> simd::ReadPlane {
            if (plane.first == nullptr)
                return {};
            return {plane.first + row * plane.pitch, plane.pitch};
        };
        WalkInside({{a.first != nullptr ? &a : &out, Layout::kSourceBytes[0]},
                    {b.first != nullptr ? &b : &out, Layout::kSourceBytes[1]},
                    {&key, Layout::kSourceBytes[2]},
                    {&out, Layout::kDestinationBytes}},
                   units, rows, [&](std::size_t first, std::size_t count, std::size_t n) {
                       const auto row = static_cast<std::ptrdiff_t>(first);
                       run(KeyedJob{{{at(a, row), at(b, row), at(key, row)}},
                                    {out.first + row * out.pitch, out.pitch},
                                    n,
                                    count});
                   });
    }
};

}  // namespace

void WipePixels(Path path, const KeyedJob& job, double threshold, double gain) {
    static constexpr KeyedPath kScalarRows = {1, &kWipePixelsTable, nullptr, PitchUnit::kBytes};
    static constexpr KeyedPath kVectorRows = {8, &kWipePixels16, nullptr, PitchUnit::kBytes};

    BlendSettings settings;
    if (path == Path::kScalar) {
        const auto alphas = AlphasOf(KeyMapFloat::From(threshold, gain));
        settings.table = alphas.data();
        Run<KeyedPixelLayout>(kScalarRows, job, settings);
    } else {
        settings.map16 = KeyMap16::From(threshold, gain);
        Run<KeyedPixelLayout>(kVectorRows, job, settings);
    }
}

Long32 ZanCompositor::CompositeTwoSrcAndAlphaGradient(ImageView& srcA, ImageView& srcB, ImageView& key,
                                                      ImageView& dst, double position, double softness,
                                                      ProcessingStyleEnum style) {
    static constexpr StyleRule kPixelStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                               Ask::kVector, Ask::kVector, Ask::kScalar};
    static constexpr VectorRule kPixelVectors = {true, Path::kSSE, Path::kScalar};
    // Of pairs: the mapping of the key in double precision or in fixed point.
    static constexpr StyleRule kPairStyles = {Ask::kFloat, Ask::kScalar, Ask::kScalar,
                                              Ask::kFloat, Ask::kScalar, Ask::kFloat};

    for (const ImageView* view : {&srcA, &srcB, &key, &dst})
        if (view->GetImage() == nullptr || view->GetImage()->GetImageDescriptor() == nullptr)
            return kStatusNullPointer;
    const Image &imageA = *srcA.GetImage(), &imageB = *srcB.GetImage(), &imageOut = *dst.GetImage();
    const bool pixels = Is4444(imageA) && Is4444(imageB) && Is4444(imageOut);
    const bool pairs = Is422Family(imageA) && Is422Family(imageB) && Is422Family(imageOut);
    if (!(pixels || pairs) || !IsGrey8(*key.GetImage()))
        return kStatusUnsupportedFormat;

    // All planes that will be touched are looked at before anything is written.
    const auto [width, height] = SmallestSize(srcA, srcB, key, dst);
    WipePlanes colour, alpha;
    const bool wipesAlpha = pairs && dst.GetMemoryPointer(3) != nullptr;
    const bool opaqueB = imageB.GetAlphaChannelDescription() == kAlphaOpaque;
    const struct {
        const ImageView* view;
        ULong32 channel;
        ViewPlane* plane;
        bool isNeeded;
        bool mayBeMissing;
    } selections[] = {
        {&srcA, 0, &colour.a, true, false},       {&srcB, 0, &colour.b, true, false},
        {&key, 0, &colour.key, true, false},      {&dst, 0, &colour.out, true, false},
        {&srcA, 3, &alpha.a, wipesAlpha, true},   {&srcB, 3, &alpha.b, wipesAlpha && !opaqueB, true},
        {&dst, 3, &alpha.out, wipesAlpha, false},
    };
    for (const auto& [view, channel, plane, isNeeded, mayBeMissing] : selections) {
        if (!isNeeded)
            continue;
        const Long32 status = SelectPlane(*view, channel, height, *plane);
        if (status != kStatusOk && !(mayBeMissing && status == kStatusNullPointer))
            return status;
    }
    alpha.key = colour.key;

    const Ramp ramp = Ramp::From(position, softness);
    const auto styleNumber = static_cast<unsigned>(style);
    if (pixels) {
        const Path path = ChoosePath(kPixelStyles, kPixelVectors, styleNumber, CPUinstructionSet, mmxOnly);
        colour.Walk<KeyedPixelLayout>(
            width, height, [&](const KeyedJob& job) { WipePixels(path, job, ramp.threshold, ramp.gain); });
        return kStatusOk;
    }

    const bool inDoubles = kPairStyles(styleNumber) == Ask::kFloat;
    const auto alphas = AlphasOf(KeyMapFloat::From(ramp.threshold, ramp.gain));
    BlendSettings settings;
    settings.table = alphas.data();
    settings.map32 = KeyMap32::From(ramp.threshold, ramp.gain);
    const KeyedPath pairRows = {1, inDoubles ? &kWipePairsTable : &kWipePairs32, nullptr, PitchUnit::kBytes};
    const KeyedPath alphaRows = {1, inDoubles ? &kWipeBytesTable : &kWipeBytes32, nullptr, PitchUnit::kBytes};

    colour.Walk<KeyedPairLayout>(width / 2, height,
                                 [&](const KeyedJob& job) { Run<KeyedPairLayout>(pairRows, job, settings); });
    if (wipesAlpha)
        alpha.Walk<KeyedByteLayout>(
            width, height, [&](const KeyedJob& job) { Run<KeyedByteLayout>(alphaRows, job, settings); });
    return kStatusOk;
}

}  // namespace Zan
