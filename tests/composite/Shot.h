#ifndef TESSELU_TESTS_COMPOSITE_SHOT_H
#define TESSELU_TESTS_COMPOSITE_SHOT_H

#include <algorithm>
#include <array>

#include "composite/Pictures.h"

namespace composite_test {

using Word = std::array<std::uint8_t, 4>;

/// A picture and the view on all of it.
struct Shot {
    Picture picture;
    Zan::ImageView view;

    explicit Shot(const Format& format) : picture(format), view(picture) {}
    Zan::Image& Of() { return *picture; }

    /// All bytes of the first plane, word after word.
    void Paint(const Word& word) {
        std::uint8_t* bytes = picture.ColourMemory().Data();
        for (std::size_t i = 0; i < picture.ColourMemory().Length(); ++i) {
            bytes[i] = word[i % 4];
        }
    }
    void PaintAlpha(std::uint8_t value) {
        std::fill_n(picture.AlphaMemory().Data(), picture.AlphaMemory().Length(), value);
    }
    Word At(std::ptrdiff_t row, std::ptrdiff_t word) const {
        const PlaneModel model = picture.Model(const_cast<Zan::ImageView&>(view));
        return {model.At(row, 4 * word), model.At(row, 4 * word + 1), model.At(row, 4 * word + 2),
                model.At(row, 4 * word + 3)};
    }
    std::uint8_t AlphaAt(std::ptrdiff_t row, std::ptrdiff_t x) const {
        return picture.Model(const_cast<Zan::ImageView&>(view), 3).At(row, x);
    }
    void DropMemory(Zan::ULong32 channel) {
        picture->GetImageDescriptor()->channels[channel].memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
    }
};

inline const Format kPairs = Format::YCrCb(16, 4, Zan::k422);
inline const Format kPairsAndAlpha = Format::YCrCb(16, 4, Zan::k4224);
inline const Format kThreeBytes = Format::YCrCb(16, 4, Zan::k444);

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_SHOT_H
