#ifndef TESSELU_TESTS_CONVERT_MODEL_LAYOUT_H
#define TESSELU_TESTS_CONVERT_MODEL_LAYOUT_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

// Where the samples of a pixel lie in each format, by its number.

namespace convert_model {

using Byte = std::uint8_t;

/// The samples of a pixel: B, G, R, A or Cb, Y, Cr, A.
using Pixel = std::array<int, 4>;
constexpr std::size_t kAlpha = 3;

inline bool OneOf(int value, std::initializer_list<int> of) {
    return std::find(of.begin(), of.end(), value) != of.end();
}

inline bool IsRgb(int format) {
    return OneOf(format, {0, 3, 4, 5, 10, 14, 20});
}
inline bool IsShaped(int format) {
    return OneOf(format, {14, 15, 16, 20, 22, 23});
}
inline bool IsMonochrome(int format) {
    return OneOf(format, {18, 19, 22});
}
/// 4:2:2 beside a plane of alpha.
inline bool HasAlphaPlane(int format) {
    return OneOf(format, {16, 17, 19, 22});
}
inline bool HasAlpha(int format) {
    return HasAlphaPlane(format) || OneOf(format, {0, 1, 3, 4, 5, 13, 14, 15, 20, 23, 25});
}
/// Planes of luma and chroma.
inline bool IsPlanar(int format) {
    return OneOf(format, {6, 7, 8, 9, 12});
}
/// Pixels or pairs in 32-bit words.
inline bool IsInWords(int format) {
    return !IsPlanar(format) && !OneOf(format, {10, 21, 24, 25});
}

/// Columns that share a sample of chroma.
inline int Across(int format) {
    return format == 9 ? 4 : OneOf(format, {2, 6, 7, 8, 11, 12, 18}) || HasAlphaPlane(format) ? 2 : 1;
}
/// A line shares its chroma with the next one, or with the next one of its field.
inline bool SharesLines(int format) {
    return format == 6 || format == 8;
}
inline int LineDistance(int format) {
    return format == 8 ? 2 : 1;
}
/// The first of the lines that share chroma with line `y`.
inline int FirstLine(int format, int y) {
    return format == 6 ? y / 2 * 2 : format == 8 ? y / 4 * 4 + y % 2 : y;
}

/// Which plane, how many bytes from the start of a line, which line of the plane.
struct Place {
    std::size_t plane;
    std::ptrdiff_t column;
    int line;
};

/// Where sample `i` of the pixel in column `x` of line `y` lies. The format must have that sample.
inline Place PlaceOf(int format, std::size_t i, int x, int y) {
    static constexpr std::array<int, 4> kLumaFirst = {1, 0, 2, 3};
    static constexpr std::array<std::size_t, 3> kPlane = {1, 0, 2};
    const int n = static_cast<int>(i);
    if (HasAlphaPlane(format) && i == kAlpha) {
        return {3, x, y};
    }
    if (IsPlanar(format) && i == 1) {
        return {0, x, y};
    }
    switch (format) {
        case 2:
        case 16:
        case 17:
        case 18:
        case 19:
        case 22:  // Cb Y0 Cr Y1
            return {0, i == 1 ? 2 * x + 1 : x / 2 * 4 + n, y};
        case 11:  // Y0 Cb Y1 Cr
            return {0, i == 1 ? 2 * x : x / 2 * 4 + (i == 0 ? 1 : 3), y};
        case 6:
            return {kPlane[i], x / 2, y / 2};
        case 8:  // chroma lines 2k and 2k + 1 serve lines 4k, 4k + 2 and 4k + 1, 4k + 3
            return {kPlane[i], x / 2, y / 4 * 2 + y % 2};
        case 7:
            return {kPlane[i], x / 2, y};
        case 9:
            return {kPlane[i], x / 4, y};
        case 12:  // eight Cb, eight Cr
            return {kPlane[i], (x & ~15) + ((x >> 1) & 7) + (i == 2 ? 8 : 0), y};
        case 10:
        case 21:
            return {0, 3 * x + n, y};
        case 24:
            return {0, 3 * x + kLumaFirst[i], y};
        case 13:
        case 23:
            return {0, 4 * x + kLumaFirst[i], y};
        case 25:
            return {0, x, y};
        default:
            return {0, 4 * x + n, y};
    }
}

/// A plane as a kernel is handed it. With bounds it is known where its memory begins and ends.
struct Plane {
    Byte* first = nullptr;
    std::ptrdiff_t pitch = 0;
    Byte* begin = nullptr;
    Byte* end = nullptr;
};

/// One side of a conversion.
struct Side {
    int format = 100;
    std::array<Plane, 4> plane;
};

/// The sample, or null where its plane has none; a plane without a pitch has one line. `orLast`: the last
/// that the plane has in its place: of the last line that there is (of the same field), or the last of the
/// memory.
inline Byte* Find(const Side& side, const Place& place, bool orLast) {
    const Plane& plane = side.plane[place.plane];
    int line = place.line;
    const auto start = [&] { return plane.first + line * plane.pitch; };
    if (plane.begin == nullptr) {
        return start() + place.column;
    }
    while (line > 0 && (plane.pitch == 0 || start() < plane.begin || start() >= plane.end)) {
        if (!orLast) {
            return nullptr;
        }
        line = std::max(line - LineDistance(side.format), 0);
    }
    Byte* const sample = start() + place.column;
    return sample < plane.end ? sample : orLast ? plane.end - 1 : nullptr;
}

/// Reads a pixel; `alpha` is what a format without it gives.
inline Pixel Load(const Side& side, int x, int y, int alpha) {
    Pixel pixel = {0, 0, 0, alpha};
    for (std::size_t i = side.format == 25 ? kAlpha : 0; i < (HasAlpha(side.format) ? 4U : 3U); ++i) {
        const Place place = PlaceOf(side.format, i, x, y);
        // A plane of alpha that a conversion does not look at may be missing.
        if (side.plane[place.plane].first != nullptr) {
            pixel[i] = *Find(side, place, true);
        }
    }
    return pixel;
}

inline void Store(const Side& side, std::size_t i, int x, int y, int value) {
    if (Byte* const sample = Find(side, PlaceOf(side.format, i, x, y), false)) {
        *sample = static_cast<Byte>(value);
    }
}

}  // namespace convert_model

#endif  // TESSELU_TESTS_CONVERT_MODEL_LAYOUT_H
