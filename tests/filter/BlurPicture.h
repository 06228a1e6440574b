#ifndef TESSELU_TESTS_FILTER_BLURPICTURE_H
#define TESSELU_TESTS_FILTER_BLURPICTURE_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "support/FencedMemory.h"

namespace filter_test {

using namespace Zan;
using namespace test_support;

struct PictureOptions {
    std::size_t padding = 0;  ///< bytes after each line
    OriginEnum origin = kTopLeft;
    AggregateBitsPerChannelEnum bits = k8Bits;
    ColorSpaceEnum space = kRGB;
};

/// A picture of noise, in memory that ends where nobody may touch.
class BlurPicture {
public:
    BlurPicture(unsigned width, unsigned height, PictureOptions options = {})
        : wide(width),
          high(height),
          pixelBytes(options.bits == k16Bits ? 8 : 4),
          pitch(pixelBytes * width + options.padding),
          isBottomUp(options.origin == kBottomLeft),
          memory(pitch * height),
          image(
              std::make_unique<Image>(memory.Data(), static_cast<ULong32>(pitch),
                                      ImageDescriptor(width, height, options.space, kUpperFieldFirst,
                                                      kInterleavedFields, options.origin, options.bits, 1.0F),
                                      1U, 1U)) {}

    Image& Get() { return *image; }
    ImageView View() { return ImageView(image.get()); }
    ImageView View(Rectangle region, WhichFieldEnum field = kFrame) {
        return ImageView(image.get(), region, field);
    }
    FencedMemory& Memory() { return memory; }

    /// A line of the picture, the uppermost first.
    std::uint8_t* Line(std::size_t y) { return memory.Data() + pitch * (isBottomUp ? high - 1 - y : y); }
    /// A byte of a picture of 8 bits a sample.
    std::uint8_t& At(std::size_t x, std::size_t y, std::size_t byte = 0) { return Line(y)[4 * x + byte]; }

    void Fill(std::uint8_t value) { std::fill_n(memory.Data(), memory.Length(), value); }

    const std::size_t wide, high, pixelBytes, pitch;

private:
    const bool isBottomUp;
    FencedMemory memory;
    std::unique_ptr<Image> image;
};

/// Bytes of pixels as a view selects them.
struct Selection {
    std::uint8_t* first;
    std::ptrdiff_t pitch;
    std::size_t width, height;

    explicit Selection(const ImageView& view)
        : first(static_cast<std::uint8_t*>(view.GetMemoryPointer(0))),
          pitch(view.GetPitch(0)),
          width(view.GetWidth()),
          height(view.GetHeight()) {}

    std::uint8_t& At(std::size_t x, std::size_t y, std::size_t byte) const {
        return first[static_cast<std::ptrdiff_t>(y) * pitch + static_cast<std::ptrdiff_t>(4 * x + byte)];
    }
};

/// Three ways to make a byte of the sum of a box.
enum class Form { kAfresh, kShifts, kSingle };

/// The sums of each byte over the boxes around all pixels, by columns and then by rows.
class BoxSums {
public:
    BoxSums(const ImageView& view, std::size_t pictureWidth, std::size_t pictureHeight, int boxWidth,
            int boxHeight)
        : width(pictureWidth),
          height(pictureHeight),
          area(static_cast<double>(boxWidth) * boxHeight),
          sums(4 * width * height) {
        const Selection source(view);
        std::vector<std::uint64_t> columns(4 * width);
        for (std::size_t y = 0; y < height; ++y) {
            std::fill(columns.begin(), columns.end(), 0U);
            for (int j = -(boxHeight / 2); j <= boxHeight / 2; ++j) {
                const std::size_t row = Mirror(static_cast<int>(y) + j, static_cast<int>(height));
                for (std::size_t i = 0; i < 4 * width; ++i) {
                    columns[i] += source.At(0, row, i);
                }
            }
            for (std::size_t x = 0; x < width; ++x) {
                for (int j = -(boxWidth / 2); j <= boxWidth / 2; ++j) {
                    const std::size_t column = Mirror(static_cast<int>(x) + j, static_cast<int>(width));
                    for (std::size_t i = 0; i < 4; ++i) {
                        sums[4 * (width * y + x) + i] += columns[4 * column + i];
                    }
                }
            }
        }
    }

