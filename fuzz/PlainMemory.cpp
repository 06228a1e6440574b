#include "PlainMemory.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>

#include "simd/Lines.h"

namespace fuzz {

namespace {

using namespace Zan;

constexpr std::size_t kMostBytes = std::size_t{1} << 18;
/// The sanitizer guards whole words of eight bytes; the others are compared.
constexpr std::size_t kGuard = 64;

}  // namespace

PlainMemory::PlainMemory() : memory(kMostBytes + 2 * kGuard + 64) {
    ASAN_POISON_MEMORY_REGION(memory.data(), memory.size());
}

PlainMemory::~PlainMemory() {
    ASAN_UNPOISON_MEMORY_REGION(memory.data(), memory.size());
}

void PlainMemory::Clear(unsigned misaligned) {
    ASAN_POISON_MEMORY_REGION(memory.data(), memory.size());
    planes.clear();
    lowest = highest = 0;
    start = kGuard + misaligned % 64;
}

void PlainMemory::Add(const FormatRecord& format, std::size_t width, std::size_t height, std::ptrdiff_t pitch,
                      bool derived) {
    if (width == 0 || height == 0) {
        return;
    }
    const auto add = [this](std::ptrdiff_t first, std::ptrdiff_t step, std::size_t bytes, std::size_t rows) {
        planes.push_back({first, step, bytes, rows});
        const std::ptrdiff_t last = first + step * static_cast<std::ptrdiff_t>(rows - 1);
        lowest = std::min({lowest, first, last});
        highest = std::max(
            {highest, first + static_cast<std::ptrdiff_t>(bytes), last + static_cast<std::ptrdiff_t>(bytes)});
    };
    const std::size_t luma = width * height;
    const int share = format.code == kFmtPlanar411 ? 4 : 2;
    for (const simd::PlaneUse& use : format.planes) {
        const std::size_t bytes = use.RowBytes(width);
        std::size_t rows = height;
        if (use.halfHeight) {
            rows = format.code == kFmtPlanar420Interlaced ? simd::FieldLinePairs::Bands(height)
                                                          : simd::LinePairs::Bands(height);
        }
        if (use.index == 0) {
            add(0, pitch, bytes, rows);
            // Paths that step by words take one of the multiples of 4 beside an odd pitch.
            if (pitch % 4 != 0 && format.pitch == PitchUnit::kWords) {
                add(0, pitch & ~std::ptrdiff_t{3}, bytes, rows);
                add(0, pitch / 4 * 4, bytes, rows);
            }
        } else if (derived && use.index < 3) {
            const std::size_t chroma = luma >> (format.code == kFmtPlanar422 ? 1 : 2);
            add(static_cast<std::ptrdiff_t>(luma + (use.index - 1) * chroma), pitch / share, bytes, rows);
        }
    }
}

std::uint8_t* PlainMemory::Open(unsigned char seed) {
    size = static_cast<std::size_t>(highest - lowest);
    if (size > kMostBytes) {
        return nullptr;
    }
    fill = seed;
    ASAN_UNPOISON_MEMORY_REGION(memory.data() + start - kGuard, size + 2 * kGuard);
    for (std::size_t i = start - kGuard; i < start + size + kGuard; ++i) {
        memory[i] = Expected(i);
    }
    ASAN_POISON_MEMORY_REGION(memory.data() + start - kGuard, kGuard);
    ASAN_POISON_MEMORY_REGION(memory.data() + start + size, kGuard);
    // A picture without a pixel has an address all the same.
    return memory.data() + Offset(0);
}

template <class Visit>
void PlainMemory::ForEachRow(Visit visit) const {
    for (const Rows& plane : planes) {
        for (std::size_t row = 0; row < plane.count; ++row) {
            const std::size_t at = Offset(plane.first + plane.pitch * static_cast<std::ptrdiff_t>(row));
            visit(at, at + plane.bytes);
        }
    }
}

bool PlainMemory::IsIntactAround() const {
    ASAN_UNPOISON_MEMORY_REGION(memory.data() + start - kGuard, size + 2 * kGuard);
    std::vector<bool> isOfRow(size);
    ForEachRow([&](std::size_t from, std::size_t to) {
        std::fill(isOfRow.begin() + static_cast<std::ptrdiff_t>(from - start),
                  isOfRow.begin() + static_cast<std::ptrdiff_t>(to - start), true);
    });
    for (std::size_t i = start - kGuard; i < start + size + kGuard; ++i) {
        const bool mayChange = i >= start && i < start + size && isOfRow[i - start];
        if (!mayChange && memory[i] != Expected(i)) {
            return false;
        }
    }
    return true;
}

bool PlainMemory::IsUntouched() const {
    ASAN_UNPOISON_MEMORY_REGION(memory.data() + start - kGuard, size + 2 * kGuard);
    for (std::size_t i = start - kGuard; i < start + size + kGuard; ++i) {
        if (memory[i] != Expected(i)) {
            return false;
        }
    }
    return true;
}

}  // namespace fuzz
