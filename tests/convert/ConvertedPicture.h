#ifndef TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H
#define TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/FencedMemory.h"

namespace convert_test {

using namespace test_support;

/// What an image must be to get a format code.
struct FormatShape {
    enum class Levels { kAsMade, kNarrowClamp, kStudio, kStudioOpen };

    Zan::ConverterFormat code;
    Zan::ColorSpaceEnum space;
    Zan::AggregateChannelSamplingEnum sampling;
    Zan::ComponentOrderEnum order;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    Zan::ShapedEnum shaped = Zan::kUnshaped;
    Zan::ColorEnum color = Zan::kFullColor;
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    Levels levels = Levels::kAsMade;
};

/// Every format that an image can have: no image is `kFmtRGB32ShapedOpaque`.
inline const std::vector<FormatShape>& AllFormats() {
    using namespace Zan;
    using Levels = FormatShape::Levels;
    static const std::vector<FormatShape> formats = {
        {kFmtRGB32, kRGB, k4444, kBGRA},
        {kFmtCbYCrA, kYCrCb, k4444, kCbYCrA},
        {kFmtCbYCrY, kYCrCb, k422, kCbYCrA},
        {kFmtRGB32NarrowClamp, kRGB, k4444, kBGRA, kPacked, kUnshaped, kFullColor, kProgressive,
         Levels::kNarrowClamp},
        {kFmtRGB32Studio, kRGB, k4444, kBGRA, kPacked, kUnshaped, kFullColor, kProgressive, Levels::kStudio},
        {kFmtRGB32StudioOpen, kRGB, k4444, kBGRA, kPacked, kUnshaped, kFullColor, kProgressive,
         Levels::kStudioOpen},
        {kFmtPlanar420, kYCrCb, k420, kYCbCrPlanes, kPlanar},
        {kFmtPlanar422, kYCrCb, k422, kYCbCrPlanes, kPlanar},
        {kFmtPlanar420Interlaced, kYCrCb, k420, kYCbCrPlanes, kPlanar, kUnshaped, kFullColor,
         kUpperFieldFirst},
        {kFmtPlanar411, kYCrCb, k411, kYCbCrPlanes, kPlanar},
        {kFmtRGB24, kRGB, k444, kBGRA},
        {kFmtYCbYCr, kYCrCb, k422, kYCbYCr},
        {kFmtPlanarGrouped, kYCrCb, k422, kYPlaneCbCrPlane, kPlanar},
        {kFmtYCbCrA, kYCrCb, k4444, kYCbCrA},
        {kFmtRGB32Shaped, kRGB, k4444, kBGRA, kPacked, kShaped},
        {kFmtCbYCrAShaped, kYCrCb, k4444, kCbYCrA, kPacked, kShaped},
        {kFmtCbYCrY4Shaped, kYCrCb, k4224, kCbYCrA, kPacked, kShaped},
        {kFmtCbYCrY4, kYCrCb, k4224, kCbYCrA},
        {kFmtCbYCrYMono, kYCrCb, k422, kCbYCrA, kPacked, kUnshaped, kMonochrome},
        {kFmtCbYCrY4Mono, kYCrCb, k4224, kCbYCrA, kPacked, kUnshaped, kMonochrome},
        {kFmtCbYCr24, kYCrCb, k444, kCbYCrA},
        {kFmtCbYCrY4MonoShaped, kYCrCb, k4224, kCbYCrA, kPacked, kShaped, kMonochrome},
        {kFmtYCbCrAShaped, kYCrCb, k4444, kYCbCrA, kPacked, kShaped},
        {kFmtYCbCr24, kYCrCb, k444, kYCbCrA},
        {kFmtAlpha8, kAlphaOnly, k4444, kBGRA},
    };
    return formats;
}

inline const FormatShape& ShapeOf(Zan::ConverterFormat format) {
    return *std::find_if(AllFormats().begin(), AllFormats().end(),
                         [format](const FormatShape& shape) { return shape.code == format; });
}

/// One plane of a format, for a picture of a certain size.
struct PlaneShape {
    std::size_t rowBytes;
    std::size_t rows;
    bool inWords;  ///< kernels step by 32-bit words, and cut its pitch to them
};

/// The planes in the order of the channels that begin them.
inline std::vector<PlaneShape> PlanesOf(const FormatShape& shape, std::size_t width, std::size_t height) {
    if (shape.space == Zan::kAlphaOnly) {
        return {{width, height, false}};
    }
    if (shape.packing == Zan::kPlanar) {
        if (shape.order == Zan::kYPlaneCbCrPlane) {
            return {{width, height, false}, {width, height, false}};
        }
        const std::size_t across = shape.sampling == Zan::k411 ? 4 : 2;
        const PlaneShape chroma = {width / across, shape.sampling == Zan::k420 ? height / 2 : height, false};
        return {{width, height, false}, chroma, chroma};
    }
    switch (shape.sampling) {
        case Zan::k422:
            return {{2 * width, height, true}};
        case Zan::k4224:
            return {{2 * width, height, true}, {width, height, false}};
        case Zan::k444:
            return {{3 * width, height, false}};
        default:
            return {{4 * width, height, true}};
    }
}

/// What an image of a format has for so many columns and lines: whole pairs, whole groups of four, pairs of
/// lines.
struct WholeSize {
    WholeSize(const FormatShape& shape, std::size_t columns, std::size_t lines) {
        const std::size_t across = shape.sampling == Zan::k411 ? 4 : shape.sampling >= Zan::k422 ? 2 : 1;
        const std::size_t down = shape.sampling == Zan::k420 ? 2 : 1;
        width = (columns + across - 1) / across * across;
        height = (lines + down - 1) / down * down;
    }

