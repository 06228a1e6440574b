#include "filter/model/Exact.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace filter_model {

namespace {

constexpr std::size_t kFractionWords = 4, kWords = kFractionWords + 1;

/// Not below 0: words of 32 bits, lowest first, the last one before the point.
struct Fixed {
    std::array<std::uint32_t, kWords> words{};

    static Fixed Whole(std::uint32_t value) {
        Fixed result;
        result.words[kFractionWords] = value;
        return result;
    }
    /// Exact, as long as no bit of `value` lies below 2^-128.
    static Fixed Of(double value) {
        Fixed result;
        for (std::size_t i = kWords; i-- > 0;) {
            const double whole = std::floor(value);
            result.words[i] = static_cast<std::uint32_t>(whole);
            value = (value - whole) * 4294967296.0;
        }
        if (value != 0) {
            throw std::logic_error("too fine for fixed point");
        }
        return result;
    }
    bool IsZero() const { return words == std::array<std::uint32_t, kWords>{}; }
    bool Bit(std::size_t at) const { return ((words[at / 32] >> (at % 32)) & 1U) != 0; }
};

bool IsBelow(const Fixed& a, const Fixed& b) {
    for (std::size_t i = kWords; i-- > 0;) {
        if (a.words[i] != b.words[i]) {
            return a.words[i] < b.words[i];
        }
    }
    return false;
}

Fixed Plus(const Fixed& a, const Fixed& b) {
    Fixed result;
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < kWords; ++i) {
        carry += std::uint64_t{a.words[i]} + b.words[i];
        result.words[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    return result;
}

/// `b` at most `a`.
Fixed Minus(const Fixed& a, const Fixed& b) {
    Fixed result;
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i < kWords; ++i) {
        const std::uint64_t taken = std::uint64_t{b.words[i]} + borrow;
        borrow = a.words[i] < taken ? 1 : 0;
        result.words[i] = static_cast<std::uint32_t>(a.words[i] - taken);
    }
    return result;
}

Fixed Times(const Fixed& a, const Fixed& b) {
    std::array<std::uint32_t, 2 * kWords> product{};
    for (std::size_t i = 0; i < kWords; ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < kWords; ++j) {
            carry += std::uint64_t{a.words[i]} * b.words[j] + product[i + j];
            product[i + j] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        product[i + kWords] = static_cast<std::uint32_t>(carry);
    }
    Fixed result;
    for (std::size_t i = 0; i < kWords; ++i) {
        result.words[i] = product[i + kFractionWords];
    }
    return result;
}

Fixed Over(const Fixed& a, std::uint32_t divisor) {
    Fixed result;
    std::uint64_t rest = 0;
    for (std::size_t i = kWords; i-- > 0;) {
        rest = (rest << 32) | a.words[i];
        result.words[i] = static_cast<std::uint32_t>(rest / divisor);
        rest %= divisor;
    }
    return result;
}

Fixed Doubled(const Fixed& a) {
    return Plus(a, a);
}

/// a / b by one bit after the other; `a` below `b`.
Fixed Ratio(Fixed a, const Fixed& b) {
    Fixed result;
    for (std::size_t i = 32 * kFractionWords; i-- > 0;) {
        a = Doubled(a);
        if (!IsBelow(a, b)) {
            a = Minus(a, b);
            result.words[i / 32] |= std::uint32_t{1} << (i % 32);
        }
    }
    return result;
}

/// z + z^3 / 3 + z^5 / 5 ...
Fixed AreaTangent(const Fixed& z) {
    const Fixed square = Times(z, z);
    Fixed sum, power = z;
    for (std::uint32_t i = 1; !power.IsZero(); i += 2) {
        sum = Plus(sum, Over(power, i));
        power = Times(power, square);
    }
    return sum;
}

double Nearest(const Fixed& value) {
    std::size_t top = 32 * kWords;
    while (top > 0 && !value.Bit(top - 1)) {
        --top;
    }
    if (top == 0) {
        return 0;
    }
    if (top < 54 + 60) {
        throw std::logic_error("too few bits to round");
    }
    double result = 0;
    for (std::size_t i = top; i-- > top - 53;) {
        result = 2 * result + (value.Bit(i) ? 1 : 0);
    }
    const bool half = value.Bit(top - 54);
    // The last 30 bits may be wrong; those before must tell on which side of the half the value lies.
    bool nearHalf = true;
    for (std::size_t i = top - 54; i-- > 30;) {
        nearHalf = nearHalf && value.Bit(i) != half;
    }
    if (nearHalf) {
        throw std::logic_error("a half, for all that can be seen");
    }
    if (half) {
        result += 1;
    }
    return std::ldexp(result, static_cast<int>(top) - 53 - static_cast<int>(32 * kFractionWords));
}

}  // namespace

double NearestLog(double value) {
    if (!(value > 0) || value > 1) {
        throw std::logic_error("no logarithm of this");
    }
    static const Fixed ln2 = Doubled(AreaTangent(Over(Fixed::Whole(1), 3)));
    Fixed sum;
    double scaled = value;
    while (scaled <= 0.5) {
        scaled *= 2;
        sum = Plus(sum, ln2);
    }
    // ln m = -2 artanh((1 - m) / (1 + m))
    const Fixed m = Fixed::Of(scaled), one = Fixed::Whole(1);
    sum = Plus(sum, Doubled(AreaTangent(Ratio(Minus(one, m), Plus(one, m)))));
    return sum.IsZero() ? 0.0 : -Nearest(sum);
}

double NearestCosine(double angle) {
    const Fixed x = Fixed::Of(std::abs(angle)), square = Times(x, x);
    Fixed plus, minus, term = Fixed::Whole(1);
    for (std::uint32_t i = 0; !term.IsZero(); i += 2) {
        Fixed& side = i % 4 == 0 ? plus : minus;
        side = Plus(side, term);
        term = Over(Over(Times(term, square), i + 1), i + 2);
    }
    return IsBelow(plus, minus) ? -Nearest(Minus(minus, plus)) : Nearest(Minus(plus, minus));
}

}  // namespace filter_model
