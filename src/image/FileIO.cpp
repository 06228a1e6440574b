#include <TesselU/image/FileIO.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <new>
#include <utility>

#include "foundation/Plane.h"
#include "image/RawFile.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

constexpr std::size_t kWordBytes = 4;

/// The part of an image that a raw file of that size is read into or written from.
struct RawArea {
    Plane plane;
    std::size_t columns = 0;
    std::size_t rows = 0;
};

/// False where there are no such words.
bool FindArea(const ImageView& view, ULong32 width, ULong32 height, RawArea& area) noexcept {
    Image* const image = view.GetImage();
    if (image == nullptr || image->GetPixelPacking() != kPacked || image->GetBytesPerPixel() != kWordBytes) {
        return false;
    }
    area.columns = std::min(width, image->GetWidth());
    area.rows = std::min(height, image->GetHeight());
    // Where one side is 0 the other may be billions.
    if (area.columns == 0 || area.rows == 0) {
        area.columns = area.rows = 0;
    }
    area.plane = PlaneOf(ImageView(image), 0);
    if (area.plane.first == nullptr) {
        return false;
    }
    // Rows count from the lowest address, whichever of them is the top of the picture.
    area.plane.first = static_cast<std::uint8_t*>(image->GetMemoryPointer(0));
    area.plane.pitch = static_cast<std::ptrdiff_t>(image->GetPitch(0) & ~ULong32{3});
    return area.plane.Holds(area.columns * kWordBytes, area.rows);
}

/// The bytes of one row of the file, 0 at first; null without memory.
std::unique_ptr<std::uint8_t[]> NewRow(std::size_t bytes) noexcept {
    return std::unique_ptr<std::uint8_t[]>(new (std::nothrow) std::uint8_t[bytes]());
}

bool IsPixelSize(ULong32 bytesPerPixel) noexcept {
    return bytesPerPixel == 3 || bytesPerPixel == 4;
}

}  // namespace

bool FileIO::ReadRaw(const char* path, ULong32 width, ULong32 height, ULong32 bytesPerPixel,
                     ImageView& view) {
    RawArea area;
    if (!IsPixelSize(bytesPerPixel) || !FindArea(view, width, height, area)) {
        return false;
    }
    const std::size_t rowBytes = area.columns * bytesPerPixel;
    const auto row = NewRow(rowBytes);
    FileHandle file = OpenToRead(path);
    if (file == nullptr || row == nullptr) {
        return false;
    }
    const ULong32 missing = bytesPerPixel == 3 ? 0xFF000000U : 0;
    for (std::size_t y = 0; y < area.rows; ++y) {
        // Where the file ends the row before shows through.
        static_cast<void>(std::fread(row.get(), 1, rowBytes, file.get()));
        if (std::ferror(file.get()) != 0) {
            return false;
        }
        WordsFromFile(row.get(), bytesPerPixel, missing, area.plane.Row(y), area.columns);
    }
    return CloseWhole(std::move(file));
}

bool FileIO::WriteRaw(const char* path, ULong32 width, ULong32 height, ULong32 bytesPerPixel,
                      ImageView& view) {
    RawArea area;
    if (!IsPixelSize(bytesPerPixel) || !FindArea(view, width, height, area)) {
        return false;
    }
    const std::size_t rowBytes = area.columns * bytesPerPixel;
    const auto row = NewRow(rowBytes);
    if (row == nullptr) {
        return false;
    }
    FileHandle file = OpenToWrite(path);
    if (file == nullptr) {
        return false;
    }
    for (std::size_t y = 0; y < area.rows; ++y) {
        WordsToFile(area.plane.Row(y), area.columns, bytesPerPixel, row.get());
        if (std::fwrite(row.get(), 1, rowBytes, file.get()) != rowBytes) {
            return false;
        }
    }
    return CloseWhole(std::move(file));
}

}  // namespace Zan
