#include "convert/model/Model.h"

#include <functional>

namespace convert_model {
namespace {

std::ptrdiff_t TowardZero(std::ptrdiff_t pitch) {
    return pitch / 4 * 4;
}
std::ptrdiff_t Down(std::ptrdiff_t pitch) {
    return pitch >> 2 << 2;
}
std::ptrdiff_t AsItIs(std::ptrdiff_t pitch) {
    return pitch;
}

struct Position {
    int x, y;
};

/// A pixel of the picture, and the chroma that some of its pixels share.
using PixelAt = std::function<Pixel(int x, int y)>;
using SharedChroma = std::function<int(std::size_t i, const std::vector<Position>& pixels)>;

/// The pixels, of those that exist, that share chroma with the first of them.
std::vector<Position> Sharing(int format, Position first, int width, int height) {
    std::vector<Position> pixels;
    const int lines = SharesLines(format) ? 2 : 1;
    for (int row = 0; row < lines; ++row) {
        for (int column = 0; column < Across(format); ++column) {
            const Position at = {first.x + column, first.y + row * LineDistance(format)};
            if (at.x < width && at.y < height) {
                pixels.push_back(at);
            }
        }
    }
    return pixels;
}

/// Every sample on its own; chroma where its pixels begin.
void Write(const Side& to, int width, int height, const PixelAt& pixel, const SharedChroma& chroma) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Pixel out = pixel(x, y);
            if (HasAlpha(to.format)) {
                Store(to, kAlpha, x, y, out[kAlpha]);
            }
            if (to.format == 25) {
                continue;
            }
            Store(to, 1, x, y, out[1]);
            if (x % Across(to.format) == 0 && y == FirstLine(to.format, y)) {
                const std::vector<Position> pixels = Sharing(to.format, {x, y}, width, height);
                for (const std::size_t i : {0U, 2U}) {
                    Store(to, i, x, y, IsMonochrome(to.format) ? 128 : chroma(i, pixels));
                }
            }
        }
    }
}

/// The truncated mean.
int MeanOf(const PixelAt& pixel, std::size_t i, const std::vector<Position>& pixels) {
    int sum = 0;
    for (const Position& at : pixels) {
        sum += pixel(at.x, at.y)[i];
    }
    return sum / static_cast<int>(pixels.size());
}

/// Columns that a pair of formats treats alike: chroma of a pair follows the alpha of its even pixel.
int FirstColumn(const Side& from, const Side& to, int x) {
    return x - x % std::max(Across(from.format), Across(to.format));
}

/// Reads a pixel, and divides it by its alpha where the pair wants it.
Pixel LoadUnshaped(const Side& from, const Side& to, int x, int y, int fill, bool inDoubles) {
    Pixel in = Load(from, x, y, fill);
    if (!Unshapes(from.format, to.format)) {
        return in;
    }
    const int chromaAlpha = Load(from, FirstColumn(from, to, x), y, fill)[kAlpha];
    for (std::size_t i = 0; i < 3; ++i) {
        if (IsRgb(from.format)) {
            in[i] = inDoubles ? UnshapedInDoubles(in[i], in[kAlpha]) : Unshaped(in[i], in[kAlpha]);
        } else {
            const int zero = i == 1 ? 16 : 128, alpha = i == 1 ? in[kAlpha] : chromaAlpha;
            in[i] =
                inDoubles ? UnshapedAroundInDoubles(zero, in[i], alpha) : UnshapedAround(zero, in[i], alpha);
        }
    }
    return in;
}

