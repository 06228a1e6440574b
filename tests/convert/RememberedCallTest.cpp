// What a converter remembers of a call never shows: every call gives what a new converter gives.

#include "convert/RememberedCall.h"

#include <TesselU/convert/ColorSpaceConverter.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace Zan;

constexpr ULong32 kWidth = 38, kHeight = 6;

ImageDescriptor FormatOf(unsigned number) {
    const auto yCrCb = [](AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
                          PixelPackingEnum packing) {
        return ImageDescriptor(kWidth, kHeight, kYCrCb, sampling, order, packing, kUpperFieldFirst,
                               kInterleavedFields, kTopLeft, 1.0F, kUnshaped);
    };
    switch (number) {
        case 0:
            return yCrCb(k422, kCbYCrA, kPacked);
        case 1:
            return yCrCb(k4224, kCbYCrA, kPacked);
        case 2:
            return yCrCb(k420, kYCbCrPlanes, kPlanar);
        case 3:
            return yCrCb(k4444, kCbYCrA, kPacked);
        default:
            return {kWidth, kHeight, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F};
    }
}
constexpr unsigned kFormats = 5;

std::vector<unsigned char> BytesOf(const Image& image) {
    std::vector<unsigned char> bytes;
    for (const ChannelDescriptor& channel : image.GetImageDescriptor()->channels) {
        const auto* first = channel.memory->GetAlignedPointer();
        bytes.insert(bytes.end(), first, first + channel.memory->GetPixelBytes());
    }
    return bytes;
}

void Scatter(Image& image, unsigned seed) {
    std::minstd_rand random(seed + 1);
    for (const ChannelDescriptor& channel : image.GetImageDescriptor()->channels) {
        for (ULong32 i = 0; i < channel.memory->GetPixelBytes(); ++i) {
            channel.memory->GetAlignedPointer()[i] = static_cast<unsigned char>(random() >> 8);
        }
    }
}

// ---- What must be forgotten ------------------------------------------------------------------------------

struct Call {
    Call() : source(FormatOf(1), 64U), destination(FormatOf(4), 64U) {}

    ColorSpaceConverter converter;
    Image source, destination;
    ImageView sourceView{&source}, destinationView{&destination};
    RememberedCall::Settings settings{kBestAvailable, 0, 255, kSSE2};
    RememberedCall last;

    void Keep() {
        ConversionPlan& plan = last.Begin();
        plan.job.planes.isInside = true;
        const auto take = [](const Image& image, std::array<Plane, 4>& planes) {
            for (std::size_t i = 0; i < image.GetImageDescriptor()->channels.size(); ++i) {
                planes[i] = WholePlane(*image.GetImageDescriptor()->channels[i].memory);
            }
        };
        take(source, plan.job.planes.source);
        take(destination, plan.job.planes.destination);
        last.Keep(sourceView, destinationView, settings);
    }

    ConversionPlan* Recall() {
        const auto ignore = [](std::size_t, std::ptrdiff_t) {};
        return last.Recall(sourceView, destinationView, settings, ignore, ignore);
    }
};

TEST(RememberedCall, IsTheSameCallAgain) {
    Call call;
    EXPECT_EQ(call.Recall(), nullptr);
    call.Keep();
    ConversionPlan* const plan = call.Recall();
    ASSERT_NE(plan, nullptr);
    EXPECT_EQ(plan->job.planes.source[3].first, call.source.GetMemoryPointer(3));
    EXPECT_EQ(call.Recall(), plan);
    call.last.Forget();
    EXPECT_EQ(call.Recall(), nullptr);
}

