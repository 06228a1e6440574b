#include <algorithm>
#include <cmath>
#include <limits>

#include "composite/Wipe.h"

using namespace composite_test;

namespace {

TEST(SoftWipe, EveryWidthAndStyle) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const auto sampling : kSamplings) {
            for (const int style : AllStyles()) {
                for (Zan::ULong32 width = 1; width <= 37; ++width) {
                    // On 4:2:2 the key alone makes an odd width.
                    Wipe wipe(Colour(width, 3, sampling), Colour(width, 3, sampling).Padded(4, 1),
                              Format::Grey(width, 3).Padded(width % 3),
                              Colour(width, 3, sampling).Padded(8, 2));
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.55, 60.0, style));
                }
            }
        }
    });
}

TEST(SoftWipe, PositionsAndSoftnesses) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const auto sampling : kSamplings) {
            for (const int style : {0, 1, 2, 3, 5}) {
                for (const double softness : {-5.0, 0.0, 0.5, 1.0, 20.0, 100.0, 254.0, 255.0, 256.0, 300.0,
                                              1000.0, 5000.0, 32768.0, 40000.0}) {
                    for (const double position :
                         {-1.0, 0.0, 0.001, 0.1, 1.0 / 3.0, 0.5, 0.75, 0.999, 1.0, 2.0}) {
                        Wipe wipe(Colour(16, 3, sampling), Colour(16, 3, sampling), Format::Grey(16, 3),
                                  Colour(16, 3, sampling));
                        ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, position, softness, style));
                    }
                }
            }
        }
    });
}

// Every key value against black and white: the alpha itself is what comes out.
TEST(SoftWipe, AlphaOfEveryKeyValue) {
    std::uniform_real_distribution<double> positions(-0.1, 1.1);
    std::uniform_real_distribution<double> exponents(-2.0, 16.0);
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const auto sampling : kSamplings) {
            for (const int style : {1, 2, 3, 5}) {
                Wipe wipe(Colour(256, 1, sampling), Colour(256, 1, sampling), Format::Grey(256, 1),
                          Colour(256, 1, sampling));
                std::fill_n(wipe.a.ColourMemory().Data(), wipe.a.ColourMemory().Length(), std::uint8_t{0});
                std::fill_n(wipe.b.ColourMemory().Data(), wipe.b.ColourMemory().Length(), std::uint8_t{255});
                for (int round = 0; round < 12; ++round) {
                    for (int g = 0; g < 256; ++g) {
                        wipe.key.ColourMemory().Data()[(g + 37 * round) % 256] = static_cast<std::uint8_t>(g);
                    }
                    const double softness = round == 0 ? 0.0 : std::exp2(exponents(Random()));
                    ASSERT_NO_FATAL_FAILURE(
                        Check(compositor, machine, wipe, positions(Random()), softness, style));
                }
            }
        }
    });
}

TEST(SoftWipe, Ends) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (const int style : AllStyles()) {
                Wipe wipe(Colour(32, 2, sampling), Colour(32, 2, sampling), Format::Grey(32, 2),
                          Colour(32, 2, sampling));
                std::uint8_t* key = wipe.key.ColourMemory().Data();
                const std::size_t rowBytes = sampling == Zan::k4444 ? 128 : 64;
                // Position 1 with a hard edge: all of the first source.
                ASSERT_EQ(wipe.Run(compositor, 1.0, 0.0, style), 0);
                EXPECT_EQ(
                    std::memcmp(wipe.dst.ColourMemory().Data(), wipe.a.ColourMemory().Data(), 2 * rowBytes),
                    0);
                // Position 0: the second source wherever the key is above 0, the first where it is 0.
                for (int i = 0; i < 64; ++i) {
                    key[i] = static_cast<std::uint8_t>(i < 32 ? 0 : 1 + i);
                }
                ASSERT_EQ(wipe.Run(compositor, 0.0, 0.0, style), 0);
                EXPECT_EQ(std::memcmp(wipe.dst.ColourMemory().Data(), wipe.a.ColourMemory().Data(), rowBytes),
                          0);
                EXPECT_EQ(std::memcmp(wipe.dst.ColourMemory().Data() + rowBytes,
                                      wipe.b.ColourMemory().Data() + rowBytes, rowBytes),
                          0);
                if (sampling == Zan::k4224) {
                    EXPECT_EQ(std::memcmp(wipe.dst.AlphaMemory().Data(), wipe.a.AlphaMemory().Data(), 32), 0);
                    EXPECT_EQ(
                        std::memcmp(wipe.dst.AlphaMemory().Data() + 32, wipe.b.AlphaMemory().Data() + 32, 32),
                        0);
                }
            }
        }
    });
}

