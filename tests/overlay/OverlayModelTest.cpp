#include <cstring>
#include <limits>

#include "overlay/ModelScenes.h"

// Overlays at whole pixels, and centring, against their model.

namespace {

using namespace overlay_test;
using Zan::AggregateChannelSamplingEnum;
using Zan::ColorSpaceEnum;

/// Runs `body(space, foreground, background, result)` for every row of the kernels and every pair of depths
/// that cannot go together.
template <class Body>
void ForAllDepths(Body body) {
    for (const ColorSpaceEnum space : {Zan::kRGB, Zan::kYCrCb}) {
        for (const AggregateChannelSamplingEnum foreground : SamplingsOf(space)) {
            for (const AggregateChannelSamplingEnum background : SamplingsOf(space)) {
                for (const AggregateChannelSamplingEnum result : SamplingsOf(space)) {
                    SCOPED_TRACE(::testing::Message() << "samplings " << foreground << " over " << background
                                                      << " into " << result);
                    body(space, foreground, background, result);
                    if (::testing::Test::HasFatalFailure()) {
                        return;
                    }
                }
            }
        }
    }
}

TEST(OverlayModel, AnyPicturesAnyViewsAnyRoute) {
    int done = 0, refused = 0;
    OnEveryMachine([&] {
        ForAllDepths([&](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                         AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
            for (int i = 0; i < (kSanitized ? 12 : 60); ++i) {
                Scene scene = AnyScene(space, foreground, background, result, AnyRoute(),
                                       RandomFrom<int>(1, 70), RandomFrom<int>(1, 24));
                int status = 0;
                ASSERT_NO_FATAL_FAILURE(ExpectDo(scene, &status));
                (status == 0 ? done : refused) += 1;
            }
        });
    });
    EXPECT_GT(done, 100);
    EXPECT_GT(refused, 10);
}

TEST(OverlayModel, EveryWidthUpTo400) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        if (background != result) {
            return;
        }
        for (int width = 1; width <= 400; ++width) {
            if (kSanitized && !OneIn(20)) {
                continue;
            }
            Scene scene = AnyScene(space, foreground, background, result,
                                   AnyOf({Route::kStraight, Route::kSameImage, Route::kAny}), width,
                                   RandomFrom<int>(1, 4));
            ASSERT_NO_FATAL_FAILURE(ExpectDo(scene)) << "width " << width;
        }
    });
}

// Widths that the kernels walk, and nothing else: equal pictures, all of them, with every mark.
TEST(OverlayModel, EveryWidthOfWholePictures) {
    OnEveryMachine([] {
        ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                        AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
            if (background != result) {
                return;
            }
            for (int width = 1; width <= 140; ++width) {
                if (!OneIn(kSanitized ? 40 : 3)) {
                    continue;
                }
                Scene scene;
                for (const AggregateChannelSamplingEnum sampling : {foreground, background, result}) {
                    Format format = AnyFormat(space, sampling, width, 2);
                    format.fieldPacking = Zan::kNoFields;
                    scene.Add(format);
                }
                if (OneIn(2)) {
                    scene.canvases[2] = scene.canvases[1];
                    scene.views[2] = scene.views[1];
                }
                PolariseSome(scene);
                ASSERT_NO_FATAL_FAILURE(ExpectDo(scene)) << "width " << width;
            }
        });
    });
}

TEST(OverlayModel, AtAnyWholePosition) {
    int done = 0;
    OnEveryMachine([&] {
        ForAllDepths([&](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                         AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
            for (int i = 0; i < (kSanitized ? 8 : 40); ++i) {
                Scene scene = AnyScene(space, foreground, background, result, AnyRoute(),
                                       RandomFrom<int>(1, 70), RandomFrom<int>(1, 16));
                int status = 0;
                ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(40), AnyPosition(12), false, &status));
                done += status == 0 ? 1 : 0;
            }
        });
    });
    EXPECT_GT(done, 100);
}

