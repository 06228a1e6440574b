#include <algorithm>
#include <cmath>

#include "composite/model/Model.h"

namespace composite_model {

namespace {

Byte Mixed(int alpha, int a, int b) {
    return static_cast<Byte>(Div255Round((255 - alpha) * a + alpha * b));
}

double Limited(double value, double least, double most) {
    if (value < least) {
        return least;
    }
    return value > most ? most : value;
}

double ThresholdOf(double softness, double position) {
    const double threshold = -softness / 255 + (255 + softness) / 255 * Limited(position, 0, 1);
    return threshold > 1 ? 1 : threshold;
}

/// Threshold and gain of a call, and the three mappings of a key value that they have.
struct Ramp {
    double threshold, gain;

    int InDoubles(int g) const {
        const double t = threshold * 255, scale = gain * 255;
        double d = g - t;
        if (d < 0) {
            d = 0;
        }
        d = d * scale;
        if (d > 255) {
            d = 255;
        }
        return static_cast<int>(d + 0.5);
    }
    int InWords(int g) const {
        const auto t = static_cast<std::int16_t>(static_cast<int>(threshold * 32640));
        const auto scale = static_cast<std::int16_t>(static_cast<int>(gain * 32640));
        int x = (g << 7) - t;
        x = std::clamp(x, -32768, 32767);
        x = std::clamp(x, 0, 32640);
        const int alpha = std::clamp((x * scale) >> 14, -32768, 32767);
        return std::min(alpha, 255);
    }
    int InFixedPoint(int g) const {
        const int t = static_cast<int>(threshold * 65280), scale = static_cast<int>(gain * 65280);
        const int x = std::max((g << 8) - t, 0);
        const std::uint32_t product =
            static_cast<std::uint32_t>(x) * static_cast<std::uint32_t>(scale) + 32768U;
        return static_cast<int>(std::min(product >> 16, 255U));
    }
};

bool SamplingsFit(const Operand& a, const Operand& b, const Operand& dst) {
    return (a.sampling == Zan::k4444 && b.sampling == Zan::k4444 && dst.sampling == Zan::k4444) ||
           (IsPairs(a) && IsPairs(b) && IsPairs(dst));
}

}  // namespace

int SoftWipe(const Operand& a, const Operand& b, const Operand& key, Operand& dst, double position,
             double softness, int style, Processor cpu) {
    if (!SamplingsFit(a, b, dst) || key.colorSpace != Zan::kAlphaOnly ||
        std::lround(key.bytesPerPixel) != 1) {
        return 4;
    }
    softness = Limited(softness, 0, 32768);
    const Ramp ramp = {ThresholdOf(softness, position), 1 / (1 + softness)};
    const int width = std::min({a.width, b.width, key.width, dst.width});
    const int height = std::min({a.height, b.height, key.height, dst.height});
    const auto keyAt = [&key](int x, int y) {
        return int{key.colour.At(key.colour.first + y * key.colour.pitch + x)};
    };

    if (a.sampling == Zan::k4444) {
        const bool vectors =
            (style == kIntVector || style == kFlpVector || style == kBest) && (cpu.sse2 || cpu.integerSse);
        const int columns = vectors ? width / 8 * 8 : width;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < columns; ++x) {
                const int g = keyAt(x, y);
                const int alpha = vectors ? ramp.InWords(g) : ramp.InDoubles(g);
                for (int i = 0; i < 4; ++i) {
                    dst.colour.Put(dst.colour.first + y * dst.colour.pitch + 4 * x + i,
                                   Mixed(alpha, a.colour.At(a.colour.first + y * a.colour.pitch + 4 * x + i),
                                         b.colour.At(b.colour.first + y * b.colour.pitch + 4 * x + i)));
                }
            }
        }
        return 0;
    }

    const bool fixed = style == kFP || style == kIntVector || style == kBest;
    const auto alphaAt = [&](int x, int y) {
        return fixed ? ramp.InFixedPoint(keyAt(x, y)) : ramp.InDoubles(keyAt(x, y));
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x <= width - 2; x += 2) {
            const int alpha0 = alphaAt(x, y), alpha1 = alphaAt(x + 1, y);
            for (int i = 0; i < 4; ++i) {
                dst.colour.Put(dst.colour.first + y * dst.colour.pitch + 2 * x + i,
                               Mixed(i == 3 ? alpha1 : alpha0,
                                     a.colour.At(a.colour.first + y * a.colour.pitch + 2 * x + i),
                                     b.colour.At(b.colour.first + y * b.colour.pitch + 2 * x + i)));
            }
        }
    }
    if (!dst.alpha.isThere) {
        return 0;
    }
    const bool hasA = a.alpha.isThere;
    const bool hasB = b.alpha.isThere && b.alphaDescription != Zan::kAlphaOpaque;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int valueA = hasA ? a.alpha.At(a.alpha.first + y * a.alpha.pitch + x) : 255;
            const int valueB = hasB ? b.alpha.At(b.alpha.first + y * b.alpha.pitch + x) : 255;
            dst.alpha.Put(dst.alpha.first + y * dst.alpha.pitch + x,
                          !hasA && !hasB ? Byte{255} : Mixed(alphaAt(x, y), valueA, valueB));
        }
    }
    return 0;
}

