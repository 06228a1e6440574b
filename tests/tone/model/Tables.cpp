#include "tone/model/Tables.h"

namespace tone_model {

namespace {

/// Toward zero, in 32 unsigned bits.
std::uint32_t Word(double value) {
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
}

double Power(double base, double exponent) {
    return static_cast<double>(std::pow(static_cast<long double>(base), static_cast<long double>(exponent)));
}

bool HaveSameKind(const Operand& a, const Operand& b, int& status) {
    if (a.isNull || b.isNull) {
        status = 1;
        return false;
    }
    if (!IsPackedPairs(a) || !IsPackedPairs(b)) {
        status = 4;
        return false;
    }
    if (!a.colour.isThere || !b.colour.isThere) {
        status = 1;
        return false;
    }
    status = 0;
    return true;
}

}  // namespace

Tables::Tables(std::uint32_t tables, std::uint32_t entriesOfEach, std::uint32_t bitsOfEach)
    : count(tables), entries(entriesOfEach), bits(bitsOfEach == 0 ? 1 : bitsOfEach), bytes((bits + 7) / 8) {
    if (bytes == 3) {
        bytes = 4;
    }
    memory.assign(count, std::vector<Byte>(std::size_t{entries} * bytes));
    for (std::uint32_t i = 0; i < count; ++i) {
        SetToIdentity(i);
    }
}

void Tables::Set(std::uint32_t table, std::uint32_t entry, std::uint32_t value) {
    if (table >= count || entry >= entries) {
        return;
    }
    for (std::uint32_t i = 0; i < bytes; ++i) {
        memory[table][std::size_t{entry} * bytes + i] = i < 4 ? static_cast<Byte>(value >> (8 * i)) : Byte{0};
    }
}

std::uint32_t Tables::Get(std::uint32_t table, std::uint32_t entry) const {
    std::uint32_t value = 0;
    if (table < count && entry < entries) {
        for (std::uint32_t i = 0; i < bytes && i < 4; ++i) {
            value |= std::uint32_t{memory[table][std::size_t{entry} * bytes + i]} << (8 * i);
        }
    }
    return value;
}

void Tables::SetToIdentity(std::uint32_t table) {
    for (std::uint32_t i = 0; i < entries; ++i) {
        Set(table, i, i);
    }
}

void Tables::SetByFunction(std::uint32_t table, const std::function<double(double)>& function, double low,
                           double high) {
    const std::uint32_t m = entries - 1;
    const std::uint32_t most = bits >= 32 ? 0xFFFFFFFFU : (std::uint32_t{1} << bits) - 1;
    const std::uint32_t inLow = Word(low * m), outLow = Word(low * most);
    const std::uint32_t inSpan = Word(high * m) - inLow, outSpan = Word(high * most) - outLow;
    const double scale = 1.0 / inSpan;
    for (std::uint32_t i = 0; i < entries; ++i) {
        const double x = static_cast<std::uint32_t>(i - inLow) * scale;
        double y = function(x);
        if (!(y > 0)) {
            y = 0;
        } else if (y >= 1) {
            y = 1;
        }
        const std::uint32_t value = Word(y * outSpan + 0.5) + outLow;
        Set(table, i, std::min(value, most));
    }
}

double GammaCurve(int type, double x) {
    if (type < 0 || type > 5) {
        type = 0;
    }
    const double e = type == 2 || type == 4 ? 0.45 : type == 3 || type == 5 ? 1 / 0.45 : 1.0;
    const auto encoded = [&] { return 1.099 * Power(x, e) - 0.099; };
    const auto decoded = [&] { return Power((x + 0.099) * 0.9099181073703367, e); };
    switch (type) {
        case 1:
            return Power(x, e);
        case 2:
            return x >= 0.018 && x <= 1 ? encoded() : x >= 0 && x < 0.018 ? 4.5 * x : x;
        case 3:
            return x >= 0.0812 && x <= 1 ? decoded() : x >= 0 && x < 0.0812 ? x * 0.2222222222222222 : x;
        case 4:
            return x < 0.018 ? 4.5 * x : encoded();
        case 5:
            return x < 0.0812 ? x * 0.2222222222222222 : decoded();
        default:
            return x;
    }
}

void Tables::SetToGamma(std::uint32_t table, int type, double low, double high) {
    SetByFunction(
        table, [type](double x) { return GammaCurve(type, x); }, low, high);
}

Byte Tables::ByteAt(std::uint32_t table, std::size_t index) const {
    return index < memory[table].size() ? memory[table][index] : Byte{0};
}

int Tables::Apply(const Operand& source, Operand& destination) const {
    int status = 0;
    if (!HaveSameKind(source, destination, status)) {
        return status;
    }
    const int width = std::min(source.width, destination.width);
    const int height = std::min(source.height, destination.height);
    if (count >= 3) {
        for (std::ptrdiff_t y = 0; y < height; ++y) {
            for (std::ptrdiff_t x = 0; x + 1 < width; x += 2) {
                const std::ptrdiff_t from = source.colour.first + y * source.colour.pitch + 2 * x;
                const std::ptrdiff_t to = destination.colour.first + y * destination.colour.pitch + 2 * x;
                destination.colour.Put(to, ByteAt(0, source.colour.At(from)));
                destination.colour.Put(to + 1, ByteAt(1, source.colour.At(from + 1)));
                destination.colour.Put(to + 2, ByteAt(2, source.colour.At(from + 2)));
                destination.colour.Put(to + 3, ByteAt(1, source.colour.At(from + 3)));
            }
        }
    }
    if (count == 4 && source.alpha.isThere && destination.alpha.isThere) {
        for (std::ptrdiff_t y = 0; y < height; ++y) {
            for (std::ptrdiff_t x = 0; x < width; ++x) {
                destination.alpha.Put(
                    destination.alpha.first + y * destination.alpha.pitch + x,
                    ByteAt(3, source.alpha.At(source.alpha.first + y * source.alpha.pitch + x)));
            }
        }
    }
    return 0;
}

int Inverted(int channel, int value) {
    switch (channel) {
        case 1:
            return std::max(250 - value, 0);
        case 3:
            return 255 - value;
        default:
            return std::min(256 - value, 255);
    }
}

double LimitedLevels(double levels) {
    return !(levels >= 1) ? 1.0 : levels > 255 ? 255.0 : levels;
}

int Posterized(int value, int neutral, double levels) {
    const auto round = [](double x) { return static_cast<int>(x < 0 ? x - 0.5 : x + 0.5); };
    const double s = levels * 0.00392156862745098;
    const int q = round(s * (value - neutral));
    const int y = round(q * (1 / s));
    return std::clamp(y + neutral, 0, 255);
}

int PosterizedInFixedPoint(int value, int neutral, double levels) {
    const double s = levels * 0.00392156862745098;
    const int scale = static_cast<int>(s * 65536), back = static_cast<int>(1 / s * 256);
    const int t = (value - neutral) * scale + 32768;
    const int q = (t + (t < 0 ? 65535 : 0)) >> 16;
    const int u = q * back + 128;
    const int y = (u + (u < 0 ? 255 : 0)) >> 8;
    return std::clamp(y + neutral, 0, 255);
}

int Posterize(const Operand& source, Operand& destination, const double (&levels)[3], int style) {
    int status = 0;
    if (!HaveSameKind(source, destination, status)) {
        return status;
    }
    const int width = std::min(source.width, destination.width);
    const int height = std::min(source.height, destination.height);
    const bool fixed = style == kFP || style == kIntVector || style == kBest;
    const auto step = [](std::ptrdiff_t pitch) { return pitch & ~std::ptrdiff_t{3}; };
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        // Rows that slant out of their picture, since bits of the pitch are missing, are left out.
        const std::ptrdiff_t fromRow = source.colour.first + y * step(source.colour.pitch);
        const std::ptrdiff_t toRow = destination.colour.first + y * step(destination.colour.pitch);
        const std::ptrdiff_t last = std::max<std::ptrdiff_t>(width / 2 * 4 - 1, 0);
        if (!source.colour.Holds(fromRow) || !source.colour.Holds(fromRow + last) ||
            !destination.colour.Holds(toRow) || !destination.colour.Holds(toRow + last)) {
            continue;
        }
        for (std::ptrdiff_t pair = 0; pair < width / 2; ++pair) {
            for (std::ptrdiff_t i = 0; i < 4; ++i) {
                const std::ptrdiff_t from = fromRow + 4 * pair + i, to = toRow + 4 * pair + i;
                const std::size_t channel = i == 0 ? 0 : i == 2 ? 2 : 1;
                const int neutral = channel == 1 ? 16 : 128;
                const int value = source.colour.At(from);
                destination.colour.Put(
                    to, static_cast<Byte>(fixed ? PosterizedInFixedPoint(value, neutral, levels[channel])
                                                : Posterized(value, neutral, levels[channel])));
            }
        }
    }
    return 0;
}

