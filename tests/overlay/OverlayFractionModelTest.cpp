#include <cmath>
#include <cstring>

#include "overlay/ModelScenes.h"

// Overlays at fractions of pixels against their model, which counts in whole numbers alone.

namespace {

using namespace overlay_test;
using Zan::AggregateChannelSamplingEnum;
using Zan::ColorSpaceEnum;

template <class Body>
void ForAllRows(Body body) {
    for (const ColorSpaceEnum space : {Zan::kRGB, Zan::kYCrCb}) {
        for (const AggregateChannelSamplingEnum foreground : SamplingsOf(space)) {
            for (const AggregateChannelSamplingEnum result : SamplingsOf(space)) {
                SCOPED_TRACE(::testing::Message() << "samplings " << foreground << " over " << result);
                body(space, foreground, result);
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(OverlayFractionModel, AnyPicturesAnyViewsAnyRoute) {
    int done = 0, refused = 0;
    OnEveryMachine([&] {
        ForAllRows([&](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                       AggregateChannelSamplingEnum result) {
            for (int i = 0; i < (kSanitized ? 10 : 70); ++i) {
                const auto samplings = SamplingsOf(space);
                const AggregateChannelSamplingEnum background =
                    OneIn(5) ? samplings[RandomByte() % 2U] : result;
                Scene scene = AnyScene(space, foreground, background, result, AnyRoute(),
                                       RandomFrom<int>(1, 70), RandomFrom<int>(1, 16));
                int status = 0;
                ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(30), AnyPosition(8), true, &status));
                (status == 0 ? done : refused) += 1;
            }
        });
    });
    EXPECT_GT(done, 100);
    EXPECT_GT(refused, 0);
}

TEST(OverlayFractionModel, EveryWidthUpTo400) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        for (int width = 1; width <= 400; ++width) {
            if (!OneIn(kSanitized ? 40 : 2)) {
                continue;
            }
            Scene scene = AnyScene(space, foreground, result, result,
                                   AnyOf({Route::kStraight, Route::kSameImage, Route::kAny}), width, 3);
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(3), AnyPosition(2), true))
                << "width " << width;
        }
    });
}

TEST(OverlayFractionModel, LongLines) {
    OnEveryMachine([] {
        ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                      AggregateChannelSamplingEnum result) {
            const int width = AnyOf({600, 1001, 2050});
            if (kSanitized && !OneIn(5)) {
                return;
            }
            Scene scene = AnyScene(space, foreground, result, result,
                                   AnyOf({Route::kStraight, Route::kSameImage}), width, 2);
            const double x = AnyPosition(100);
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, x, AnyPosition(1), true)) << "width " << width;
        });
    });
}

// As rows are that are written around the cache in one go, each with a first pixel that has none before it.
TEST(OverlayFractionModel, RowsThatTouch) {
    OnEveryMachine([] {
        for (const Zan::ULong32 width : {127U, 128U, 131U, 417U}) {
            for (const int across : {1, 96, 128, 254}) {
                for (const int down : {0, 3, 96, 128, 160}) {
                    Scene scene;
                    scene.Add(Rgb(Zan::k4444, width, 5, Zan::kShaped));
                    scene.Add(Rgb(Zan::k4444, width, 5));
                    scene.Add(Rgb(Zan::k4444, width, 5));
                    ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, across / 256.0, down / 256.0, true))
                        << width << " wide, " << across << " and " << down << " 256ths";
                }
            }
        }
    });
}

TEST(OverlayFractionModel, ForegroundIsTheBackground) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        for (int i = 0; i < 20; ++i) {
            Scene scene =
                AnyScene(space, foreground, foreground, result, Route::kAny, RandomFrom<int>(1, 50), 5);
            scene.canvases[1] = scene.canvases[0];
            scene.views[1] = scene.views[0];
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, AnyPosition(10), AnyPosition(4), true));
        }
    });
}