namespace {

/// The zones of a bordered wipe.
struct Zones {
    double threshold, total, e1, e2;

    explicit Zones(const Border& border) {
        const double sum = Limited(border.softnessA + border.width + border.softnessB, 0, 32768);
        threshold = ThresholdOf(sum, border.position);
        const double s1 = border.softnessA > 0 ? border.softnessA : 1.0 / 255;
        const double s2 = border.softnessB > 0 ? border.softnessB : 1.0 / 255;
        total = std::max(s1 + border.width + s2, 0.0);
        e1 = 255 * s1 / total;
        e2 = 255 * (s1 + border.width) / total;
    }

    double OfByte(int g) const { return Limited((g - 255 * threshold) * 255 / total, 0, 255); }
    double OfWord(int g) const {
        const double factor = 1.0F / 255.0F;
        return Limited((g - 65535 * threshold) * factor * 255 / total, 0, 255);
    }

    Byte Out(double d, int a, int b, int c) const {
        if (d <= e1) {
            const int m = std::min(static_cast<int>(255 * d / e1 + 0.5), 255);
            return static_cast<Byte>(((256 - m) * a + m * c + 128) >> 8);
        }
        if (d < e2) {
            return static_cast<Byte>(c);
        }
        const int m = std::min(static_cast<int>(255 * (255 - d) / (255 - e2) + 0.5), 255);
        return static_cast<Byte>(((256 - m) * b + m * c + 128) >> 8);
    }
};

int InRange(double value) {
    return std::clamp(static_cast<int>(value), 0, 255);
}

}  // namespace