    std::size_t width, height;
};

inline void SetLevels(Zan::Image& image, FormatShape::Levels levels) {
    using Levels = FormatShape::Levels;
    for (Zan::ULong32 channel = 0; channel < 3 && levels != Levels::kAsMade; ++channel) {
        const bool full = levels == Levels::kNarrowClamp, open = levels == Levels::kStudioOpen;
        image.SetBlackAndWhiteLevel(full ? 0.0F : 16.0F / 255, full ? 1.0F : 235.0F / 255, channel);
        image.SetClampLowAndHighLevel(open ? 0.0F : 0.05F, open ? 1.0F : 0.95F, channel);
    }
}

/// An image of a format on the memory of a test.
inline Zan::Image ImageOf(const FormatShape& shape, WholeSize size, Zan::OriginEnum origin,
                          std::vector<unsigned char*> addresses, std::vector<Zan::ULong32> pitches) {
    const Zan::ImageDescriptor descriptor(static_cast<Zan::ULong32>(size.width),
                                          static_cast<Zan::ULong32>(size.height), shape.space, shape.sampling,
                                          shape.order, shape.packing, shape.scan, Zan::kInterleavedFields,
                                          origin, 1.0F, shape.shaped);
    Zan::Image image(addresses.data(), pitches.data(), descriptor, 1U, 1U);
    image.SetColor(shape.color);
    SetLevels(image, shape.levels);
    return image;
}

/// How the memory of a picture lies.
struct Placement {
    unsigned padding = 0;  ///< bytes of a line beyond its samples
    unsigned slack = 0;    ///< bytes between the last line and the fence, which move every address
    bool bottomUp = false;
};

/// A picture of one format in memory of our own that ends at a fence: random samples, with random bytes
/// before the planes, between their lines and behind them.
class ConvertedPicture {
public:
    /// The image is as much larger as its sampling wants.
    ConvertedPicture(Zan::ConverterFormat format, std::size_t width, std::size_t height,
                     Placement placement = {})
        : shape(ShapeOf(format)) {
        const WholeSize size(shape, width, height);
        std::vector<unsigned char*> addresses;
        std::vector<Zan::ULong32> pitches;
        for (const PlaneShape& plane : PlanesOf(shape, size.width, size.height)) {
            const std::size_t pitch = plane.rowBytes + placement.padding;
            auto memory = std::make_unique<FencedMemory>(pitch * plane.rows + placement.slack);
            addresses.push_back(memory->Data());
            pitches.push_back(static_cast<Zan::ULong32>(pitch));
            const auto step = static_cast<std::ptrdiff_t>(plane.inWords ? pitch / 4 * 4 : pitch);
            const auto last = static_cast<std::ptrdiff_t>(pitch * (plane.rows - 1));
            planes.push_back({std::move(memory), placement.bottomUp ? last : 0,
                              placement.bottomUp ? -step : step, pitch, plane});
        }
        image = std::make_unique<Zan::Image>(
            ImageOf(shape, size, placement.bottomUp ? Zan::kBottomLeft : Zan::kTopLeft, addresses, pitches));
    }

