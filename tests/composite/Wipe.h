#ifndef TESSELU_TESTS_COMPOSITE_WIPE_H
#define TESSELU_TESTS_COMPOSITE_WIPE_H

#include <algorithm>

#include "composite/Pictures.h"
#include "composite/WipeFormulas.h"

namespace composite_test {

struct Edge {
    double threshold;
    double gain;
};

inline Edge EdgeOf(double position, double softness) {
    softness = std::clamp(softness, 0.0, 32768.0);
    position = std::clamp(position, 0.0, 1.0);
    const double threshold = -softness / 255.0 + (255.0 + softness) / 255.0 * position;
    return {std::min(threshold, 1.0), 1.0 / (1.0 + softness)};
}

inline bool WordPixelsTakeBlocks(int style, const Machine& machine) {
    const bool vector =
        style == Zan::kInt_MMXorSIMD || style == Zan::kFlp_SIMD || style == Zan::kBestAvailable;
    return vector && (machine.HasSse2() || machine.TakesSse());
}

inline bool PairsTakeFixedAlpha(int style) {
    return style == Zan::kFP || style == Zan::kInt_MMXorSIMD || style == Zan::kBestAvailable;
}

inline unsigned PairAlpha(int style, unsigned g, const Edge& edge) {
    return PairsTakeFixedAlpha(style) ? FixedAlpha(g, edge.threshold, edge.gain)
                                      : FloatAlpha(g, edge.threshold, edge.gain);
}

/// The four pictures of a wipe, each with the view on it.
struct Wipe {
    Picture a;
    Picture b;
    Picture key;
    Picture dst;
    Zan::ImageView viewA{a};
    Zan::ImageView viewB{b};
    Zan::ImageView viewKey{key};
    Zan::ImageView viewDst{dst};

    Wipe(const Format& formatA, const Format& formatB, const Format& formatKey, const Format& formatDst)
        : a(formatA), b(formatB), key(formatKey), dst(formatDst) {}

    unsigned Width() {
        return static_cast<unsigned>(
            std::min({viewA.GetWidth(), viewB.GetWidth(), viewKey.GetWidth(), viewDst.GetWidth()}));
    }
    unsigned Height() {
        return static_cast<unsigned>(
            std::min({viewA.GetHeight(), viewB.GetHeight(), viewKey.GetHeight(), viewDst.GetHeight()}));
    }
    Zan::Long32 Run(Zan::ZanCompositor& compositor, double position, double softness, int style) {
        return compositor.CompositeTwoSrcAndAlphaGradient(viewA, viewB, viewKey, viewDst, position, softness,
                                                          Style(style));
    }
};

inline bool HasAlphaPlane(Zan::ImageView& view) {
    return view.GetImage()->GetChannelSampling() == Zan::k4224 && view.GetMemoryPointer(3) != nullptr;
}

/// Runs the wipe and compares every byte of the destination, and the sources with what they were.
inline void Check(Zan::ZanCompositor& compositor, const Machine& machine, Wipe& wipe, double position,
                  double softness, int style) {
    SCOPED_TRACE(::testing::Message() << wipe.Width() << "x" << wipe.Height() << " sampling "
                                      << wipe.viewDst.GetImage()->GetChannelSampling() << ", position "
                                      << position << ", softness " << softness << ", style " << style);
    const Edge edge = EdgeOf(position, softness);
    const unsigned width = wipe.Width();
    const unsigned height = wipe.Height();
    const PlaneModel a = wipe.a.Model(wipe.viewA);
    const PlaneModel b = wipe.b.Model(wipe.viewB);
    const PlaneModel key = wipe.key.Model(wipe.viewKey);
    PlaneModel dst = wipe.dst.Model(wipe.viewDst);
    const Bytes sourceAlphaA = wipe.a.Alpha();
    const Bytes sourceAlphaB = wipe.b.Alpha();
    Bytes alphaExpected = wipe.dst.Alpha();
    if (wipe.viewDst.GetImage()->GetChannelSampling() == Zan::k4444) {
        const bool blocks = WordPixelsTakeBlocks(style, machine);
        for (unsigned y = 0; y < height; ++y) {
            for (unsigned x = 0; x < (blocks ? width / 8 * 8 : width); ++x) {
                const unsigned alpha = blocks ? WordAlpha(key.At(y, x), edge.threshold, edge.gain)
                                              : FloatAlpha(key.At(y, x), edge.threshold, edge.gain);
                for (unsigned c = 0; c < 4; ++c) {
                    dst.At(y, 4 * x + c) = Blend255(alpha, a.At(y, 4 * x + c), b.At(y, 4 * x + c));
                }
            }
        }
    } else {
        for (unsigned y = 0; y < height; ++y) {
            for (unsigned x = 0; x + 2 <= width; x += 2) {
                const unsigned alpha0 = PairAlpha(style, key.At(y, x), edge);
                const unsigned alpha1 = PairAlpha(style, key.At(y, x + 1), edge);
                for (unsigned c = 0; c < 4; ++c) {
                    dst.At(y, 2 * x + c) =
                        Blend255(c == 3 ? alpha1 : alpha0, a.At(y, 2 * x + c), b.At(y, 2 * x + c));
                }
            }
        }
        if (HasAlphaPlane(wipe.viewDst)) {
            PlaneModel out = wipe.dst.Model(wipe.viewDst, 3);
            const bool hasA = HasAlphaPlane(wipe.viewA);
            const bool hasB = HasAlphaPlane(wipe.viewB) &&
                              wipe.viewB.GetImage()->GetAlphaChannelDescription() != Zan::kAlphaOpaque;
            const PlaneModel planeA = hasA ? wipe.a.Model(wipe.viewA, 3) : PlaneModel{};
            const PlaneModel planeB = hasB ? wipe.b.Model(wipe.viewB, 3) : PlaneModel{};
            for (unsigned y = 0; y < height; ++y) {
                for (unsigned x = 0; x < width; ++x) {
                    out.At(y, x) = !hasA && !hasB ? std::uint8_t{255}
                                                  : Blend255(PairAlpha(style, key.At(y, x), edge),
                                                             hasA ? planeA.At(y, x) : 255U,
                                                             hasB ? planeB.At(y, x) : 255U);
                }
            }
            alphaExpected = out.bytes;
        }
    }
    ASSERT_EQ(wipe.Run(compositor, position, softness, style), 0);
    ASSERT_TRUE(Matches(dst, wipe.dst.Colour()));
    ASSERT_EQ(alphaExpected, wipe.dst.Alpha()) << "alpha plane";
    ASSERT_TRUE(Matches(a, wipe.a.Colour())) << "the first source changed";
    ASSERT_TRUE(Matches(b, wipe.b.Colour())) << "the second source changed";
    ASSERT_TRUE(Matches(key, wipe.key.Colour())) << "the key changed";
    ASSERT_EQ(sourceAlphaA, wipe.a.Alpha());
    ASSERT_EQ(sourceAlphaB, wipe.b.Alpha());
}

inline constexpr Zan::AggregateChannelSamplingEnum kSamplings[] = {Zan::k4444, Zan::k422, Zan::k4224};

inline Format Colour(Zan::ULong32 width, Zan::ULong32 height, Zan::AggregateChannelSamplingEnum sampling) {
    return sampling == Zan::k4444 ? Format::Rgb(width, height) : Format::YCrCb(width, height, sampling);
}

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_WIPE_H