int BorderWipe(const Operand& a, const Operand& b, const Operand& key, Operand& dst, const Border& border) {
    if (!SamplingsFit(a, b, dst)) {
        return 4;
    }
    const long keyBytes = std::lround(key.bytesPerPixel);
    if ((keyBytes == 1 || keyBytes == 2) && key.colorSpace != Zan::kAlphaOnly) {
        return 4;
    }
    const int width = std::min({a.width, b.width, key.width, dst.width});
    const int height = std::min({a.height, b.height, key.height, dst.height});
    const Zones zones(border);

    int c[4];
    for (int i = 0; i < 4; ++i) {
        c[i] = static_cast<int>(border.colour >> (8 * i) & 0xFF);
    }
    const int alphaOfBorder = c[3];
    if (a.colorSpace == Zan::kYCrCb && b.colorSpace == Zan::kYCrCb && dst.colorSpace == Zan::kYCrCb) {
        const double blue = c[0], green = c[1], red = c[2];
        c[0] = InRange(0.439 * blue - (0.148 * red + 0.291 * green) + 128.5);
        c[1] = InRange(0.098 * blue + 0.257 * red + 0.504 * green + 16.5);
        c[2] = InRange(0.439 * red - 0.368 * green - 0.071 * blue + 128.5);
    }
    const auto keyByte = [&key](int x, int y) {
        return int{key.colour.At(key.colour.first + y * key.colour.pitch + x)};
    };
    const auto put = [&](int y, int byte, double d, int colour) {
        dst.colour.Put(dst.colour.first + y * dst.colour.pitch + byte,
                       zones.Out(d, a.colour.At(a.colour.first + y * a.colour.pitch + byte),
                                 b.colour.At(b.colour.first + y * b.colour.pitch + byte), colour));
    };

    if (a.sampling == Zan::k4444) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (int i = 0; i < 4; ++i) {
                    put(y, 4 * x + i, zones.OfByte(keyByte(x, y)), c[i]);
                }
            }
        }
        return 0;
    }

    for (int y = 0; y < height; ++y) {
        // A key of two bytes a pixel goes two rows a row, and ends where its plane does.
        const std::ptrdiff_t wordRow = key.colour.first + y * 2 * key.colour.pitch;
        if (keyBytes != 1 && !key.colour.Holds(wordRow)) {
            continue;
        }
        for (int x = 0; x <= width - 2; x += 2) {
            double d[2];
            for (int i = 0; i < 2; ++i) {
                if (keyBytes == 1) {
                    d[i] = zones.OfByte(keyByte(x + i, y));
                } else {
                    const std::ptrdiff_t at = wordRow + 2 * (x + i);
                    d[i] = zones.OfWord(key.colour.At(at) | key.colour.At(at + 1) << 8);
                }
            }
            put(y, 2 * x, d[0], c[0]);
            put(y, 2 * x + 1, d[0], c[1]);
            put(y, 2 * x + 2, d[0], c[2]);
            put(y, 2 * x + 3, d[1], c[1]);
        }
    }
    if (!dst.alpha.isThere) {
        return 0;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            Byte out = 255;
            if (a.alpha.isThere || b.alpha.isThere) {
                const int valueA = a.alpha.isThere ? a.alpha.At(a.alpha.first + y * a.alpha.pitch + x) : 255;
                const int valueB = b.alpha.isThere ? b.alpha.At(b.alpha.first + y * b.alpha.pitch + x) : 255;
                out = zones.Out(zones.OfByte(keyByte(x, y)), valueA, valueB, alphaOfBorder);
            }
            dst.alpha.Put(dst.alpha.first + y * dst.alpha.pitch + x, out);
        }
    }
    return 0;
}

int ConvertingWipe(const Plane& a, const Plane& b, const Plane& key, Plane& dst, int width, int height,
                   double threshold, double gain, unsigned codePath, bool integerSse, const double* matrix,
                   const double* offsets) {
    if (codePath != 2) {
        return 100;
    }
    if (!integerSse) {
        return 0;
    }
    long fixed[4][4], before[4], after[4];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            fixed[i][j] = std::lround(matrix[4 * i + j] * 8192);
        }
        before[i] = static_cast<long>(offsets[i] * 128);
        after[i] = static_cast<long>(offsets[4 + i] * 16);
    }
    const auto low16 = [](double value) {
        return static_cast<int>(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)) & 0xFFFF);
    };
    const int t = low16(threshold * 65280), scale = low16(gain * 32767);
    const auto converted = [&](const Plane& source, int x, int y, int i) {
        if (i == 3) {
            return 255;
        }
        const std::ptrdiff_t pair = source.first + y * WholeWords(source.pitch) + x / 2 * 4;
        const int samples[3] = {source.At(pair), source.At(pair + 1 + x % 2 * 2), source.At(pair + 2)};
        std::int64_t sum = before[3] * fixed[i][3];
        for (int j = 0; j < 3; ++j) {
            sum += ((samples[j] << 7) + before[j]) * fixed[i][j];
        }
        const std::int64_t v = std::clamp<std::int64_t>(sum >> 16, -32768, 32767);
        return static_cast<int>(std::clamp<std::int64_t>((v + after[i]) >> 4, 0, 255));
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width / 16 * 16; ++x) {
            const int g = key.At(key.first + y * key.pitch + x);
            const int alpha = std::min((std::max((g << 8) - t, 0) >> 8) * (scale >> 8), 255);
            for (int i = 0; i < 4; ++i) {
                dst.Put(dst.first + y * WholeWords(dst.pitch) + 4 * x + i,
                        Mixed(alpha, converted(a, x, y, i), converted(b, x, y, i)));
            }
        }
    }
    return 0;
}

}  // namespace composite_model
