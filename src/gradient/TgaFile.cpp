#include "gradient/TgaFile.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace GradientGenerator {

using Zan::Long32;
using Zan::ULong32;

namespace {

enum TgaStatus : Long32 { kWritten = 0, kBadSampleBytes = 3, kBadSize = 5, kNoFile = 10, kNoMemory = 11 };

constexpr float kAspect = 4.0F / 3.0F;
constexpr float kCell = 1.0F / 12.0F;
static_assert(std::bit_cast<std::uint32_t>(kAspect) == 0x3FAAAAAB &&
              std::bit_cast<std::uint32_t>(kCell) == 0x3DAAAAAB);

constexpr std::uint8_t kGrey = 3;
constexpr std::uint8_t kGrey16 = 0x23;  // our own mark, no standard type has 16 bits of grey
constexpr std::uint8_t kFirstRowAtTop = 0x20;

template <std::size_t size>
void Put16(std::array<std::uint8_t, size>& bytes, std::size_t offset, ULong32 value) {
    bytes[offset] = static_cast<std::uint8_t>(value);
    bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

template <std::size_t size>
void Put32(std::array<std::uint8_t, size>& bytes, std::size_t offset, ULong32 value) {
    Put16(bytes, offset, value);
    Put16(bytes, offset + 2, value >> 16);
}

bool Write(std::FILE* file, const void* bytes, std::size_t size) {
    return std::fwrite(bytes, 1, size, file) == size;
}

Long32 WriteTga(const char* path, const std::uint8_t* pixels, std::size_t pixelBytes, ULong32 width,
                ULong32 height, ULong32 bytesPerSample) {
    std::FILE* const file = path != nullptr ? std::fopen(path, "wb") : nullptr;
    if (file == nullptr) {
        return kNoFile;
    }
    const auto header = TgaHeader(width, height, bytesPerSample);
    const auto extension = TgaExtension();
    const auto footer = TgaFooter(pixelBytes, bytesPerSample);
    const bool isWritten = Write(file, header.data(), header.size()) && Write(file, pixels, pixelBytes) &&
                           (bytesPerSample == 1 || Write(file, extension.data(), extension.size())) &&
                           Write(file, footer.data(), footer.size());
    return std::fclose(file) == 0 && isWritten ? kWritten : kNoFile;
}

}  // namespace

bool FitsTga(ULong32 width, ULong32 height, ULong32 bytesPerSample) noexcept {
    constexpr ULong32 kMostSide = 0xFFFF;
    constexpr std::uint64_t kMostOffset = 0xFFFFFFFF;
    return width <= kMostSide && height <= kMostSide &&
           std::uint64_t{width} * height * bytesPerSample + kTgaHeaderBytes <= kMostOffset;
}

std::array<std::uint8_t, kTgaHeaderBytes> TgaHeader(ULong32 width, ULong32 height,
                                                    ULong32 bytesPerSample) noexcept {
    std::array<std::uint8_t, kTgaHeaderBytes> header{};
    header[2] = bytesPerSample == 1 ? kGrey : kGrey16;
    Put16(header, 12, width);
    Put16(header, 14, height);
    header[16] = static_cast<std::uint8_t>(bytesPerSample * 8);
    header[17] = kFirstRowAtTop;
    return header;
}

std::array<std::uint8_t, kTgaExtensionBytes> TgaExtension() noexcept {
    std::array<std::uint8_t, kTgaExtensionBytes> area{};
    Put16(area, 0, kTgaExtensionBytes);
    area[0x1D5] = 0x20;
    area[0x1EF] = 0x30;
    Put16(area, 0x1F4, 1);
    Put16(area, 0x1F6, 0x0010);
    Put16(area, 0x1F8, 0x810E);
    Put16(area, 0x1FE, 1);
    // The range of a sample, for three channels: from 0, which stands before, to the top of 14 bits.
    for (const std::size_t offset : {0x224U, 0x228U, 0x22CU}) {
        Put32(area, offset, 0x3FFF);
    }
    return area;
}

std::array<std::uint8_t, kTgaFooterBytes> TgaFooter(std::size_t pixelBytes, ULong32 bytesPerSample) noexcept {
    std::array<std::uint8_t, kTgaFooterBytes> footer{};
    if (bytesPerSample == 2) {
        Put32(footer, 0, static_cast<ULong32>(kTgaHeaderBytes + pixelBytes));
    }
    constexpr char kSignature[] = "TRUEVISION-XFILE.";
    std::copy_n(kSignature, sizeof kSignature, footer.begin() + 8);
    return footer;
}

WgrGradientData TgaMap(void* pixels, ULong32 width, ULong32 height, ULong32 bytesPerSample) noexcept {
    WgrGradientData map{};
    map.structSize = 44;
    map.width = width;
    map.height = height;
    map.pitch = static_cast<Long32>(width * bytesPerSample);
    map.bitsPerSample = bytesPerSample * 8;
    map.significantBits = bytesPerSample == 1 ? 8 : 14;
    map.peakValue = bytesPerSample == 1 ? 255 : 255 << 6;
    map.pixels = pixels;
    map.aspectRatio = kAspect;
    map.cellFraction = kCell;
    return map;
}

void OrderSamples(void* pixels, std::size_t bytes, ULong32 bytesPerSample) noexcept {
    if constexpr (std::endian::native == std::endian::big) {
        auto* const samples = static_cast<std::uint8_t*>(pixels);
        for (std::size_t i = 0; bytesPerSample == 2 && i + 1 < bytes; i += 2) {
            std::swap(samples[i], samples[i + 1]);
        }
    } else {
        static_cast<void>(pixels);
        static_cast<void>(bytes);
        static_cast<void>(bytesPerSample);
    }
}

Long32 writeGradientPatternToTGAfile(const char* path, ULong32 patternType, ULong32 width, ULong32 height,
                                     ULong32 bytesPerSample) {
    if (bytesPerSample != 1 && bytesPerSample != 2) {
        return kBadSampleBytes;
    }
    // The product of the sides has 64 bits at most.
    const std::uint64_t samples = std::uint64_t{width} * height;
    if (samples > PTRDIFF_MAX / bytesPerSample) {
        return kNoMemory;
    }
    const auto bytes = static_cast<std::size_t>(samples) * bytesPerSample;
    const std::unique_ptr<std::uint8_t[]> pixels(new (std::nothrow) std::uint8_t[bytes]);
    if (pixels == nullptr) {
        return kNoMemory;
    }
    WgrGradientData map = TgaMap(pixels.get(), width, height, bytesPerSample);
    const bool fits = FitsTga(width, height, bytesPerSample);
    map.flags = fits ? 0 : 1;  // check only
    const int status = WgrGenerateGradient(&map, patternType);
    if (status != 0 || !fits) {
        return status != 0 ? status : Long32{kBadSize};
    }
    OrderSamples(pixels.get(), bytes, bytesPerSample);
    return WriteTga(path, pixels.get(), bytes, width, height, bytesPerSample);
}

}  // namespace GradientGenerator