TEST(RememberedCall, PicturesThatAreDescribedAlikeGetTheirOwnAddresses) {
    Call call;
    call.Keep();
    Image source(FormatOf(1), 64U), destination(FormatOf(4), 64U);
    call.sourceView.Set(&source);
    call.destinationView.Set(&destination);
    std::vector<std::size_t> moved;
    const auto note = [&](std::size_t channel, std::ptrdiff_t bytes) {
        moved.push_back(channel);
        EXPECT_EQ(static_cast<unsigned char*>(call.source.GetMemoryPointer(static_cast<ULong32>(channel))) -
                      static_cast<unsigned char*>(source.GetMemoryPointer(static_cast<ULong32>(channel))),
                  -bytes);
    };
    ConversionPlan* const plan = call.last.Recall(call.sourceView, call.destinationView, call.settings, note,
                                                  [](std::size_t, std::ptrdiff_t) {});
    ASSERT_NE(plan, nullptr);
    EXPECT_EQ(moved, (std::vector<std::size_t>{0, 1, 2, 3}));
    for (const ULong32 channel : {0U, 3U}) {
        const AlignedMemoryBuffer& memory = *source.GetImageDescriptor()->channels[channel].memory;
        const Plane& plane = plan->job.planes.source[channel];
        EXPECT_EQ(plane.first, memory.GetAlignedPointer());
        EXPECT_EQ(plane.begin, memory.GetAlignedPointer());
        EXPECT_EQ(plane.end, memory.GetAlignedPointer() + memory.GetPixelBytes());
    }
    EXPECT_EQ(plan->job.planes.destination[0].first, destination.GetMemoryPointer(0));
}

TEST(RememberedCall, AnyDifferenceIsAnotherCall) {
    using Change = std::function<void(Call&)>;
    const auto descriptor = [](auto change) -> Change {
        return [change](Call& call) { change(*call.source.GetImageDescriptor()); };
    };
    const auto channel = [](auto change) -> Change {
        return [change](Call& call) { change(call.destination.GetImageDescriptor()->channels[2]); };
    };
    const auto memory = [](ULong32 bytesPerLine, ULong32 lines) {
        return Tuk::RCPtr<AlignedMemoryBuffer>(
            new AlignedMemoryBuffer(bytesPerLine, lines, 64, 64, kNoAliasWorkAround));
    };
    const std::vector<Change> changes = {
        [](Call& call) { call.settings.style = kFlp; },
        [](Call& call) { call.settings.plusFunction = 1; },
        [](Call& call) { call.settings.alphaFill = 254; },
        [](Call& call) { call.settings.instructions = kSIMD; },
        [](Call& call) { call.sourceView.Set(nullptr); },
        [](Call& call) {
            call.sourceView.Set(&call.source, {0, 0, 36, 6}, kFrame);
        },
        [](Call& call) {
            call.sourceView.Set(&call.source, {0, 0, 38, 5}, kFrame);
        },
        [](Call& call) {
            call.sourceView.Set(&call.source, {2, 0, 38, 6}, kFrame);
        },
        [](Call& call) {
            call.destinationView.Set(&call.destination, {0, 1, 38, 6}, kFrame);
        },
        [](Call& call) { call.destinationView.SetFieldOfInterest(kLowerField); },
        [](Call& call) { call.destinationView.Set(&call.source); },
        descriptor([](ImageDescriptor& d) { d.height = 5; }),
        descriptor([](ImageDescriptor& d) { d.width = 36; }),
        descriptor([](ImageDescriptor& d) { d.colorSpace = kRGB; }),
        descriptor([](ImageDescriptor& d) { d.channelSampling = k422; }),
        descriptor([](ImageDescriptor& d) { d.componentOrder = kYCbYCr; }),
        descriptor([](ImageDescriptor& d) { d.pixelPacking = kPlanar; }),
        descriptor([](ImageDescriptor& d) { d.shaped = kShaped; }),
        descriptor([](ImageDescriptor& d) { d.scanStyle = kLowerFieldFirst; }),
        descriptor([](ImageDescriptor& d) { d.fieldPacking = kNoFields; }),
        descriptor([](ImageDescriptor& d) { d.origin = kBottomLeft; }),
        descriptor([](ImageDescriptor& d) { d.color = kBlack; }),
        descriptor([](ImageDescriptor& d) { d.aggregateBits = k16Bits; }),
        descriptor([](ImageDescriptor& d) { d.channels.pop_back(); }),
        descriptor([](ImageDescriptor& d) { d.channels.push_back(d.channels[3]); }),
        channel([](ChannelDescriptor& c) { c.isAlpha = 1; }),
        channel([](ChannelDescriptor& c) { c.bitsPerSample = 16; }),
        channel([](ChannelDescriptor& c) { c.sampling = kHalfBoth; }),
        channel([](ChannelDescriptor& c) { c.alphaDescription = kAlphaOpaque; }),
        channel([](ChannelDescriptor& c) { c.blackLevel = 0.5F; }),
        channel([](ChannelDescriptor& c) { c.whiteLevel = 0.5F; }),
        channel([](ChannelDescriptor& c) { c.clampLowLevel = 0.5F; }),
        channel([](ChannelDescriptor& c) { c.clampHighLevel = 0.5F; }),
        channel([](ChannelDescriptor& c) { c.memory = nullptr; }),
        channel([&](ChannelDescriptor& c) { c.memory = memory(4 * kWidth, kHeight - 1); }),
        channel([&](ChannelDescriptor& c) { c.memory = memory(8 * kWidth, kHeight); }),
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        Call call;
        call.Keep();
        ASSERT_NE(call.Recall(), nullptr);
        changes[i](call);
        EXPECT_EQ(call.Recall(), nullptr) << "change " << i;
    }
}