/// Writes what `pixel` and `chroma` give, multiplied by alpha where the pair wants it.
void WriteShaped(const Side& from, const Side& to, int width, int height, const PixelAt& pixel,
                 const SharedChroma& chroma) {
    const bool shapes = Shapes(from.format, to.format);
    const auto shapedPixel = [&](int x, int y) {
        Pixel out = pixel(x, y);
        if (shapes) {
            out[1] = IsRgb(to.format) ? Shaped(out[1], out[kAlpha]) : ShapedAround(16, out[1], out[kAlpha]);
        }
        return out;
    };
    const auto shapedChroma = [&](std::size_t i, const std::vector<Position>& pixels) {
        const int sample = chroma(i, pixels);
        if (!shapes) {
            return sample;
        }
        const Position first = pixels[0];
        return IsRgb(to.format)
                   ? Shaped(sample, pixel(first.x, first.y)[kAlpha])
                   : ShapedAround(128, sample, pixel(FirstColumn(from, to, first.x), first.y)[kAlpha]);
    };
    Write(to, width, height, shapedPixel, shapedChroma);
}

}  // namespace

Model::Model() {
    Keep(OfKind(0), false);
}

void Model::Keep(const Coefficients& defaults, bool transposed) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            matrix[i][j] = transposed ? defaults.m[j][i] : defaults.m[i][j];
        }
    }
}

Coefficients Model::InUse(const Coefficients& defaults) const {
    Coefficients c = defaults;
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            c.m[i][j] = matrixGiven ? matrix[i][j] : c.m[i][j];
        }
        c.o[0][i] = offsetGiven ? offset[0][i] : c.o[0][i];
        c.o[1][i] = offsetGiven ? offset[1][i] : c.o[1][i];
    }
    return c;
}

// ---- The call --------------------------------------------------------------------------------------------

int Model::OnViews(const Side& ofSource, const Side& ofDestination, int columns, int lines,
                   const Given& given) {
    onMemory = false;
    source = ofSource;
    destination = ofDestination;
    width = columns;
    height = lines;
    return Route(given);
}

int Model::OnMemory(const Side& ofSource, const Side& ofDestination, int columns, int lines,
                    const Given& given) {
    onMemory = true;
    source.format = ofSource.format;
    source.plane[0] = ofSource.plane[0];
    destination.format = ofDestination.format;
    destination.plane[0] = ofDestination.plane[0];
    width = columns;
    height = lines;
    return Route(given);
}

int Model::Route(const Given& given) {
    matrixGiven = given.matrix != nullptr;
    if (matrixGiven) {
        std::copy_n(given.matrix, 16, &matrix[0][0]);
    }
    offsetGiven = given.offset != nullptr;
    if (offsetGiven) {
        std::copy_n(given.offset, 8, &offset[0][0]);
    }
    switch (given.style) {
        case 0:
            return FloatingPoint();
        case 1:
            return FixedPoint();
        case 3:
            return FloatSimd();
        case 5: {
            int status = Integer();
            status = status == 4 ? FloatingPoint() : status;
            return status == 4 ? General() : status;
        }
        case 6:
            return General();
        default:
            return Integer();
    }
}

/// False when a plane that the conversion walks is missing.
bool Model::TakePlanes(Side& taken, bool isSource, std::ptrdiff_t (*wholeWords)(std::ptrdiff_t),
                       bool derives) const {
    taken = isSource ? source : destination;
    Plane& first = taken.plane[0];
    if (IsInWords(taken.format)) {
        first.pitch = wholeWords(first.pitch);
    }
    if (derives && onMemory && IsPlanar(taken.format) && DerivesPlanes(source.format, destination.format)) {
        const std::ptrdiff_t area = std::ptrdiff_t{width} * height;
        const int across = Across(taken.format);
        Byte* const cb = first.first + area;
        taken.plane[1] = {cb, first.pitch / across, nullptr, nullptr};
        taken.plane[2] = {cb + (taken.format == 7 ? area >> 1 : area >> 2), first.pitch / across, nullptr,
                          nullptr};
    }
    const bool walksAlpha = HasAlphaPlane(taken.format) && (!isSource || HasAlpha(destination.format));
    return (!IsPlanar(taken.format) ||
            (taken.plane[1].first != nullptr && taken.plane[2].first != nullptr)) &&
           (!walksAlpha || taken.plane[3].first != nullptr);
}

