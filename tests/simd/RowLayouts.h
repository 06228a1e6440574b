#ifndef TESSELU_TESTS_SIMD_ROWLAYOUTS_H
#define TESSELU_TESTS_SIMD_ROWLAYOUTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/FencedMemory.h"
#include "support/Streaming.h"

// Rows anywhere in memory, and operations that are told twice: as a call of the library and as a plain loop
// over one row. The loop runs on a copy of all the memory, row after row and left to right, so that it also
// tells what an operation makes whose planes lie on each other.

namespace rows_test {

using test_support::Bytes;
using test_support::RandomFrom;
using Zan::Long32;
using Zan::ULong32;

/// What becomes of a pitch that is no whole number of 32-bit words.
enum class Steps { kBytes, kWholeWords, kLowBitsDropped };

inline std::ptrdiff_t Walked(Steps steps, std::ptrdiff_t pitch) {
    switch (steps) {
        case Steps::kWholeWords:
            return pitch / 4 * 4;
        case Steps::kLowBitsDropped:
            // Downwards: a pitch of -346 is one of -348.
            return pitch - (pitch % 4 + 4) % 4;
        default:
            return pitch;
    }
}

/// An operation on plain memory; it writes the last of its planes.
struct Operation {
    using Planes = std::vector<std::uint8_t*>;
    using Pitches = std::vector<Long32>;

    std::string name;
    Zan::CPUinstructionSetEnum set;
    std::vector<std::size_t> bytesPerPair;  ///< that two pixels take in each plane
    std::vector<Steps> steps;
    unsigned leastWidth;
    Long32 (*run)(const Planes&, const Pitches&, ULong32 width, ULong32 height);
    /// One row, by the words of the operation's description.
    void (*row)(const Planes& in, std::uint8_t* out, std::size_t width);

    /// A pair of 4:2:2 is whole, also where the second pixel is not there.
    std::size_t RowBytes(std::size_t plane, std::size_t width) const {
        const std::size_t pair = bytesPerPair[plane];
        return pair == 4 ? (width + 1) / 2 * 4 : width * pair / 2;
    }
    std::size_t Last() const { return bytesPerPair.size() - 1; }
};

struct PlaneAt {
    std::size_t first;  ///< of row 0, in the arena
    std::ptrdiff_t pitch;
};

/// Where the planes of a call lie.
struct Layout {
    unsigned width, height;
    std::vector<PlaneAt> planes;
    std::size_t bytes = 0;

    /// Puts a plane behind the others, its first row `offset` bytes behind a multiple of 64.
    void Add(std::size_t rowBytes, std::ptrdiff_t pitch, std::size_t offset, std::size_t room = 128) {
        const std::size_t rows = (height - 1) * static_cast<std::size_t>(std::abs(pitch));
        const std::size_t first = (bytes + room + (pitch < 0 ? rows : 0) + 63) / 64 * 64 + offset;
        planes.push_back({first, pitch});
        bytes = first + (pitch < 0 ? 0 : rows) + rowBytes + room;
    }
    std::string Words() const {
        std::string words = std::to_string(width) + " x " + std::to_string(height);
        for (const PlaneAt& plane : planes) {
            words += ", at " + std::to_string(plane.first % 64) + " (" + std::to_string(plane.first) +
                     ") pitch " + std::to_string(plane.pitch);
        }
        return words;
    }
};

/// Memory whose address is a multiple of 64.
class Arena {
public:
    explicit Arena(std::size_t bytes) : length(bytes), memory(bytes + 64) {
        begin = memory.data() + (64 - reinterpret_cast<std::uintptr_t>(memory.data()) % 64) % 64;
    }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    std::uint8_t* At(std::size_t place) { return begin + place; }
    void Take(const Arena& other) { std::copy_n(other.begin, length, begin); }
    /// The first byte that differs; `length` without one.
    std::size_t FirstDifference(const Arena& other) const {
        return std::memcmp(begin, other.begin, length) == 0
                   ? length
                   : static_cast<std::size_t>(std::mismatch(begin, begin + length, other.begin).first -
                                              begin);
    }

    const std::size_t length;

private:
    Bytes memory;
    std::uint8_t* begin;
};

/// Runs the operation on a layout on every target, with and without stores around the cache, and compares
/// all of the memory with what the plain loop makes.
inline void Check(const Operation& operation, const Layout& layout) {
    Arena before(layout.bytes), expected(layout.bytes), got(layout.bytes);
    test_support::FillRandom(before.At(0), before.length);
    expected.Take(before);
    Operation::Planes planes, rows(layout.planes.size());
    Operation::Pitches pitches;
    for (const PlaneAt& plane : layout.planes) {
        planes.push_back(got.At(plane.first));
        pitches.push_back(static_cast<Long32>(plane.pitch));
    }
    for (unsigned y = 0; y < layout.height; ++y) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::ptrdiff_t pitch = layout.planes[i].pitch;
            rows[i] = expected.At(layout.planes[i].first) +
                      static_cast<std::ptrdiff_t>(y) * Walked(operation.steps[i], pitch);
        }
        operation.row(rows, rows.back(), layout.width);
    }
    const Zan::ScopedInstructionSet believed(operation.set);
    for (std::size_t t = 0; t < Zan::simd::kTargetCount; ++t) {
        const auto target = static_cast<Zan::simd::Target>(t);
        if (!Zan::simd::IsTargetAvailable(target)) {
            continue;
        }
        const Zan::simd::ScopedTarget limited(target);
        for (const bool aroundCache : {false, true}) {
            const test_support::ScopedStreaming streaming(aroundCache);
            got.Take(before);
            ASSERT_EQ(operation.run(planes, pitches, layout.width, layout.height), 0);
            const std::size_t at = got.FirstDifference(expected);
            ASSERT_EQ(at, got.length)
                << operation.name << " on " << Zan::simd::TargetName(target)
                << (aroundCache ? " around the cache, " : ", ") << layout.Words() << ": byte "
                << static_cast<std::ptrdiff_t>(at) - static_cast<std::ptrdiff_t>(layout.planes.back().first)
                << " from the first of the destination is " << unsigned{*got.At(at)} << ", expected "
                << unsigned{*expected.At(at)};
        }
    }
}

