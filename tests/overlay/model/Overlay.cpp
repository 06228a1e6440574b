#include "overlay/model/Overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>

namespace overlay_model {

namespace {

Integer FloorDivided(Integer a, Integer b) {
    Integer q = a / b;
    if (a % b != 0 && (a < 0) != (b < 0)) {
        --q;
    }
    return q;
}

/// a / b to nearest, halves up; b above 0.
Integer Nearest(Integer a, Integer b) {
    return FloorDivided(2 * a + b, 2 * b);
}

Byte Low(int value) {
    return static_cast<Byte>(value & 255);
}

/// Arithmetic shift by eight bits.
int Shifted(int value) {
    return static_cast<int>(FloorDivided(value, 256));
}

bool IsPairs(const Picture& picture) {
    return picture.colorSpace == Zan::kYCrCb;
}

int BitCount(const Picture& picture) {
    switch (picture.sampling) {
        case Zan::k4444:
            return 32;
        case Zan::k422:
            return 16;
        default:
            return 24;
    }
}

/// Shaped, and with an alpha that it could be shaped by.
bool BlendsShaped(const Picture& picture) {
    return picture.shaping == Zan::kShaped &&
           (picture.sampling == Zan::k4444 || picture.sampling == Zan::k4224);
}

/// Of the format header.
int HeaderStatus(const Picture& picture) {
    if (IsPairs(picture)) {
        if (picture.packing != Zan::kPacked) {
            return kFormatNotSupported;
        }
        const bool plain = picture.channels == 3 && picture.sampling == Zan::k422;
        const bool withAlpha = picture.channels == 4 && picture.sampling == Zan::k4224;
        if (!plain && !withAlpha) {
            return kFormatNotSupported;
        }
    } else if (picture.sampling != Zan::k4444 && picture.sampling != Zan::k444) {
        return kFormatNotSupported;
    }
    if (picture.sampleBytes != 1) {
        return kFormatNotSupported;
    }
    if (picture.fieldPacking == Zan::kNoFields) {
        return 0;
    }
    if (picture.fieldPacking != Zan::kInterleavedFields ||
        (picture.scan != Zan::kUpperFieldFirst && picture.scan != Zan::kLowerFieldFirst)) {
        return kFormatNotSupported;
    }
    return 0;
}

/// All that is asked before anything is rendered, in its order.
int Refusal(std::initializer_list<const Picture*> pictures, const Picture& result) {
    for (const Picture* picture : pictures) {
        if (!picture->hasImage) {
            return 1;
        }
    }
    for (const Picture* picture : pictures) {
        if (picture->address == nullptr) {
            return 1;
        }
    }
    for (const Picture* picture : pictures) {
        if (picture->colorSpace != Zan::kRGB && picture->colorSpace != Zan::kYCrCb) {
            return 2;
        }
    }
    for (const Picture* picture : pictures) {
        if (picture->colorSpace != result.colorSpace) {
            return 3;
        }
    }
    for (const Picture* picture : pictures) {
        if (const int status = HeaderStatus(*picture); status != 0) {
            return status;
        }
    }
    for (const Picture* picture : pictures) {
        if (picture->sampling == Zan::k4224 && (!picture->alpha.isThere || picture->alpha.pitch == 0)) {
            return kObjectNotFound;
        }
    }
    if (result.field != Zan::kFrame && result.field != Zan::kUpperField && result.field != Zan::kLowerField) {
        return kUnknownFormat;
    }
    return 0;
}

/// A picture in the coordinates of the result.
struct Placed {
    Box bounds, region;
};

Placed PlaceResult(const Picture& result) {
    const Box bounds{0, 0, result.width, result.height};
    return {bounds, result.region.Cut(bounds)};
}

Placed PlaceSource(const Picture& source, const Picture& result) {
    const Integer left = (result.width - source.width) / 2, top = (result.height - source.height) / 2;
    Placed placed;
    placed.bounds = {left, top, left + source.width, top + source.height};
    placed.region = source.region.Moved(left, top).Cut(placed.bounds);
    if (IsPairs(source) && left % 2 != 0) {
        placed.bounds = {left - 1, top, left - 1 + source.width, top + source.height};
        placed.region.left -= 1;
        placed.region.right -= 1;
    }
    return placed;
}

/// How lines are found: pictures are turned over as they are seen, or taken as they lie.
enum class Order { kSeen, kMemory };

std::ptrdiff_t Index(const Picture& picture, const Plane& plane, Order order, Integer x, Integer y,
                     Integer pixelBytes) {
    const bool turned = order == Order::kSeen && picture.origin == Zan::kBottomLeft;
    const Integer line = turned ? picture.height - 1 - y : y;
    return static_cast<std::ptrdiff_t>(plane.first + line * plane.pitch + x * pixelBytes);
}

Integer ColourBytes(const Picture& picture) {
    return IsPairs(picture) ? 2 : BitCount(picture) / 8;
}

/// Byte `i` of a pixel.
std::ptrdiff_t ColourIndex(const Picture& picture, Order order, Integer x, Integer y, Integer i) {
    return Index(picture, picture.colour, order, x, y, ColourBytes(picture)) + static_cast<std::ptrdiff_t>(i);
}
int Colour(const Picture& picture, Order order, Integer x, Integer y, Integer i) {
    return picture.colour.At(ColourIndex(picture, order, x, y, i));
}
void PutColour(Picture& picture, Order order, Integer x, Integer y, Integer i, Byte value) {
    picture.colour.Put(ColourIndex(picture, order, x, y, i), value);
}

/// Of the plane of 4:2:2:4.
int PlaneAlpha(const Picture& picture, Order order, Integer x, Integer y) {
    return picture.alpha.At(Index(picture, picture.alpha, order, x, y, 1));
}
void PutPlaneAlpha(Picture& picture, Order order, Integer x, Integer y, Byte value) {
    picture.alpha.Put(Index(picture, picture.alpha, order, x, y, 1), value);
}

bool IsLineOf(Zan::WhichFieldEnum field, Integer y) {
    return field == Zan::kFrame || (y % 2 == 0) == (field == Zan::kUpperField);
}

int CentreInto(const Picture& source, const Placed& sourcePlace, Picture& result, const Box& region,
               Order order) {
    if (BitCount(source) != BitCount(result)) {
        return 3;
    }
    const Integer bytes = ColourBytes(result);
    for (Integer y = region.top; y < region.bottom; ++y) {
        if (!IsLineOf(result.field, y)) {
            continue;
        }
        for (Integer x = region.left; x < region.right; ++x) {
            const bool inside = sourcePlace.region.Holds(x, y);
            const Integer fromX = x - sourcePlace.bounds.left, fromY = y - sourcePlace.bounds.top;
            for (Integer i = 0; i < bytes; ++i) {
                const int black = !IsPairs(result) ? 0 : i == 0 ? 128 : 16;
                PutColour(result, order, x, y, i,
                          Low(inside ? Colour(source, order, fromX, fromY, i) : black));
            }
            if (result.sampling == Zan::k4224) {
                PutPlaneAlpha(result, order, x, y, Low(inside ? PlaneAlpha(source, order, fromX, fromY) : 0));
            }
        }
    }
    return 0;
}

// Whole pixels.

void BlendWholeRgb(const Picture& foreground, const Box& bounds, Picture& result, const Box& overlap) {
    constexpr Order kSeen = Order::kSeen;
    for (Integer y = overlap.top; y < overlap.bottom; ++y) {
        if (!IsLineOf(result.field, y)) {
            continue;
        }
        for (Integer x = overlap.left; x < overlap.right; ++x) {
            const auto f = [&](Integer i) {
                return Colour(foreground, kSeen, x - bounds.left, y - bounds.top, i);
            };
            const auto b = [&](Integer i) { return Colour(result, kSeen, x, y, i); };
            const auto put = [&](Integer i, int value) { PutColour(result, kSeen, x, y, i, Low(value)); };
            if (BitCount(foreground) == 24) {
                for (Integer i = 0; i < 3; ++i) {
                    put(i, f(i));
                }
                if (BitCount(result) == 32) {
                    put(3, 255);
                }
                continue;
            }
            const int a = f(3);
            if (BlendsShaped(foreground)) {
                for (Integer i = 0; i < ColourBytes(result); ++i) {
                    put(i, Premultiplied(a, f(i), b(i), 0));
                }
            } else if (BitCount(result) == 24) {
                for (Integer i = 0; i < 3; ++i) {
                    put(i, Straight(a, f(i), b(i), 0));
                }
            } else {
                const int weight = UnionWeight(a, b(3));
                for (Integer i = 0; i < 3; ++i) {
                    put(i, UnionOfRgb(weight, f(i), b(i)));
                }
                put(3, UnionAlpha(a, b(3)));
            }
        }
    }
}

void BlendWholePairs(const Picture& foreground, const Box& bounds, Picture& result, const Box& overlap) {
    constexpr Order kSeen = Order::kSeen;
    const bool keepsAlpha = BitCount(result) == 24;
    for (Integer y = overlap.top; y < overlap.bottom; ++y) {
        if (!IsLineOf(result.field, y)) {
            continue;
        }
        for (Integer x = overlap.left; x + 1 < overlap.right; x += 2) {
            const Integer fromX = x - bounds.left, fromY = y - bounds.top;
            // Of the pair: Cb, Y0, Cr, Y1.
            std::array<int, 2> alpha{255, 255}, below{0, 0};
            for (Integer i = 0; i < 2; ++i) {
                if (BitCount(foreground) == 24) {
                    alpha.at(static_cast<std::size_t>(i)) = PlaneAlpha(foreground, kSeen, fromX + i, fromY);
                }
                if (keepsAlpha) {
                    below.at(static_cast<std::size_t>(i)) = PlaneAlpha(result, kSeen, x + i, y);
                }
            }
            for (Integer i = 0; i < 4; ++i) {
                const std::size_t pixel = i == 3 ? 1 : 0;
                const int offset = i % 2 == 0 ? 128 : 16;
                const int f = Colour(foreground, kSeen, fromX, fromY, i);
                const int b = Colour(result, kSeen, x, y, i);
                Byte value = 0;
                if (BitCount(foreground) == 16) {
                    value = Low(f);
                } else if (BlendsShaped(foreground)) {
                    value = Premultiplied(alpha.at(pixel), f, b, offset);
                } else if (keepsAlpha) {
                    value = UnionOfPairs(UnionWeight(alpha.at(pixel), below.at(pixel)), f, b);
                } else {
                    value = Straight(alpha.at(pixel), f, b, offset);
                }
                PutColour(result, kSeen, x, y, i, value);
            }
            if (!keepsAlpha) {
                continue;
            }
            for (std::size_t i = 0; i < 2; ++i) {
                const int a = alpha.at(i), ab = below.at(i);
                const int value = BlendsShaped(foreground)     ? a + Divided((255 - a) * ab + 128)
                                  : BitCount(foreground) == 16 ? 255
                                                               : UnionAlpha(a, ab);
                PutPlaneAlpha(result, kSeen, x + static_cast<Integer>(i), y, Low(value));
            }
        }
    }
}

// Fractions of pixels.

/// Where a sample comes from along one axis, and how much of it.
struct Tap {
    Integer at, weight;
};
using Taps = std::array<Tap, 2>;

/// The picture has moved by position / unit.
Taps TapsOf(Integer at, Integer position, Integer unit) {
    const Integer whole = FloorDivided(position, unit), fraction = position - whole * unit;
    return {Tap{at - whole, unit - fraction}, Tap{at - whole - 1, fraction}};
}

/// Lines that make line `y`; their weights are of `unit`.
Taps LineTaps(const Picture& foreground, const Box& bounds, Integer y, Integer position, Integer& unit) {
    if (foreground.fieldPacking == Zan::kNoFields) {
        unit = 256;
        return TapsOf(y, position, unit);
    }
    unit = 512;
    const Integer line = y - bounds.top, parity = ((line % 2) + 2) % 2;
    Taps taps = TapsOf((line - parity) / 2, position, unit);
    for (Tap& tap : taps) {
        tap.at = 2 * tap.at + parity + bounds.top;
    }
    return taps;
}

/// A place of the foreground in the coordinates of the result: the alpha there.
struct Foreground {
    const Picture& picture;
    Box bounds, region;

