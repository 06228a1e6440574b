#ifndef TESSELU_TESTS_CONVERT_PICTUREBANK_H
#define TESSELU_TESTS_CONVERT_PICTUREBANK_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "convert/ConvertedPicture.h"
#include "support/Choices.h"

// Pictures that are made anew in the same memory, again and again.

namespace convert_test {

/// How an image is made.
struct Setup {
    Zan::ConverterFormat format = Zan::kFmtRGB32;
    unsigned width = 0, height = 0;
    unsigned padding = 0;
    unsigned slack = 0;
    bool atFence = true;  ///< the planes end `slack` bytes before the fence, or begin as many behind one
    Zan::OriginEnum origin = Zan::kTopLeft;
};

/// One image, a view on it, and the memory of its planes.
struct Picture {
    Setup setup;
    std::size_t bank = 0;
    std::unique_ptr<Zan::Image> image;
    Zan::ImageView view;
};

inline std::string NameOf(const Picture& picture) {
    const Setup& s = picture.setup;
    const Zan::Rectangle region = picture.view.GetRegionOfInterest();
    std::string text = "format ";
    text += std::to_string(s.format) + ", " + std::to_string(s.width) + "x" + std::to_string(s.height) +
            ", padding " + std::to_string(s.padding) + ", slack " + std::to_string(s.slack) +
            (s.atFence ? " before" : " behind") + " a fence, origin " + std::to_string(s.origin) +
            ", region " + std::to_string(region.getLeft()) + "," + std::to_string(region.getTop()) + " " +
            std::to_string(region.getWidth()) + "x" + std::to_string(region.getHeight()) + ", field " +
            std::to_string(picture.view.GetFieldOfInterest());
    return text;
}

inline Zan::ConverterFormat AnyFormat() {
    return AllFormats()[RandomFrom<std::size_t>(0, static_cast<int>(AllFormats().size()) - 1)].code;
}

/// A few pictures, each with the memory of three planes: a whole page a plane, with fences on both sides.
class PictureBank {
public:
    static constexpr std::size_t kPictures = 4;

    /// With `wholePitches` lines are whole blocks of 16 bytes.
    explicit PictureBank(bool wholePitches) : hasWholePitches(wholePitches) {
        for (std::size_t i = 0; i < 3 * kPictures; ++i) {
            memory.push_back(std::make_unique<FencedMemory>(kBytesOfPlane));
        }
        for (std::size_t i = 0; i < kPictures; ++i) {
            pictures[i].bank = i;
        }
    }

    Picture& operator[](std::size_t picture) { return pictures[picture]; }
    FencedMemory& PlaneOf(const Picture& picture, std::size_t plane) {
        return *memory[3 * picture.bank + plane];
    }
    /// Plane by plane, three of each picture.
    std::vector<Bytes> AllBytes() const {
        std::vector<Bytes> all;
        for (const auto& block : memory) {
            all.push_back(block->Snapshot());
        }
        return all;
    }
    void PutBack(const std::vector<Bytes>& all) {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            std::memcpy(memory[i]->Data(), all[i].data(), kBytesOfPlane);
        }
    }
    void Refill(const Picture& picture) {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            FillRandom(PlaneOf(picture, plane).Data(), kBytesOfPlane);
        }
    }

    static void Select(Picture& picture) { picture.view.Set(picture.image.get()); }

    void Make(Picture& picture) {
        const Setup& s = picture.setup;
        const FormatShape& shape = ShapeOf(s.format);
        const WholeSize size(shape, s.width, s.height);
        std::vector<unsigned char*> addresses;
        std::vector<Zan::ULong32> pitches;
        for (const PlaneShape& plane : PlanesOf(shape, size.width, size.height)) {
            std::size_t pitch = plane.rowBytes + s.padding;
            if (hasWholePitches) {
                pitch = (pitch + 15) / 16 * 16;
            }
            unsigned char* const data = PlaneOf(picture, addresses.size()).Data();
            addresses.push_back(data + (s.atFence ? kBytesOfPlane - pitch * plane.rows - s.slack : s.slack));
            pitches.push_back(static_cast<Zan::ULong32>(pitch));
        }
        Zan::Image made = ImageOf(shape, size, s.origin, addresses, pitches);
        // The same object, or another, maybe where the one before was.
        if (picture.image && !OneIn(3)) {
            *picture.image = std::move(made);
        } else {
            picture.image = std::make_unique<Zan::Image>(std::move(made));
            Select(picture);
        }
    }

    /// With another setup; the view keeps its region, which may leave the new image, or shows all.
    template <class Change>
    void MakeAnew(Picture& picture, Change change) {
        change(picture.setup);
        Make(picture);
        if (OneIn(2)) {
            Select(picture);
        }
    }

private:
    static constexpr std::size_t kBytesOfPlane = 4096;

    bool hasWholePitches;
    std::vector<std::unique_ptr<FencedMemory>> memory;
    std::array<Picture, kPictures> pictures;
};

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_PICTUREBANK_H
