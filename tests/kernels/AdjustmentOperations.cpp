#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/ColorAdjustment.h>

#include <memory>

#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// 1, or a gain from small to the greatest.
double Gain(Random& random) {
    static constexpr double kTops[] = {0, 0.1, 1, 2, 4, 16, 128};
    const std::size_t n = Pick(random, 0, std::size(kTops));
    return n == std::size(kTops) ? 1 : std::uniform_real_distribution<double>(0, kTops[n] + 0.1)(random);
}

/// Angles whose sums of products are near whole numbers, and others.
double Degrees(Random& random) {
    static constexpr double kSpecial[] = {0, 0, 30, 45, 60, 90, -90, 120, 135, 180, -180, 1e-7};
    const std::size_t n = Pick(random, 0, 2 * std::size(kSpecial));
    return n < std::size(kSpecial) ? kSpecial[n] : std::uniform_real_distribution<double>(-180, 180)(random);
}

std::shared_ptr<Image> ImageOn(Case& c, ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
                               ComponentOrderEnum order) {
    const std::size_t width = sampling == k422 ? (c.width + 1) / 2 * 2 : c.width;
    const std::size_t bytes = sampling == k422 ? 2 : sampling == k444 ? 3 : 4;
    const Plane& plane = c.Add(bytes * width, c.height, 1, 0, Plane::Kind::kImage);
    return std::make_shared<Image>(
        plane.row(), static_cast<ULong32>(plane.pitch()),
        ImageDescriptor(static_cast<ULong32>(width), static_cast<ULong32>(c.height), space, sampling, order,
                        kPacked, kProgressive, kNoFields, kTopLeft, 1.0F, kUnshaped),
        1U, 1U);
}

Operation Adjust(const char* name, ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
                 ComponentOrderEnum order) {
    return {std::string("ColorAdjustment, ") + name, [=](Case& c) -> Operation::Run {
                auto source = ImageOn(c, space, sampling, order);
                auto destination = Pick(c.random, 0, 3) == 0 ? source : ImageOn(c, space, sampling, order);
                ColorAdjustment adjustment;
                adjustment.SetContrast(Gain(c.random));
                if (Pick(c.random, 0, 1) == 0)
                    adjustment.SetBrightness(std::uniform_real_distribution<double>(-1, 1)(c.random));
                if (Pick(c.random, 0, 2) == 0)
                    adjustment.SetYgamma(Gain(c.random));
                adjustment.SetHue(Degrees(c.random));
                adjustment.SetSaturation(Gain(c.random));
                return [=, w = static_cast<Long32>(c.width), h = static_cast<Long32>(c.height)]() mutable {
                    ImageView from(source.get(), Rectangle(0, 0, w, h), kFrame);
                    ImageView to(destination.get(), Rectangle(0, 0, w, h), kFrame);
                    return adjustment.Do(from, to, kFlp);
                };
            }};
}

}  // namespace

std::vector<Operation> AdjustmentOperations() {
    return {Adjust("Cb Y Cr Y", kYCrCb, k422, kCbYCrA),  Adjust("Y Cb Y Cr", kYCrCb, k422, kYCbYCr),
            Adjust("Cb Y Cr A", kYCrCb, k4444, kCbYCrA), Adjust("Y Cb Cr A", kYCrCb, k4444, kYCbCrA),
            Adjust("RGB32", kRGB, k4444, kBGRA),         Adjust("RGB24", kRGB, k444, kBGRA)};
}

}  // namespace kernelcheck
