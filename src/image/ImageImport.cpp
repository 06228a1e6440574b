#include <TesselU/image/ImageImport.h>

#include <algorithm>

#include "image/RawFile.h"

namespace {

constexpr std::size_t kWordBytes = 4;
constexpr std::size_t kChunk = 4096;  // pixels

bool IsTaken(Zan::ULong32 bytesPerPixel, const Zan::ULong32* memory) {
    return bytesPerPixel >= 1 && bytesPerPixel <= kWordBytes && memory != nullptr;
}

/// Calls `part(address, pixels)` for the pixels that file and memory share, row by row, some at a time, until
/// it returns false.
template <class Part>
void ForEachPart(Zan::ULong32* memory, std::size_t columns, std::size_t rows, std::size_t pitch, Part part) {
    auto* const bytes = reinterpret_cast<std::uint8_t*>(memory);
    const std::size_t step = pitch / kWordBytes * kWordBytes;
    if (columns == 0) {
        return;  // whatever the number of rows
    }
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < columns; x += kChunk) {
            if (!part(bytes + y * step + x * kWordBytes, std::min(kChunk, columns - x))) {
                return;
            }
        }
    }
}

}  // namespace

bool ImageImport::FileReadRaw(const char* path, Zan::ULong32 width, Zan::ULong32 height,
                              Zan::ULong32 bytesPerPixel, Zan::ULong32* memory, Zan::ULong32 memoryWidth,
                              Zan::ULong32 memoryHeight, Zan::ULong32 pitch) {
    if (!IsTaken(bytesPerPixel, memory)) {
        return false;
    }
    const Zan::FileHandle file = Zan::OpenToRead(path);
    if (file == nullptr) {
        return false;
    }
    std::uint8_t pixels[kChunk * kWordBytes];
    ForEachPart(memory, std::min(width, memoryWidth), std::min(height, memoryHeight), pitch,
                [&](std::uint8_t* words, std::size_t count) {
                    const std::size_t bytes = count * bytesPerPixel;
                    const std::size_t read = std::fread(pixels, 1, bytes, file.get());
                    std::fill(pixels + read, pixels + bytes, std::uint8_t{0});
                    Zan::WordsFromFile(pixels, bytesPerPixel, 0, words, count);
                    return true;
                });
    return true;
}

bool ImageImport::FileWriteRaw(const char* path, Zan::ULong32 width, Zan::ULong32 height,
                               Zan::ULong32 bytesPerPixel, Zan::ULong32* memory, Zan::ULong32 memoryWidth,
                               Zan::ULong32 memoryHeight, Zan::ULong32 pitch) {
    if (!IsTaken(bytesPerPixel, memory)) {
        return false;
    }
    const Zan::FileHandle file = Zan::OpenToWrite(path);
    if (file == nullptr) {
        return false;
    }
    std::uint8_t pixels[kChunk * kWordBytes];
    ForEachPart(memory, std::min(width, memoryWidth), std::min(height, memoryHeight), pitch,
                [&](std::uint8_t* words, std::size_t count) {
                    const std::size_t bytes = count * bytesPerPixel;
                    Zan::WordsToFile(words, count, bytesPerPixel, pixels);
                    return std::fwrite(pixels, 1, bytes, file.get()) == bytes;
                });
    return true;
}