// ---- The integer path ------------------------------------------------------------------------------------

int Model::Integer() {
    if (source.plane[0].first == nullptr || destination.plane[0].first == nullptr) {
        return 1;
    }
    if (width < 0) {
        return 3;
    }
    if (!HasPair(Path::kInteger, source.format, destination.format)) {
        return 4;
    }
    if (IsPlusPair(source.format, destination.format) && plusFunction > 6) {
        return 5;
    }
    if (!TakePlanes(from, true, TowardZero, true) || !TakePlanes(to, false, TowardZero, true)) {
        return 1;
    }
    const Coefficients& defaults = OfKind(KindOf(source.format, destination.format));
    if (source.format != destination.format && !matrixGiven) {
        Keep(defaults, IsClassC(source.format, destination.format));
    }
    ConvertInteger(InUse(defaults));
    return 0;
}

void Model::ConvertInteger(const Coefficients& c) const {
    const int s = from.format, d = to.format;
    const bool classB = IsClassB(s, d), classC = IsClassC(s, d);
    const bool rides = AlphaRidesThrough(s, d), plus = IsPlusPair(s, d);
    const int group = GroupOf(s, d, sse2), whole = width / group * group;

    // Alpha takes part in colour where it rides through, and in class B, where a source without it has 0.
    const std::size_t columns = rides || classB ? 4 : 3;
    const auto input = [&](int x, int y) { return LoadUnshaped(from, to, x, y, alphaFill, false); };
    const auto lanes = [&](int x, int y) {
        Pixel in = input(x, y);
        in[kAlpha] = HasAlpha(s) ? in[kAlpha] : 0;
        return plus ? LimitedToStudio(in) : in;
    };
    const auto pixel = [&](int x, int y) {
        Pixel out = input(x, y);
        if (!NeedsMatrix(s, d)) {
            return out;
        }
        const Pixel in = lanes(x, y);
        const bool inGroup = x < whole;
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = !inGroup ? InDoubles(c, i, in, columns)
                     : classC ? ClassC(c, i, in)
                     : classB ? LumaInClassB(c, in)  // of i = 1; chroma follows
                              : ClassA(c, i, in, columns);
        }
        if (rides) {
            out[kAlpha] = inGroup ? AlphaInClassA(c, in[kAlpha]) : AlphaInDoubles(c, in[kAlpha]);
        } else if (classC) {
            out[kAlpha] = inGroup ? FromSixteenths(c, kAlpha, 0) : LimitAndTruncate(c.o[1][kAlpha]);
        }
        return plus ? Plus(plusFunction, out) : out;
    };
    const auto chroma = [&](std::size_t i, const std::vector<Position>& pixels) {
        if (!classB || pixels[0].x >= whole) {
            return MeanOf(pixel, i, pixels);
        }
        Pixel added = {};
        for (const Position& at : pixels) {
            const Pixel in = lanes(at.x, at.y);
            for (std::size_t j = 0; j < 4; ++j) {
                added[j] += in[j];
            }
        }
        return ChromaInClassB(c, i, added, pixels.size());
    };
    WriteShaped(from, to, width, height, pixel, chroma);
}

// ---- The path in doubles ---------------------------------------------------------------------------------

int Model::FloatingPoint() {
    if (source.plane[0].first == nullptr || destination.plane[0].first == nullptr) {
        return 1;
    }
    if (width < 0) {
        return 3;
    }
    if (!HasPair(Path::kFloat, source.format, destination.format)) {
        return 4;
    }
    if (IsPlusPair(source.format, destination.format) && plusFunction > 6) {
        return 5;
    }
    if (!TakePlanes(from, true, Down, true) || !TakePlanes(to, false, Down, true)) {
        return 1;
    }
    const Coefficients& defaults = OfKind(KindInDoubles(source.format, destination.format));
    if (!matrixGiven) {
        Keep(defaults, false);
    }
    if (!offsetGiven) {
        std::copy_n(&defaults.o[0][0], 8, &offset[0][0]);
    }
    ConvertFloatingPoint(InUse(defaults));
    return 0;
}