TEST(RememberedCall, IsNotKeptWhereMoreThanFourChannelsAreOrPlanesStartOutside) {
    Call call;
    auto& channels = call.source.GetImageDescriptor()->channels;
    channels.push_back(channels.back());
    ConversionPlan& plan = call.last.Begin();
    plan.job.planes.isInside = true;
    call.last.Keep(call.sourceView, call.destinationView, call.settings);
    EXPECT_EQ(call.Recall(), nullptr);
    // Planes that nobody set start nowhere.
    channels.pop_back();
    call.last.Keep(call.sourceView, call.destinationView, call.settings);
    EXPECT_EQ(call.Recall(), nullptr);
}

// ---- Calls -----------------------------------------------------------------------------------------------

/// A converter for many calls, held against one that is new for each and only told the settings and planes
/// that stay.
TEST(RememberedCall, CallsAfterEachOtherAreThoseOfNewConverters) {
    std::mt19937 random(20);
    const auto below = [&](unsigned count) { return static_cast<unsigned>(random() % count); };
    const auto once = [&](unsigned in) { return below(in) == 0; };
    std::vector<std::unique_ptr<Image>> pool;
    for (unsigned i = 0; i < 3 * kFormats; ++i) {
        pool.push_back(std::make_unique<Image>(FormatOf(i % kFormats), 64U));
        Scatter(*pool.back(), i);
    }
    ColorSpaceConverter lasting;
    unsigned source = 0, destination = 4, plus = 0;
    unsigned char alpha = 255;
    Rectangle region{0, 0, kWidth, kHeight};
    WhichFieldEnum field = kFrame;
    ProcessingStyleEnum style = kBestAvailable;
    double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
           offset[8] = {0, 16, 0, 0, 3, 0, 0, 0};
    unsigned done = 0;
    for (unsigned i = 0; i < 6000; ++i) {
        // Most calls are like the one before, on other pictures of the same formats.
        source = once(8) ? below(3 * kFormats) : (source + kFormats * below(3)) % (3 * kFormats);
        destination = once(8) ? below(3 * kFormats) : (destination + kFormats * below(3)) % (3 * kFormats);
        if (once(10)) {
            region = once(2) ? Rectangle{0, 0, kWidth, kHeight}
                             : Rectangle{static_cast<Long32>(below(5)) - 1, static_cast<Long32>(below(3)),
                                         static_cast<Long32>(20 + below(20)),
                                         static_cast<Long32>(below(kHeight + 1))};
            field = once(3) ? (once(2) ? kUpperField : kLowerField) : kFrame;
        }
        if (once(12)) {
            constexpr ProcessingStyleEnum kStyles[] = {kBestAvailable, kInt_MMXorSIMD, kFlp, kFP,
                                                       kFlp_SIMD,      kGeneralFormat};
            style = kStyles[below(6)];
        }
        if (once(12)) {
            plus = below(8);
            alpha = static_cast<unsigned char>(random());
        }
        Image &from = *pool[source], &to = *pool[destination];
        if (once(12)) {
            from.SetPixelShaping(once(2) ? kShaped : kUnshaped);
        }
        if (once(12)) {
            to.SetColor(once(3) ? kBlack : once(2) ? kMonochrome : kFullColor);
        }
        if (once(12)) {
            from.SetAlphaChannelDescription(once(3)   ? kAlphaOpaque
                                            : once(2) ? kAlphaTransparent
                                                      : kAlphaVarying);
        }
        if (once(20)) {
            from.SetOrigin(once(2) ? kBottomLeft : kTopLeft);
        }
        double* const callMatrix = once(10) ? matrix : nullptr;
        double* const callOffset = once(10) ? offset : nullptr;
        const std::vector<unsigned char> before = BytesOf(to);
        const auto restore = [&](const std::vector<unsigned char>& bytes) {
            std::size_t at = 0;
            for (const ChannelDescriptor& channel : to.GetImageDescriptor()->channels) {
                std::memcpy(channel.memory->GetAlignedPointer(), bytes.data() + at,
                            channel.memory->GetPixelBytes());
                at += channel.memory->GetPixelBytes();
            }
        };
        const auto run = [&](ColorSpaceConverter& converter) {
            ImageView fromView(&from, region, field), toView(&to, region, field);
            converter.SetPlusFunction(plus);
            converter.SetAlphaChannel(alpha);
            return converter.Do(fromView, toView, style, callMatrix, callOffset);
        };
        // A copy knows the settings, matrices and planes, and no call.
        ColorSpaceConverter fresh(lasting);
        const Long32 expected = run(fresh);
        const std::vector<unsigned char> wanted = BytesOf(to);
        restore(before);
        ASSERT_EQ(run(lasting), expected) << "call " << i;
        ASSERT_EQ(BytesOf(to), wanted) << "call " << i;
        double ours[24], theirs[24];
        lasting.GetMatrixCoef(ours);
        lasting.GetOffset(ours + 16);
        fresh.GetMatrixCoef(theirs);
        fresh.GetOffset(theirs + 16);
        ASSERT_EQ(std::memcmp(ours, theirs, sizeof ours), 0) << "call " << i;
        done += expected == 0;
        if (once(30)) {
            // Plain memory of a format with planes of its own, which are those of the call before.
            lasting.Do(static_cast<ULong32*>(from.GetMemoryPointer(0)), nullptr, 4, 1, 64, 64, 0, 0, 0,
                       nullptr, nullptr);
        }
    }
    EXPECT_GT(done, 2000U);
}

