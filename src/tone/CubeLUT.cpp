#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/CubeLUT.h>

#include <iterator>
#include <new>

#include "image/ViewFormat.h"
#include "image/ViewPlane.h"
#include "tone/ColourTables.h"
#include "tone/CubeText.h"

namespace Zan {
namespace {

bool IsRgb8(const Image& image, AggregateChannelSamplingEnum sampling) noexcept {
    return image.GetColorSpace() == kRGB && image.GetPixelPacking() == kPacked &&
           image.GetChannelSampling() == sampling && image.GetBytesPerChannel(0) <= 1.0F;
}

}  // namespace

Long32 CubeLUT::Read(const char* text, std::size_t size, ULong32& line) noexcept {
    line = 0;
    if (text == nullptr) {
        return kNoText;
    }
    try {
        CubeTable table;
        if (const Long32 status = ReadCube({text, size}, table, line); status != CubeLUT::kRead) {
            return status;
        }
        SetLattice(std::make_shared<const ColourLattice>(table));
        return CubeLUT::kRead;
    } catch (const std::bad_alloc&) {
        return kNoTableMemory;
    }
}

const char* CubeLUT::ReadStatusText(Long32 status) noexcept {
    static constexpr const char* kTexts[] = {
        "read",
        "no text",
        "neither a keyword nor three numbers",
        "a number that is none, or too large",
        "a size that is not from 2 to 65536 (1D) or 256 (3D)",
        "a domain that does not ascend",
        "a title that is not in quotation marks",
        "given twice",
        "numbers before the size, or a keyword behind the first numbers",
        "fewer rows than the size says",
        "more rows than the size says",
        "no size",
        "no memory for the table",
    };
    return status >= 0 && status < static_cast<Long32>(std::size(kTexts)) ? kTexts[status] : nullptr;
}

ULong32 CubeLUT::GetDimensions() const noexcept {
    return GetLattice() != nullptr ? GetLattice()->dimensions : 0;
}

ULong32 CubeLUT::GetSize() const noexcept {
    return GetLattice() != nullptr ? GetLattice()->size : 0;
}

const char* CubeLUT::GetTitle() const noexcept {
    return GetLattice() != nullptr ? GetLattice()->title.c_str() : "";
}

Long32 CubeLUT::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum /*style*/) const {
    const Image* const from = source.GetImage();
    const Image* const to = destination.GetImage();
    if (from == nullptr || to == nullptr) {
        return kStatusNullPointer;
    }
    const AggregateChannelSamplingEnum sampling = from->GetChannelSampling();
    if ((sampling != k4444 && sampling != k444) || !IsRgb8(*from, sampling) || !IsRgb8(*to, sampling)) {
        return kStatusUnsupportedFormat;
    }
    const auto [width, height] = SmallestSize(source, destination);
    simd::Job<1, 1> job{{}, {}, width, height, width};
    if (const Long32 status = SelectPlane(source, 0, height, job.source[0]); status != kStatusOk) {
        return status;
    }
    if (const Long32 status = SelectPlane(destination, 0, height, job.destination[0]); status != kStatusOk) {
        return status;
    }
    if (sampling == k4444) {
        MapPixels32(job, GetLattice(), 0xFFFFFFFFU);
    } else {
        MapPixels24(job, GetLattice());
    }
    return kStatusOk;
}

}  // namespace Zan