// Lines that are long enough for stores around the cache.
TEST(OverlayModel, LongLines) {
    OnEveryMachine([] {
        ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                        AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
            if (background != result) {
                return;
            }
            for (const int width : {600, 1001, 2050}) {
                if (kSanitized && !OneIn(3)) {
                    continue;
                }
                Scene scene = AnyScene(space, foreground, background, result,
                                       AnyOf({Route::kStraight, Route::kSameImage, Route::kAny}), width,
                                       RandomFrom<int>(1, 3));
                const double x = OneIn(2) ? 0.0 : AnyPosition(100);
                ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, x, 0, false)) << "width " << width;
            }
        });
    });
}

// Small things over large ones, and large over small.
TEST(OverlayModel, SizesFarApart) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 6 : 60); ++i) {
            Scene scene;
            for (const AggregateChannelSamplingEnum sampling : {foreground, background, result}) {
                const Format format =
                    AnyFormat(space, sampling, AnyOf({1, 2, 3, 4, 9, 10, 31, 130}), AnyOf({1, 2, 3, 5, 17}));
                scene.Add(format, AnyRegion(format), AnyFieldOfResult());
            }
            PolariseSome(scene);
            ASSERT_NO_FATAL_FAILURE(ExpectDo(scene));
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(10), AnyPosition(4), false));
        }
    });
}

TEST(OverlayModel, CenterOfAnyPictures) {
    int done = 0, refused = 0;
    OnEveryMachine([&] {
        for (const ColorSpaceEnum space : {Zan::kRGB, Zan::kYCrCb}) {
            for (const AggregateChannelSamplingEnum source : SamplingsOf(space)) {
                for (const AggregateChannelSamplingEnum result : SamplingsOf(space)) {
                    for (int i = 0; i < (kSanitized ? 10 : 80); ++i) {
                        const int width = OneIn(20) ? 2500 : RandomFrom<int>(1, 90);
                        const int height = RandomFrom<int>(1, 14);
                        const Format from = AnyFormat(space, source, OneIn(2) ? NearTo(width) : 20,
                                                      OneIn(2) ? NearTo(height) : 5);
                        const Format to = AnyFormat(space, result, width, height);
                        Scene scene;
                        scene.Add(from, AnyRegion(from), AnyField());
                        scene.Add(to, AnyRegion(to), AnyFieldOfResult());
                        int status = 0;
                        ASSERT_NO_FATAL_FAILURE(ExpectCenter(scene, &status));
                        (status == 0 ? done : refused) += 1;
                    }
                }
            }
        }
    });
    EXPECT_GT(done, 50);
    EXPECT_GT(refused, 50);
}

// Black reaches farther than any table of it.
TEST(OverlayModel, BlackOfAnyWidth) {
    for (const AggregateChannelSamplingEnum sampling : {Zan::k422, Zan::k4224}) {
        for (const int width : {1999, 2000, 2001, 2002, 4001, 4100}) {
            Scene scene;
            scene.Add(Pairs(sampling, 6, 2));
            const Format to = Pairs(sampling, static_cast<Zan::ULong32>(width + 8), 3);
            scene.Add(to, Zan::Rectangle(0, 0, width, 3), Zan::kFrame);
            ASSERT_NO_FATAL_FAILURE(ExpectCenter(scene)) << "width " << width;
        }
    }
}

TEST(OverlayModel, ForegroundIsTheBackground) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum, AggregateChannelSamplingEnum result) {
        for (int i = 0; i < 20; ++i) {
            Scene scene =
                AnyScene(space, foreground, foreground, result, Route::kAny, RandomFrom<int>(1, 50), 5);
            scene.canvases[1] = scene.canvases[0];
            scene.views[1] = scene.views[0];
            ASSERT_NO_FATAL_FAILURE(ExpectDo(scene));
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(10), AnyPosition(4), false));
        }
    });
}

// Refusals: each alone, then each with all that come after it in place, so that the order shows.

/// Three pictures that nobody refuses.
Scene Accepted() {
    Scene scene;
    scene.Add(Pairs(Zan::k4224, 16, 4, Zan::kShaped));
    scene.Add(Pairs(Zan::k4224, 16, 4));
    scene.Add(Pairs(Zan::k4224, 16, 4));
    return scene;
}

/// A fault of a picture, in the order in which the faults are asked for.
enum Fault {
    kNoImage,
    kNoMemory,
    kOtherSpace,
    kDisagreeing,
    kNoHeader,
    kNoAlphaPlane,
    kNoRenderableField,
    kFaults
};

