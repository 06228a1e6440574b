// Wipes along a key, on views.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/BlendPaths.h"
#include "composite/ViewPlanes.h"

namespace Zan {

namespace {

template <class Map>
KeyTable TableOf(const Map& map) {
    KeyTable table;
    for (unsigned key = 0; key < table.entry.size(); ++key) {
        table.entry[key] = map(key);
    }
    table.Arrange();
    return table;
}

/// Whether a table, which gives what the mapping gives, is made in less time than it saves. A key that passes
/// through its range in fewer than `mostKeys` values needs few rows.
bool IsTableWorthwhile(std::size_t pixels, double gain, unsigned mostKeys) {
    constexpr std::size_t kFewPixels = 1 << 14;
    return pixels >= kFewPixels && gain * mostKeys > 1;
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

}  // namespace

void WipePixels(Path path, const KeyedJob& job, double threshold, double gain) {
    static constexpr KeyedPath kScalar = {&kWipePixelsTable, 1, Tail::kByKernel, PitchUnit::kBytes};
    static constexpr KeyedPath kVector = {&kWipePixels16, 8, Tail::kUnwritten, PitchUnit::kBytes};
    static constexpr KeyedPath kVectorByTable = {&kWipePixelsTable, 8, Tail::kUnwritten, PitchUnit::kBytes};

    BlendSettings settings;
    if (path == Path::kScalar) {
        const KeyTable alphas = TableOf(KeyMapFloat::From(threshold, gain));
        settings.table = &alphas;
        Run(kScalar, job, settings);
        return;
    }
    settings.map16 = KeyMap16::From(threshold, gain);
    if (IsTableWorthwhile(job.width * job.height, gain, 48)) {
        const KeyTable alphas = TableOf(settings.map16);
        settings.table = &alphas;
        Run(alphas.rows == 4 ? kVectorByTable : kVector, job, settings);
    } else {
        Run(kVector, job, settings);
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

    if (!HaveImages({&srcA, &srcB, &key, &dst})) {
        return kStatusNullPointer;
    }
    const Image& imageB = *srcB.GetImage();
    const BlendFormat format = CommonFormat(*srcA.GetImage(), imageB, *dst.GetImage());
    if (format == BlendFormat::kNeither || !IsGrey8(*key.GetImage())) {
        return kStatusUnsupportedFormat;
    }

    const auto [width, height] = SmallestSize(srcA, srcB, key, dst);
    KeyedAlphaJob job{.width = width, .height = height};
    const bool pixels = format == BlendFormat::kPixels;
    const bool wipesAlpha = !pixels && dst.GetMemoryPointer(3) != nullptr;
    const bool opaqueB = imageB.GetAlphaChannelDescription() == kAlphaOpaque;
    if (const Long32 status = SelectPlanes({{srcA, 0, job.source[0]},
                                            {srcB, 0, job.source[1]},
                                            {key, 0, job.source[2]},
                                            {dst, 0, job.destination[0]},
                                            {srcA, 3, job.source[kAlphaA], wipesAlpha, true},
                                            {srcB, 3, job.source[kAlphaB], wipesAlpha && !opaqueB, true},
                                            {dst, 3, job.destination[kAlphaOut], wipesAlpha}},
                                           height);
        status != kStatusOk) {
        return status;
    }

    const Ramp ramp = Ramp::From(position, softness);
    const auto styleNumber = static_cast<unsigned>(style);
    const KeyedJob colour = {
        {job.source[0], job.source[1], job.source[2]}, {job.destination[0]}, width, height};
    if (pixels) {
        WipePixels(ChoosePath(kPixelStyles, kPixelVectors, styleNumber, CPUinstructionSet, mmxOnly), colour,
                   ramp.threshold, ramp.gain);
        return kStatusOk;
    }

    const bool inDoubles = kPairStyles(styleNumber) == Ask::kFloat;
    const bool byTable = inDoubles || IsTableWorthwhile(job.width * job.height, ramp.gain, 112);
    KeyTable alphas;
    BlendSettings settings;
    settings.map32 = KeyMap32::From(ramp.threshold, ramp.gain);
    settings.table = &alphas;
    if (byTable) {
        alphas = inDoubles ? TableOf(KeyMapFloat::From(ramp.threshold, ramp.gain)) : TableOf(settings.map32);
    }
    // An odd last pixel of the colour plane has no pair and stays as it was; its alpha does not.
    if (wipesAlpha) {
        Run(BlendPath<KeyedAlphaKernel>{byTable ? &kWipePairsAndAlphaTable : &kWipePairsAndAlpha32, 2,
                                        Tail::kByKernel, PitchUnit::kBytes},
            job, settings);
    } else {
        Run(KeyedPath{byTable ? &kWipePairsTable : &kWipePairs32, 2, Tail::kUnwritten, PitchUnit::kBytes},
            colour, settings);
    }
    return kStatusOk;
}

}  // namespace Zan
