#include "Contest.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace bench {

const char* ColumnName(Column column) {
    static constexpr std::array<const char*, kColumnCount> kNames = {
        "ours", "plain", "libyuv", "swscale", "OpenCV", "pixman", "avfilter", "copy"};
    return kNames[column];
}

Contests::Contests() {
    constexpr Aim kNone, kDissolve = {.ratio = 1.0, .inCache = 1.2, .ofCopy = 0.97};
    constexpr Aim kWipe = {.ratio = 1.5}, kMove = {.ratio = 0.97};
    const auto convert = [](double ratio) {
        return Aim{.ratio = ratio, .onLargest = 0.95, .nanoseconds = 60, .besidePlain = true};
    };
    // More instructions than peers that round to six bits, which AVX-512 makes good.
    constexpr Aim kToPixels = {.ratio = 1.05,
                               .withAVX2 = 0.83,
                               .onSmall = 0.95,
                               .onSmallWithAVX2 = 0.78,
                               .onLargest = 0.95,
                               .nanoseconds = 60,
                               .besidePlain = true};
    constexpr Aim kRepack = {
        .ratio = 0.95, .onSmall = 0.85, .onLargest = 0.95, .nanoseconds = 60, .besidePlain = true};
    // Nobody else has the format.
    constexpr Aim kWithAlphaPlane = {.ofCopy = 0.5, .ofCopyWithAVX2 = 0.4};
    // Two permutes of whole tables are VBMI; AVX2 has sixteen shuffles in their place.
    constexpr Aim kTables = {.ratio = 5, .withAVX2 = 1.5};
    constexpr Aim kKeyTables = {.ratio = 4, .withAVX2 = 1};
    constexpr Aim kOverlay = {.ratio = 1.5, .onLargest = 0.95}, kPlace = {.ratio = 0.95, .ofCopy = 0.95};
    // operation, title, aim, bytes read, bytes written, bytes of the result, alpha
    all = {{
        {"CrossDissolve32", "CrossDissolve, 32-bit", kDissolve, 8, 4, 4, true, {}},
        {"CrossDissolve422", "CrossDissolve, 4:2:2", kDissolve, 4, 2, 2, false, {}},
        {"CompositeTwoSources", "CompositeTwoSources", {.ratio = 1.4}, 8, 4, 4, true, {}},
        {"CompositeTwoSrcAndAlpha", "CompositeTwoSrcAndAlpha", {.ratio = 1.6}, 9, 4, 4, true, {}},
        {"SoftWipe32", "soft wipe, 32-bit", kWipe, 9, 4, 4, true, {}},
        {"SoftWipeView32", "soft wipe on views, 32-bit", kWipe, 9, 4, 4, true, {}},
        {"SoftWipeView422", "soft wipe on views, 4:2:2", kNone, 5, 2, 2, false, {}},
        {"SoftWipeView4224", "soft wipe, 4:2:2:4", kNone, 7, 3, 3, false, {}},
        {"BorderWipe32", "bordered wipe, 32-bit", kWipe, 9, 4, 4, true, {}},
        {"BorderWipe422", "bordered wipe, 4:2:2", kWipe, 5, 2, 2, false, {}},
        {"SoftWipeEdge32", "soft wipe, one edge, 32-bit", kWipe, 9, 4, 4, true, {}},
        {"SoftWipeEdge422", "soft wipe, one edge, 4:2:2", kWipe, 5, 2, 2, false, {}},
        {"BorderWipeEdge32", "bordered wipe, one edge, 32-bit", kWipe, 9, 4, 4, true, {}},
        {"BorderWipeEdge422", "bordered wipe, one edge, 4:2:2", kWipe, 5, 2, 2, false, {}},
        {"CrossDissolveView32", "dissolve on views, 32-bit", kDissolve, 8, 4, 4, true, {}},
        {"CrossDissolveView422", "dissolve on views, 4:2:2", kDissolve, 4, 2, 2, false, {}},
        {"OverStraight", "faded over, straight", {.ratio = 1.4}, 8, 4, 4, true, {}},
        {"OverShaping", "faded over, shaping", {.ratio = 1.4}, 8, 4, 4, true, {}},
        {"AoverB", "AoverB, 4:2:2:4", {.ratio = 1.4}, 4, 2, 2, false, {}},
        {"SumOfAbsDiffs", "SumOfAbsDiffs", {.ratio = 1.2}, 8, 1, 1, false, {}},
        {"Fill", "Fill, 32-bit", kMove, 0, 4, 4, false, {}},
        {"Copy32", "identical copy, 32-bit", kMove, 4, 4, 4, false, {}},
        {"Copy422", "identical copy, 4:2:2", kMove, 2, 2, 2, false, {}},
        {"UYVYToBGRA", "UYVY to BGRA", kToPixels, 2, 4, 4, true, {}},
        {"YUY2ToBGRA", "YUY2 to BGRA", kToPixels, 2, 4, 4, true, {}},
        {"I420ToBGRA", "I420 to BGRA", convert(1.05), 1.5, 4, 4, true, {}},
        {"I411ToBGRA", "4:1:1 to BGRA", convert(4), 1.5, 4, 4, true, {}},
        {"4224ToBGRA", "4:2:2:4 to BGRA", kWithAlphaPlane, 3, 4, 4, false, {}},
        {"CbYCrAToBGRA", "Cb Y Cr A to BGRA", convert(10), 4, 4, 4, true, {}},
        {"BGRAToUYVY", "BGRA to UYVY", convert(1.4), 4, 2, 2, false, {}},
        {"BGRAToI420", "BGRA to I420", convert(1.0), 4, 1.5, 1.5, false, {}},
        {"BGRAToI411", "BGRA to 4:1:1", convert(4), 4, 1.5, 1.5, false, {}},
        {"BGRATo4224", "BGRA to 4:2:2:4", kWithAlphaPlane, 4, 3, 3, false, {}},
        {"BGRAToCbYCrA", "BGRA to Cb Y Cr A", convert(10), 4, 4, 4, true, {}},
        {"UYVYToI420", "UYVY to I420", kRepack, 2, 1.5, 1.5, false, {}},
        {"UYVYToI422", "UYVY to I422", kRepack, 2, 2, 2, false, {}},
        {"UYVYToYUY2", "UYVY to YUY2", kRepack, 2, 2, 2, false, {}},
        {"YUY2ToUYVY", "YUY2 to UYVY", kRepack, 2, 2, 2, false, {}},
        {"I422ToUYVY", "I422 to UYVY", kRepack, 2, 2, 2, false, {}},
        {"BGRAToBGR24", "BGRA to BGR24", kRepack, 4, 3, 3, false, {}},
        {"BGR24ToBGRA", "BGR24 to BGRA", kRepack, 3, 4, 4, false, {}},
        {"ShapeBGRA", "shape, BGRA", convert(1.0), 4, 4, 4, false, {}},
        {"UnshapeBGRA", "unshape, BGRA", convert(1.2), 4, 4, 4, false, {}},
        {"Gradient41", "gradient, pattern 41", kNone, 0, 1, 1, false, {}},
        {"Tables422", "LookUpTable, 4:2:2", kTables, 2, 2, 2, false, {}},
        {"Tables4224", "LookUpTable, 4:2:2:4", kTables, 3, 3, 3, false, {}},
        {"Invert", "InvertLUT, 4:2:2", kTables, 2, 2, 2, false, {}},
        {"PosterizeLUT", "PosterizeLUT, 4:2:2", kTables, 2, 2, 2, false, {}},
        {"PosterizeFlp", "Posterize, 4:2:2", kTables, 2, 2, 2, false, {}},
        {"PosterizeFixed", "Posterize, fixed, 4:2:2", kTables, 2, 2, 2, false, {}},
        {"HistogramPhoto", "Histogram, photograph", {.ratio = 1.5}, 4, 0, 0, false, {}},
        {"HistogramRamp", "Histogram, ramp", {.ratio = 1.0}, 4, 0, 0, false, {}},
        {"HistogramNoise", "Histogram, noise", {.ratio = 1.0}, 4, 0, 0, false, {}},
        {"Adjust422", "ColorAdjustment, 4:2:2", {.ratio = 1.2}, 2, 2, 2, false, {}},
        {"AdjustHue422", "with hue, 4:2:2", {.ratio = 2.5}, 2, 2, 2, false, {}},
        {"AdjustHue32", "with hue, 32-bit", {.ratio = 2.0}, 4, 4, 4, true, {}},
        {"Correct422", "corrector, chroma", {.ratio = 5}, 2, 2, 2, false, {}},
        {"CorrectRGB422", "corrector, colours", {.ratio = 2}, 2, 2, 2, false, {}},
        {"LookUpTable3D", "LookUpTable3D", {.ofCopy = 0.95}, 4, 4, 4, false, {}},
        {"CubePhoto", "CubeLUT 33, photograph", {.ratio = 2.0}, 4, 4, 4, true, {}},
        {"CubeRamp", "CubeLUT 33, ramp", {.ratio = 2.0}, 4, 4, 4, true, {}},
        {"CubeNoise", "CubeLUT 33, noise", {.ratio = 1.0}, 4, 4, 4, true, {}},
        {"Key422", "ChromaKeyerYUV, 4:2:2", {.ratio = 1.2}, 4, 3, 2, false, {}},
        {"Key4444", "ChromaKeyerYUV, 4:4:4:4", {.ratio = 2}, 8, 5, 4, true, {}},
        {"KeyFixed422", "the same, fixed, 4:2:2", {.ratio = 1.5}, 4, 3, 2, false, {}},
        {"KeyFixed4444", "the same, fixed, 4:4:4:4", {.ratio = 1.5}, 8, 5, 4, true, {}},
        {"LinearKeyer", "LinearKeyer", kKeyTables, 1, 1, 1, false, {}},
        {"LumaKeyer", "LumaKeyer, 4:2:2", kKeyTables, 2, 1, 1, false, {}},
        {"OverlayShaped32", "overlay, premultiplied", kOverlay, 8, 4, 4, true, {}},
        {"OverlayStraight24", "overlay, 32 over 24 bits", kOverlay, 7, 3, 3, false, {}},
        {"OverlayUnion32", "overlay, union of alphas", kOverlay, 8, 4, 4, true, {}},
        {"Overlay4224", "overlay, 4:2:2:4 over 4:2:2", kOverlay, 5, 2, 2, false, {}},
        {"OverlayShaped4224", "the same, premultiplied", kOverlay, 5, 2, 2, false, {}},
        {"OverlayUnion4224", "the same over 4:2:2:4", kOverlay, 6, 3, 3, false, {}},
        {"Overlay24", "overlay, 24 over 24 bits", kPlace, 3, 3, 3, false, {}},
        {"Overlay422", "overlay, 4:2:2 over 4:2:2", kPlace, 2, 2, 2, false, {}},
        {"Center32", "Center, 32-bit", kPlace, 4, 4, 4, false, {}},
        {"OverlayLogo", "logo of 256x128 in place", {.ratio = 0.8, .onLargest = 0.8}, 0.1, 0.1, 0, false, {}},
        {"OverlayMovedAlong",
         "overlay, fraction of x",
         {.ratio = 1 / 1.6, .onLargest = 1 / 1.6},
         8,
         4,
         4,
         true,
         {}},
        {"OverlayMoved",
         "overlay, fractions of both",
         {.ratio = 1 / 2.2, .onLargest = 1 / 2.2},
         8,
         4,
         4,
         true,
         {}},
        {"OverlayMovedUnion",
         "the same, union of alphas",
         {.ratio = 1 / 3.5, .onLargest = 1 / 3.5},
         8,
         4,
         4,
         true,
         {}},
        {"Blur5", "blur, 5x5", {.ratio = 5, .onLargest = 5}, 4, 4, 4, false, {}},
        {"Blur31", "blur, 31x31", {.ratio = 3.5, .onLargest = 3.5}, 4, 4, 4, false, {}},
        {"Blur101", "blur, 101x101", {.ratio = 3.5, .onLargest = 3.5}, 4, 4, 4, false, {}},
        {"BlurFixed5", "blur, fixed, 5x5", {.ratio = 4, .onLargest = 4}, 4, 4, 4, false, {}},
        {"BlurFixed31", "blur, fixed, 31x31", {.ratio = 2.8, .onLargest = 2.8}, 4, 4, 4, false, {}},
        {"Denoise1x1x9", "noise reduction, 1x1x9", {.ratio = 2, .onLargest = 2}, 18, 2, 2, false, {}},
        {"Denoise3x3x1", "noise reduction, 3x3x1", {.ratio = 6, .onLargest = 6}, 2, 2, 2, false, {}},
        {"Denoise3x3x3", "noise reduction, 3x3x3", {.ratio = 3, .onLargest = 3}, 6, 2, 2, false, {}},
        {"DenoiseSAT", "noise reduction, SAT", {.ratio = 1.5, .onLargest = 1.5}, 6, 2, 2, false, {}},
        {"NoiseUniform", "AddUniform", {.ratio = 10, .onLargest = 10}, 4, 4, 4, false, {}},
        {"NoiseGaussian", "AddGaussian", {.ratio = 1}, 4, 4, 4, false, {}},
        {"NoiseBits", "UniformBitErrors", {.ratio = 10, .onLargest = 10}, 4, 4, 4, false, {}},
    }};
}

std::string Compare(Contest& contest, const Size& size, std::uint8_t* result) {
    const auto bytes = static_cast<std::size_t>(static_cast<double>(size.pixels()) * contest.resultBytes);
    std::vector<std::uint8_t> ours;
    for (Entrant& entrant : contest.entrants) {
        std::memset(result, 0x5A, bytes);
        entrant.isAvailable = entrant.run() == 0;
        if (!entrant.isAvailable) {
            continue;
        }
        if (entrant.column == kOurs) {
            ours.assign(result, result + bytes);
            continue;
        }
        if (entrant.promise == Promise::kNone || ours.empty()) {
            continue;
        }
        entrant.difference = 0;
        const bool skipAlpha = contest.hasAlpha && entrant.promise == Promise::kApproximate;
        for (std::size_t i = 0; i < bytes; ++i) {
            if (!skipAlpha || i % 4 != 3) {
                entrant.difference = std::max(entrant.difference, std::abs(int{ours[i]} - int{result[i]}));
            }
        }
        if (entrant.promise == Promise::kSameBytes && entrant.difference != 0) {
            return entrant.name;
        }
    }
    return {};
}

}  // namespace bench
