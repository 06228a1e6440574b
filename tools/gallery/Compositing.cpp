#include "Gallery.h"

#include <cstring>

namespace gallery {

void Gallery::Compositing() {
    Show("compositor", "Fill", [&](ImageView& out) {
        Copy(rgbA, out);
        const Rectangle part(Side(0.25), Side(0.1), Side(0.75), Side(0.4));
        ImageView region(out.GetImage(), part, kFrame);
        Check(compositor.Fill(region, 0xFF2060C0, 0xFFFFFFFF, kBestAvailable));
    });
    Show("compositor", "Fill under a mask", [&](ImageView& out) {
        Copy(rgbA, out);
        Check(compositor.Fill(out, 0xFF0000FF, 0x000000FF, kBestAvailable));
    });
    Show("compositor", "ReadTwoSourcesWriteDst", [&](ImageView& out) {
        ImageView a = Whole(*rgbA), b = Whole(*rgbB);
        Check(compositor.ReadTwoSourcesWriteDst(a, b, out, kBestAvailable));
    });
    Show("compositor", "CrossDissolve", [&](ImageView& out) {
        ImageView a = Whole(*rgbA), b = Whole(*rgbB);
        Check(compositor.CrossDissolve(a, b, out, kHalfWay, kBestAvailable));
    });
    Show("compositor", "CompositeTwoSources", [&](ImageView& out) {
        const ImagePtr front = WithAlpha(rgbB);
        ImageView a = Whole(*rgbA), b = Whole(*front);
        Check(compositor.CompositeTwoSources(a, b, out, kBestAvailable));
    });
    Show("compositor", "CompositeTwoSrcAndAlpha", [&](ImageView& out) {
        ImageView a = Whole(*rgbA), b = Whole(*rgbB), alpha = Whole(*oval);
        Check(compositor.CompositeTwoSrcAndAlpha(a, b, alpha, out, kBestAvailable));
    });
    Show("compositor", "CompositeUnshapedAoverBwithFadeOfA", [&](ImageView& out) {
        const ImagePtr front = WithAlpha(rgbB);
        ImageView a = Whole(*front), b = Whole(*rgbA);
        out.GetImage()->SetPixelShaping(kShaped);
        Check(compositor.CompositeUnshapedAoverBwithFadeOfA(a, b, out, 0.7, kBestAvailable));
        out.GetImage()->SetPixelShaping(kUnshaped);
    });
    Show("compositor", "AoverB", [&](ImageView& out) { AoverB(out); });
    Show("compositor", "CompositeTwoSrcAndAlphaGradient", [&](ImageView& out) {
        ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
        Check(compositor.CompositeTwoSrcAndAlphaGradient(a, b, map, out, kHalfWay, 24, kBestAvailable));
    });
    Show("compositor", "CompositeTwoSrcAndAlphaGradientWithBorder", [&](ImageView& out) {
        ImageView a = Whole(*rgbA), b = Whole(*rgbB), map = Whole(*key);
        Check(compositor.CompositeTwoSrcAndAlphaGradientWithBorder(a, b, map, out, kHalfWay, 4, 20, 12,
                                                                   0xFFFFC000, kBestAvailable));
    });
}

void Gallery::PlainMemory() {
    const ULong32 w = format.width, h = format.height;
    Show("compositor, plain memory", "CompositeTwoSrcCSCAndAlphaGradient", [&](ImageView& out) {
        const ImagePtr a = Converted(rgbA, kFmtCbYCrY), b = Converted(rgbB, kFmtCbYCrY);
        Check(compositor.CompositeTwoSrcCSCAndAlphaGradient(
            Words(a), Words(b), Words(key), static_cast<ULong32*>(out.GetMemoryPointer(0)), w, h, Pitch(a),
            Pitch(b), Pitch(key), out.GetPitch(0), kHalfWay, 0.1, kInt_MMXorSIMD));
    });
    Show("compositor, plain memory", "SumOfAbsDiffs", [&](ImageView& out) {
        const ImagePtr sums = New(kFmtAlpha8);
        Check(compositor.SumOfAbsDiffs(Words(rgbA), Words(rgbB), Line(*sums, 0), w, h, Pitch(rgbA),
                                       Pitch(rgbB), Pitch(sums), kFP));
        Spread(*sums, out);
    });
    Show("compositor, plain memory", "XSubPixelPosition", [&](ImageView& out) {
        Check(compositor.XSubPixelPosition(Words(rgbA), static_cast<ULong32*>(out.GetMemoryPointer(0)), w, h,
                                           Pitch(rgbA), out.GetPitch(0), kHalfWay, kFP));
    });
}

/// Its result counts from 0, and takes alpha of the first line.
void Gallery::AoverB(ImageView& out) {
    const ImagePtr a = New(kFmtCbYCrY4), b = New(kFmtCbYCrY4Shaped), mixed = New(kFmtCbYCrY4Shaped);
    ImageView from = Whole(*rgbB), to = Whole(*a);
    Check(converter.Do(from, to, kBestAvailable, nullptr, nullptr));
    const ImagePtr behind = Converted(rgbA, kFmtCbYCrY);
    for (unsigned y = 0; y < format.height; ++y) {
        std::memcpy(Line(*b, y), Line(*behind, y), std::size_t{format.width} * 2);
        std::memset(Line(*b, y, tool::kAlphaChannel), 255, format.width);
        for (unsigned x = 0; x < format.width; ++x) {
            Line(*a, y, tool::kAlphaChannel)[x] = static_cast<std::uint8_t>(255 * x / (format.width - 1));
        }
    }
    b->SetPixelShaping(kShaped2);
    mixed->SetPixelShaping(kShaped2);
    ImageView viewA = Whole(*a), viewB = Whole(*b), viewMixed = Whole(*mixed);
    Check(compositor.AoverB(viewA, viewB, viewMixed, kBestAvailable));
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned i = 0; i < 2 * format.width; ++i) {
            std::uint8_t& sample = Line(*behind, y)[i];
            sample = static_cast<std::uint8_t>(Line(*mixed, y)[i] + (i % 2 == 0 ? 128 : 16));
        }
    }
    ImageView shown = Whole(*behind);
    Check(converter.Do(shown, out, kBestAvailable, nullptr, nullptr));
}

}  // namespace gallery
