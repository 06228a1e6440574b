#ifndef TESSELU_TESTS_KEY_KEYPICTURES_H
#define TESSELU_TESTS_KEY_KEYPICTURES_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <cstddef>
#include <vector>

/// A picture on memory of its own, in which a test sees every byte: rows of the colour or key plane, those of
/// alpha where there is any, and what lies between rows.
struct KeyPicture {
    /// All bytes are `fill`; `padding` bytes follow each row. Pictures of pairs have an even width: odd ones
    /// are parts of them.
    KeyPicture(Zan::ULong32 width, Zan::ULong32 height, Zan::ColorSpaceEnum space,
               Zan::AggregateChannelSamplingEnum sampling, unsigned char fill = 0, Zan::ULong32 padding = 0,
               Zan::OriginEnum origin = Zan::kTopLeft)
        : pitch(BytesOfRow(width, space, sampling) + padding),
          alphaPitch(width + padding),
          colour(std::size_t{pitch} * height, fill),
          alpha(std::size_t{alphaPitch} * height, fill),
          memory{colour.data(), alpha.data()},
          pitches{pitch, alphaPitch},
          image(memory, pitches,
                Zan::ImageDescriptor(width, height, space, sampling, Zan::kCbYCrA, Zan::kPacked,
                                     Zan::kUpperFieldFirst, Zan::kInterleavedFields, origin, 1.0F,
                                     Zan::kUnshaped),
                1, 1) {}
    KeyPicture(const KeyPicture&) = delete;
    KeyPicture& operator=(const KeyPicture&) = delete;

    unsigned char& Byte(std::size_t row, std::size_t byte) { return colour[row * pitch + byte]; }
    unsigned char& Alpha(std::size_t row, std::size_t x) { return alpha[row * alphaPitch + x]; }

    /// The part from a column and a row on, in one field or the whole frame.
    Zan::ImageView Part(Zan::Long32 left, Zan::Long32 top, Zan::Long32 width, Zan::Long32 height,
                        Zan::WhichFieldEnum field = Zan::kFrame) {
        return {&image, Zan::Rectangle(left, top, width, height), field};
    }

    Zan::ULong32 pitch, alphaPitch;
    std::vector<unsigned char> colour, alpha;

private:
    static Zan::ULong32 BytesOfRow(Zan::ULong32 width, Zan::ColorSpaceEnum space,
                                   Zan::AggregateChannelSamplingEnum sampling) {
        if (space == Zan::kAlphaOnly) {
            return width;
        }
        return sampling == Zan::k4444 ? 4 * width : (width + 1) / 2 * 4;
    }

    unsigned char* memory[2];
    Zan::ULong32 pitches[2];

public:
    Zan::Image image;
    Zan::ImageView view{&image};
};

#endif  // TESSELU_TESTS_KEY_KEYPICTURES_H
