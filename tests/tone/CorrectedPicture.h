#ifndef TESSELU_TESTS_TONE_CORRECTEDPICTURE_H
#define TESSELU_TESTS_TONE_CORRECTEDPICTURE_H

#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/BaseColorCorrection.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

#include "foundation/CapabilitySeam.h"

namespace correction_test {

/// A pair of pixels as it lies in memory.
struct Pair {
    int cb, y0, cr, y1;
    bool operator==(const Pair&) const = default;
};

inline void PrintTo(const Pair& pair, std::ostream* out) {
    *out << "Cb " << pair.cb << ", Y " << pair.y0 << " " << pair.y1 << ", Cr " << pair.cr;
}

/// A 4:2:2 picture in memory of its own.
class Picture {
public:
    /// Lines start `shift` bytes behind a multiple of 64 and are `padding` bytes longer than their pixels.
    Picture(Zan::ULong32 width, Zan::ULong32 height, std::size_t shift = 0, Zan::ULong32 padding = 0,
            Zan::AggregateChannelSamplingEnum sampling = Zan::k422, Zan::OriginEnum origin = Zan::kTopLeft) {
        pitch = 2 * ((width + 1) / 2 * 2) + padding;
        memory.assign(64 + shift + std::size_t{pitch} * height, kUntouched);
        alpha.assign(std::size_t{width + 1} * height, kUntouched);
        first = memory.data() + (64 - reinterpret_cast<std::uintptr_t>(memory.data()) % 64) % 64 + shift;
        const Zan::ImageDescriptor format(width, height, Zan::kYCrCb, sampling, Zan::kCbYCrA, Zan::kPacked,
                                          Zan::kUpperFieldFirst, Zan::kInterleavedFields, origin, 1.0F,
                                          Zan::kUnshaped);
        unsigned char* planes[] = {first, alpha.data()};
        Zan::ULong32 pitches[] = {pitch, (width + 1) / 2 * 2};
        image = std::make_unique<Zan::Image>(planes, pitches, format, 1U, 1U);
    }
    /// Two lines of the same pairs, of no alignment.
    explicit Picture(std::initializer_list<Pair> pairs)
        : Picture(static_cast<Zan::ULong32>(2 * pairs.size()), 2, 2) {
        for (std::size_t line = 0; line < 2; ++line) {
            std::size_t i = 0;
            for (const Pair& pair : pairs) {
                Set(line, i++, pair);
            }
        }
    }

    static constexpr std::uint8_t kUntouched = 0x5A;

    /// By rows of memory.
    void Set(std::size_t row, std::size_t pair, const Pair& value) {
        std::uint8_t* const at = first + row * pitch + 4 * pair;
        at[0] = static_cast<std::uint8_t>(value.cb);
        at[1] = static_cast<std::uint8_t>(value.y0);
        at[2] = static_cast<std::uint8_t>(value.cr);
        at[3] = static_cast<std::uint8_t>(value.y1);
    }
    Pair At(std::size_t row, std::size_t pair) const {
        const std::uint8_t* const at = first + row * pitch + 4 * pair;
        return {at[0], at[1], at[2], at[3]};
    }

    Zan::ImageView View(Zan::WhichFieldEnum field = Zan::kFrame) {
        Zan::ImageView view(image.get());
        view.SetFieldOfInterest(field);
        return view;
    }
    Zan::Image& GetImage() { return *image; }
    const std::vector<std::uint8_t>& Memory() const { return memory; }
    const std::vector<std::uint8_t>& Alpha() const { return alpha; }

private:
    Zan::ULong32 pitch;
    std::vector<std::uint8_t> memory, alpha;
    std::uint8_t* first;
    std::unique_ptr<Zan::Image> image;
};

inline Zan::Long32 Correct(Picture& from, Picture& to, const Zan::BaseCC::tagBASECOLORCORRINFO& record,
                           Zan::WhichFieldEnum field = Zan::kFrame) {
    Zan::BaseCC::BaseColorCorrection corrector;
    Zan::ImageView source = from.View(field), destination = to.View(field);
    return corrector.Do(source, destination, record, Zan::kBestAvailable);
}

/// What becomes of one pair, in a picture of no alignment.
inline Pair Corrected(const Pair& pair, const Zan::BaseCC::tagBASECOLORCORRINFO& record) {
    Picture picture({pair});
    EXPECT_EQ(Correct(picture, picture, record), 0);
    EXPECT_EQ(picture.At(0, 0), picture.At(1, 0));
    return picture.At(1, 0);
}

}  // namespace correction_test

#endif  // TESSELU_TESTS_TONE_CORRECTEDPICTURE_H