void Replace(Scene& scene, std::size_t at, const Format& format) {
    scene.canvases[at] = std::make_shared<Canvas>(format);
    scene.views[at] = Zan::ImageView(scene.canvases[at]->Image());
}

void Spoil(Scene& scene, std::size_t at, Fault fault) {
    switch (fault) {
        case kNoImage:
            scene.views[at] = Zan::ImageView(nullptr);
            break;
        case kNoMemory: {
            // This order has no 4:2:2:4.
            Format format = Pairs(Zan::k4224, 16, 4);
            format.order = Zan::kYCbYCr;
            Replace(scene, at, format);
            ASSERT_EQ(scene.views[at].GetImage()->GetMemoryPointer(0), nullptr);
            break;
        }
        case kOtherSpace: {
            Format format = Rgb(Zan::k4444, 16, 4);
            format.colorSpace = Zan::kAlphaOnly;
            Replace(scene, at, format);
            break;
        }
        case kDisagreeing:
            Replace(scene, at, Rgb(Zan::k4444, 16, 4));
            break;
        case kNoHeader: {
            Format format = Pairs(Zan::k4224, 16, 4);
            format.fieldPacking = OneIn(2) ? Zan::kInterleavedFields : Zan::kFieldPacking1;
            Replace(scene, at, format);
            break;
        }
        case kNoAlphaPlane:
            if (OneIn(2)) {
                Replace(scene, at, Pairs(Zan::k4224, 16, 1));
            } else {
                scene.views[at].GetImage()->GetImageDescriptor()->channels.at(3).memory =
                    Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
            }
            break;
        default:
            scene.views[at].SetFieldOfInterest(
                AnyOf({Zan::kFirstField, Zan::kSecondField, static_cast<Zan::WhichFieldEnum>(5),
                       static_cast<Zan::WhichFieldEnum>(-1)}));
            break;
    }
}

int StatusOf(Fault fault) {
    switch (fault) {
        case kNoImage:
        case kNoMemory:
            return 1;
        case kOtherSpace:
            return 2;
        case kDisagreeing:
            return 3;
        case kNoHeader:
            return static_cast<int>(0x8000001FU);
        case kNoAlphaPlane:
            return static_cast<int>(0x8000000FU);
        default:
            return static_cast<int>(0x8000001CU);
    }
}

void ExpectRefused(Scene& scene, int status) {
    int seen = 0;
    ASSERT_NO_FATAL_FAILURE(ExpectDo(scene, &seen));
    ASSERT_EQ(seen, status);
    ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 3.25, -1.5, OneIn(2), &seen));
    ASSERT_EQ(seen, status);
    const double none[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity()};
    for (const double value : none) {
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, value, 0, true, &seen));
        ASSERT_EQ(seen, static_cast<int>(0x80000003U));
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 0, value, false, &seen));
        ASSERT_EQ(seen, static_cast<int>(0x80000003U));
    }
}

void ExpectCenterRefused(Scene scene, int status) {
    scene.canvases.erase(scene.canvases.begin() + 1);
    scene.views.erase(scene.views.begin() + 1);
    int seen = 0;
    ASSERT_NO_FATAL_FAILURE(ExpectCenter(scene, &seen));
    ASSERT_EQ(seen, status);
}

TEST(OverlayModel, RefusalsInTheirOrder) {
    for (int fault = 0; fault < kFaults; ++fault) {
        for (int later = fault; later < kFaults; ++later) {
            for (std::size_t at = 0; at < 3; ++at) {
                for (std::size_t other = 0; other < 3; ++other) {
                    // A field that counts is the result's alone; one picture has one fault of its memory.
                    if ((fault == kNoRenderableField && at != 2) ||
                        (later == kNoRenderableField && other != 2) ||
                        (at == other && later != fault && later != kNoRenderableField)) {
                        continue;
                    }
                    SCOPED_TRACE(::testing::Message() << "fault " << fault << " of picture " << at << ", "
                                                      << later << " of " << other);
                    for (int i = 0; i < 4; ++i) {
                        Scene scene = Accepted();
                        Spoil(scene, at, static_cast<Fault>(fault));
                        if (later != fault) {
                            Spoil(scene, other, static_cast<Fault>(later));
                        }
                        ASSERT_NO_FATAL_FAILURE(ExpectRefused(scene, StatusOf(static_cast<Fault>(fault))));
                        if (at != 1 && (other != 1 || later == fault)) {
                            ASSERT_NO_FATAL_FAILURE(
                                ExpectCenterRefused(scene, StatusOf(static_cast<Fault>(fault))));
                        }
                    }
                }
            }
        }
    }
}