// A 256th of a pixel within the result is within it.
TEST(OverlayFractionModel, DepthsAreAskedWhereThereIsAnyWeight) {
    Scene scene;
    scene.Add(Pairs(Zan::k4224, 16, 4, Zan::kShaped));
    scene.Add(Pairs(Zan::k422, 16, 4));
    scene.Add(Pairs(Zan::k4224, 16, 4));
    int status = 0;
    for (const double outside : {16.0, -16.0, 15.9981, -15.999}) {
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, outside, 0, true, &status));
        EXPECT_EQ(status, 0) << outside;
    }
    for (const double inside : {15.996, -15.996}) {
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, inside, 0, true, &status));
        EXPECT_EQ(status, 3) << inside;
    }
    for (const double outside : {4.0, -4.0, 3.9981, -3.9985}) {
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 0, outside, true, &status));
        EXPECT_EQ(status, 0) << outside;
    }
    for (const double inside : {3.996, -3.996}) {
        ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, 0, inside, true, &status));
        EXPECT_EQ(status, 3) << inside;
    }
}

// Every 256th of a pixel, across, down and both.
TEST(OverlayFractionModel, EveryFraction) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        for (int fraction = 0; fraction < 512; ++fraction) {
            if (kSanitized && !OneIn(20)) {
                continue;
            }
            for (int axes = 1; axes < 4; ++axes) {
                Scene scene = AnyScene(space, foreground, result, result, Route::kStraight, 24, 4);
                const double other = RandomFrom<int>(0, 511) / 256.0;
                ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene,
                                                   axes == 1   ? fraction / 256.0
                                                   : axes == 2 ? 0
                                                               : other,
                                                   axes == 1 ? 0 : fraction / 256.0, true));
            }
        }
    });
}

// Weighted means of colours lie close to halves where few alphas are small: 1, 2 and 3 beside 254.
TEST(OverlayFractionModel, MeansThatLieNearHalves) {
    for (const AggregateChannelSamplingEnum result : {Zan::k4444, Zan::k444}) {
        for (int i = 0; i < (kSanitized ? 20 : 400); ++i) {
            Scene scene;
            scene.Add(Rgb(Zan::k4444, 65, 9));
            scene.Add(Rgb(result, 65, 9));
            scene.Add(Rgb(result, 65, 9));
            for (Zan::ULong32 y = 0; y < 9; ++y) {
                for (Zan::ULong32 x = 0; x < 65; ++x) {
                    std::uint8_t* const pixel = scene.canvases[0]->Pixel(x, y);
                    pixel[3] = AnyOf<std::uint8_t>({0, 1, 2, 3, 127, 128, 254, 255, RandomByte()});
                    pixel[0] = AnyOf<std::uint8_t>({0, 1, 254, 255, RandomByte()});
                }
            }
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, RandomFrom<int>(0, 256) / 256.0,
                                               OneIn(3) ? 0.0 : RandomFrom<int>(0, 256) / 256.0, true));
        }
    }
    for (const AggregateChannelSamplingEnum result : {Zan::k422, Zan::k4224}) {
        for (int i = 0; i < (kSanitized ? 20 : 400); ++i) {
            Scene scene;
            scene.Add(Pairs(Zan::k4224, 66, 8));
            scene.Add(Pairs(result, 66, 8));
            scene.Add(Pairs(result, 66, 8));
            for (Zan::ULong32 y = 0; y < 8; ++y) {
                for (Zan::ULong32 x = 0; x < 66; ++x) {
                    *scene.canvases[0]->PlaneAlpha(x, y) =
                        AnyOf<std::uint8_t>({0, 1, 2, 3, 127, 128, 254, 255, RandomByte()});
                    scene.canvases[0]->Pixel(x, y)[0] = AnyOf<std::uint8_t>({0, 1, 254, 255, RandomByte()});
                }
            }
            ASSERT_NO_FATAL_FAILURE(ExpectDoAt(scene, RandomFrom<int>(0, 512) / 256.0,
                                               OneIn(3) ? 0.0 : RandomFrom<int>(0, 512) / 256.0, true));
        }
    }
}

