#include "tone/model/Correction.h"

namespace tone_model {

namespace {

int LimitParameter(int value) {
    return std::clamp(value, -255, 255);
}
double Power(double base, double exponent) {
    return static_cast<double>(std::pow(static_cast<long double>(base), static_cast<long double>(exponent)));
}
/// Toward zero, of values that may be too great for an integer.
int Truncate(double value) {
    return static_cast<int>(std::clamp(value, -1e6, 1e6));
}
int RoundAway(double value) {
    return static_cast<int>(std::round(value));
}
double Exponent(int mid) {
    return 1 / (mid / (mid < 1 ? 260.0 : 50.0) + 1);
}
float Slope(int contrast) {
    return static_cast<float>(2 * LimitParameter(contrast) + 255) * 0.003921569F;
}
/// Chroma of a byte around 0.
int Around(int byte) {
    return byte - 128;
}

}  // namespace

int LumaLevel(const Triple& triple, bool studio, int y) {
    const int low = LimitParameter(triple.low), mid = LimitParameter(triple.mid),
              high = LimitParameter(triple.high);
    const double exponent = Exponent(mid);
    if (studio) {
        const double slope = (high - low + 219) * 0.0045662100456621;
        const double lift = (low + 16) - slope * 16;
        const int v = std::clamp(Truncate(y * slope + lift + 0.5), 16, 235);
        return Truncate(Power((v - 16) * 0.004545454545454545, exponent) * 220 + 16);
    }
    const double slope = (high - low + 255) * 0.00392156862745098;
    const int v = Truncate(y * slope + low + 0.5);
    return v < 0 ? 0 : Truncate(Power(std::min(v, 255) * 0.00390625, exponent) * 256);
}

int BrightnessContrast(int brightness, int contrast, int y) {
    const int b = LimitParameter(brightness), c = LimitParameter(contrast);
    const float x = static_cast<float>(y) * Slope(contrast) - static_cast<float>(c);
    return std::clamp(RoundAway(static_cast<double>(x)) + b, 0, 255);
}

int BrightnessContrastAligned(int brightness, int contrast, int y) {
    const int b = LimitParameter(brightness), c = LimitParameter(contrast);
    const float x = static_cast<float>(y) * Slope(contrast);
    return std::clamp(static_cast<int>(std::nearbyint(x)) - (b + c), 0, 255);
}

void Hue(int hue, int& cb, int& cr) {
    const int angle = std::clamp(hue * 180 / 256, -180, 180);
    const double radians = angle * (4 * std::atan2(1.0, 1.0)) / 180;
    const double cosine = static_cast<double>(std::cos(static_cast<long double>(radians)));
    const double sine = static_cast<double>(std::sin(static_cast<long double>(radians)));
    const int u = RoundAway(cb * cosine) + RoundAway(cr * sine);
    const int v = RoundAway(cr * cosine) - RoundAway(cb * sine);
    cb = std::clamp(u, -127, 127);
    cr = std::clamp(v, -127, 127);
}

int Saturated(int saturation, int c) {
    int s = LimitParameter(saturation);
    if (s > 0) {
        const double x = s * 0.0078125;
        const double exponential = static_cast<double>(std::exp(static_cast<long double>(x)));
        s = Truncate((exponential - 1 + x) * 128);
    }
    const double gain = (s + 255) * 0.00392156862745098;
    return std::clamp(RoundAway(std::max(c, -127) * gain), -127, 127);
}

ColourLevels::ColourLevels(const Triple& triple) {
    const int low = LimitParameter(triple.low), mid = LimitParameter(triple.mid),
              high = LimitParameter(triple.high);
    const double slope = (high - low + 255) * 0.00392156862745098;
    const double exponent = Exponent(mid);
    const auto at = [&](int place) -> int& { return table[static_cast<std::size_t>(place + 512)]; };
    for (int j = 0; j <= 255; ++j) {
        const int x = 2 * j;
        const int t = Truncate(x * slope + low + 0.5);
        int v = 0;
        if (t >= 0) {
            v = std::min(Truncate((Power(t * 0.00390625, exponent) * 256 + 0.5) * 0.5), 255);
        }
        at(-x) = -2 * v;
        at(x) = 2 * v;
    }
    for (int j = 0; j <= 254; ++j) {
        const int odd = 2 * j + 1;
        at(odd) = (at(odd - 1) + at(odd + 1)) >> 1;
        at(-odd) = -at(odd);
    }
}

void CorrectColours(const ColourLevels* red, const ColourLevels* green, const ColourLevels* blue,
                    int (&pair)[4]) {
    const auto cb = static_cast<float>(Around(pair[0])), cr = static_cast<float>(Around(pair[2]));
    const float dR = 0.003714F * cb + 1.403591F * cr;
    const float dG = -0.34355F * cb - 0.713068F * cr;
    const float dB = 1.773109F * cb - 0.002002F * cr;
    const auto rounded = [](float value) { return static_cast<int>(std::round(value)); };
    for (const int i : {1, 3}) {
        const auto y = static_cast<float>(pair[i]);
        int r = rounded(y + dR), g = rounded(y + dG), b = rounded(y + dB);
        r = red ? red->Of(r) : r;
        g = green ? green->Of(g) : g;
        b = blue ? blue->Of(b) : b;
        const auto R = static_cast<float>(r), G = static_cast<float>(g), B = static_cast<float>(b);
        pair[i] = std::clamp(rounded(0.298828F * R + 0.587891F * G + 0.113281F * B), 0, 255);
        if (i == 1) {
            pair[0] = std::clamp(rounded(0.5F * B - 0.332031F * G - 0.167969F * R), -128, 127) + 128;
            pair[2] = std::clamp(rounded(0.5F * R - 0.417969F * G - 0.082031F * B), -128, 127) + 128;
        }
    }
}

PairCorrection::PairCorrection(const Correction& correction, bool aligned) : record(correction) {
    const bool hasBrightness = record.brightness != 0 || record.contrast != 0;
    for (int y = 0; y < 256; ++y) {
        int v = y;
        if (!record.luma.IsEmpty()) {
            v = LumaLevel(record.luma, record.IsStudio(), v);
        }
        if (hasBrightness) {
            v = aligned && record.luma.IsEmpty()
                    ? BrightnessContrastAligned(record.brightness, record.contrast, v)
                    : BrightnessContrast(record.brightness, record.contrast, v);
        }
        luma[y] = v;
    }
    levels.reserve(3);
    for (std::size_t i = 0; i < 3; ++i) {
        if (!record.colours[i].IsEmpty()) {
            levels.emplace_back(record.colours[i]);
            colours[i] = &levels.back();
        }
    }
}

void PairCorrection::Apply(int (&pair)[4]) const {
    pair[1] = luma[pair[1]];
    pair[3] = luma[pair[3]];
    if (record.hue != 0 || record.saturation != 0) {
        int cb = Around(pair[0]), cr = Around(pair[2]);
        if (record.hue != 0) {
            Hue(record.hue, cb, cr);
        }
        if (record.saturation != 0) {
            cb = Saturated(record.saturation, cb);
            cr = Saturated(record.saturation, cr);
        }
        pair[0] = cb + 128;
        pair[2] = cr + 128;
    }
    if (colours[0] || colours[1] || colours[2]) {
        CorrectColours(colours[0], colours[1], colours[2], pair);
    }
    if (record.LimitsLuma()) {
        pair[1] = std::clamp(pair[1], 16, 235);
        pair[3] = std::clamp(pair[3], 16, 235);
    }
    if (record.LimitsChroma()) {
        pair[0] = std::clamp(pair[0], 44, 212);
        pair[2] = std::clamp(pair[2], 44, 212);
    } else if (record.LimitsLuma()) {
        pair[0] = std::clamp(pair[0], 16, 240);
        pair[2] = std::clamp(pair[2], 16, 240);
    }
}

int Correct(const Operand& source, Operand& destination, const Correction& record,
            const CorrectorMachine& machine) {
    if (record.size < 38) {
        return 4;
    }
    if (source.isNull || destination.isNull) {
        return 1;
    }
    if (!IsPackedPairs(source) || !IsPackedPairs(destination)) {
        return 4;
    }
    if (!source.colour.isThere || !destination.colour.isThere) {
        return 1;
    }
    if (record.IsEmpty()) {
        return 0;
    }
    for (const Operand* const o : {&source, static_cast<const Operand*>(&destination)}) {
        if (o->imageWidth > static_cast<std::int64_t>(o->imagePitch)) {
            return 1;
        }
    }
    if (source.imageWidth > destination.imageWidth || source.imageHeight > destination.imageHeight) {
        return 4;
    }
    if (source.field != Zan::kFrame && source.field != Zan::kUpperField && source.field != Zan::kLowerField) {
        return 98;
    }
    if (source.field != Zan::kFrame &&
        (source.origin == Zan::kBottomLeft || destination.origin == Zan::kBottomLeft)) {
        return 98;
    }
    const bool turnsHueByNothing = record.hue != 0 && record.hue * 180 / 256 == 0 && record.saturation == 0;
    const bool hasStage = record.brightness != 0 || record.contrast != 0 || record.hue != 0 ||
                          record.saturation != 0 || !record.luma.IsEmpty() || !record.colours[0].IsEmpty() ||
                          !record.colours[1].IsEmpty() || !record.colours[2].IsEmpty() ||
                          record.LimitsLuma() || record.LimitsChroma();
    if (!hasStage || turnsHueByNothing) {
        return 1;
    }
    const bool aligned = machine.sse2 && destination.addressModulo16 == 0 && destination.imagePitch % 16 == 0;
    const PairCorrection correction(record, aligned);
    const std::ptrdiff_t firstLine = source.field == Zan::kLowerField ? 1 : 0;
    const std::ptrdiff_t step = source.field == Zan::kFrame ? 1 : 2;
    for (std::ptrdiff_t line = firstLine; line < source.imageHeight; line += step) {
        for (std::ptrdiff_t x = 0; x + 1 < source.imageWidth; x += 2) {
            const std::ptrdiff_t from = source.frame.first + line * source.frame.pitch + 2 * x;
            const std::ptrdiff_t to = destination.frame.first + line * destination.frame.pitch + 2 * x;
            int pair[4];
            for (int i = 0; i < 4; ++i) {
                pair[i] = source.frame.At(from + i);
            }
            correction.Apply(pair);
            for (int i = 0; i < 4; ++i) {
                destination.frame.Put(to + i, static_cast<Byte>(pair[i]));
            }
        }
    }
    destination.colour.memory = destination.frame.memory;
    return 0;
}

}  // namespace tone_model