    bool Holds(Integer x, Integer y) const { return region.Holds(x, y); }
    int Sample(Integer x, Integer y, Integer i) const {
        return Colour(picture, Order::kSeen, x - bounds.left, y - bounds.top, i);
    }
    int Alpha(Integer x, Integer y) const {
        switch (picture.sampling) {
            case Zan::k4444:
                return Sample(x, y, 3);
            case Zan::k4224:
                return PlaneAlpha(picture, Order::kSeen, x - bounds.left, y - bounds.top);
            default:
                return 255;
        }
    }
};

/// Sums over the taps of both axes; `unit` is the product of the axes' units.
struct Resampled {
    Integer unit = 1, alphaSum = 0, colourSum = 0;
    bool shaped = false;

    int Alpha() const { return static_cast<int>(Nearest(alphaSum, unit)); }
    /// With its offset.
    int Colour(int offset) const {
        const Integer divisor = shaped ? unit : alphaSum;
        return divisor == 0 ? offset : static_cast<int>(Nearest(colourSum, divisor)) + offset;
    }
};

/// `columnStep` 2 where columns are pairs, which have the alpha of their first pixel.
Resampled Resample(const Foreground& foreground, const Taps& columns, Integer columnUnit, Integer columnStep,
                   const Taps& lines, Integer lineUnit, Integer byte, int offset) {
    Resampled sums;
    sums.unit = columnUnit * lineUnit;
    sums.shaped = BlendsShaped(foreground.picture);
    for (const Tap& line : lines) {
        for (const Tap& column : columns) {
            const Integer x = column.at * columnStep, y = line.at, weight = column.weight * line.weight;
            if (weight == 0 || !foreground.Holds(x, y)) {
                continue;
            }
            const Integer alpha = foreground.Alpha(x, y);
            const Integer colour = foreground.Sample(x, y, byte) - offset;
            sums.alphaSum += weight * alpha;
            sums.colourSum += sums.shaped ? weight * colour : weight * alpha * colour;
        }
    }
    return sums;
}

void BlendFractionRgb(const Foreground& foreground, Integer positionX, Integer positionY, Picture& result,
                      const Box& region) {
    constexpr Order kSeen = Order::kSeen;
    for (Integer y = region.top; y < region.bottom; ++y) {
        if (!IsLineOf(result.field, y)) {
            continue;
        }
        Integer lineUnit = 0;
        const Taps lines = LineTaps(foreground.picture, foreground.bounds, y, positionY, lineUnit);
        for (Integer x = region.left; x < region.right; ++x) {
            const Taps columns = TapsOf(x, positionX, 256);
            const auto sample = [&](Integer i) {
                return Resample(foreground, columns, 256, 1, lines, lineUnit, i, 0);
            };
            const auto b = [&](Integer i) { return Colour(result, kSeen, x, y, i); };
            const int alpha = sample(0).Alpha();
            const int below = BitCount(result) == 32 ? b(3) : 255;
            for (Integer i = 0; i < 3; ++i) {
                const int f = sample(i).Colour(0);
                const Byte value = sample(i).shaped         ? Premultiplied(alpha, f, b(i), 0)
                                   : BitCount(result) == 24 ? Straight(alpha, f, b(i), 0)
                                                            : UnionOfRgb(UnionWeight(alpha, below), f, b(i));
                PutColour(result, kSeen, x, y, i, value);
            }
            if (BitCount(result) == 32) {
                PutColour(result, kSeen, x, y, 3,
                          BlendsShaped(foreground.picture) ? Premultiplied(alpha, alpha, below, 0)
                                                           : Low(UnionAlpha(alpha, below)));
            }
        }
    }
}

void BlendFractionPairs(const Foreground& foreground, Integer positionX, Integer positionY, Picture& result,
                        const Box& region) {
    constexpr Order kSeen = Order::kSeen;
    const bool keepsAlpha = BitCount(result) == 24, shaped = BlendsShaped(foreground.picture);
    for (Integer y = region.top; y < region.bottom; ++y) {
        if (!IsLineOf(result.field, y)) {
            continue;
        }
        Integer lineUnit = 0;
        const Taps lines = LineTaps(foreground.picture, foreground.bounds, y, positionY, lineUnit);
        for (Integer x = region.left; x + 1 < region.right; x += 2) {
            std::array<int, 2> below{0, 0};
            for (Integer i = 0; keepsAlpha && i < 2; ++i) {
                below.at(static_cast<std::size_t>(i)) = PlaneAlpha(result, kSeen, x + i, y);
            }
            const auto blend = [&](const Resampled& sample, int b, int offset, int belowHere) {
                const int f = sample.Colour(offset), alpha = sample.Alpha();
                return shaped       ? Premultiplied(alpha, f, b, offset)
                       : keepsAlpha ? UnionOfPairs(UnionWeight(alpha, belowHere), f, b)
                                    : Straight(alpha, f, b, offset);
            };
            const Taps pairs = TapsOf(x / 2, positionX, 512);
            for (const Integer i : {0, 2}) {
                const Resampled sample = Resample(foreground, pairs, 512, 2, lines, lineUnit, i, 128);
                PutColour(result, kSeen, x, y, i,
                          blend(sample, Colour(result, kSeen, x, y, i), 128, below[0]));
            }
            for (Integer i = 0; i < 2; ++i) {
                const int belowHere = below.at(static_cast<std::size_t>(i));
                const Resampled sample =
                    Resample(foreground, TapsOf(x + i, positionX, 256), 256, 1, lines, lineUnit, 1, 16);
                PutColour(result, kSeen, x + i, y, 1,
                          blend(sample, Colour(result, kSeen, x + i, y, 1), 16, belowHere));
                if (keepsAlpha) {
                    const int a = sample.Alpha();
                    PutPlaneAlpha(
                        result, kSeen, x + i, y,
                        Low(shaped ? a + Divided((255 - a) * belowHere + 128) : UnionAlpha(a, belowHere)));
                }
            }
        }
    }
}

/// Whether any pixel of `region` takes something from the foreground.
bool IsReached(const Foreground& foreground, Integer positionX, Integer positionY, const Box& region) {
    const Box& there = foreground.region;
    bool column = false, line = false;
    for (Integer x = region.left; x < region.right && !column; ++x) {
        for (const Tap& tap : TapsOf(x, positionX, 256)) {
            column = column || (tap.weight > 0 && tap.at >= there.left && tap.at < there.right);
        }
    }
    for (Integer y = region.top; y < region.bottom && !line; ++y) {
        Integer unit = 0;
        for (const Tap& tap : LineTaps(foreground.picture, foreground.bounds, y, positionY, unit)) {
            line = line || (tap.weight > 0 && tap.at >= there.top && tap.at < there.bottom);
        }
    }
    return column && line;
}

/// `value` times `unit` to nearest, halves up; farther than any picture reaches it stops.
Integer Position(double value, int unit) {
    constexpr double kFar = 1e10;
    const double limited = std::min(std::max(value, -kFar), kFar);
    return FloorDivided(static_cast<Integer>(std::floor(limited * unit * 2)) + 1, 2);
}

int Render(const Picture& foreground, const Picture& background, Picture& result, double x, double y,
           bool subPixel) {
    const Placed place = PlaceSource(foreground, result), target = PlaceResult(result);
    const bool inPlace = background.address == result.address;
    const bool pairs = IsPairs(result);

    Integer wholeX = Position(x, 1);
    const Integer wholeY = Position(y, 1);
    if (pairs) {
        wholeX = 2 * FloorDivided(wholeX, 2);
    }
    const Integer finelyX = Position(x, 256), finelyY = Position(y, 256);
    const Box overlap = place.region.Moved(wholeX, wholeY).Cut(target.region);
    Foreground moving{foreground, place.bounds, place.region};
    Box reached = target.region;
    if (pairs && !moving.region.IsEmpty() && !reached.IsEmpty()) {
        // Between pixels, half a pair at the end of the foreground is outside; one at the end of the result
        // has the chroma of the whole.
        moving.region.right -= (moving.region.right - moving.region.left) % 2;
        reached.right += (reached.right - reached.left) % 2;
    }
    const bool isEmpty = subPixel ? !IsReached(moving, finelyX, finelyY, reached) : overlap.IsEmpty();

    if (!inPlace) {
        const int status =
            CentreInto(background, PlaceSource(background, result), result, target.region, Order::kSeen);
        if (isEmpty) {
            return 0;
        }
        if (status != 0) {
            return status;
        }
    }
    if (isEmpty) {
        return 0;
    }
    if (!subPixel) {
        const Box bounds = place.bounds.Moved(wholeX, wholeY);
        if (pairs) {
            BlendWholePairs(foreground, bounds, result, overlap);
        } else {
            BlendWholeRgb(foreground, bounds, result, overlap);
        }
    } else if (pairs) {
        BlendFractionPairs(moving, finelyX, finelyY, result, target.region);
    } else {
        BlendFractionRgb(moving, finelyX, finelyY, result, target.region);
    }
    return 0;
}

}  // namespace

Box Box::Cut(const Box& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
}

Box Box::Moved(Integer x, Integer y) const {
    return {left + x, top + y, right + x, bottom + y};
}

int Divided(int t) {
    return Shifted(t + Shifted(t));
}

Byte Straight(int alpha, int foreground, int background, int offset) {
    const int sum = (255 - alpha) * (background - offset) + alpha * (foreground - offset);
    return Low(Divided(sum + 128) + offset);
}

Byte Premultiplied(int alpha, int foreground, int background, int offset) {
    return Low(foreground + Divided((255 - alpha) * (background - offset) + 128));
}

int UnionAlpha(int alpha, int backgroundAlpha) {
    return alpha + backgroundAlpha - Divided(alpha * backgroundAlpha + 128);
}

int UnionWeight(int alpha, int backgroundAlpha) {
    const int whole = UnionAlpha(alpha, backgroundAlpha);
    return whole > 0 ? alpha * 255 / whole : 0;
}

Byte UnionOfRgb(int weight, int foreground, int background) {
    return Low(Divided((255 - weight) * background + weight * foreground + 128));
}

Byte UnionOfPairs(int weight, int foreground, int background) {
    return Low(background + Divided(weight * (foreground - background) + 128));
}

int DoAt(const Picture& foreground, const Picture& background, Picture& result, double x, double y,
         bool subPixel) {
    if (!std::isfinite(x) || !std::isfinite(y)) {
        return kInvalidArgument;
    }
    if (const int status = Refusal({&foreground, &background, &result}, result); status != 0) {
        return status;
    }
    const int status = Render(foreground, background, result, x, y, subPixel);
    if (BlendsShaped(foreground)) {
        result.shaping = foreground.shaping;
    }
    return status;
}

int Do(const Picture& foreground, const Picture& background, Picture& result) {
    return DoAt(foreground, background, result, 0, 0, false);
}

int Center(const Picture& source, Picture& result) {
    if (const int status = Refusal({&source, &result}, result); status != 0) {
        return status;
    }
    const int status =
        CentreInto(source, PlaceSource(source, result), result, PlaceResult(result).region, Order::kMemory);
    if (BlendsShaped(source)) {
        result.shaping = source.shaping;
    }
    return status;
}

}  // namespace overlay_model