void Model::ConvertFloatingPoint(const Coefficients& c) const {
    const int s = from.format, d = to.format;
    const bool table = (s == 14 && d == 0) || (s == 16 && d == 17);
    // Words of a whole pair are copied, and half a pair is not.
    const bool copiesWords = OneOf(s, {2, 17}) && OneOf(d, {2, 17});
    const auto pixel = [&](int x, int y) {
        const Pixel in = LoadUnshaped(from, to, x, y, alphaFill, !table);
        if (!NeedsMatrix(s, d)) {
            return in;
        }
        Pixel out = in;
        const Pixel lanes = IsPlusPair(s, d) ? LimitedToStudio(in) : in;
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = InDoubles(c, i, lanes, 3);
        }
        if (AlphaRidesThrough(s, d)) {
            out[kAlpha] = AlphaInDoubles(c, in[kAlpha]);
        } else if (IsPlanar(s)) {
            out[kAlpha] = LimitAndTruncate(c.o[1][kAlpha]);
        }
        return IsPlusPair(s, d) ? Plus(plusFunction, out) : out;
    };
    const auto chroma = [&](std::size_t i, const std::vector<Position>& pixels) {
        return MeanOf(pixel, i, pixels);
    };
    WriteShaped(from, to, copiesWords ? width / 2 * 2 : width, height, pixel, chroma);
    for (int y = 0; copiesWords && HasAlphaPlane(d) && y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            Store(to, kAlpha, x, y, pixel(x, y)[kAlpha]);
        }
    }
}

// ---- Fixed point and single precision --------------------------------------------------------------------

int Model::FixedPoint() {
    const Plane &in = source.plane[0], &out = destination.plane[0];
    if (in.first == nullptr || out.first == nullptr) {
        return 1;
    }
    if (((in.pitch | out.pitch) & 3) != 0) {
        return 2;
    }
    if (width < 0) {
        return 3;
    }
    if (!HasPair(Path::kFixedPoint, source.format, destination.format)) {
        return 4;
    }
    const bool converts = source.format != destination.format;
    const Coefficients& defaults = OfKind(converts ? 3 : 0);
    if (!matrixGiven) {
        Keep(defaults, false);
    }
    if (!offsetGiven) {
        std::copy_n(&defaults.o[0][0], 8, &offset[0][0]);
    }
    const auto pixel = [&](int x, int y) {
        const Pixel loaded = Load(source, x, y, alphaFill);
        return converts ? InFixedPoint(loaded) : loaded;
    };
    Write(destination, width, height, pixel,
          [&](std::size_t i, const std::vector<Position>& pixels) { return MeanOf(pixel, i, pixels); });
    return 0;
}

int Model::FloatSimd() {
    if (source.plane[0].first == nullptr || destination.plane[0].first == nullptr) {
        return 1;
    }
    if (((source.plane[0].pitch | destination.plane[0].pitch) & 2) != 0) {
        return 2;
    }
    if (width < 0) {
        return 3;
    }
    if (!HasPair(Path::kFloatSimd, source.format, destination.format)) {
        return 4;
    }
    if (!simd) {
        return 5;
    }
    TakePlanes(from, true, Down, true);
    TakePlanes(to, false, Down, true);
    // The matrix may be the caller's, the offsets are always those of the pair.
    Coefficients c = InUse(OfKind(3));
    std::copy_n(&OfKind(3).o[0][0], 8, &c.o[0][0]);
    const auto pixel = [&](int x, int y) {
        const Pixel in = Load(from, x, y, alphaFill);
        return Pixel{InSingle(c, 0, in), InSingle(c, 1, in), InSingle(c, 2, in), InSingle(c, 3, in)};
    };
    Write(to, width, height, pixel,
          [&](std::size_t i, const std::vector<Position>& pixels) { return MeanOf(pixel, i, pixels); });
    return 0;
}

