#ifndef TESSELU_BENCH_WRAPPED_H
#define TESSELU_BENCH_WRAPPED_H

#include <TesselU/TesselU.h>

#include <memory>
#include <vector>

#include "Contest.h"

namespace bench {

using namespace Zan;

/// A picture in plain memory with the views that operations want. Lives as long as the entrants that use it.
class Wrapped {
public:
    Wrapped(const Size& size, ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
            ComponentOrderEnum order, std::vector<unsigned char*> planes, std::vector<ULong32> pitches,
            ShapedEnum shaped = kUnshaped)
        : image(planes.data(), pitches.data(),
                ImageDescriptor(static_cast<ULong32>(size.width), static_cast<ULong32>(size.height), space,
                                sampling, order, planes.size() > 1 && sampling != k4224 ? kPlanar : kPacked,
                                kProgressive, kNoFields, kTopLeft, 1.0F, shaped),
                1, 1),
          view(&image) {}

    Image image;
    ImageView view;
};

using Picture = std::shared_ptr<Wrapped>;

inline ULong32* Words(std::uint8_t* memory) {
    return reinterpret_cast<ULong32*>(memory);
}
inline ULong32 Number(std::size_t n) {
    return static_cast<ULong32>(n);
}
inline Long32 Pitch(std::size_t bytes) {
    return static_cast<Long32>(bytes);
}

inline Picture Pixels(const Size& size, std::uint8_t* memory, ShapedEnum shaped = kUnshaped) {
    return std::make_shared<Wrapped>(size, kRGB, k4444, kBGRA, std::vector<unsigned char*>{memory},
                                     std::vector<ULong32>{Number(4 * size.width)}, shaped);
}
inline Picture YccPixels(const Size& size, std::uint8_t* memory) {
    return std::make_shared<Wrapped>(size, kYCrCb, k4444, kCbYCrA, std::vector<unsigned char*>{memory},
                                     std::vector<ULong32>{Number(4 * size.width)});
}
inline Picture Pixels24(const Size& size, std::uint8_t* memory) {
    return std::make_shared<Wrapped>(size, kRGB, k444, kBGRA, std::vector<unsigned char*>{memory},
                                     std::vector<ULong32>{Number(3 * size.width)});
}
inline Picture Pairs(const Size& size, std::uint8_t* memory, ComponentOrderEnum order = kCbYCrA) {
    return std::make_shared<Wrapped>(size, kYCrCb, k422, order, std::vector<unsigned char*>{memory},
                                     std::vector<ULong32>{Number(2 * size.width)});
}
/// Pairs, and a plane of alpha behind them.
inline Picture PairsAndAlpha(const Size& size, std::uint8_t* memory, ShapedEnum shaped = kUnshaped) {
    const ULong32 width = Number(size.width);
    return std::make_shared<Wrapped>(size, kYCrCb, k4224, kCbYCrA,
                                     std::vector<unsigned char*>{memory, memory + 2 * size.pixels()},
                                     std::vector<ULong32>{2 * width, width}, shaped);
}
inline Picture Key(const Size& size, std::uint8_t* memory) {
    return std::make_shared<Wrapped>(size, kAlphaOnly, k4444, kBGRA, std::vector<unsigned char*>{memory},
                                     std::vector<ULong32>{Number(size.width)});
}
/// Planes one behind the other without gaps.
inline Picture Planar(const Size& size, std::uint8_t* memory, AggregateChannelSamplingEnum sampling,
                      std::size_t chromaWidth, std::size_t chromaHeight) {
    const std::size_t luma = size.pixels(), chroma = chromaWidth * chromaHeight;
    const ULong32 chromaPitch = Number(chromaWidth);
    return std::make_shared<Wrapped>(
        size, kYCrCb, sampling, kYCbCrPlanes,
        std::vector<unsigned char*>{memory, memory + luma, memory + luma + chroma},
        std::vector<ULong32>{Number(size.width), chromaPitch, chromaPitch});
}
inline Picture Planar420(const Size& size, std::uint8_t* memory) {
    return Planar(size, memory, k420, size.width / 2, size.height / 2);
}
inline Picture Planar422(const Size& size, std::uint8_t* memory) {
    return Planar(size, memory, k422, size.width / 2, size.height);
}
inline Picture Planar411(const Size& size, std::uint8_t* memory) {
    return Planar(size, memory, k411, size.width / 4, size.height);
}

}  // namespace bench

#endif  // TESSELU_BENCH_WRAPPED_H
