#include "tone/model/Adjustment.h"

namespace tone_model {

namespace {

int Limit(int value) {
    return std::clamp(value, 0, 255);
}
int Truncate(double value) {
    return static_cast<int>(value);
}

void SetWithin(double& setting, double value, double least, double most) {
    if (!std::isnan(value)) {
        setting = value < least ? least : value > most ? most : value;
    }
}

// Full RGB to video and back, in 4096ths. Rows are Cb, Y, Cr and B, G, R.
constexpr double kToVideo[3][3] = {{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}};
constexpr double kVideoZero[3] = {128, 16, 128};
constexpr double kFromVideo[3][3] = {{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}};

int Product(const double (&row)[3], const double (&in)[3], double offset) {
    return Limit255(row[2] / 4096 * in[2] + row[1] / 4096 * in[1] + row[0] / 4096 * in[0] + offset);
}

/// The layouts that the integer path knows, by where luma lies; -1 for all else.
enum class Layout { kNone, kRgb32, kRgb24, kLumaSecond, kLumaFirst };

Layout IntegerLayout(const Operand& o) {
    if (o.packing != Zan::kPacked || o.bits != 8) {
        return Layout::kNone;
    }
    if (o.colorSpace == Zan::kRGB && o.extremeLevels) {
        if (o.sampling == Zan::k444) {
            return Layout::kRgb24;
        }
        return o.sampling == Zan::k4444 && o.shaping == Zan::kUnshaped ? Layout::kRgb32 : Layout::kNone;
    }
    if (o.colorSpace == Zan::kYCrCb && o.sampling == Zan::k4444 && o.shaping == Zan::kUnshaped) {
        if (o.order == Zan::kYCbCrA) {
            return Layout::kLumaFirst;
        }
        return o.order == Zan::kCbYCrA && o.videoLevels ? Layout::kLumaSecond : Layout::kNone;
    }
    return Layout::kNone;
}

/// What the floating-point path does with the two.
enum class Body { kNone, kRgb32, kRgb24, kFourBytes, kPairs };

bool IsRgb(const Operand& o, Zan::AggregateChannelSamplingEnum sampling) {
    return o.colorSpace == Zan::kRGB && o.sampling == sampling && o.bits == 8;
}
bool IsVideo(const Operand& o, Zan::AggregateChannelSamplingEnum sampling) {
    return o.colorSpace == Zan::kYCrCb && o.sampling == sampling;
}

Body FloatBody(const Operand& a, const Operand& b) {
    if (IsRgb(a, Zan::k4444) && IsRgb(b, Zan::k4444)) {
        return Body::kRgb32;
    }
    if (IsRgb(a, Zan::k444) && IsRgb(b, Zan::k444)) {
        return Body::kRgb24;
    }
    if (IsVideo(a, Zan::k4444) && b.bits == 8) {
        return Body::kFourBytes;
    }
    return IsVideo(a, Zan::k422) && IsVideo(b, Zan::k422) ? Body::kPairs : Body::kNone;
}

struct Walk {
    const Operand& source;
    Operand& destination;

    std::ptrdiff_t From(std::ptrdiff_t y) const { return source.colour.first + y * source.colour.pitch; }
    std::ptrdiff_t To(std::ptrdiff_t y) const {
        return destination.colour.first + y * destination.colour.pitch;
    }
    int Get(std::ptrdiff_t at) const { return source.colour.At(at); }
    void Put(std::ptrdiff_t at, int value) const { destination.colour.Put(at, static_cast<Byte>(value)); }
};

void RgbPixels(const Adjustment& adjustment, const Walk& walk, std::ptrdiff_t bytes, std::ptrdiff_t width,
               std::ptrdiff_t height) {
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            const std::ptrdiff_t from = walk.From(y) + bytes * x, to = walk.To(y) + bytes * x;
            int bgr[3] = {walk.Get(from), walk.Get(from + 1), walk.Get(from + 2)};
            adjustment.Rgb(bgr);
            for (int i = 0; i < 3; ++i) {
                walk.Put(to + i, bgr[i]);
            }
            if (bytes == 4) {
                walk.Put(to + 3, walk.Get(from + 3));
            }
        }
    }
}

void VideoPixels(const Adjustment& adjustment, const Walk& walk, bool lumaFirst, std::ptrdiff_t width,
                 std::ptrdiff_t height) {
    const std::ptrdiff_t lumaAt = lumaFirst ? 0 : 1, cbAt = lumaFirst ? 1 : 0;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            const std::ptrdiff_t from = walk.From(y) + 4 * x, to = walk.To(y) + 4 * x;
            if (!walk.destination.colour.Holds(to) || !walk.destination.colour.Holds(to + 3)) {
                continue;  // rows of four bytes a pixel may be longer than those of the destination
            }
            const int alpha = walk.Get(from + 3);
            const Colour out =
                adjustment.Of({walk.Get(from + cbAt), walk.Get(from + lumaAt), walk.Get(from + 2)});
            walk.Put(to + cbAt, out.cb);
            walk.Put(to + lumaAt, out.y);
            walk.Put(to + 2, out.cr);
            walk.Put(to + 3, alpha);
        }
    }
}

