#include "image/RawFile.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace Zan {

FileHandle OpenToRead(const char* path) noexcept {
    if (path == nullptr) {
        return nullptr;
    }
    FileHandle file(std::fopen(path, "rb"));
    // Some systems open directories, and then nothing can be read.
    if (file != nullptr) {
        try {
            std::error_code unknown;
            if (std::filesystem::is_directory(path, unknown)) {
                return nullptr;
            }
        } catch (...) {
            return nullptr;
        }
    }
    return file;
}

FileHandle OpenToWrite(const char* path) noexcept {
    return FileHandle(path != nullptr ? std::fopen(path, "wb") : nullptr);
}

bool CloseWhole(FileHandle file) noexcept {
    const bool isWhole = std::ferror(file.get()) == 0;
    return std::fclose(file.release()) == 0 && isWhole;
}

}  // namespace Zan