// ---- The general path ------------------------------------------------------------------------------------

namespace {

/// The stages that load and store have no case for these.
bool IsBlackInGeneral(int format) {
    return OneOf(format, {8, 16, 17, 19, 22, 25}) || format > 25;
}
/// 20 is among them.
bool IsYCrCbInGeneral(int format) {
    return !OneOf(format, {0, 3, 4, 5, 10, 14, 25}) && format < 25;
}

}  // namespace

int Model::General() {
    if (source.plane[0].first == nullptr || destination.plane[0].first == nullptr) {
        return 1;
    }
    if (width < 0) {
        return 3;
    }
    const int s = source.format, d = destination.format;
    if ((!TakePlanes(from, true, AsItIs, false) && !IsBlackInGeneral(s)) ||
        (!TakePlanes(to, false, AsItIs, false) && !IsBlackInGeneral(d))) {
        return 1;
    }
    if (IsBlackInGeneral(d)) {
        return 0;
    }
    const Coefficients& in = OfKind(IsYCrCbInGeneral(s) ? 4 : 0);
    const Coefficients& out = OfKind(IsYCrCbInGeneral(d) ? 3 : 0);
    const Pixel black = IsYCrCbInGeneral(s) ? Pixel{128, 16, 128, 255} : Pixel{0, 0, 0, 255};
    const auto pixel = [&](int x, int y) {
        const Pixel loaded = IsBlackInGeneral(s) ? black : Load(from, x, y, 255);
        float rgb[4];
        for (std::size_t i = 0; i < 4; ++i) {
            double sum = in.o[1][i];
            for (std::size_t j = 0; j < 4; ++j) {
                sum += in.m[i][j] * (loaded[j] + in.o[0][j]);
            }
            rgb[i] = static_cast<float>(sum);
        }
        Pixel stored;
        for (std::size_t i = 0; i < 4; ++i) {
            double sum = out.o[1][i];
            for (std::size_t j = 0; j < 4; ++j) {
                sum += out.m[i][j] * (static_cast<double>(rgb[j]) + out.o[0][j]);
            }
            stored[i] = LimitAndTruncate(sum);
        }
        return stored;
    };
    // Chroma is that of the first pixel that shares it.
    Write(to, width, height, pixel, [&](std::size_t i, const std::vector<Position>& pixels) {
        return pixel(pixels[0].x, pixels[0].y)[i];
    });
    return 0;
}

// ---- In place --------------------------------------------------------------------------------------------

namespace {

template <class Sample>
void ChangeColour(const Side& before, const Side& picture, int width, int height, const Sample& sample) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Pixel in = Load(before, x, y, 255);
            for (std::size_t i = 0; i < 3; ++i) {
                // Chroma of a pair belongs to its even pixel.
                if (i == 1 || x % Across(before.format) == 0) {
                    Store(picture, i, x, y, sample(i == 1 ? 16 : 128, in[i], in[kAlpha]));
                }
            }
        }
    }
}

}  // namespace

void ShapeRgb32(const Side& before, const Side& picture, int width, int height) {
    ChangeColour(before, picture, width, height, [](int, int c, int alpha) { return Shaped(c, alpha); });
}
void UnshapeRgb32(const Side& before, const Side& picture, int width, int height) {
    ChangeColour(before, picture, width, height, [](int, int c, int alpha) { return Unshaped(c, alpha); });
}
void ShapePairs(const Side& before, const Side& picture, int width, int height) {
    ChangeColour(before, picture, width, height, ShapedAround);
}
void UnshapePairs(const Side& before, const Side& picture, int width, int height) {
    ChangeColour(before, picture, width, height, UnshapedAround);
}

}  // namespace convert_model