void VideoPairs(const Adjustment& adjustment, const Walk& walk, bool lumaFirst, std::ptrdiff_t width,
                std::ptrdiff_t height) {
    const std::ptrdiff_t lumaAt = lumaFirst ? 0 : 1, chromaAt = 1 - lumaAt;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        for (std::ptrdiff_t x = 0; x + 1 < width; x += 2) {
            const std::ptrdiff_t from = walk.From(y) + 2 * x, to = walk.To(y) + 2 * x;
            const int y0 = walk.Get(from + lumaAt), y1 = walk.Get(from + lumaAt + 2);
            int cb = walk.Get(from + chromaAt), cr = walk.Get(from + chromaAt + 2);
            adjustment.Chroma(cb, cr);
            walk.Put(to + lumaAt, adjustment.Luma(y0, true));
            walk.Put(to + lumaAt + 2, adjustment.Luma(y1, true));
            walk.Put(to + chromaAt, cb);
            walk.Put(to + chromaAt + 2, cr);
        }
    }
}

}  // namespace

void Settings::SetBrightness(double value) {
    SetWithin(brightness, value, -1, 1);
}
void Settings::SetContrast(double value) {
    SetWithin(contrast, value, 0, 127.99609375);
}
void Settings::SetSaturation(double value) {
    SetWithin(saturation, value, 0, 127.99609375);
}
void Settings::SetHue(double value) {
    SetWithin(hue, value, -180, 180);
}
void Settings::SetGamma(double value) {
    SetWithin(gamma, value, 0, HUGE_VAL);
}

Adjustment::Adjustment(const Settings& used) : settings(used), lift(used.brightness * 255) {
    const double radians = used.hue * 0.017453292500000002;
    cosine = static_cast<double>(std::cos(static_cast<long double>(radians)));
    sine = static_cast<double>(std::sin(static_cast<long double>(radians)));
    for (int i = 0; i < 256; ++i) {
        const long double base = static_cast<long double>(i * 0.00392156862745098);
        const double power = static_cast<double>(std::pow(base, static_cast<long double>(used.gamma)));
        table[i] = Limit255(power * 255 + 0.5);
    }
}

int Adjustment::Luma(int y, bool withGamma) const {
    if (settings.contrast != 1) {
        y = Limit(Truncate((y - 16) * settings.contrast + 16));
    }
    if (lift != 0) {
        y = Limit(y + Truncate(lift));
    }
    return withGamma && settings.gamma != 1 ? table[y] : y;
}

void Adjustment::Chroma(int& cb, int& cr) const {
    if (cosine != 1) {
        const int u = cb - 128, v = cr - 128;
        cb = Limit(Truncate(u * cosine + v * sine) + 128);
        cr = Limit(Truncate(v * cosine - u * sine) + 128);
    }
    if (settings.saturation != 1) {
        for (int* const c : {&cb, &cr}) {
            *c = Limit(Truncate((*c - 128) * settings.saturation + 128));
        }
    }
}

Colour Adjustment::Of(Colour colour) const {
    colour.y = Luma(colour.y, false);
    Chroma(colour.cb, colour.cr);
    return colour;
}

void Adjustment::Rgb(int (&bgr)[3]) const {
    const double in[3] = {double(bgr[0]), double(bgr[1]), double(bgr[2])};
    const Colour c = Of({Product(kToVideo[0], in, kVideoZero[0]), Product(kToVideo[1], in, kVideoZero[1]),
                         Product(kToVideo[2], in, kVideoZero[2])});
    const double back[3] = {c.cb - 128.0, c.y - 16.0, c.cr - 128.0};
    for (int i = 0; i < 3; ++i) {
        bgr[i] = Product(kFromVideo[i], back, 0);
    }
}

int Adjust(const Settings& settings, const Operand& source, Operand& destination, int style) {
    for (const Operand* const o : {&source, static_cast<const Operand*>(&destination)}) {
        if (o->isNull) {
            return 1;
        }
        if (o->packing != Zan::kPacked) {
            return 2;
        }
        if (!o->colour.isThere) {
            return 1;
        }
    }
    const Adjustment adjustment(settings);
    const Walk walk{source, destination};
    const std::ptrdiff_t width = std::min(source.width, destination.width);
    const std::ptrdiff_t height = std::min(source.height, destination.height);
    if (style == kFlp) {
        const bool fourFirst = source.order == Zan::kYCbCrA, twoFirst = source.order == Zan::kYCbYCr;
        switch (FloatBody(source, destination)) {
            case Body::kRgb32:
                RgbPixels(adjustment, walk, 4, width, height);
                return 0;
            case Body::kRgb24:
                RgbPixels(adjustment, walk, 3, width, height);
                return 0;
            case Body::kFourBytes:
                VideoPixels(adjustment, walk, fourFirst, width, height);
                return 0;
            case Body::kPairs:
                VideoPairs(adjustment, walk, twoFirst, width, height);
                return 0;
            case Body::kNone:
                return 2;
        }
    }
    if (style == kFP || style == kFlpVector) {
        return 4;
    }
    if (style != kIntVector) {
        return 100;
    }
    const Layout layout = IntegerLayout(source);
    if (layout == Layout::kNone || IntegerLayout(destination) != layout) {
        return 4;
    }
    if (layout == Layout::kRgb32 || layout == Layout::kRgb24) {
        RgbPixels(adjustment, walk, layout == Layout::kRgb32 ? 4 : 3, width, height);
    } else {
        VideoPixels(adjustment, walk, layout == Layout::kLumaFirst, width, height);
    }
    return 0;
}

}  // namespace tone_model