TEST(OverlayModel, DepthsComeLastAndTheMarkIsSetAllTheSame) {
    Scene scene;
    scene.Add(Pairs(Zan::k4224, 16, 4, Zan::kShaped));
    scene.Add(Pairs(Zan::k422, 16, 4));
    scene.Add(Pairs(Zan::k4224, 16, 4));
    int status = 0;
    ASSERT_NO_FATAL_FAILURE(ExpectDo(scene, &status));
    EXPECT_EQ(status, 3);
    EXPECT_EQ(scene.views[2].GetImage()->GetPixelShaping(), Zan::kShaped);

    // Out of sight there is nothing to refuse, nor a background that could be centred.
    scene.views[2].GetImage()->SetPixelShaping(Zan::kUnshaped);
    ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 16, 0, false, &status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(scene.views[2].GetImage()->GetPixelShaping(), Zan::kShaped);
    ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 15, 0, false, &status));
    EXPECT_EQ(status, 3);
}

/// A picture whose memory the library has, filled with random bytes.
std::unique_ptr<Zan::Image> Allocated(ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
                                      Zan::ComponentOrderEnum order, Zan::PixelPackingEnum packing,
                                      Zan::AggregateBitsPerChannelEnum bits) {
    const Zan::ImageDescriptor descriptor(16, 4, space, sampling, order, packing, Zan::kProgressive,
                                          Zan::kNoFields, Zan::kTopLeft, bits, 1.0F, Zan::kUnshaped);
    auto image = std::make_unique<Zan::Image>(descriptor, 64);
    FillRandom(static_cast<std::uint8_t*>(image->GetMemoryPointer(0)), image->GetMemorySize(0));
    return image;
}

TEST(OverlayModel, FormatsWithoutHeader) {
    const struct {
        ColorSpaceEnum space;
        AggregateChannelSamplingEnum sampling;
        Zan::ComponentOrderEnum order;
        Zan::PixelPackingEnum packing;
        Zan::AggregateBitsPerChannelEnum bits;
    } cases[] = {
        {Zan::kYCrCb, Zan::k4444, Zan::kCbYCrA, Zan::kPacked, Zan::k8Bits},
        {Zan::kYCrCb, Zan::k444, Zan::kCbYCrA, Zan::kPacked, Zan::k8Bits},
        {Zan::kYCrCb, Zan::k422, Zan::kYCbCrPlanes, Zan::kPlanar, Zan::k8Bits},
        {Zan::kYCrCb, Zan::k422, Zan::kYPlaneCbCrPlane, Zan::kPlanar, Zan::k8Bits},
        {Zan::kYCrCb, Zan::k420, Zan::kYCbCrPlanes, Zan::kPlanar, Zan::k8Bits},
        {Zan::kYCrCb, Zan::k411, Zan::kYCbCrPlanes, Zan::kPlanar, Zan::k8Bits},
        {Zan::kRGB, Zan::k4444, Zan::kBGRA, Zan::kPacked, Zan::k16Bits},
        {Zan::kRGB, Zan::k4444, Zan::kBGRA, Zan::kPacked, Zan::k32Bits},
    };
    for (const auto& format : cases) {
        const auto refused =
            Allocated(format.space, format.sampling, format.order, format.packing, format.bits);
        const bool rgb = format.space == Zan::kRGB;
        ASSERT_NE(refused->GetMemoryPointer(0), nullptr);
        for (int at = 0; at < 3; ++at) {
            SCOPED_TRACE(::testing::Message() << "sampling " << format.sampling << " packing "
                                              << format.packing << " bits " << format.bits << " at " << at);
            std::vector<std::unique_ptr<Zan::Image>> images;
            std::vector<Zan::ImageView> views;
            for (int i = 0; i < 3; ++i) {
                images.push_back(Allocated(rgb ? Zan::kRGB : Zan::kYCrCb, rgb ? Zan::k4444 : Zan::k422,
                                           rgb ? Zan::kBGRA : Zan::kCbYCrA, Zan::kPacked, Zan::k8Bits));
                views.emplace_back(i == at ? refused.get() : images.back().get());
            }
            const Zan::Image* const result = views[2].GetImage();
            const auto* const bytes = static_cast<const std::uint8_t*>(result->GetMemoryPointer(0));
            const Bytes before(bytes, bytes + result->GetMemorySize(0));
            Mixup mixup;
            EXPECT_EQ(mixup.Do(views[0], views[1], views[2], AnyStyle()), static_cast<int>(0x8000001FU));
            EXPECT_EQ(mixup.DoAt(views[0], views[1], views[2], 1, 1, true, AnyStyle()),
                      static_cast<int>(0x8000001FU));
            if (at != 1) {
                EXPECT_EQ(mixup.Center(views[0], views[2], AnyStyle()), static_cast<int>(0x8000001FU));
            }
            EXPECT_EQ(std::memcmp(before.data(), bytes, before.size()), 0);
        }
    }
}

