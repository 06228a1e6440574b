#ifndef TESSELU_TESTS_COMPOSITE_FILLMODEL_H
#define TESSELU_TESTS_COMPOSITE_FILLMODEL_H

#include <algorithm>

#include "composite/Pictures.h"

// What the fills write, byte by byte, on every path.

namespace composite_test {

inline constexpr Zan::ULong32 kPlain = 0xFFFFFFFFU;

enum class Kernel { kScalar, kMmx, kSse, kSse2 };

inline Kernel Simd(const Machine& machine) {
    if (machine.HasSse2()) {
        return Kernel::kSse2;
    }
    return machine.TakesSse() ? Kernel::kSse : Kernel::kMmx;
}

inline Kernel ByteKernel(int style, const Machine& machine) {
    const bool simd = style == Zan::kInt_MMXorSIMD || style == Zan::kFlp_SIMD || style == Zan::kBestAvailable;
    return simd ? Simd(machine) : Kernel::kScalar;
}

inline Kernel WordKernel(int style, const Machine& machine) {
    const bool simd = style == Zan::kInt_MMXorSIMD || style == Zan::kBestAvailable;
    return simd ? Simd(machine) : Kernel::kScalar;
}

// A plane as the fills may write it: what lies beyond the image's own memory is dropped.
class Paint {
public:
    Paint(PlaneModel& plane, std::ptrdiff_t begin, std::ptrdiff_t end, std::uintptr_t address)
        : model(plane), first(begin), last(end), rowAddress(address) {}

    void Byte(std::ptrdiff_t offset, Zan::ULong32 value, Zan::ULong32 mask = 0xFFU) {
        const std::ptrdiff_t at = model.first + offset;
        if (at < first || at >= last) {
            return;
        }
        std::uint8_t& byte = model.bytes.at(static_cast<std::size_t>(at));
        byte = static_cast<std::uint8_t>((byte & ~mask) | (value & mask));
    }
    void Word(std::ptrdiff_t offset, Zan::ULong32 value, Zan::ULong32 mask = kPlain) {
        for (int i = 0; i < 4; ++i) {
            Byte(offset + i, value >> 8 * i & 0xFFU, mask >> 8 * i & 0xFFU);
        }
    }
    // Bytes from the address of `offset` to the next multiple of `alignment`.
    std::ptrdiff_t ToBoundary(std::ptrdiff_t offset, std::uintptr_t alignment) const {
        const std::uintptr_t address = rowAddress + static_cast<std::uintptr_t>(offset);
        return static_cast<std::ptrdiff_t>((alignment - address % alignment) % alignment);
    }

private:
    PlaneModel& model;
    std::ptrdiff_t first;
    std::ptrdiff_t last;
    std::uintptr_t rowAddress;
};

inline void ExpectBytes(Paint& paint, Kernel kernel, std::ptrdiff_t pitch, unsigned width, unsigned height,
                        Zan::ULong32 value) {
    for (unsigned y = 0; y < height; ++y) {
        const std::ptrdiff_t row = y * pitch;
        std::ptrdiff_t count = width;
        // The alignment step does not look at the row's length.
        if (kernel == Kernel::kSse2) {
            count = std::max(count, paint.ToBoundary(row, 16));
        } else if (kernel == Kernel::kSse) {
            count = std::max(count, paint.ToBoundary(row, 8));
        }
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            paint.Byte(row + i, value);
        }
    }
}

inline void ExpectWords(Paint& paint, Kernel kernel, std::ptrdiff_t pitch, unsigned words, unsigned height,
                        Zan::ULong32 colour) {
    pitch &= ~std::ptrdiff_t{3};
    for (unsigned y = 0; y < height; ++y) {
        const std::ptrdiff_t row = y * pitch;
        std::ptrdiff_t count = words;
        if (kernel == Kernel::kSse2 && paint.ToBoundary(row, 4) == 0) {
            count = std::max(count, paint.ToBoundary(row, 16) / 4);
        } else if (kernel == Kernel::kSse && paint.ToBoundary(row, 8) != 0) {
            count = std::max<std::ptrdiff_t>(count, 1);
        }
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            paint.Word(row + 4 * i, colour);
        }
    }
}

inline void ExpectPairs(Paint& paint, std::ptrdiff_t pitch, unsigned width, unsigned height,
                        Zan::ULong32 colour) {
    pitch &= ~std::ptrdiff_t{3};
    for (unsigned y = 0; y < height; ++y) {
        const std::ptrdiff_t row = y * pitch;
        std::ptrdiff_t i = 0;
        for (; i <= static_cast<std::ptrdiff_t>(width) - 2; i += 2) {
            paint.Word(row + 4 * i, colour);
        }
        if (i < static_cast<std::ptrdiff_t>(width)) {
            for (int byte = 0; byte < 3; ++byte) {
                paint.Byte(row + 4 * i + byte, colour >> 8 * byte & 0xFFU);
            }
        }
    }
}

// What `Fill` makes of a view, in the words of its steps.
inline void ExpectFill(Zan::ImageView& view, Paint& paint, Zan::ULong32 colour, Zan::ULong32 mask, int style,
                       const Machine& machine) {
    Zan::Image& image = *view.GetImage();
    const bool alphaOnly = image.GetColorSpace() == Zan::kAlphaOnly;
    const bool pairs =
        !alphaOnly && (image.GetChannelSampling() == Zan::k422 || image.GetChannelSampling() == Zan::k4224);
    const unsigned bytesPerPixel = alphaOnly ? static_cast<unsigned>(image.GetBytesPerPixel())
                                   : pairs   ? 2
                                             : 4;
    const unsigned width = static_cast<unsigned>(view.GetWidth());
    const unsigned height = static_cast<unsigned>(view.GetHeight());
    const unsigned words = (width * bytesPerPixel) >> 2;
    const std::ptrdiff_t pitch = view.GetPitch(0);
    const bool bytePlane = alphaOnly && image.GetBytesPerPixel() == 1.0F;
    if (mask != kPlain && !(bytePlane && mask == 255)) {
        for (unsigned y = 0; y < height; ++y) {
            if (bytePlane) {
                for (unsigned x = 0; x < width; ++x) {
                    paint.Byte(y * pitch + x, colour & 0xFFU, mask & 0xFFU);
                }
            } else {
                for (unsigned x = 0; x < words; ++x) {
                    paint.Word(y * (pitch & ~std::ptrdiff_t{3}) + 4 * static_cast<std::ptrdiff_t>(x), colour,
                               mask);
                }
            }
        }
        return;
    }
    if (bytePlane) {
        ExpectBytes(paint, ByteKernel(style, machine), pitch, width, height, colour & 0xFFU);
    } else if (alphaOnly || (pairs && width % 2 != 0)) {
        ExpectPairs(paint, pitch, width, height, colour);
    } else {
        ExpectWords(paint, WordKernel(style, machine), pitch, words, height, colour);
    }
}

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_FILLMODEL_H
