#ifndef TESSELU_SRC_CONVERT_CONVERSIONPAIRS_H
#define TESSELU_SRC_CONVERT_CONVERSIONPAIRS_H

#include <TesselU/convert/ConverterFormat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace Zan {

constexpr std::size_t kConverterFormats = 26;

/// Which pairs of formats a code path has: for each source code a bit per destination code.
class PairTable {
public:
    struct Row {
        int source;
        std::initializer_list<int> destinations;
    };

    constexpr PairTable(std::initializer_list<Row> rows) noexcept {
        for (const Row& row : rows) {
            for (const int destination : row.destinations) {
                Add(static_cast<std::uint32_t>(row.source), static_cast<std::uint32_t>(destination));
            }
        }
    }

    constexpr void Add(std::uint32_t source, std::uint32_t destination) noexcept {
        bits[source] |= 1U << destination;
    }

    constexpr bool Has(std::uint32_t source, std::uint32_t destination) const noexcept {
        return source < kConverterFormats && destination < kConverterFormats &&
               (bits[source] >> destination & 1U);
    }

    constexpr int Count() const noexcept {
        int count = 0;
        for (std::uint32_t row : bits) {
            for (; row != 0; row &= row - 1) {
                ++count;
            }
        }
        return count;
    }

private:
    std::array<std::uint32_t, kConverterFormats> bits{};
};

inline constexpr PairTable integerPairs{
    {0, {0, 1, 2, 6, 8, 9, 10, 12, 14, 16, 17}},
    {1, {0, 1, 2, 5, 17}},
    {2, {0, 1, 2, 5, 6, 7, 10, 11, 12, 14, 16, 17, 18}},
    {3, {1, 3}},
    {4, {1, 4}},
    {5, {1, 2, 5, 9, 12, 16, 17}},
    {6, {0, 5}},
    {7, {2}},
    {8, {0, 5}},
    {9, {0, 5}},
    {10, {0, 2, 10, 11, 14, 20}},
    {11, {0, 2, 5, 10}},
    {12, {2}},
    {13, {13, 17}},
    {14, {0, 2, 14, 16, 17}},
    {15, {15, 16}},
    {16, {0, 2, 5, 14, 15, 16, 17, 22}},
    {17, {0, 1, 2, 5, 10, 14, 16, 17, 19}},
    {18, {18}},
    {19, {19}},
    {25, {25}},
};

inline constexpr PairTable floatPairs{
    {0, {0, 1, 2, 6, 8, 9, 10, 12, 13, 14, 16, 17, 23}},
    {1, {0, 1, 2, 5, 17}},
    {2, {0, 1, 2, 5, 6, 7, 10, 11, 12, 13, 17, 23, 24}},
    {3, {1, 3}},
    {4, {1, 4}},
    {5, {1, 2, 5, 9, 12, 16, 17}},
    {6, {0, 5}},
    {8, {0, 5}},
    {9, {0, 5}},
    {10, {0, 2, 10, 11, 20}},
    {11, {0, 2, 5, 10}},
    {12, {2}},
    {13, {13, 17}},
    {14, {0, 2, 14, 17, 23}},
    {15, {15, 16}},
    {16, {0, 5, 13, 15, 17, 23}},
    {17, {0, 1, 2, 5, 10, 13, 14, 16, 17, 23}},
    {21, {2}},
    {24, {2}},
};

inline constexpr PairTable fixedPointPairs{
    {0, {0, 1}}, {1, {1}}, {2, {2}}, {3, {3}}, {4, {4}}, {5, {5}},
};

inline constexpr PairTable floatSimdPairs{{0, {1}}};

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_CONVERSIONPAIRS_H
