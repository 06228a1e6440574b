#ifndef TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H
#define TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// How the memory of a picture lies.
struct Placement {
    unsigned padding = 0;
    unsigned misalignment = 0;
    bool bottomUp = false;
};

/// A picture of one converter format in memory of our own: random samples with random guard bytes around the
/// planes and between their rows.
class ConvertedPicture {
public:
    ConvertedPicture(Zan::ConverterFormat format, unsigned width, unsigned height, std::mt19937& random,
                     Placement placement = {}) {
        using namespace Zan;
        struct Shape {
            ColorSpaceEnum space;
            AggregateChannelSamplingEnum sampling;
            ComponentOrderEnum order;
            PixelPackingEnum packing;
        };
        Shape shape{kRGB, k4444, kBGRA, kPacked};
        switch (format) {
            case kFmtCbYCrA:
            case kFmtCbYCrAShaped:
                shape = {kYCrCb, k4444, kCbYCrA, kPacked};
                break;
            case kFmtYCbCrA:
                shape = {kYCrCb, k4444, kYCbCrA, kPacked};
                break;
            case kFmtCbYCrY:
                shape = {kYCrCb, k422, kCbYCrA, kPacked};
                break;
            case kFmtYCbYCr:
                shape = {kYCrCb, k422, kYCbYCr, kPacked};
                break;
            case kFmtCbYCrY4:
            case kFmtCbYCrY4Shaped:
                shape = {kYCrCb, k4224, kCbYCrA, kPacked};
                break;
            case kFmtPlanar420:
                shape = {kYCrCb, k420, kYCbCrPlanes, kPlanar};
                break;
            case kFmtRGB24:
                shape = {kRGB, k444, kBGRA, kPacked};
                break;
            case kFmtAlpha8:
                shape = {kAlphaOnly, k4444, kBGRA, kPacked};
                break;
            default:
                break;
        }
        const bool shaped =
            format == kFmtRGB32Shaped || format == kFmtCbYCrAShaped || format == kFmtCbYCrY4Shaped;
        const ImageDescriptor descriptor(width, height, shape.space, shape.sampling, shape.order,
                                         shape.packing, kProgressive, kNoFields, kTopLeft, 1.0F,
                                         shaped ? kShaped : kUnshaped);
        // The memory is for the size that the image makes of it.
        const unsigned evenWidth = width + width % 2;
        const unsigned evenHeight = height + height % 2;
        switch (shape.sampling) {
            case k422:
                AddPlane(2 * evenWidth, height, placement, random);
                break;
            case k4224:
                AddPlane(2 * evenWidth, height, placement, random);
                AddPlane(evenWidth, height, placement, random);
                break;
            case k420:
                AddPlane(evenWidth, evenHeight, placement, random);
                AddPlane(evenWidth / 2, evenHeight / 2, placement, random);
                AddPlane(evenWidth / 2, evenHeight / 2, placement, random);
                break;
            case k444:
                AddPlane(3 * width, height, placement, random);
                break;
            default:
                AddPlane((shape.space == kAlphaOnly ? 1 : 4) * width, height, placement, random);
                break;
        }
        std::vector<unsigned char*> addresses;
        std::vector<ULong32> pitches;
        for (Plane& plane : planes) {
            addresses.push_back(plane.bytes.data() + plane.first);
            pitches.push_back(static_cast<ULong32>(plane.pitch));
        }
        image = std::make_unique<Image>(addresses.data(), pitches.data(), descriptor, 1U, 1U);
        if (placement.bottomUp) {
            image->SetOrigin(kBottomLeft);
            for (Plane& plane : planes) {
                plane.first += plane.pitch * (plane.rows - 1);
                plane.isBottomUp = true;
            }
        }
        for (ULong32 channel = 0; channel < 3; ++channel) {
            if (format == kFmtRGB32NarrowClamp) {
                image->SetClampLowAndHighLevel(0.1F, 0.9F, channel);
            } else if (format == kFmtRGB32Studio || format == kFmtRGB32StudioOpen) {
                image->SetBlackAndWhiteLevel(16.0F / 255, 235.0F / 255, channel);
                if (format == kFmtRGB32Studio) {
                    image->SetClampLowAndHighLevel(0.05F, 0.95F, channel);
                }
            }
        }
    }

    Zan::Image& GetImage() { return *image; }

    /// The byte `offset` bytes into row `row` of a plane, counted from the top of the picture.
    std::uint8_t& At(std::size_t plane, std::size_t offset, std::size_t row) {
        return planes[plane].bytes[IndexOf(plane, offset, row)];
    }
    std::size_t IndexOf(std::size_t plane, std::size_t offset, std::size_t row) const {
        const Plane& p = planes[plane];
        return p.isBottomUp ? p.first - row * p.pitch + offset : p.first + row * p.pitch + offset;
    }

    std::size_t Planes() const { return planes.size(); }
    const std::vector<std::uint8_t>& Memory(std::size_t plane) const { return planes[plane].bytes; }

private:
    struct Plane {
        std::vector<std::uint8_t> bytes;
        std::size_t first, pitch, rows;
        bool isBottomUp;
    };

    void AddPlane(std::size_t rowBytes, std::size_t rows, const Placement& placement, std::mt19937& random) {
        constexpr std::size_t kGuard = 512;
        // Pitches stay multiples of 4, as the copies take them so.
        const std::size_t pitch = (rowBytes + 3) / 4 * 4 + 4 * placement.padding;
        Plane plane{std::vector<std::uint8_t>(2 * kGuard + 64 + pitch * rows), 0, pitch, rows, false};
        for (std::uint8_t& byte : plane.bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto address = reinterpret_cast<std::uintptr_t>(plane.bytes.data() + kGuard);
        plane.first = kGuard + (64 - address % 64) % 64 + placement.misalignment;
        planes.push_back(std::move(plane));
    }

    std::vector<Plane> planes;
    std::unique_ptr<Zan::Image> image;
};

/// What a picture may hold after a conversion, byte for byte: as it is now, but for what a test adds.
class ExpectedPicture {
public:
    explicit ExpectedPicture(ConvertedPicture& ofPicture) : picture(ofPicture) {
        for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
            lowest.push_back(picture.Memory(plane));
            highest.push_back(picture.Memory(plane));
        }
    }

    void Set(std::size_t plane, std::size_t offset, std::size_t row, int value) {
        SetRange(plane, offset, row, value, value);
    }
    void SetRange(std::size_t plane, std::size_t offset, std::size_t row, int low, int high) {
        const std::size_t at = picture.IndexOf(plane, offset, row);
        lowest[plane][at] = static_cast<std::uint8_t>(low);
        highest[plane][at] = static_cast<std::uint8_t>(high);
    }

    /// The first byte that differs; an empty text when none does.
    std::string FirstDifference() const {
        for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
            const std::vector<std::uint8_t>& bytes = picture.Memory(plane);
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                if (bytes[i] < lowest[plane][i] || bytes[i] > highest[plane][i]) {
                    const auto fromStart =
                        static_cast<long long>(i) - static_cast<long long>(picture.IndexOf(plane, 0, 0));
                    return "plane " + std::to_string(plane) + ", byte " + std::to_string(fromStart) +
                           " from its first: " + std::to_string(bytes[i]) + " instead of " +
                           std::to_string(lowest[plane][i]) + " to " + std::to_string(highest[plane][i]);
                }
            }
        }
        return {};
    }

private:
    ConvertedPicture& picture;
    std::vector<std::vector<std::uint8_t>> lowest, highest;
};

#endif  // TESSELU_TESTS_CONVERT_CONVERTEDPICTURE_H
