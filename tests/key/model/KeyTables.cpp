#include "key/model/KeyTables.h"

#include <algorithm>

namespace key_model {

namespace {

/// Leaves `mark` in `status` where `value` had to be limited; what is no number goes to the lower end.
double Limited(double value, double low, double high, int mark, int& status) {
    if (value >= low && value <= high) {
        return value;
    }
    status = mark;
    return value > high ? high : low;
}

int Statuses(bool isNull, bool formats, bool memory) {
    return isNull ? 1 : !formats ? 4 : !memory ? 1 : 0;
}

}  // namespace

KeyTable::KeyTable() {
    for (std::size_t i = 0; i < 256; ++i) {
        lut[i] = static_cast<Byte>(i);
    }
}

int KeyTable::Set(double center, double halfWidth, double softness, double level, double offset,
                  bool invert) {
    int status = 0;
    center = Limited(center, 0, 1, -1, status);
    halfWidth = Limited(halfWidth, 0, 1, -2, status);
    softness = Limited(softness, 0, 1, -3, status);
    level = Limited(level, 0, 1, -4, status);
    offset = Limited(offset, -1, 1, -5, status);

    lut.fill(0);
    const double low = std::max(center - halfWidth, 0.0), high = std::min(center + halfWidth, 1.0);
    const int first = std::min(static_cast<int>(low * 255 + 0.5), 255);
    const int last = std::min(static_cast<int>(high * 255 + 0.5), 255);
    const double top = std::clamp(level * 255 + 0.5, 0.0, 255.0);
    for (int i = first; i <= last; ++i) {
        lut[static_cast<std::size_t>(i)] = static_cast<Byte>(top);
    }
    const double step = top / (softness * 255 + 1);
    double value = top - step;
    for (int i = first - 1; i >= 0; --i) {
        lut[static_cast<std::size_t>(i)] = static_cast<Byte>(std::clamp(value, 0.0, 255.0) + 0.5);
        value -= step;
    }
    value = top - step;
    for (int i = last + 1; i <= 255; ++i) {
        lut[static_cast<std::size_t>(i)] = static_cast<Byte>(std::clamp(value, 0.0, 255.0) + 0.5);
        value -= step;
    }
    const int added = static_cast<int>(offset >= 0 ? offset * 255 + 0.5 : offset * 255 - 0.5);
    for (Byte& entry : lut) {
        const int whole = invert ? 255 - entry : entry;
        entry = static_cast<Byte>(std::clamp(whole + added, 0, 255));
    }
    return status;
}

int KeyTable::KeyLinear(const Operand& source, Operand& key) const {
    const int status = Statuses(source.isNull || key.isNull,
                                source.sampling == Zan::k4224 && source.colorSpace == Zan::kYCrCb &&
                                    key.colorSpace == Zan::kAlphaOnly,
                                source.alpha.isThere && key.colour.isThere);
    if (status != 0) {
        return status;
    }
    const int width = std::min(source.width, key.width), height = std::min(source.height, key.height);
    if (source.alpha.IsLeftBy(width, height) || key.colour.IsLeftBy(width, height)) {
        return 98;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            key.colour.Put(y, x, lut[source.alpha.At(y, x)]);
        }
    }
    return 0;
}

int KeyTable::KeyLuma(const Operand& source, Operand& key) const {
    const int status =
        Statuses(source.isNull || key.isNull,
                 source.IsPairs() && source.colorSpace == Zan::kYCrCb && key.colorSpace == Zan::kAlphaOnly,
                 source.colour.isThere && key.colour.isThere);
    if (status != 0) {
        return status;
    }
    const int width = std::min(source.width, key.width), height = std::min(source.height, key.height);
    if (source.colour.IsLeftBy(2 * width, height) || key.colour.IsLeftBy(width, height)) {
        return 98;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width / 2 * 2; ++x) {
            const int value = lut[source.colour.At(y, 2 * x + 1)];
            const int old = key.colour.At(y, x);
            key.colour.Put(y, x, source.sampling == Zan::k422 ? value : Over255(value * old + 128));
        }
    }
    return 0;
}

int DrawGradient(Operand& picture) {
    const bool words = picture.sampling == Zan::k4444, alpha = picture.sampling == Zan::k4224;
    const int status =
        Statuses(picture.isNull, picture.colorSpace == Zan::kYCrCb && (words || picture.IsPairs()),
                 picture.colour.isThere);
    if (status != 0) {
        return status;
    }
    if (picture.colour.pitch % 4 != 0) {
        return 2;
    }
    const int width = picture.width, height = picture.height;
    if (width == 0 || height == 0) {
        return 0;
    }
    if (picture.colour.IsLeftBy(words ? 4 * width : 2 * width, height)) {
        return 98;
    }
    const double stepX = words ? 255.0 / (width - 1) : 255.0 / (std::max(width / 2, 2) - 1);
    const double stepY = words ? -255.0 / (height - 1) : -255.0 / (std::max(height, 2) - 1);
    double cr = 255;
    for (int y = 0; y < height; ++y) {
        double cb = 0;
        for (int i = 0; i < (words ? width : width / 2); ++i) {
            picture.colour.Put(y, 4 * i, static_cast<int>(cb + 0.5));
            picture.colour.Put(y, 4 * i + 1, 128);
            picture.colour.Put(y, 4 * i + 2, static_cast<int>(cr + 0.5));
            picture.colour.Put(y, 4 * i + 3, words ? 255 : 128);
            cb += stepX;
        }
        for (int x = 0; x < width && alpha && picture.alpha.isThere; ++x) {
            picture.alpha.Put(y, x, 255);
        }
        cr += stepY;
    }
    return 0;
}

}  // namespace key_model
