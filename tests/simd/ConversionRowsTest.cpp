// Conversions of plain memory whose rows lie anywhere, and on their own source, against plain loops.

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ConverterFormat.h>

#include <cmath>

#include "simd/RowLayouts.h"
#include "support/Choices.h"

namespace {

using namespace rows_test;
using test_support::kSanitized;
using namespace Zan;
using Planes = Operation::Planes;
using Pitches = Operation::Pitches;

constexpr std::uint8_t kFill = 0xC3;

template <ConverterFormat from, ConverterFormat to, ProcessingStyleEnum style = kInt_MMXorSIMD>
Long32 Run(const Planes& p, const Pitches& pitch, ULong32 width, ULong32 height) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(kFill);
    return converter.Do(reinterpret_cast<ULong32*>(p[0]), reinterpret_cast<ULong32*>(p[1]), width, height,
                        pitch[0], pitch[1], from, to, style, nullptr, nullptr);
}

// ---- Without a matrix ---------------------------------------------------------------------------------

/// Left to right, as a copy onto itself would go.
template <std::size_t bytes>
void Copy(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t i = 0; i < bytes * width; ++i) {
        out[i] = in[0][i];
    }
}

// Of an odd last pixel of pairs its chroma and its luma are written, and the luma that it lacks is not.

void CopyPairs(const Planes& in, std::uint8_t* out, std::size_t width) {
    Copy<4>(in, out, width / 2);
    if (width % 2 != 0) {
        std::copy_n(in[0] + 2 * width - 2, 3, out + 2 * width - 2);
    }
}

void Unpack24(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        std::copy_n(in[0] + 3 * x, 3, out + 4 * x);
        out[4 * x + 3] = kFill;
    }
}

void Pack24(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        std::copy_n(in[0] + 4 * x, 3, out + 3 * x);
    }
}

/// Chroma repeated, and the fill beside it.
void UnpackPairs(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t* const pair = in[0] + x / 2 * 4;
        const std::uint8_t pixel[] = {pair[0], pair[1 + x % 2 * 2], pair[2], kFill};
        std::copy_n(pixel, 4, out + 4 * x);
    }
}

void SwapPairs(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2) {
        std::uint8_t word[4];
        std::copy_n(in[0] + 2 * x, 4, word);
        out[2 * x] = word[1];
        out[2 * x + 1] = word[0];
        out[2 * x + 3] = word[2];
        if (x + 1 < width) {
            out[2 * x + 2] = word[3];
        }
    }
}

// ---- With the default matrices ------------------------------------------------------------------------

/// In 4096ths, by rows: from YCrCb at video levels to full RGB, and back.
constexpr int kToRgb[3][3] = {{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}};
constexpr int kToYCrCb[3][3] = {{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}};
constexpr int kYCrCbOffsets[3] = {128, 16, 128};