TEST(SoftWipe, SoftnessOf254RisesOneStepPerKeyValue) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            Wipe wipe(Format::Rgb(256, 1), Format::Rgb(256, 1), Format::Grey(256, 1), Format::Rgb(256, 1));
            for (unsigned i = 0; i < 256; ++i) {
                wipe.key.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i);
            }
            std::fill_n(wipe.a.ColourMemory().Data(), 1024, std::uint8_t{0});
            std::fill_n(wipe.b.ColourMemory().Data(), 1024, std::uint8_t{255});
            // Threshold (-254 + 509 * 254/509)/255 is 0 and the gain 1/255, 128 of 32640: the key itself.
            ASSERT_EQ(wipe.Run(compositor, 254.0 / 509.0, 254.0, style), 0);
            for (int i = 0; i < 256; ++i) {
                ASSERT_EQ(wipe.dst.ColourMemory().Data()[4 * i], i) << style;
            }
        }
    });
}

TEST(SoftWipe, SoftnessIsLimited) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (const int style : AllStyles()) {
                for (const auto& [given, meant] : {std::pair{-5.0, 0.0}, {40000.0, 32768.0}}) {
                    Wipe wipe(Colour(24, 2, sampling), Colour(24, 2, sampling), Format::Grey(24, 2),
                              Colour(24, 2, sampling));
                    ASSERT_EQ(wipe.Run(compositor, 0.6, given, style), 0);
                    const Bytes once = wipe.dst.Colour();
                    ASSERT_EQ(wipe.Run(compositor, 0.6, meant, style), 0);
                    EXPECT_EQ(once, wipe.dst.Colour());
                }
            }
        }
    });
}

TEST(SoftWipe, MissingAndOpaqueAlphaPlanes) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (int without = 0; without < 8; ++without) {
                for (const Zan::ULong32 width : {1U, 2U, 7U, 20U, 33U}) {
                    const auto sampling = [without](int bit) {
                        return (without & bit) != 0 ? Zan::k422 : Zan::k4224;
                    };
                    Wipe wipe(Format::YCrCb(width, 3, sampling(1)), Format::YCrCb(width, 3, sampling(2)),
                              Format::Grey(width, 3), Format::YCrCb(width, 3, sampling(4)));
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.4, 90.0, style));
                    // Only the second source's plane is dropped for being opaque.
                    wipe.a->SetAlphaChannelDescription(Zan::kAlphaOpaque);
                    wipe.dst->SetAlphaChannelDescription(Zan::kAlphaOpaque);
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.4, 90.0, style));
                    wipe.b->SetAlphaChannelDescription(Zan::kAlphaTransparent);
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.4, 90.0, style));
                    wipe.b->SetAlphaChannelDescription(Zan::kAlphaOpaque);
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.4, 90.0, style));
                }
            }
        }
    });
}

TEST(SoftWipe, AlphaPlanesWithoutMemory) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (int without = 1; without < 8; ++without) {
                Wipe wipe(Format::YCrCb(18, 3, Zan::k4224), Format::YCrCb(18, 3, Zan::k4224),
                          Format::Grey(18, 3), Format::YCrCb(18, 3, Zan::k4224));
                Picture* const pictures[] = {&wipe.a, &wipe.b, &wipe.dst};
                for (int i = 0; i < 3; ++i) {
                    if ((without & 1 << i) != 0) {
                        (*pictures[i])->GetImageDescriptor()->channels[3].memory =
                            Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
                    }
                }
                ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.4, 90.0, style));
            }
        }
    });
}