void ApplyByComponentAndAlpha(const std::vector<std::vector<Byte>>& tables, const Plane& source,
                              const Plane& sourceAlpha, Plane& destination, Plane& destinationAlpha,
                              int width, int height) {
    const auto entry = [&](std::size_t table, Byte component, Byte alpha) {
        return tables[table].at(std::size_t{component} * 256 + alpha);
    };
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        const std::ptrdiff_t alpha = sourceAlpha.first + y * sourceAlpha.pitch;
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            destinationAlpha.Put(destinationAlpha.first + y * destinationAlpha.pitch + x,
                                 sourceAlpha.At(alpha + x));
        }
        for (std::ptrdiff_t x = 0; x + 1 < width; x += 2) {
            const std::ptrdiff_t from = source.first + y * source.pitch + 2 * x;
            const std::ptrdiff_t to = destination.first + y * destination.pitch + 2 * x;
            const Byte a0 = sourceAlpha.At(alpha + x), a1 = sourceAlpha.At(alpha + x + 1);
            destination.Put(to, entry(0, source.At(from), a0));
            destination.Put(to + 1, entry(1, source.At(from + 1), a0));
            destination.Put(to + 2, entry(2, source.At(from + 2), a0));
            destination.Put(to + 3, entry(1, source.At(from + 3), a1));
        }
    }
}

int Count(const Operand& picture, std::vector<std::vector<std::uint32_t>>& counts) {
    if (picture.isNull) {
        return 1;
    }
    if (picture.sampling != Zan::k4444 || picture.colorSpace == Zan::kAlphaOnly || picture.bits != 8) {
        return 4;
    }
    if (counts.size() != 3 && counts.size() != 4) {
        return -1;
    }
    if (counts[0].size() < 256) {
        return -1;
    }
    if (!picture.colour.isThere) {
        return 1;
    }
    for (std::ptrdiff_t y = 0; y < picture.height; ++y) {
        for (std::ptrdiff_t x = 0; x < picture.width; ++x) {
            for (std::size_t i = 0; i < counts.size(); ++i) {
                ++counts[i][picture.colour.At(picture.colour.first + y * picture.colour.pitch + 4 * x +
                                              static_cast<std::ptrdiff_t>(i))];
            }
        }
    }
    return 0;
}

}  // namespace tone_model