/// 1 to 300, and up to 1100 what is next to a multiple of 16.
inline const std::vector<unsigned>& Widths() {
    static const std::vector<unsigned> widths = [] {
        std::vector<unsigned> made;
        for (unsigned width = 1; width <= 300; ++width) {
            made.push_back(width);
        }
        for (unsigned multiple = 304; multiple <= 1100; multiple += 16) {
            for (unsigned width = multiple - 1; width <= multiple + 1; ++width) {
                made.push_back(width);
            }
        }
        return made;
    }();
    return widths;
}

/// A pitch for rows of so many bytes: rows that touch, and rows apart, upwards one time in four.
inline std::ptrdiff_t AnyPitch(std::size_t rowBytes, Steps steps) {
    auto pitch = static_cast<std::ptrdiff_t>(rowBytes);
    if (steps != Steps::kBytes) {
        pitch = (pitch + 3) / 4 * 4;
    }
    switch (RandomFrom<int>(0, 5)) {
        case 0:
        case 1:
            break;
        case 2:
            pitch += 4 * RandomFrom<std::ptrdiff_t>(1, 40);
            break;
        case 3:
            pitch = (pitch / 64 + RandomFrom<std::ptrdiff_t>(1, 2)) * 64;
            break;
        default:
            // A word more for those that lose what is no whole one.
            pitch += RandomFrom<std::ptrdiff_t>(4, 79);
    }
    return RandomFrom<int>(0, 3) == 0 ? -pitch : pitch;
}

/// Every width and, as the first byte of the destination, every offset from 0 to 63 some times.
inline void CheckApart(const Operation& operation, unsigned runs) {
    const std::vector<unsigned>& widths = Widths();
    std::size_t width = RandomFrom<std::size_t>(0, 400);
    for (unsigned run = 0; run < runs; ++run) {
        Layout layout{std::max(operation.leastWidth, widths[++width % widths.size()]), 1 + run % 5, {}};
        for (std::size_t i = 0; i < operation.bytesPerPair.size(); ++i) {
            const std::size_t rowBytes = operation.RowBytes(i, layout.width);
            layout.Add(rowBytes, AnyPitch(rowBytes, operation.steps[i]),
                       i == operation.Last() ? run % 64 : RandomFrom<std::size_t>(0, 63));
        }
        ASSERT_NO_FATAL_FAILURE(Check(operation, layout));
    }
}

/// How far a destination lies from a source on the same memory, which has pixels of the same size.
struct Shift {
    std::ptrdiff_t rows = 0;
    std::ptrdiff_t pixels = 0;
    std::ptrdiff_t pixelsARow = 0;  ///< so many more with every row: the pitches differ
};

inline std::vector<Shift> ByPixels(const std::vector<std::ptrdiff_t>& pixels) {
    std::vector<Shift> shifts;
    for (const std::ptrdiff_t count : pixels) {
        shifts.push_back({0, count, 0});
    }
    return shifts;
}

inline std::vector<Shift> ByRows(const std::vector<std::ptrdiff_t>& rows) {
    std::vector<Shift> shifts;
    for (const std::ptrdiff_t count : rows) {
        shifts.push_back({count, 0, 0});
    }
    return shifts;
}

/// Bytes around a source of `rowBytes` and a padding of up to 255 which no destination of up to five rows
/// leaves.
inline std::size_t RoomFor(const Shift& shift, std::size_t rowBytes) {
    return static_cast<std::size_t>(std::abs(shift.rows)) * (rowBytes + 256) + 1024 +
           16 * static_cast<std::size_t>(std::abs(shift.pixelsARow));
}

/// The destination that far from a source. Other planes must lie further away.
inline void CheckShifted(const Operation& operation, std::size_t source, Layout layout, const Shift& shift) {
    SCOPED_TRACE(::testing::Message() << "over source " << source << ", by rows " << shift.rows << ", pixels "
                                      << shift.pixels << ", a row " << shift.pixelsARow);
    const PlaneAt& under = layout.planes[source];
    const std::ptrdiff_t pixelBytes = static_cast<std::ptrdiff_t>(operation.bytesPerPair[source]) / 2;
    const std::ptrdiff_t bytes = shift.rows * under.pitch + shift.pixels * pixelBytes;
    layout.planes.back() = {static_cast<std::size_t>(static_cast<std::ptrdiff_t>(under.first) + bytes),
                            under.pitch + shift.pixelsARow * pixelBytes};
    ASSERT_NO_FATAL_FAILURE(Check(operation, layout));
}

}  // namespace rows_test

#endif  // TESSELU_TESTS_SIMD_ROWLAYOUTS_H
