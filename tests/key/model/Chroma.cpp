#include "key/model/Chroma.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace key_model {

namespace {

// The keyer's own pi.
constexpr double kPi = 3.1415026535, kHalfPi = 1.57075132675;
constexpr double kRadians = 0.017452792519444444;

// To the nearest double.
double Sine(double x) {
    return static_cast<double>(std::sin(static_cast<long double>(x)));
}
double Cosine(double x) {
    return static_cast<double>(std::cos(static_cast<long double>(x)));
}
/// Of the two as doubles, which may be a last bit off the nearest.
double Tangent(double x) {
    return Sine(x) / Cosine(x);
}

double Limit(double value, double low, double high) {
    return !(value >= low) ? low : value > high ? high : value;
}

/// Away from zero at the half.
int Rounded(double value) {
    return static_cast<int>(value < 0 ? std::ceil(value - 0.5) : std::floor(value + 0.5));
}

/// The bits that >> drops count downwards.
int ShiftedDown(int value, int bits) {
    const int divisor = 1 << bits;
    const int quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

Byte Truncated(double value) {
    return static_cast<Byte>(static_cast<int>(value));
}

int Nearest(double value) {
    return static_cast<int>(std::floor(value + 0.5));
}

bool HasClass(const Views& views, bool pairs) {
    for (const Operand* view : {views.foreground, views.background, views.result}) {
        if (view == nullptr) {
            continue;
        }
        if (view->colorSpace != Zan::kYCrCb || (pairs ? !view->IsPairs() : view->sampling != Zan::k4444)) {
            return false;
        }
    }
    return true;
}

/// The work area, and how many of its rows come before the split.
struct Area {
    int width, height, split;
};

Area AreaOf(const Settings& settings, const Views& views) {
    Area area = {views.foreground->width, views.foreground->height, 0};
    for (const Operand* view : {views.background, views.result, views.keyOut}) {
        if (view != nullptr) {
            area.width = std::min(area.width, view->width);
            area.height = std::min(area.height, view->height);
        }
    }
    area.split = settings.splitScreenHeight < static_cast<std::uint32_t>(area.height)
                     ? static_cast<int>(settings.splitScreenHeight)
                     : area.height;
    return area;
}

int StatusOf(const Views& views, const Area& area) {
    const Operand* const all[] = {views.foreground, views.background, views.result, views.keyOut};
    for (const Operand* view : all) {
        if (view != nullptr && view->isNull) {
            return 1;
        }
    }
    if (!HasClass(views, false) && !HasClass(views, true)) {
        return 4;
    }
    if (views.keyOut != nullptr && views.keyOut->colorSpace != Zan::kAlphaOnly) {
        return 4;
    }
    for (const Operand* view : all) {
        if (view != nullptr && !view->colour.isThere) {
            return 1;
        }
    }
    for (const Operand* view : {views.foreground, views.background, views.result}) {
        if (view != nullptr && view->colour.pitch % 4 != 0) {
            return 2;
        }
    }
    const int bytes = HasClass(views, false) ? 4 * area.width : 2 * area.width;
    for (const Operand* view : {views.foreground, views.background, views.result}) {
        if (view != nullptr && view->colour.IsLeftBy(bytes, area.height)) {
            return 98;
        }
    }
    if (views.keyOut != nullptr && views.keyOut->colour.IsLeftBy(area.width, area.height)) {
        return 98;
    }
    return 0;
}

Word WordAt(const Plane& plane, std::ptrdiff_t row, std::ptrdiff_t byte) {
    return {plane.At(row, byte), plane.At(row, byte + 1), plane.At(row, byte + 2), plane.At(row, byte + 3)};
}
void PutWord(Plane& plane, std::ptrdiff_t row, std::ptrdiff_t byte, const Word& word) {
    for (std::ptrdiff_t i = 0; i < 4; ++i) {
        plane.Put(row, byte + i, word[static_cast<std::size_t>(i)]);
    }
}

int ValueOf(const FloatKernel::Key& key) {
    return key.v;
}
int ValueOf(const FixedKernel::Key& key) {
    return key.m;
}

template <class Kernel>
void RunWords(const Kernel& kernel, const Views& views, const Area& area, bool top) {
    for (std::ptrdiff_t y = 0; y < area.height; ++y) {
        const bool showsKey = top ? y >= area.split : y < area.split;
        for (std::ptrdiff_t x = 0; x < area.width; ++x) {
            const Word foreground = WordAt(views.foreground->colour, y, 4 * x);
            const auto key = kernel.KeyOf(foreground[0], foreground[2]);
            const auto value = static_cast<Byte>(ValueOf(key));
            int out = value;
            Word word;
            if (showsKey) {
                word = {128, value, 128, foreground[3]};
                if (views.background == nullptr) {
                    out = 255;
                }
            } else {
                word = kernel.Cleaned(foreground, key);
                if (views.background != nullptr) {
                    const Word background = WordAt(views.background->colour, y, 4 * x);
                    for (std::size_t i = 0; i < 3; ++i) {
                        word[i] = Kernel::Mixed(background[i], word[i], key);
                    }
                    word[3] = 255;
                }
            }
            PutWord(views.result->colour, y, 4 * x, word);
            if (views.keyOut != nullptr) {
                views.keyOut->colour.Put(y, x, out);
            }
        }
    }
}

/// The key in a plane of alpha is its byte times the key.
struct AlphaPair {
    bool isThere = false;
    int a[2] = {0, 0};
};

int Weighted(const FloatKernel::Key& key, int alpha, bool showsKey) {
    return showsKey ? static_cast<int>(alpha * key.m) : Nearest(alpha * key.m);
}
int Weighted(const FixedKernel::Key&, int, bool) {
    return 0;  // takes no alpha
}

template <class Kernel>
void RunPairs(const Kernel& kernel, const Views& views, const Area& area, bool top, const Plane* alpha) {
    for (std::ptrdiff_t y = 0; y < area.height; ++y) {
        const bool showsKey = top ? y >= area.split : y < area.split;
        for (std::ptrdiff_t x = 0; x <= area.width - 2; x += 2) {
            const Word foreground = WordAt(views.foreground->colour, y, 2 * x);
            const auto key = kernel.KeyOf(foreground[0], foreground[2]);
            int values[2] = {ValueOf(key), ValueOf(key)};
            if (alpha != nullptr) {
                values[0] = Weighted(key, alpha->At(y, x), showsKey);
                values[1] = Weighted(key, alpha->At(y, x + 1), showsKey);
            }
            Word word;
            if (showsKey) {
                word = {128, static_cast<Byte>(values[0]), 128, static_cast<Byte>(values[1])};
            } else {
                word = kernel.Cleaned(foreground, key);
                if (views.background != nullptr) {
                    const Word background = WordAt(views.background->colour, y, 2 * x);
                    for (std::size_t i = 0; i < 4; ++i) {
                        const int b = background[i], f = word[i], a = values[i == 3 ? 1 : 0];
                        word[i] = alpha == nullptr
                                      ? Kernel::Mixed(b, f, key)
                                      : static_cast<Byte>(Over255(255 * b + a * f - a * b + 128));
                    }
                }
            }
            PutWord(views.result->colour, y, 2 * x, word);
            if (views.keyOut != nullptr) {
                const bool full = showsKey && views.background == nullptr;
                views.keyOut->colour.Put(y, x, full ? 255 : values[0]);
                views.keyOut->colour.Put(y, x + 1, full ? 255 : values[1]);
            }
        }
    }
}

}  // namespace

Settings Limited(Settings settings) {
    settings.hueAngle = Limit(settings.hueAngle, 0, 360);
    settings.acceptanceAngle = Limit(settings.acceptanceAngle, 1, 179);
    settings.saturationMinimum = Limit(settings.saturationMinimum, 0, 1);
    settings.spillSuppressionAngle = Limit(settings.spillSuppressionAngle, 0, 360);
    settings.spillSuppressionGain = Limit(settings.spillSuppressionGain, 0, 256);
    settings.keyOffset = Limit(settings.keyOffset, -1, 1);
    settings.keyGain = Limit(settings.keyGain, 0, 256);
    return settings;
}

FloatKernel::FloatKernel(const Settings& settings)
    : invertBefore(settings.invertKeyBefore),
      invertAfter(settings.invertKeyAfter),
      minimum(settings.saturationMinimum),
      offset(settings.keyOffset),
      gain(settings.keyGain) {
    const double h = 2 * settings.hueAngle * kPi / 360;
    s = Sine(h);
    c = Cosine(h);
    t = Limit(Tangent(kHalfPi - 0.5 * 2 * settings.acceptanceAngle * kPi / 360), 0, 100);
    const double u = 2 * settings.spillSuppressionAngle * kPi / 360;
    spillCb = Cosine(u) * settings.spillSuppressionGain;
    spillCr = Sine(u) * settings.spillSuppressionGain;
}

double FloatKernel::Along(Byte cb, Byte cr) const {
    const double b = (cb - 128) / 128.0, r = (cr - 128) / 128.0;
    return c * b + s * r;
}

FloatKernel::Key FloatKernel::KeyOf(Byte cb, Byte cr) const {
    const double b = (cb - 128) / 128.0, r = (cr - 128) / 128.0;
    const double x = c * b + s * r;
    const double z = -s * b + c * r;
    double k = Limit(x - std::fabs(z) * t, 0, 1);
    if (x < minimum) {
        k = 0;
    }
    const double p = invertBefore ? 1 - k : k;
    double m = Limit((p + offset) * gain, 0, 1);
    if (invertAfter) {
        m = 1 - m;
    }
    return {k, m, Truncated(m * 255 + 0.5)};
}

Word FloatKernel::Cleaned(const Word& foreground, const Key& key) const {
    const double b = (foreground[0] - 128) / 128.0, r = (foreground[2] - 128) / 128.0;
    Word word = foreground;
    word[0] = Truncated(Limit((b - spillCb * key.k) * 128 + 128.5, 0, 255));
    word[2] = Truncated(Limit((r - spillCr * key.k) * 128 + 128.5, 0, 255));
    return word;
}

Byte FloatKernel::Mixed(int background, int foreground, const Key& key) {
    return Truncated(background * (1 - key.m) + 0.5 + foreground * key.m);
}

FixedKernel::FixedKernel(const Settings& settings)
    : invertBefore(settings.invertKeyBefore), invertAfter(settings.invertKeyAfter) {
    const double h = settings.hueAngle * kRadians;
    const double u = settings.spillSuppressionAngle * kRadians;
    cosine = Rounded(Cosine(h) * 128);
    sine = Rounded(Sine(h) * 128);
    tangent = Rounded(Limit(Tangent(kHalfPi - 0.5 * settings.acceptanceAngle * kRadians), 0, 1) * 128);
    minimum = Rounded(settings.saturationMinimum * 32640);
    offset = Rounded(settings.keyOffset * 255);
    gain = Rounded(settings.keyGain * 128);
    spillCb = Rounded(Cosine(u) * settings.spillSuppressionGain * 64);
    spillCr = Rounded(Sine(u) * settings.spillSuppressionGain * 64);
}

FixedKernel::Key FixedKernel::KeyOf(Byte cb, Byte cr) const {
    const int b = cb - 128, r = cr - 128;
    const int x = r * sine + b * cosine;
    const int w = ShiftedDown(std::abs(r * cosine - b * sine) * tangent, 7);
    const int k = x >= minimum && x - w >= 0 ? std::min(ShiftedDown(x - w + 32, 6), 255) : 0;
    const int p = invertBefore ? 255 - k : k;
    const int m = std::clamp(ShiftedDown((p + offset) * gain, 7), 0, 255);
    return {k, invertAfter ? 255 - m : m};
}

Word FixedKernel::Cleaned(const Word& foreground, const Key& key) const {
    const int b = foreground[0] - 128, r = foreground[2] - 128;
    Word word = foreground;
    word[0] = static_cast<Byte>(std::clamp(128 - ShiftedDown(key.k * spillCb, 7) + b, 0, 255));
    word[2] = static_cast<Byte>(std::clamp(128 - ShiftedDown(key.k * spillCr, 7) + r, 0, 255));
    return word;
}

Byte FixedKernel::Mixed(int background, int foreground, const Key& key) {
    return static_cast<Byte>(Over255((255 - key.m) * background + key.m * foreground + 128));
}

bool IsSingle(const Views& views, int style, bool hasSimd) {
    return HasClass(views, true) && hasSimd && (style == 2 || style == 3 || style == 5);
}

int KeyChroma(const Settings& given, const Views& views, int style) {
    const Settings settings = Limited(given);
    const Area area = AreaOf(settings, views);
    const int status = StatusOf(views, area);
    if (status != 0 || area.width == 0 || area.height == 0) {
        return status;
    }
    const bool fixed = style == 1;
    if (HasClass(views, false)) {
        if (fixed) {
            RunWords(FixedKernel(settings), views, area, settings.splitScreenTop);
        } else {
            RunWords(FloatKernel(settings), views, area, settings.splitScreenTop);
        }
        return 0;
    }
    const Operand& foreground = *views.foreground;
    if (fixed) {
        RunPairs(FixedKernel(settings), views, area, settings.splitScreenTop, nullptr);
    } else {
        const bool looksAtAlpha =
            foreground.alpha.isThere && (foreground.alphaDescription == Zan::kAlphaVarying ||
                                         foreground.alphaDescription == Zan::kAlphaTransparent);
        RunPairs(FloatKernel(settings), views, area, settings.splitScreenTop,
                 looksAtAlpha ? &foreground.alpha : nullptr);
    }
    if (views.background != nullptr && views.result->sampling == Zan::k4224) {
        if (!views.result->alpha.isThere) {
            return 1;
        }
        for (std::ptrdiff_t y = 0; y < area.height; ++y) {
            for (std::ptrdiff_t x = 0; x < area.width; ++x) {
                views.result->alpha.Put(y, x, 255);
            }
        }
    }
    return 0;
}

}  // namespace key_model
