#ifndef TESSELU_TESTS_OVERLAY_MODEL_OVERLAY_H
#define TESSELU_TESTS_OVERLAY_MODEL_OVERLAY_H

#include <TesselU/image/ImageFormat.h>

#include <cstdint>

#include "support/ModelPlane.h"

// Overlays as their definition reads, a pixel at a time, in whole numbers.

namespace overlay_model {

using test_support::Byte;
using Plane = test_support::ModelPlane;
using Integer = std::int64_t;

/// Left and top belong to it, right and bottom do not.
struct Box {
    Integer left = 0, top = 0, right = 0, bottom = 0;

    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool Holds(Integer x, Integer y) const { return x >= left && x < right && y >= top && y < bottom; }
    Box Cut(const Box& other) const;
    Box Moved(Integer x, Integer y) const;
};

/// What a call is told about one view and its image.
struct Picture {
    bool hasImage = true;
    const void* address = nullptr;  ///< of the image's first byte; null: no memory
    Integer width = 0, height = 0;  ///< of the image
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    int channels = 4;
    int sampleBytes = 1;
    Zan::ShapedEnum shaping = Zan::kUnshaped;
    Zan::OriginEnum origin = Zan::kTopLeft;
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    Zan::FieldPackingEnum fieldPacking = Zan::kNoFields;
    Box region;  ///< of the view, as it answers
    Zan::WhichFieldEnum field = Zan::kFrame;
    Plane colour,
        alpha;  ///< `first` is the first line in memory, whatever the origin; a pitch of 0: one line
};

constexpr int Extended(unsigned n) {
    return static_cast<int>(static_cast<Integer>(n) - 0x80000000LL);
}
constexpr int kInvalidArgument = Extended(3), kObjectNotFound = Extended(15), kUnknownFormat = Extended(28),
              kFormatNotSupported = Extended(31);

int Do(const Picture& foreground, const Picture& background, Picture& result);
int DoAt(const Picture& foreground, const Picture& background, Picture& result, double x, double y,
         bool subPixel);
int Center(const Picture& source, Picture& result);

// The arithmetic of a sample, for tests of every value. `offset` is 16, 128 or 0.

/// t / 255 to nearest, where t has its 128 already.
int Divided(int t);
Byte Straight(int alpha, int foreground, int background, int offset);
Byte Premultiplied(int alpha, int foreground, int background, int offset);
/// Of the union: the alpha that results, and the weight of the foreground's colour.
int UnionAlpha(int alpha, int backgroundAlpha);
int UnionWeight(int alpha, int backgroundAlpha);
/// Colour of the union by its weight; in 4:2:2 it is formed by the difference.
Byte UnionOfRgb(int weight, int foreground, int background);
Byte UnionOfPairs(int weight, int foreground, int background);

}  // namespace overlay_model

#endif  // TESSELU_TESTS_OVERLAY_MODEL_OVERLAY_H
