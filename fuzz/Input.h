#ifndef TESSELU_FUZZ_INPUT_H
#define TESSELU_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>

namespace fuzz {

/// The bytes of one fuzzer run, taken from the front. Zeros follow when they are used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) noexcept : next(data), left(size) {}

    bool Empty() const noexcept { return left == 0; }

    std::uint8_t Byte() noexcept {
        if (left == 0) {
            return 0;
        }
        --left;
        return *next++;
    }

    template <class T>
    T Raw() noexcept {
        std::uint8_t bytes[sizeof(T)];
        for (std::uint8_t& byte : bytes) {
            byte = Byte();
        }
        T value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    bool Flip() noexcept { return (Byte() & 1) != 0; }

    /// True once in `times`.
    bool Once(unsigned times) noexcept { return Byte() % times == times - 1; }

    /// 0 ... `limit` - 1, `limit` up to 65536.
    unsigned Below(unsigned limit) noexcept {
        return (limit > 256 ? Raw<std::uint16_t>() : unsigned{Byte()}) % limit;
    }

    template <class T>
    T Pick(std::initializer_list<T> values) noexcept {
        return values.begin()[Below(static_cast<unsigned>(values.size()))];
    }

    /// One of 0 ... `count` - 1, or now and then any number at all.
    template <class Enum>
    Enum Enumeration(unsigned count) noexcept {
        return static_cast<Enum>(Once(32) ? Raw<std::int32_t>() : static_cast<std::int32_t>(Below(count)));
    }

    /// A number near 0, near `size`, or anywhere.
    std::int32_t Coordinate(std::uint32_t size) noexcept {
        switch (Below(8)) {
            case 0:
                return Raw<std::int32_t>();
            case 1:
                return static_cast<std::int32_t>(
                    static_cast<std::uint32_t>(static_cast<std::int8_t>(Byte())));
            case 2:
                return Pick({INT32_MIN, INT32_MIN + 1, -1, INT32_MAX - 1, INT32_MAX});
            case 3:
                return static_cast<std::int32_t>(size);
            default:
                return size == 0 ? 0 : static_cast<std::int32_t>(Raw<std::uint16_t>() % size);
        }
    }

    double Real() noexcept {
        switch (Below(4)) {
            case 0:
                return Raw<double>();
            case 1:
                return Pick({-1.0, 0.0, 0.5, 1.0, 254.0, 255.0, 32768.0, 1e300});
            default:
                return (Raw<std::int16_t>() + 8192) / 16384.0;
        }
    }

    /// Any number, of any kind, mostly about as large as `size`.
    double AnyReal(double size = 1) noexcept {
        using Limits = std::numeric_limits<double>;
        return Once(16) ? Pick({Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()})
                        : Real() * size;
    }

private:
    const std::uint8_t* next;
    std::size_t left;
};

}  // namespace fuzz

#endif  // TESSELU_FUZZ_INPUT_H
