// Raw files of any content into pictures of any kind, and out of them again: nothing outside of the rows that
// file and picture share is touched, and what is refused changes nothing and makes no file.

#include "HostilePicture.h"
#include "Input.h"

#include <TesselU/image/FileIO.h>
#include <TesselU/image/ImageImport.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace Zan;

constexpr std::uint8_t kUntouched = 0xA5;

unsigned long long calls = 0;

/// Beside memory where there is some: the files are small, and many.
const std::string& Folder() {
    // It outlives what is done at the end.
    static const std::string& folder = *[] {
        const bool hasMemory = std::filesystem::is_directory("/dev/shm");
        const std::string place = hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string();
        const std::string name = place + "/tesselu-fuzz-" + std::to_string(getpid());
        std::filesystem::create_directory(name);
        std::atexit([] {
            std::filesystem::remove_all(Folder());
            std::fprintf(stderr, "stat::number_of_calls: %llu\n", calls);
        });
        return new std::string(name);
    }();
    return folder;
}

void Write(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fclose(file) != 0) {
        std::abort();
    }
}

std::vector<std::uint8_t> Read(const std::string& path) {
    std::vector<std::uint8_t> bytes(1 << 16);
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        std::abort();
    }
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

ULong32 AnySide(fuzz::Input& input) {
    return input.Once(8) ? input.Raw<ULong32>() : input.Below(24);
}

ULong32 AnyPixelSize(fuzz::Input& input) {
    return input.Once(16) ? input.Raw<ULong32>() : input.Pick<ULong32>({3, 4, 1, 2, 0, 5});
}

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// By the class of pictures. A read that is refused before a row is converted leaves the picture alone.
void OnPicture(fuzz::Input& input, const std::string& in, const std::string& out) {
    const ULong32 width = AnySide(input), height = AnySide(input), pixelSize = AnyPixelSize(input);
    fuzz::HostilePicture picture(input);
    ImageView view = picture.View(input);
    const std::uint64_t before = picture.Sum();
    const bool isMissing = input.Once(16);
    const std::string path = isMissing ? in + "/none" : in;
    calls += 2;
    Require(FileIO::ReadRaw(path.c_str(), width, height, pixelSize, view) || picture.Sum() == before);

    const std::uint64_t kept = picture.Sum();
    const bool isWritten = FileIO::WriteRaw(out.c_str(), width, height, pixelSize, view);
    Require(picture.Sum() == kept && isWritten == std::filesystem::exists(out));
    if (isWritten && pixelSize == 4) {
        // What was written comes back, and out again.
        ++calls;
        const std::vector<std::uint8_t> first = Read(out);
        Require(FileIO::ReadRaw(out.c_str(), width, height, pixelSize, view));
        if (first.size() < 1 << 16) {
            Require(FileIO::WriteRaw(out.c_str(), width, height, pixelSize, view) && Read(out) == first);
        }
    }
}

/// By the class of addresses: memory of the rows that it is told, and gaps between them.
void OnMemory(fuzz::Input& input, const std::string& in, const std::string& out) {
    const ULong32 width = AnySide(input), height = AnySide(input), pixelSize = AnyPixelSize(input);
    const ULong32 columns = input.Below(24), rows = input.Below(24), gap = input.Below(12);
    const ULong32 pitch = 4 * columns + gap;
    const std::size_t step = pitch / 4;
    const std::size_t used = rows > 0 ? step * (rows - 1) + columns : 0;
    std::vector<ULong32> memory(std::max<std::size_t>(used, 1), kUntouched * 0x01010101U);
    const std::vector<ULong32> before = memory;
    const bool isTaken = pixelSize >= 1 && pixelSize <= 4;
    calls += 2;
    Require(ImageImport::FileReadRaw(in.c_str(), width, height, pixelSize, memory.data(), columns, rows,
                                     pitch) == isTaken);
    for (std::size_t i = 0; i < used; ++i) {
        const bool isShared = i % step < std::min(width, columns) && i / step < height && isTaken;
        Require(isShared || memory[i] == before[i]);
    }
    Require(ImageImport::FileWriteRaw(out.c_str(), width, height, pixelSize, memory.data(), columns, rows,
                                      pitch) == isTaken);
    Require(std::filesystem::exists(out) == isTaken);
    if (isTaken) {
        const std::size_t pixels = std::size_t{std::min(width, columns)} * std::min(height, rows);
        Require(std::filesystem::file_size(out) == pixels * pixelSize);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const bool onPicture = input.Flip();
    std::vector<std::uint8_t> content(input.Below(2048));
    for (std::uint8_t& byte : content) {
        byte = input.Byte();
    }
    const std::string in = Folder() + "/in", out = Folder() + "/out";
    Write(in, content);
    std::remove(out.c_str());
    if (onPicture) {
        OnPicture(input, in, out);
    } else {
        OnMemory(input, in, out);
    }
    return 0;
}