// What no fraction moves is moved by whole pixels, though by another road. Fields and pairs move by two.
TEST(OverlayFractionModel, NoFractionIsTheWholePixelForm) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 10 : 60); ++i) {
            Scene scene = AnyScene(space, foreground, result, result, AnyRoute(), RandomFrom<int>(1, 70),
                                   RandomFrom<int>(1, 12));
            const bool fields = scene.views[0].GetImage()->GetFieldPacking() != Zan::kNoFields;
            const int x = RandomFrom<int>(-40, 40) * (space == Zan::kYCrCb ? 2 : 1);
            const int y = RandomFrom<int>(-8, 8) * (fields ? 2 : 1);
            std::vector<overlay_model::Picture> pictures = scene.Pictures();
            const int status = overlay_model::DoAt(pictures[0], pictures[1], pictures[2], x, y, false);
            Mixup mixup;
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, true, AnyStyle()),
                      status);
            ASSERT_NO_FATAL_FAILURE(ExpectPictures(scene, pictures, Words("DoAt", x, y, true)));
        }
    });
}

// The model's own two forms as well, which share nothing but the arithmetic of a sample.
TEST(OverlayFractionModel, ModelsOfBothFormsMeet) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        for (int i = 0; i < (kSanitized ? 10 : 100); ++i) {
            const Scene scene = AnyScene(space, foreground, result, result, AnyRoute(),
                                         RandomFrom<int>(1, 40), RandomFrom<int>(1, 8));
            const bool fields = scene.views[0].GetImage()->GetFieldPacking() != Zan::kNoFields;
            const int x = RandomFrom<int>(-20, 20) * (space == Zan::kYCrCb ? 2 : 1);
            const int y = RandomFrom<int>(-4, 4) * (fields ? 2 : 1);
            std::vector<overlay_model::Picture> whole = scene.Pictures(), fraction = whole;
            ASSERT_EQ(overlay_model::DoAt(whole[0], whole[1], whole[2], x, y, false),
                      overlay_model::DoAt(fraction[0], fraction[1], fraction[2], x, y, true));
            ASSERT_EQ(whole[2].colour.memory, fraction[2].colour.memory);
            ASSERT_EQ(whole[2].alpha.memory, fraction[2].alpha.memory);
        }
    });
}

// Nothing of a foreground is lost on the way, and nothing is added: over nothing its alphas stay what they
// were, but for one rounding each.
TEST(OverlayFractionModel, SumOfAlphaStaysWithinRounding) {
    for (const Zan::ShapedEnum shaping : {Zan::kUnshaped, Zan::kShaped}) {
        for (int i = 0; i < (kSanitized ? 10 : 100); ++i) {
            const bool pairs = OneIn(2);
            const Zan::ULong32 width = 20, height = 8, around = 8;
            Scene scene;
            Format over =
                pairs ? Pairs(Zan::k4224, width, height, shaping) : Rgb(Zan::k4444, width, height, shaping);
            if (OneIn(2)) {
                over.fieldPacking = Zan::kInterleavedFields;
                over.scan = Zan::kUpperFieldFirst;
            }
            Format below = over;
            below.width += 2 * around;
            below.height += 2 * around;
            scene.Add(over);
            scene.Add(below);
            scene.canvases.push_back(scene.canvases.back());
            scene.views.push_back(scene.views.back());
            Canvas& canvas = *scene.canvases[2];
            const auto alphaOf = [pairs](Canvas& of, Zan::ULong32 x, Zan::ULong32 y) -> std::uint8_t& {
                return pairs ? *of.PlaneAlpha(x, y) : of.Pixel(x, y)[3];
            };
            for (Zan::ULong32 y = 0; y < below.height; ++y) {
                for (Zan::ULong32 x = 0; x < below.width; ++x) {
                    alphaOf(canvas, x, y) = 0;
                }
            }
            int expected = 0, sum = 0;
            for (Zan::ULong32 y = 0; y < height; ++y) {
                for (Zan::ULong32 x = 0; x < width; ++x) {
                    expected += alphaOf(*scene.canvases[0], x, y);
                }
            }
            Mixup mixup;
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], scene.views[2],
                                 RandomFrom<int>(-1500, 1500) / 256.0, RandomFrom<int>(-1000, 1000) / 256.0,
                                 true, AnyStyle()),
                      0);
            for (Zan::ULong32 y = 0; y < below.height; ++y) {
                for (Zan::ULong32 x = 0; x < below.width; ++x) {
                    sum += alphaOf(canvas, x, y);
                }
            }
            // One column and one line, in each field, more than there were.
            const int rounded = static_cast<int>((width + 1) * (height + 2));
            EXPECT_LE(std::abs(sum - expected), rounded / 2);
        }
    }
}