// 24 bits have eight a sample, whatever was asked for.
TEST(OverlayModel, RgbOf24BitsKnowsNoOther) {
    Scene scene;
    for (int i = 0; i < 3; ++i) {
        Format format = Rgb(Zan::k444, 17, 3);
        format.bits = Zan::k16Bits;
        scene.Add(format);
    }
    int status = 1;
    ASSERT_NO_FATAL_FAILURE(ExpectDo(scene, &status));
    EXPECT_EQ(status, 0);
}

// Properties that need no model.

Bytes All(Canvas& canvas) {
    Bytes bytes = canvas.ColourMemory().Snapshot();
    const Bytes alpha = canvas.AlphaMemory().Snapshot();
    bytes.insert(bytes.end(), alpha.begin(), alpha.end());
    return bytes;
}

void Assign(FencedMemory& memory, const Bytes& bytes) {
    if (memory.Length() != 0) {
        std::memcpy(memory.Data() - memory.GuardLength(), bytes.data(), bytes.size());
    }
}

TEST(OverlayModel, BothFieldsMakeTheFrame) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 5 : 30); ++i) {
            Scene scene = AnyScene(space, foreground, background, result, AnyRoute(), RandomFrom<int>(1, 60),
                                   RandomFrom<int>(1, 12));
            Canvas& canvas = *scene.canvases[2];
            const Bytes colour = canvas.ColourMemory().Snapshot(), alpha = canvas.AlphaMemory().Snapshot();
            const double x = AnyPosition(20), y = AnyPosition(5);
            const bool subPixel = OneIn(2);
            Mixup mixup;
            const auto run = [&](Zan::WhichFieldEnum field) {
                scene.views[2].SetFieldOfInterest(field);
                return mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, subPixel, AnyStyle());
            };
            const Zan::Long32 status = run(Zan::kFrame);
            const Bytes frame = All(canvas);
            Assign(canvas.ColourMemory(), colour);
            Assign(canvas.AlphaMemory(), alpha);
            const bool upperFirst = OneIn(2);
            EXPECT_EQ(run(upperFirst ? Zan::kUpperField : Zan::kLowerField), status);
            EXPECT_EQ(run(upperFirst ? Zan::kLowerField : Zan::kUpperField), status);
            ASSERT_EQ(All(canvas), frame);
        }
    });
}

TEST(OverlayModel, InPlaceAsStraight) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        if (background != result) {
            return;
        }
        for (int i = 0; i < 20; ++i) {
            Scene scene = AnyScene(space, foreground, background, result, Route::kSameImage,
                                   RandomFrom<int>(1, 60), RandomFrom<int>(1, 12));
            // A copy of the picture, the same bytes everywhere.
            const auto copy = std::make_shared<Canvas>(scene.canvases[2]->Wanted());
            Assign(copy->ColourMemory(), scene.canvases[2]->ColourMemory().Snapshot());
            Assign(copy->AlphaMemory(), scene.canvases[2]->AlphaMemory().Snapshot());
            Zan::ImageView into(copy->Image(), scene.requests[2], scene.views[2].GetFieldOfInterest());
            const double x = AnyPosition(20), y = AnyPosition(5);
            const bool subPixel = OneIn(2);
            Mixup mixup;
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], into, x, y, subPixel, AnyStyle()), 0);
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, subPixel, AnyStyle()),
                      0);
            ASSERT_EQ(All(*copy), All(*scene.canvases[2]));
        }
    });
}

