#include "run/Timeline.h"

#include <gtest/gtest.h>

#include <vector>

namespace tool {
namespace {

using namespace Zan;

PictureFormat Output(ScanStyleEnum scan, AVRational rate) {
    PictureFormat format;
    format.scan = scan;
    format.rate = rate;
    return format;
}

/// The last of frames at these times that is not above the reach of a field.
long FrameAt(const Timeline& timeline, const std::vector<double>& times, long picture, int field) {
    long frame = 0;
    while (frame + 1 < static_cast<long>(times.size()) &&
           times[static_cast<std::size_t>(frame + 1)] <= timeline.Reach(picture, field))
        ++frame;
    return frame;
}

std::vector<double> Times(double rate, int count) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i)
        times.push_back(i / rate);
    return times;
}

TEST(TimelineTest, FiftyFramesBecomeTwentyFivePicturesOfTwoFields) {
    const Timeline timeline(Output(kUpperFieldFirst, {25, 1}), {kProgressive, {50, 1}});
    const auto times = Times(50, 41);
    EXPECT_EQ(FrameAt(timeline, times, 0, 0), 0);
    EXPECT_EQ(FrameAt(timeline, times, 0, 1), 1);
    EXPECT_EQ(FrameAt(timeline, times, 7, 0), 14);
    EXPECT_EQ(FrameAt(timeline, times, 7, 1), 15);
    EXPECT_EQ(timeline.Pictures(41 / 50.0), 20);
    EXPECT_EQ(timeline.Pictures(1 / 50.0), 1);
}

TEST(TimelineTest, TwentyFiveFramesFillBothFields) {
    const Timeline timeline(Output(kUpperFieldFirst, {25, 1}), {kProgressive, {25, 1}});
    const auto times = Times(25, 10);
    for (int picture = 0; picture < 10; ++picture)
        for (const int field : {0, 1})
            EXPECT_EQ(FrameAt(timeline, times, picture, field), picture);
    EXPECT_EQ(timeline.Pictures(10 / 25.0), 10);
}

TEST(TimelineTest, InterlacedFramesKeepTheirFields) {
    const Timeline timeline(Output(kUpperFieldFirst, {25, 1}), {kUpperFieldFirst, {25, 1}});
    EXPECT_EQ(timeline.Fields(), FieldUse::kFrames);
    const auto times = Times(25, 41);
    EXPECT_EQ(FrameAt(timeline, times, 3, 0), 3);
    EXPECT_EQ(FrameAt(timeline, times, 3, 1), 3);
    EXPECT_EQ(timeline.Pictures(41 / 25.0), 41);
}

// The first output field is then the source's second one, and its companion comes from the next frame.
TEST(TimelineTest, OtherFieldOrderStartsOneFieldLater) {
    const Timeline timeline(Output(kLowerFieldFirst, {25, 1}), {kUpperFieldFirst, {25, 1}});
    EXPECT_EQ(timeline.Fields(), FieldUse::kFieldLater);
    const auto times = Times(25, 41);
    EXPECT_EQ(FrameAt(timeline, times, 3, 0), 3);
    EXPECT_EQ(FrameAt(timeline, times, 3, 1), 4);
    EXPECT_EQ(timeline.Pictures(41 / 25.0), 40);
}

TEST(TimelineTest, FieldsAreMadeIntoFramesWhereTheyCannotBeKept) {
    const SourceTiming source = {kUpperFieldFirst, {25, 1}};
    EXPECT_EQ(Timeline(Output(kProgressive, {25, 1}), source).Fields(), FieldUse::kDeinterlace);
    EXPECT_EQ(Timeline(Output(kProgressive, {50, 1}), source).Fields(), FieldUse::kDeinterlaceFields);
    // Fields of another rate are shown at other times than they were taken.
    EXPECT_EQ(Timeline(Output(kUpperFieldFirst, {30, 1}), source).Fields(), FieldUse::kDeinterlaceFields);
    EXPECT_EQ(Timeline(Output(kProgressive, {25, 1}), {kProgressive, {25, 1}}).Fields(), FieldUse::kFrames);
}

// Each second holds 50 frames of the one and 25 of the other.
TEST(TimelineTest, FramesArePickedAtTheOutputsRate) {
    const Timeline faster(Output(kProgressive, {25, 1}), {kProgressive, {50, 1}});
    const Timeline slower(Output(kProgressive, {50, 1}), {kProgressive, {25, 1}});
    for (int picture = 0; picture < 100; ++picture) {
        EXPECT_EQ(FrameAt(faster, Times(50, 400), picture, 0), 2 * picture);
        EXPECT_EQ(FrameAt(slower, Times(25, 400), picture, 0), picture / 2);
    }
}

// Matroska rounds to milliseconds: 0, 33, 67, 100 ... for 30000/1001 frames a second.
TEST(TimelineTest, RoundedTimeStampsChooseEveryFrameOnce) {
    const Timeline timeline(Output(kProgressive, {30000, 1001}), {kProgressive, {30000, 1001}});
    std::vector<double> times;
    for (int i = 0; i < 300; ++i)
        times.push_back(static_cast<double>(static_cast<long>(i * 1001.0 / 30 + 0.5)) / 1000);
    for (int picture = 0; picture < 300; ++picture)
        EXPECT_EQ(FrameAt(timeline, times, picture, 0), picture);
    EXPECT_EQ(timeline.Pictures(times.back() + 0.033), 300);
}

TEST(TimelineTest, OutputRateOfFieldsIsHalfOfFastFrames) {
    const auto rate = [](AVRational source, ScanStyleEnum output) {
        return OutputRate({kProgressive, source}, output);
    };
    EXPECT_EQ(rate({50, 1}, kUpperFieldFirst).num, 25);
    EXPECT_EQ(rate({60000, 1001}, kLowerFieldFirst).num, 30000);
    EXPECT_EQ(rate({25, 1}, kUpperFieldFirst).num, 25);
    EXPECT_EQ(rate({50, 1}, kProgressive).num, 50);
    EXPECT_EQ(OutputRate({kUpperFieldFirst, {50, 1}}, kUpperFieldFirst).num, 50);
}

TEST(RatesTest, StandardRatesAreRecognised) {
    EXPECT_EQ(StandardRate(23.976).den, 1001);
    EXPECT_EQ(StandardRate(AVRational{90000, 2999}).num, 30);
    EXPECT_EQ(StandardRate(29.97).num, 30000);
    EXPECT_EQ(StandardRate(AVRational{27, 1}).num, 27);
}

}  // namespace
}  // namespace tool