// Colours that nobody sees do not show.
TEST(OverlayFractionModel, ColoursOfTransparentPixelsDoNotMatter) {
    ForAllRows([](ColorSpaceEnum space, AggregateChannelSamplingEnum foreground,
                  AggregateChannelSamplingEnum result) {
        if (foreground == Zan::k444 || foreground == Zan::k422) {
            return;
        }
        const bool pairs = space == Zan::kYCrCb;
        for (int i = 0; i < (kSanitized ? 5 : 40); ++i) {
            Format over = AnyFormat(space, foreground, 30, 9);
            over.shaping = Zan::kUnshaped;
            Scene scene;
            scene.Add(over);
            scene.Add(AnyFormat(space, result, 36, 12));
            const Format into = AnyFormat(space, result, 36, 12);
            scene.Add(into);
            scene.Add(into);
            const auto other = std::make_shared<Canvas>(over);
            Canvas& logo = *scene.canvases[0];
            for (Zan::ULong32 y = 0; y < over.height; ++y) {
                for (Zan::ULong32 x = 0; x < over.width; x += 2) {
                    for (Zan::ULong32 at = x; at < x + 2; ++at) {
                        (pairs ? *logo.PlaneAlpha(at, y) : logo.Pixel(at, y)[3]) =
                            OneIn(2) ? std::uint8_t{0} : RandomByte();
                    }
                    for (Zan::ULong32 at = x; at < x + 2; ++at) {
                        const std::size_t bytes = pairs ? 2 : 4;
                        std::uint8_t* const from = logo.Pixel(at, y);
                        std::uint8_t* const to = other->Pixel(at, y);
                        if (pairs) {
                            const bool luma = *logo.PlaneAlpha(at, y) != 0,
                                       chroma = *logo.PlaneAlpha(x, y) != 0;
                            *other->PlaneAlpha(at, y) = *logo.PlaneAlpha(at, y);
                            to[0] = chroma ? from[0] : RandomByte();
                            to[1] = luma ? from[1] : RandomByte();
                        } else {
                            if (from[3] != 0) {
                                std::memcpy(to, from, bytes);
                            }
                            to[3] = from[3];
                        }
                    }
                }
            }
            const Bytes copy = scene.canvases[2]->ColourMemory().Snapshot();
            std::memcpy(
                scene.canvases[3]->ColourMemory().Data() - scene.canvases[3]->ColourMemory().GuardLength(),
                copy.data(), copy.size());
            const double x = AnyPosition(5), y = AnyPosition(3);
            Mixup mixup;
            Zan::ImageView otherView(other->Image());
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, true, AnyStyle()), 0);
            ASSERT_EQ(mixup.DoAt(otherView, scene.views[1], scene.views[3], x, y, true, AnyStyle()), 0);
            const overlay_model::Plane one = scene.canvases[2]->PlaneOf(0),
                                       two = scene.canvases[3]->PlaneOf(0);
            ASSERT_EQ(Bytes(one.memory.begin() + one.begin, one.memory.begin() + one.end),
                      Bytes(two.memory.begin() + two.begin, two.memory.begin() + two.end));
        }
    });
}