TEST(OverlayModel, CentredPositionIsDo) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 5 : 40); ++i) {
            Scene scene = AnyScene(space, foreground, background, result, AnyRoute(), RandomFrom<int>(1, 60),
                                   RandomFrom<int>(1, 12));
            Canvas& canvas = *scene.canvases[2];
            const Bytes colour = canvas.ColourMemory().Snapshot(), alpha = canvas.AlphaMemory().Snapshot();
            Mixup mixup;
            const Zan::Long32 status = mixup.Do(scene.views[0], scene.views[1], scene.views[2], AnyStyle());
            const Bytes done = All(canvas);
            for (const bool subPixel : {false, true}) {
                Assign(canvas.ColourMemory(), colour);
                Assign(canvas.AlphaMemory(), alpha);
                const Zan::Long32 statusAt =
                    mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], 0, -0.0, subPixel, AnyStyle());
                // Between pixels, half a pair of foreground is none, so that depths need not agree.
                if (statusAt != status) {
                    EXPECT_TRUE(subPixel && space == Zan::kYCrCb && background != result);
                    EXPECT_EQ(status, 3);
                    EXPECT_EQ(statusAt, 0);
                }
                ASSERT_EQ(All(canvas), done);
            }
        }
    });
}

// A bottom-left picture is the one that its lines, in the other order, make.
TEST(OverlayModel, BottomLeftIsTheMirroredPicture) {
    ForAllDepths([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                    AggregateChannelSamplingEnum background, AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 4 : 20); ++i) {
            Scene scene = AnyScene(space, foreground, background, result, Route::kAny, RandomFrom<int>(1, 60),
                                   RandomFrom<int>(1, 12));
            const auto mirror = [](const Canvas& from, Canvas& to) {
                for (const Zan::ULong32 channel : {0U, 3U}) {
                    const overlay_model::Plane plane = from.PlaneOf(channel);
                    if (!plane.isThere || (channel == 3 && !from.Wanted().HasAlphaPlane())) {
                        continue;
                    }
                    FencedMemory& memory = channel == 3 ? to.AlphaMemory() : to.ColourMemory();
                    const std::size_t lines = from.Wanted().height;
                    const std::size_t bytes = (memory.Length() - to.Wanted().slack) / lines;
                    for (std::size_t y = 0; y < lines; ++y) {
                        std::memcpy(memory.Data() + y * bytes,
                                    plane.memory.data() + plane.begin +
                                        static_cast<std::ptrdiff_t>((lines - 1 - y) * bytes),
                                    bytes);
                    }
                }
            };
            Scene turned;
            for (std::size_t at = 0; at < 3; ++at) {
                Format format = scene.canvases[at]->Wanted();
                format.origin = format.origin == Zan::kTopLeft ? Zan::kBottomLeft : Zan::kTopLeft;
                turned.Add(format, scene.requests[at], scene.views[at].GetFieldOfInterest());
                mirror(*scene.canvases[at], *turned.canvases[at]);
            }
            const double x = AnyPosition(20), y = AnyPosition(5);
            const bool subPixel = OneIn(2);
            Mixup mixup;
            const Zan::Long32 status =
                mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, subPixel, AnyStyle());
            ASSERT_EQ(
                mixup.DoAt(turned.views[0], turned.views[1], turned.views[2], x, y, subPixel, AnyStyle()),
                status);
            Canvas back(turned.canvases[2]->Wanted());
            mirror(*scene.canvases[2], back);
            for (const Zan::ULong32 channel : {0U, 3U}) {
                const overlay_model::Plane expected = back.PlaneOf(channel);
                const overlay_model::Plane actual = turned.canvases[2]->PlaneOf(channel);
                ASSERT_EQ(
                    Bytes(expected.memory.begin() + expected.begin, expected.memory.begin() + expected.end),
                    Bytes(actual.memory.begin() + actual.begin, actual.memory.begin() + actual.end));
            }
        }
    });
}

}  // namespace
