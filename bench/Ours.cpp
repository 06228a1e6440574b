#include "Ours.h"

#include <memory>

#include "Wrapped.h"

namespace bench {

namespace {

// Compositors and converters are kept from call to call, as hosts keep them from frame to frame.

/// Enters one of our operations: the compositor's, with the path or style last.
template <class Call>
void EnterCompositor(Contest& contest, Call call) {
    contest.Enter(
        kOurs, "ours", Promise::kSameBytes,
        [call, compositor = std::make_shared<ZanCompositor>()]() -> int { return call(*compositor); });
}

void EnterConverter(Contest& contest, const Picture& from, const Picture& to) {
    contest.Enter(kOurs, "ours", Promise::kSameBytes,
                  [from, to, converter = std::make_shared<ColorSpaceConverter>()]() -> int {
                      return converter->Do(from->view, to->view, kInt_MMXorSIMD, nullptr, nullptr);
                  });
}

void EnterBlends(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    const ULong32 w = Number(size.width), h = Number(size.height);
    const Long32 pitch = Pitch(4 * size.width), pitchOfPairs = Pitch(2 * size.width);
    const Long32 pitchOfBytes = Pitch(size.width);
    ULong32 *a = Words(p.a), *b = Words(p.b), *key = Words(p.key), *out = Words(p.out);

    EnterCompositor(contests[Operation::kDissolvePixels], [=](ZanCompositor& compositor) {
        return compositor.CrossDissolve(a, b, out, w, h, pitch, pitch, pitch, kFade, 2);
    });
    EnterCompositor(contests[Operation::kDissolvePairs], [=](ZanCompositor& compositor) {
        return compositor.CrossDissolve(a, b, out, w / 2, h, pitchOfPairs, pitchOfPairs, pitchOfPairs, kFade,
                                        2);
    });
    EnterCompositor(contests[Operation::kCompositeTwoSources], [=](ZanCompositor& compositor) {
        return compositor.CompositeTwoSources(a, b, out, w, h, pitch, pitch, pitch, 2);
    });
    EnterCompositor(contests[Operation::kCompositeByPlane], [=](ZanCompositor& compositor) {
        return compositor.CompositeTwoSrcAndAlpha(a, b, key, out, w, h, pitch, pitch, pitchOfBytes, pitch, 2);
    });
    EnterCompositor(contests[Operation::kWipePixelsRaw], [=](ZanCompositor& compositor) {
        return compositor.CompositeTwoSrcAndAlphaGradient(a, b, key, out, w, h, pitch, pitch, pitchOfBytes,
                                                          pitch, kThreshold, kGain, 2);
    });
    EnterCompositor(contests[Operation::kSumOfAbsDiffs], [=, sums = p.out](ZanCompositor& compositor) {
        return compositor.SumOfAbsDiffs(a, b, sums, w, h, pitch, pitch, pitchOfBytes, 2);
    });

    const Picture noise = Key(size, p.key), edge = Key(size, p.edgeKey);
    const auto enterWipe = [&](Operation operation, const Picture& keyView, const Picture& from,
                               const Picture& to, const Picture& result) {
        EnterCompositor(contests[operation], [=](ZanCompositor& compositor) {
            return compositor.CompositeTwoSrcAndAlphaGradient(
                from->view, to->view, keyView->view, result->view, kPosition, kSoftness, kInt_MMXorSIMD);
        });
    };
    enterWipe(Operation::kWipePixels, noise, Pixels(size, p.a), Pixels(size, p.b), Pixels(size, p.out));
    enterWipe(Operation::kWipeEdgePixels, edge, Pixels(size, p.a), Pixels(size, p.b), Pixels(size, p.out));
    enterWipe(Operation::kWipePairs, noise, Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    enterWipe(Operation::kWipeEdgePairs, edge, Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    enterWipe(Operation::kWipePairsAndAlpha, noise, PairsAndAlpha(size, p.a), PairsAndAlpha(size, p.b),
              PairsAndAlpha(size, p.out));
    const auto enterBorder = [&](Operation operation, const Picture& keyView, const Picture& from,
                                 const Picture& to, const Picture& result) {
        EnterCompositor(contests[operation], [=](ZanCompositor& compositor) {
            return compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
                from->view, to->view, keyView->view, result->view, kPosition, kBorderSoftness, kBorderWidth,
                kBorderSoftness, kBorderColour, kInt_MMXorSIMD);
        });
    };
    enterBorder(Operation::kBorderPixels, noise, Pixels(size, p.a), Pixels(size, p.b), Pixels(size, p.out));
    enterBorder(Operation::kBorderEdgePixels, edge, Pixels(size, p.a), Pixels(size, p.b),
                Pixels(size, p.out));
    enterBorder(Operation::kBorderPairs, noise, Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    enterBorder(Operation::kBorderEdgePairs, edge, Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    const auto enterDissolve = [&](Operation operation, const Picture& from, const Picture& to,
                                   const Picture& result) {
        EnterCompositor(contests[operation], [=](ZanCompositor& compositor) {
            return compositor.CrossDissolve(from->view, to->view, result->view, kFade, kInt_MMXorSIMD);
        });
    };
    enterDissolve(Operation::kDissolveViewPixels, Pixels(size, p.a), Pixels(size, p.b), Pixels(size, p.out));
    enterDissolve(Operation::kDissolveViewPairs, Pairs(size, p.a), Pairs(size, p.b), Pairs(size, p.out));
    // As in CompositeTwoSources, picture b lies over picture a.
    for (const Operation operation : {Operation::kOverStraight, Operation::kOverShaping}) {
        const Picture over = Pixels(size, p.b), under = Pixels(size, p.a), to = Pixels(size, p.out, kShaped);
        under->image.SetAlphaChannelDescription(operation == Operation::kOverStraight ? kAlphaOpaque
                                                                                      : kAlphaVarying);
        EnterCompositor(contests[operation], [=](ZanCompositor& compositor) {
            return compositor.CompositeUnshapedAoverBwithFadeOfA(over->view, under->view, to->view, kOverFade,
                                                                 kInt_MMXorSIMD);
        });
    }
    EnterCompositor(contests[Operation::kOverPairs],
                    [over = PairsAndAlpha(size, p.b), under = PairsAndAlpha(size, p.a, kShaped2),
                     to = PairsAndAlpha(size, p.out, kShaped2)](ZanCompositor& compositor) {
                        return compositor.AoverB(over->view, under->view, to->view, kInt_MMXorSIMD);
                    });
    EnterCompositor(contests[Operation::kFill], [to = Pixels(size, p.out)](ZanCompositor& compositor) {
        return compositor.Fill(to->view, kColour, 0xFFFFFFFF, kInt_MMXorSIMD);
    });
}

void EnterConversions(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    const Picture pixels = Pixels(size, p.a), pixelsOut = Pixels(size, p.out);
    const Picture pairs = Pairs(size, p.a), pairsOut = Pairs(size, p.out);
    const Picture swapped = Pairs(size, p.a, kYCbYCr);
    const struct {
        Operation operation;
        Picture from, to;
    } all[] = {
        {Operation::kCopyPixels, pixels, pixelsOut},
        {Operation::kCopyPairs, pairs, pairsOut},
        {Operation::kPairsToPixels, pairs, pixelsOut},
        {Operation::kSwappedToPixels, swapped, pixelsOut},
        {Operation::k420ToPixels, Planar420(size, p.planar), pixelsOut},
        {Operation::k411ToPixels, Planar411(size, p.a), pixelsOut},
        {Operation::kPairsAlphaToPixels, PairsAndAlpha(size, p.a), pixelsOut},
        {Operation::kYccToPixels, YccPixels(size, p.a), pixelsOut},
        {Operation::kPixelsToPairs, pixels, pairsOut},
        {Operation::kPixelsTo420, pixels, Planar420(size, p.out)},
        {Operation::kPixelsTo411, pixels, Planar411(size, p.out)},
        {Operation::kPixelsToPairsAlpha, pixels, PairsAndAlpha(size, p.out)},
        {Operation::kPixelsToYcc, pixels, YccPixels(size, p.out)},
        {Operation::kPairsTo420, pairs, Planar420(size, p.out)},
        {Operation::kPairsTo422, pairs, Planar422(size, p.out)},
        {Operation::kPairsToSwapped, pairs, Pairs(size, p.out, kYCbYCr)},
        {Operation::kSwappedToPairs, swapped, pairsOut},
        {Operation::k422ToPairs, Planar422(size, p.a), pairsOut},
        {Operation::kPixelsTo24, pixels, Pixels24(size, p.out)},
        {Operation::k24ToPixels, Pixels24(size, p.a), pixelsOut},
        {Operation::kShape, pixels, Pixels(size, p.out, kShaped)},
        {Operation::kUnshape, Pixels(size, p.shaped, kShaped), pixelsOut},
    };
    for (const auto& conversion : all) {
        EnterConverter(contests[conversion.operation], conversion.from, conversion.to);
    }

    contests[Operation::kGradient].Enter(kOurs, "ours", Promise::kSameBytes, [size, out = p.out] {
        GradientGenerator::WgrGradientData map = {sizeof map,
                                                  Number(size.width),
                                                  Number(size.height),
                                                  Pitch(size.width),
                                                  8,
                                                  8,
                                                  255,
                                                  out,
                                                  1.0F,
                                                  0.25F,
                                                  0};
        return GradientGenerator::WgrGenerateGradient(&map, 41);
    });
}

}  // namespace

void EnterOurs(Contests& contests, const Pictures& pictures) {
    EnterBlends(contests, pictures);
    EnterConversions(contests, pictures);
    EnterTone(contests, pictures);
    EnterKeys(contests, pictures);
    EnterOverlays(contests, pictures);
    EnterFilters(contests, pictures);
}

}  // namespace bench
