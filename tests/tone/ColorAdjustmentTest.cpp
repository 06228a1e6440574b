#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/ColorAdjustment.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using namespace Zan;

using Bytes = std::vector<unsigned char>;

/// A packed picture of one line.
struct Line {
    Line(ColorSpaceEnum space, AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
         std::size_t bytesPerPixel, const Bytes& bytes)
        : image(ImageDescriptor(static_cast<ULong32>(bytes.size() / bytesPerPixel), 1, space, sampling, order,
                                kPacked, kProgressive, kNoFields, kTopLeft, 1.0F, kUnshaped),
                64),
          size(bytes.size()) {
        std::memcpy(image.GetMemoryPointer(0), bytes.data(), size);
    }

    Bytes Read() const {
        const auto* p = static_cast<const unsigned char*>(image.GetMemoryPointer(0));
        return {p, p + size};
    }

    Image image;
    std::size_t size;
};

Line CbYCrA(const Bytes& bytes) {
    return {kYCrCb, k4444, kCbYCrA, 4, bytes};
}
Line RGB32(const Bytes& bytes) {
    return {kRGB, k4444, kBGRA, 4, bytes};
}
Line CbYCrY(const Bytes& bytes) {
    return {kYCrCb, k422, kCbYCrA, 2, bytes};
}

/// What an object makes of a line in place, by either path where both take it.
Bytes Adjusted(ColorAdjustment& adjustment, Line line) {
    Line other = line;
    other.image = Image(*line.image.GetImageDescriptor(), 64);
    std::memcpy(other.image.GetMemoryPointer(0), line.image.GetMemoryPointer(0), line.size);
    ImageView view(&line.image), otherView(&other.image);
    EXPECT_EQ(adjustment.Do(view, view, kFlp), 0);
    if (line.image.GetChannelSampling() != k422) {
        EXPECT_EQ(adjustment.Do(otherView, otherView, kInt_MMXorSIMD), 0);
        EXPECT_EQ(line.Read(), other.Read());
    }
    return line.Read();
}

TEST(ColorAdjustment, ChangesNothingWithNeutralSettings) {
    ColorAdjustment adjustment;
    const Bytes samples{0, 1, 2, 3, 254, 255, 253, 0};
    EXPECT_EQ(Adjusted(adjustment, CbYCrA(samples)), samples);
    EXPECT_EQ(Adjusted(adjustment, CbYCrY(samples)), samples);
}

TEST(ColorAdjustment, TakesRgbThroughBothMatricesAlways) {
    ColorAdjustment adjustment;
    // 128: Y = trunc(128 * 3518 / 4096 + 16) = 125; (125 - 16) * 4769 / 4096 = 126.9. Chroma sums are 0.
    // 255: Y = 235; 219 * 4769 / 4096 = 254.9.
    EXPECT_EQ(Adjusted(adjustment, RGB32({128, 128, 128, 7, 255, 255, 255, 9})),
              (Bytes{126, 126, 126, 7, 254, 254, 254, 9}));
}

TEST(ColorAdjustment, LimitsContrast) {
    ColorAdjustment adjustment;
    adjustment.SetContrast(1000);
    // 17: 127.99609375 + 16; 15: -127.99609375 + 16.
    EXPECT_EQ(Adjusted(adjustment, CbYCrA({1, 17, 2, 3, 4, 16, 5, 6, 7, 15, 8, 9})),
              (Bytes{1, 143, 2, 3, 4, 16, 5, 6, 7, 0, 8, 9}));
    adjustment.SetContrast(-2);
    EXPECT_EQ(Adjusted(adjustment, CbYCrA({1, 0, 2, 3, 4, 16, 5, 6, 7, 255, 8, 9})),
              (Bytes{1, 16, 2, 3, 4, 16, 5, 6, 7, 16, 8, 9}));
}

TEST(ColorAdjustment, AddsBrightnessTruncated) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(0.5);
    EXPECT_EQ(Adjusted(adjustment, CbYCrA({1, 0, 2, 3, 4, 200, 5, 6})), (Bytes{1, 127, 2, 3, 4, 255, 5, 6}));
    adjustment.SetBrightness(-0.5);
    EXPECT_EQ(Adjusted(adjustment, CbYCrA({1, 128, 2, 3, 4, 100, 5, 6})), (Bytes{1, 1, 2, 3, 4, 0, 5, 6}));
}

TEST(ColorAdjustment, HalfATurnIsNoMirror) {
    ColorAdjustment adjustment;
    adjustment.SetHue(360);
    // u = 10, v = 5: -10 + 5 * 3.59e-9 truncates to -9, -5 - 10 * 3.59e-9 to -5.
    EXPECT_EQ(Adjusted(adjustment, CbYCrA({138, 50, 133, 3})), (Bytes{119, 50, 123, 3}));
}

}  // namespace