/// The raw form takes planes that it is not given from the last call with views, also when that was like the
/// one before.
TEST(RememberedCall, PlanesOfTheLastCallAreKnownToPlainMemory) {
    Image first(FormatOf(1), 64U), second(FormatOf(1), 64U), rgb(FormatOf(4), 64U);
    Scatter(first, 1);
    Scatter(second, 2);
    ColorSpaceConverter converter;
    ImageView firstView(&first), secondView(&second), rgbView(&rgb);
    ASSERT_EQ(converter.Do(firstView, rgbView, kBestAvailable, nullptr, nullptr), 0);
    ASSERT_EQ(converter.Do(secondView, rgbView, kBestAvailable, nullptr, nullptr), 0);
    const std::vector<unsigned char> expected = BytesOf(rgb);
    Scatter(rgb, 3);
    // Colour is given, alpha is the second picture's.
    ASSERT_EQ(converter.Do(static_cast<ULong32*>(second.GetMemoryPointer(0)),
                           static_cast<ULong32*>(rgb.GetMemoryPointer(0)), kWidth, kHeight,
                           static_cast<Long32>(second.GetPitch(0)), static_cast<Long32>(rgb.GetPitch(0)),
                           kFmtCbYCrY4, kFmtRGB32, kBestAvailable, nullptr, nullptr),
              0);
    const std::vector<unsigned char> made = BytesOf(rgb);
    const std::size_t pitch = rgb.GetPitch(0);
    for (std::size_t y = 0; y < kHeight; ++y) {
        EXPECT_EQ(std::memcmp(made.data() + y * pitch, expected.data() + y * pitch, 4 * kWidth), 0) << y;
    }
}

}  // namespace