    std::uint64_t At(std::size_t x, std::size_t y, std::size_t byte) const {
        return sums[4 * (width * y + x) + byte];
    }

    const std::size_t width, height;
    const double area;

private:
    static std::size_t Mirror(int at, int size) {
        return static_cast<std::size_t>(at < 0 ? -at : at >= size ? 2 * size - 2 - at : at);
    }

    std::vector<std::uint64_t> sums;
};

/// Makes bytes of the sums of boxes. Finds shifts by trying them, one by one.
class ByteOfSum {
public:
    ByteOfSum(Form newForm, double newArea, unsigned bits = 8) : form(newForm), area(newArea) {
        if (form != Form::kShifts) {
            return;
        }
        const double most = area * (std::pow(2.0, bits) - 1.0);
        while (before < 32 && most / std::pow(2.0, before) > 65535.0) {
            ++before;
        }
        while (std::pow(2.0, total) / area < 32768.0) {
            ++total;
        }
        const double factor = std::pow(2.0, total) / area;
        multiplier = static_cast<std::uint64_t>(factor + 0.5 > 65535.0 ? factor : factor + 0.5);
    }

    std::uint8_t operator()(std::uint64_t sum) const {
        constexpr std::uint64_t kLow = 0xFFFFFFFFU;
        switch (form) {
            case Form::kAfresh:
                return static_cast<std::uint8_t>(
                    static_cast<int>(static_cast<double>(sum & kLow) * (1.0 / area) + 0.5));
            case Form::kSingle: {
                const float mean = static_cast<float>(sum) * static_cast<float>(1.0 / area);
                return static_cast<std::uint8_t>(std::min(std::lrint(mean), 255L));
            }
            case Form::kShifts:
                break;
        }
        if (total < before) {
            return 0;
        }
        return static_cast<std::uint8_t>((((sum & kLow) >> before) * multiplier & kLow) >> (total - before));
    }

private:
    Form form;
    double area;
    unsigned before = 0, total = 0;
    std::uint64_t multiplier = 0;
};

struct Region {
    std::size_t xStart = 0, xEnd = SIZE_MAX, yStart = 0, yEnd = SIZE_MAX;
};

/// Writes what the sums give.
inline void WritePlainly(const BoxSums& sums, const ImageView& destination, Region region, Form form,
                         unsigned bits = 8) {
    const Selection to(destination);
    const ByteOfSum byteOf(form, sums.area, bits);
    for (std::size_t y = region.yStart; y < std::min(sums.height, region.yEnd); ++y) {
        for (std::size_t x = region.xStart; x < std::min(sums.width, region.xEnd); ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                to.At(x, y, i) = byteOf(sums.At(x, y, i));
            }
        }
    }
}

/// Blurs by the plain formula.
inline void BlurPlainly(const ImageView& source, const ImageView& destination, int boxWidth, int boxHeight,
                        Region region, Form form, unsigned bits = 8) {
    const std::size_t width = std::min(source.GetWidth(), destination.GetWidth());
    const std::size_t height = std::min(source.GetHeight(), destination.GetHeight());
    WritePlainly(BoxSums(source, width, height, boxWidth, boxHeight), destination, region, form, bits);
}

/// Two pictures of one format, in which whatever differs shows.
inline testing::AssertionResult SameMemory(BlurPicture& a, BlurPicture& b) {
    const Bytes of = a.Memory().Snapshot(), other = b.Memory().Snapshot();
    for (std::size_t i = 0; i < of.size(); ++i) {
        if (of[i] != other[i]) {
            const auto at =
                static_cast<std::ptrdiff_t>(i) - static_cast<std::ptrdiff_t>(a.Memory().GuardLength());
            return testing::AssertionFailure()
                   << "byte " << at << " (line " << at / static_cast<std::ptrdiff_t>(a.pitch) << ", byte "
                   << at % static_cast<std::ptrdiff_t>(a.pitch) << "): " << int{of[i]} << " and "
                   << int{other[i]};
        }
    }
    return testing::AssertionSuccess();
}

inline void CopyMemory(BlurPicture& from, BlurPicture& to) {
    std::copy_n(from.Memory().Data() - from.Memory().GuardLength(),
                from.Memory().GuardLength() + from.Memory().Length(),
                to.Memory().Data() - to.Memory().GuardLength());
}

}  // namespace filter_test

#endif  // TESSELU_TESTS_FILTER_BLURPICTURE_H