std::uint8_t Limited(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

/// A component of whole groups: samples times 128 and coefficients in 8192ths, then four bits of fraction.
/// The offset is added before the matrix from YCrCb, and after it to YCrCb.
std::uint8_t InSixteenths(const int (&row)[3], const std::uint8_t* pixel, bool toRgb, int offset) {
    std::int64_t sum = 0;
    for (int j = 0; j < 3; ++j) {
        sum += std::int64_t{2} * row[j] * 128 * (pixel[j] - (toRgb ? kYCrCbOffsets[j] : 0));
    }
    const auto high = static_cast<int>(std::clamp<std::int64_t>(sum >> 16, -32768, 32767));
    return Limited((std::clamp(high + 16 * offset, -32768, 32767)) >> 4);
}

/// A component of the columns beyond: the exact value, truncated.
std::uint8_t Exactly(const int (&row)[3], const std::uint8_t* pixel, bool toRgb, int offset) {
    int sum = offset * 4096;
    for (int j = 0; j < 3; ++j) {
        sum += row[j] * (pixel[j] - (toRgb ? kYCrCbOffsets[j] : 0));
    }
    return Limited(sum < 0 ? 0 : sum / 4096);
}

/// Pixels of four samples, alpha as it is, in groups of two.
template <bool toRgb>
void Pixels(const Planes& in, std::uint8_t* out, std::size_t width) {
    const auto& matrix = toRgb ? kToRgb : kToYCrCb;
    for (std::size_t x = 0; x < width; ++x) {
        std::uint8_t pixel[4];
        for (int i = 0; i < 3; ++i) {
            const int offset = toRgb ? 0 : kYCrCbOffsets[i];
            pixel[i] = (x < width / 2 * 2 ? InSixteenths : Exactly)(matrix[i], in[0] + 4 * x, toRgb, offset);
        }
        pixel[3] = in[0][4 * x + 3];
        std::copy_n(pixel, 4, out + 4 * x);
    }
}

/// Pairs of 4:2:2 to pixels of `bytes`, in groups of 16.
template <std::size_t bytes, bool yFirst = false>
void PairsToRgb(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t* const pair = in[0] + x / 2 * 4;
        const std::size_t y = yFirst ? 0 : 1, c = yFirst ? 1 : 0;
        const std::uint8_t pixel[3] = {pair[c], pair[y + x % 2 * 2], pair[c + 2]};
        for (std::size_t i = 0; i < 3; ++i) {
            out[bytes * x + i] = (x < width / 16 * 16 ? InSixteenths : Exactly)(kToRgb[i], pixel, true, 0);
        }
        if (bytes == 4) {
            out[4 * x + 3] = kFill;
        }
    }
}

/// Chroma of two pixels: in whole groups of their sum, truncated downwards before the offset; beyond them
/// each pixel's own, truncated, and the mean of those.
std::uint8_t Chroma(int i, const std::uint8_t* first, const std::uint8_t* second, bool isWhole) {
    if (!isWhole) {
        const int a = Exactly(kToYCrCb[i], first, false, 128), b = Exactly(kToYCrCb[i], second, false, 128);
        return static_cast<std::uint8_t>((a + b) >> 1);
    }
    int sum = 0;
    for (int j = 0; j < 3; ++j) {
        sum += 2 * kToYCrCb[i][j] * (first[j] + second[j]);
    }
    return Limited((sum >> 14) + 128);
}

/// Pixels of `bytes` to pairs, in groups of 4.
template <std::size_t bytes>
void RgbToPairs(const Planes& in, std::uint8_t* out, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2) {
        const bool isPair = x + 1 < width, isWhole = x < width / 4 * 4;
        const std::uint8_t* const first = in[0] + bytes * x;
        const std::uint8_t* const second = isPair ? first + bytes : first;
        out[2 * x] = Chroma(0, first, second, isWhole);
        // No luma is negative, so that it matters nowhere where the offset is added.
        out[2 * x + 1] = Exactly(kToYCrCb[1], first, false, 16);
        out[2 * x + 2] = Chroma(2, first, second, isWhole);
        if (isPair) {
            out[2 * x + 3] = Exactly(kToYCrCb[1], second, false, 16);
        }
    }
}

constexpr Steps kBytes = Steps::kBytes, kWords = Steps::kWholeWords;

template <ConverterFormat from, ConverterFormat to>
Operation Made(const char* name, std::size_t bytesFrom, std::size_t bytesTo,
               void (*row)(const Planes&, std::uint8_t*, std::size_t)) {
    // Rows of 24 or 8 bits a pixel are no rows of words.
    const auto steps = [](std::size_t bytes) { return bytes % 4 == 0 ? kWords : kBytes; };
    return {name, kSSE2, {bytesFrom, bytesTo}, {steps(bytesFrom), steps(bytesTo)}, 1, Run<from, to>, row};
}