TEST(SoftWipe, GroupsOfAllAndNothing) {
    // Runs of one source or the other between blended pixels, in every position of a group.
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const auto sampling : kSamplings) {
            for (const int style : {0, 1, 2, 5}) {
                for (int round = 0; round < 20; ++round) {
                    Wipe wipe(Colour(64, 4, sampling), Colour(64, 4, sampling), Format::Grey(64, 4),
                              Colour(64, 4, sampling));
                    std::uint8_t* key = wipe.key.ColourMemory().Data();
                    for (int i = 0; i < 256;) {
                        const std::uint8_t value = RandomByte() % 3 == 0   ? 0
                                                   : RandomByte() % 2 == 0 ? 255
                                                                           : RandomByte();
                        for (int run = 1 + RandomByte() % 9; run > 0 && i < 256; --run) {
                            key[i++] = value;
                        }
                    }
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.5, 40.0, style));
                }
            }
        }
    });
}

TEST(SoftWipe, InPlace) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (const int style : AllStyles()) {
                for (const bool intoA : {true, false}) {
                    for (const Zan::ULong32 width : {7U, 8U, 21U, 40U, 61U}) {
                        Wipe apart(Colour(width, 3, sampling), Colour(width, 3, sampling),
                                   Format::Grey(width, 3), Colour(width, 3, sampling));
                        Picture& source = intoA ? apart.a : apart.b;
                        // What stays unwritten must look alike in both forms.
                        std::copy_n(source.ColourMemory().Data(), source.ColourMemory().Length(),
                                    apart.dst.ColourMemory().Data());
                        std::copy_n(source.AlphaMemory().Data(), source.AlphaMemory().Length(),
                                    apart.dst.AlphaMemory().Data());
                        ASSERT_EQ(apart.Run(compositor, 0.5, 80.0, style), 0);
                        Zan::ImageView& onto = intoA ? apart.viewA : apart.viewB;
                        ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(
                                      apart.viewA, apart.viewB, apart.viewKey, onto, 0.5, 80.0, Style(style)),
                                  0);
                        ASSERT_EQ(std::memcmp(source.ColourMemory().Data(), apart.dst.ColourMemory().Data(),
                                              source.ColourMemory().Length()),
                                  0)
                            << width << " style " << style << " sampling " << sampling;
                        if (sampling == Zan::k4224) {
                            ASSERT_EQ(std::memcmp(source.AlphaMemory().Data(), apart.dst.AlphaMemory().Data(),
                                                  source.AlphaMemory().Length()),
                                      0);
                        }
                    }
                }
            }
        }
    });
}

TEST(SoftWipe, ColourSpacesMix) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 2, 5}) {
            Wipe wipe(Format::YCrCb(17, 3, Zan::k4444), Format::Rgb(17, 3), Format::Grey(17, 3),
                      Format::YCrCb(17, 3, Zan::k4444));
            ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, wipe, 0.5, 30.0, style));
        }
    });
}

TEST(SoftWipe, NotANumberIsHarmless) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (const int style : AllStyles()) {
                for (const auto& [position, softness] : {std::pair{nan, 20.0}, {0.5, nan}, {nan, nan}}) {
                    // Whatever the alpha: between two equal sources there is only one blend.
                    Wipe wipe(Colour(16, 3, sampling), Colour(16, 3, sampling), Format::Grey(16, 3),
                              Colour(16, 3, sampling));
                    const std::size_t length = wipe.a.ColourMemory().Length();
                    std::copy_n(wipe.a.ColourMemory().Data(), length, wipe.b.ColourMemory().Data());
                    EXPECT_EQ(wipe.Run(compositor, position, softness, style), 0);
                    EXPECT_EQ(
                        std::memcmp(wipe.dst.ColourMemory().Data(), wipe.a.ColourMemory().Data(), length), 0);
                }
            }
        }
    });
}

}  // namespace