    const FormatShape& Shape() const { return shape; }
    Zan::Image& GetImage() { return *image; }
    operator Zan::Image*() { return image.get(); }
    /// The first columns and lines.
    Zan::ImageView View(std::size_t width, std::size_t height) {
        return Zan::ImageView(
            image.get(),
            Zan::Rectangle(0, 0, static_cast<Zan::Long32>(width), static_cast<Zan::Long32>(height)),
            Zan::kFrame);
    }

    /// The byte `offset` bytes into row `row` of a plane, counted from the top of the picture as kernels walk
    /// it.
    std::uint8_t& At(std::size_t plane, std::size_t offset, std::size_t row) {
        return planes[plane].memory->Data()[FromStart(plane, offset, row)];
    }
    /// The same place in `Memory`.
    std::size_t IndexOf(std::size_t plane, std::size_t offset, std::size_t row) const {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(planes[plane].memory->GuardLength()) +
                                        FromStart(plane, offset, row));
    }

    std::size_t Planes() const { return planes.size(); }
    const PlaneShape& PlaneAt(std::size_t plane) const { return planes[plane].shape; }
    std::size_t Pitch(std::size_t plane) const { return planes[plane].pitch; }
    /// The channel that a plane begins with.
    Zan::ULong32 ChannelOf(std::size_t plane) const {
        return plane == 1 && shape.sampling == Zan::k4224 ? 3 : static_cast<Zan::ULong32>(plane);
    }
    FencedMemory& PlaneMemory(std::size_t plane) { return *planes[plane].memory; }
    /// All bytes of a plane and around it.
    Bytes Memory(std::size_t plane) const { return planes[plane].memory->Snapshot(); }

private:
    struct Plane {
        std::unique_ptr<FencedMemory> memory;
        std::ptrdiff_t first, step;
        std::size_t pitch;
        PlaneShape shape;
    };

    std::ptrdiff_t FromStart(std::size_t plane, std::size_t offset, std::size_t row) const {
        const Plane& p = planes[plane];
        return p.first + static_cast<std::ptrdiff_t>(row) * p.step + static_cast<std::ptrdiff_t>(offset);
    }

    FormatShape shape;
    std::vector<Plane> planes;
    std::unique_ptr<Zan::Image> image;
};

/// What a picture may hold after a conversion, byte for byte: as it is now, but for what a test adds.
class ExpectedPicture {
public:
    explicit ExpectedPicture(ConvertedPicture& ofPicture) : picture(ofPicture) {
        for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
            lowest.push_back(picture.Memory(plane));
            highest.push_back(lowest.back());
        }
    }

    void Set(std::size_t plane, std::size_t offset, std::size_t row, int value) {
        SetRange(plane, offset, row, value, value);
    }
    void SetRange(std::size_t plane, std::size_t offset, std::size_t row, int low, int high) {
        const std::size_t at = picture.IndexOf(plane, offset, row);
        lowest[plane].at(at) = static_cast<std::uint8_t>(low);
        highest[plane].at(at) = static_cast<std::uint8_t>(high);
    }

    /// The first byte that differs; an empty text when none does.
    std::string FirstDifference() const {
        for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
            const Bytes bytes = picture.Memory(plane);
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                if (bytes[i] < lowest[plane][i] || bytes[i] > highest[plane][i]) {
                    const auto fromFirst =
                        static_cast<long long>(i) - static_cast<long long>(picture.IndexOf(plane, 0, 0));
                    return "plane " + std::to_string(plane) + ", byte " + std::to_string(fromFirst) +
                           " from its first: " + std::to_string(bytes[i]) + " instead of " +
                           std::to_string(lowest[plane][i]) + " to " + std::to_string(highest[plane][i]);
                }
            }
        }
        return {};
    }

private:
    ConvertedPicture& picture;
    std::vector<Bytes> lowest, highest;
};

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H
