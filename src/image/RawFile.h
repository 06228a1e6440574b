#ifndef TESSELU_SRC_IMAGE_RAWFILE_H
#define TESSELU_SRC_IMAGE_RAWFILE_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Zan {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

/// A file that is closed at the end of its block.
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Null for a null path, for what cannot be opened, and for a directory.
FileHandle OpenToRead(const char* path) noexcept;
FileHandle OpenToWrite(const char* path) noexcept;

/// Closes the file. False when something of what was read or written before failed, or closing it does.
bool CloseWhole(FileHandle file) noexcept;

// A pixel of a raw file is the first 1 to 4 of the bytes R, G, B, A; in memory it is a word with B in its low
// byte. Words may stand at any address.

/// `missing` are the bits of the bytes that a pixel of the file has not.
inline void WordsFromFile(const std::uint8_t* bytes, std::size_t bytesPerPixel, ULong32 missing,
                          std::uint8_t* words, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i, bytes += bytesPerPixel, words += 4) {
        std::uint8_t pixel[4] = {};
        std::memcpy(pixel, bytes, bytesPerPixel);
        const ULong32 word = ULong32{pixel[3]} << 24 | ULong32{pixel[0]} << 16 | ULong32{pixel[1]} << 8 |
                             ULong32{pixel[2]} | missing;
        std::memcpy(words, &word, sizeof word);
    }
}

inline void WordsToFile(const std::uint8_t* words, std::size_t count, std::size_t bytesPerPixel,
                        std::uint8_t* bytes) noexcept {
    for (std::size_t i = 0; i < count; ++i, bytes += bytesPerPixel, words += 4) {
        ULong32 word;
        std::memcpy(&word, words, sizeof word);
        const std::uint8_t pixel[4] = {static_cast<std::uint8_t>(word >> 16),
                                       static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word),
                                       static_cast<std::uint8_t>(word >> 24)};
        std::memcpy(bytes, pixel, bytesPerPixel);
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_RAWFILE_H