/// A dot whose amplitude falls by a raised cosine to nothing at its radius.
int SoftDot(double dx, double dy) {
    constexpr double kRadius = 30.5;
    const double distance = std::sqrt(dx * dx + dy * dy);
    return distance >= kRadius
               ? 0
               : static_cast<int>(255 * 0.5 * (1 + std::cos(distance / kRadius * 3.14159265358979)) + 0.5);
}

struct Centre {
    double x = 0, y = 0;
};

// The centre of a soft dot is where the position says: that of its luma, and that of its chroma, which is the
// mean of both channels.
TEST(OverlayFractionModel, SoftDotIsWhereItIsPut) {
    constexpr Zan::ULong32 kDot = 64, kSize = 112;
    Scene scene;
    scene.Add(Pairs(Zan::k4224, kDot, kDot));
    scene.Add(Pairs(Zan::k422, kSize, kSize));
    scene.Add(Pairs(Zan::k422, kSize, kSize));
    for (Zan::ULong32 y = 0; y < kDot; ++y) {
        for (Zan::ULong32 x = 0; x < kDot; ++x) {
            *scene.canvases[0]->PlaneAlpha(x, y) = static_cast<std::uint8_t>(SoftDot(x - 32.0, y - 32.0));
            scene.canvases[0]->Pixel(x, y)[0] = x % 2 == 0 ? 255 : 0;
            scene.canvases[0]->Pixel(x, y)[1] = 255;
        }
    }
    for (Zan::ULong32 y = 0; y < kSize; ++y) {
        for (Zan::ULong32 x = 0; x < kSize; ++x) {
            scene.canvases[1]->Pixel(x, y)[0] = 128;
            scene.canvases[1]->Pixel(x, y)[1] = 16;
        }
    }
    const auto centre = [&](bool luma) {
        Centre of;
        double sum = 0;
        for (Zan::ULong32 y = 0; y < kSize; ++y) {
            for (Zan::ULong32 x = 0; x < kSize; ++x) {
                const std::uint8_t* const pixel = scene.canvases[2]->Pixel(x, y);
                const double value = luma ? pixel[1] - 16 : x % 2 == 0 ? pixel[0] - 128 : 128 - pixel[0];
                // Both chroma samples of a pair lie at its first pixel.
                of.x += value * (luma ? x : x - x % 2);
                of.y += value * y;
                sum += value;
            }
        }
        of.x /= sum;
        of.y /= sum;
        return of;
    };
    Mixup mixup;
    double worstLuma = 0, worstChroma = 0;
    for (const bool across : {true, false}) {
        for (int step = 0; step < 400; step += kSanitized ? 25 : 1) {
            const double x = across ? step / 16.0 - 12.5 : 0, y = across ? 0 : step / 16.0 - 12.5;
            ASSERT_EQ(mixup.DoAt(scene.views[0], scene.views[1], scene.views[2], x, y, true, AnyStyle()), 0);
            const Centre luma = centre(true), chroma = centre(false);
            constexpr double kMiddle = 32 + (kSize - kDot) / 2.0;
            worstLuma = std::max({worstLuma, std::abs(luma.x - kMiddle - x), std::abs(luma.y - kMiddle - y)});
            worstChroma =
                std::max({worstChroma, std::abs(chroma.x - kMiddle - x), std::abs(chroma.y - kMiddle - y)});
        }
    }
    EXPECT_LT(worstLuma, 0.01);
    EXPECT_LT(worstChroma, 0.01);
    RecordProperty("luma", std::to_string(worstLuma));
    RecordProperty("chroma", std::to_string(worstChroma));
}

}  // namespace