const std::vector<Operation>& Conversions() {
    static const std::vector<Operation> conversions = {
        Made<kFmtRGB32, kFmtRGB32>("copy of words", 8, 8, Copy<4>),
        Made<kFmtCbYCrY, kFmtCbYCrY>("copy of pairs", 4, 4, CopyPairs),
        Made<kFmtRGB24, kFmtRGB24>("copy of 24 bits", 6, 6, Copy<3>),
        Made<kFmtAlpha8, kFmtAlpha8>("copy of bytes", 2, 2, Copy<1>),
        Made<kFmtRGB24, kFmtRGB32>("24 bits to 32", 6, 8, Unpack24),
        Made<kFmtRGB32, kFmtRGB24>("32 bits to 24", 8, 6, Pack24),
        Made<kFmtCbYCrY, kFmtCbYCrA>("pairs to pixels", 4, 8, UnpackPairs),
        Made<kFmtCbYCrY, kFmtYCbYCr>("pairs to the other order", 4, 4, SwapPairs),
        Made<kFmtCbYCrA, kFmtRGB32>("pixels to RGB", 8, 8, Pixels<true>),
        Made<kFmtRGB32, kFmtCbYCrA>("RGB to pixels", 8, 8, Pixels<false>),
        Made<kFmtCbYCrY, kFmtRGB32>("pairs to RGB", 4, 8, PairsToRgb<4>),
        Made<kFmtYCbYCr, kFmtRGB32>("the other pairs to RGB", 4, 8, PairsToRgb<4, true>),
        Made<kFmtCbYCrY, kFmtRGB24>("pairs to 24 bits", 4, 6, PairsToRgb<3>),
        Made<kFmtRGB32, kFmtCbYCrY>("RGB to pairs", 8, 4, RgbToPairs<4>),
        Made<kFmtRGB24, kFmtCbYCrY>("24 bits to pairs", 6, 4, RgbToPairs<3>),
    };
    return conversions;
}

constexpr unsigned kRuns = kSanitized ? 64 : 460;

TEST(ConversionRows, AnyWidthAtAnyAddressAndPitch) {
    for (const Operation& conversion : Conversions()) {
        ASSERT_NO_FATAL_FAILURE(CheckApart(conversion, kRuns));
    }
}

/// Conversions between pixels of one size, on their source or so far beside it.
void CheckOnSource(const std::vector<Shift>& shifts, bool copiesToo = true) {
    const std::vector<unsigned>& widths = Widths();
    std::size_t number = RandomFrom<std::size_t>(0, 400);
    for (const Operation& conversion : Conversions()) {
        const std::size_t pair = conversion.bytesPerPair[0];
        if (pair != conversion.bytesPerPair[1] || (!copiesToo && conversion.name.find("copy") == 0)) {
            continue;
        }
        for (unsigned run = 0; run < kRuns / 4; ++run) {
            const Shift& shift = shifts[run % shifts.size()];
            Layout layout{widths[++number % widths.size()], 1 + run % 5, {}};
            const std::size_t rowBytes = conversion.RowBytes(0, layout.width);
            const std::size_t room = RoomFor(shift, rowBytes);
            std::ptrdiff_t pitch = AnyPitch(rowBytes, conversion.steps[0]);
            if (conversion.steps[0] == kWords) {
                pitch = pitch / 4 * 4;
            }
            layout.Add(rowBytes, pitch, run * 5 % 64, room);
            layout.Add(0, pitch, 0, 0);
            ASSERT_NO_FATAL_FAILURE(CheckShifted(conversion, 0, layout, shift));
        }
    }
}

TEST(ConversionRows, OnTheSource) {
    CheckOnSource({Shift{}});
}

TEST(ConversionRows, RowsAboveOrBelowTheSource) {
    CheckOnSource(ByRows({1, -1, 2, -2, 3}));
}

// By a group or more: less is not supported.
TEST(ConversionRows, LeftOfTheSource) {
    CheckOnSource(ByPixels({-16, -18, -24, -32, -34, -64, -100, -200}));
}

TEST(ConversionRows, RightOfTheSource) {
    // Copies may take a row whole before they write it.
    CheckOnSource(ByPixels({16, 18, 24, 30, 32, 34, 48, 62, 64, 66, 128, 130, 192, 200, 256}), false);
}

TEST(ConversionRows, FurtherLeftOrRightWithEveryRow) {
    CheckOnSource({{0, -16, -2}, {0, -100, -34}, {0, 16, 2}, {0, 16, 16}, {0, 200, -46}, {0, 20, 64}}, false);
}

}  // namespace
