#include <algorithm>

#include "composite/Pictures.h"

using namespace composite_test;

namespace {

enum Kernel { kFloatKernel, kIntegerKernel, kMmxKernel, kSseKernel, kSse2Kernel };

Kernel KernelOf(unsigned codePath, const Machine& machine) {
    if (codePath == 0) {
        return kFloatKernel;
    }
    if (codePath == 1) {
        return kIntegerKernel;
    }
    if (machine.HasSse2()) {
        return kSse2Kernel;
    }
    return machine.TakesSse() ? kSseKernel : kMmxKernel;
}

std::uint8_t Dissolve(Kernel kernel, bool tail, double fade, unsigned a, unsigned b) {
    if (kernel == kFloatKernel) {
        return static_cast<std::uint8_t>(b * (1.0 - fade) + a * fade + 0.5);
    }
    if (kernel == kIntegerKernel || kernel == kSse2Kernel) {
        const unsigned w = static_cast<unsigned>(fade * 256.0 + 0.5);
        return static_cast<std::uint8_t>((w * a + (256 - w) * b + 128) >> 8);
    }
    const unsigned w = static_cast<unsigned>(fade * 255.0 + 0.5);
    const unsigned t = w * a + (255 - w) * b + 128;
    return static_cast<std::uint8_t>((tail ? t : t + (t >> 8)) >> 8);
}

// Whole pixels: toward zero, in the SSE2 kernel by clearing the two low bits.
std::ptrdiff_t WalkedPitch(Kernel kernel, std::ptrdiff_t pitch) {
    return kernel == kSse2Kernel ? (pitch & ~std::ptrdiff_t{3}) : pitch / 4 * 4;
}

void Expect(Kernel kernel, const PlaneModel& a, const PlaneModel& b, PlaneModel& dst, unsigned width,
            unsigned height, double fade) {
    fade = std::clamp(fade, 0.0, 1.0);
    const unsigned block = kernel == kMmxKernel ? 8 : kernel == kSseKernel || kernel == kSse2Kernel ? 16 : 1;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            for (unsigned c = 0; c < 4; ++c) {
                dst.AtPitch(WalkedPitch(kernel, dst.pitch), y, 4 * x + c) =
                    Dissolve(kernel, x >= width / block * block, fade,
                             a.AtPitch(WalkedPitch(kernel, a.pitch), y, 4 * x + c),
                             b.AtPitch(WalkedPitch(kernel, b.pitch), y, 4 * x + c));
            }
        }
    }
}

const double kFades[] = {-0.5, 0.0, 0.001, 0.25, 1.0 / 3.0, 0.5, 0.7, 0.998, 1.0, 1.5};

class CrossDissolve : public ::testing::Test {
protected:
    // One call on random pictures, everything around them compared too.
    void Check(Zan::ZanCompositor& compositor, const Machine& machine, unsigned codePath, unsigned width,
               unsigned height, std::ptrdiff_t pitchA, std::ptrdiff_t pitchB, std::ptrdiff_t pitchDst,
               double fade, std::size_t shift = 0) {
        SCOPED_TRACE(::testing::Message()
                     << "path " << codePath << ", " << width << "x" << height << ", pitches " << pitchA << " "
                     << pitchB << " " << pitchDst << ", fade " << fade << ", shift " << shift);
        RawPlane a(4 * width, height, pitchA, shift);
        RawPlane b(4 * width, height, pitchB, (shift * 3) % 64);
        RawPlane dst(4 * width, height, pitchDst, (shift * 5) % 64);
        const PlaneModel aBefore = a.Model();
        const PlaneModel bBefore = b.Model();
        PlaneModel expected = dst.Model();
        Expect(KernelOf(codePath, machine), aBefore, bBefore, expected, width, height, fade);
        ASSERT_EQ(compositor.CrossDissolve(a.Words(), b.Words(), dst.Words(), width, height, a.Pitch(),
                                           b.Pitch(), dst.Pitch(), fade, codePath),
                  0);
        ASSERT_TRUE(Matches(expected, dst.Memory()));
        ASSERT_TRUE(Matches(aBefore, a.Memory())) << "the first source changed";
        ASSERT_TRUE(Matches(bBefore, b.Memory())) << "the second source changed";
    }
};

TEST_F(CrossDissolve, EveryWidthAroundTheBlocks) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (unsigned width = 0; width <= 67; ++width) {
                const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
                ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, width, 3, row, row + 4, row + 32,
                                              kFades[width % std::size(kFades)]));
            }
        }
    });
}

TEST_F(CrossDissolve, EveryFade) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (const double fade : kFades) {
                ASSERT_NO_FATAL_FAILURE(
                    Check(compositor, machine, path, 720 % 100 + 17, 4, 160, 160, 160, fade));
            }
        }
        for (int step = 0; step <= 512; ++step) {
            ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, 2, 37, 1, 148, 148, 148, step / 512.0));
        }
    });
}

TEST_F(CrossDissolve, PitchesAreCutToWholePixels) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
                for (const std::ptrdiff_t sign : {1, -1}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 21, 5, sign * (84 + odd),
                                                  -sign * (92 + 3 - odd), sign * (100 + (odd + 1) % 4), 0.4));
                }
            }
        }
    });
}

TEST_F(CrossDissolve, AnyAddress) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (std::size_t shift = 0; shift < 64; ++shift) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 35, 2, 140, 140, 140, 0.6, shift));
            }
        }
    });
}

TEST_F(CrossDissolve, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (std::size_t shift = 0; shift < 64; shift += shift < 9 ? 1 : 7) {
                for (const std::ptrdiff_t odd : {0, 1, 6}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 205, 3, 820 + odd, 820,
                                                  shift % 2 == 0 ? 820 + odd : -(828 + odd), 0.6, shift));
                }
            }
        }
    });
}

TEST_F(CrossDissolve, HeightsFromNothing) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (unsigned height = 0; height <= 5; ++height) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 33, height, 136, 132, -132, 0.3));
            }
        }
    });
}

TEST_F(CrossDissolve, AllPairsOfSamples) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            const Kernel kernel = KernelOf(path, machine);
            for (const double fade : {0.0, 0.3, 0.5, 0.9, 1.0}) {
                // Samples (a, b) at column a and row b; 255 columns leave a tail behind every block.
                for (const unsigned width : {256U, 255U}) {
                    std::vector<Zan::ULong32> a(256 * width);
                    std::vector<Zan::ULong32> b(256 * width);
                    std::vector<Zan::ULong32> dst(256 * width);
                    for (unsigned y = 0; y < 256; ++y) {
                        for (unsigned x = 0; x < width; ++x) {
                            a[y * width + x] = 0x01010101U * ((x + 256 - width) & 255U);
                            b[y * width + x] = 0x01010101U * y;
                        }
                    }
                    const auto pitch = static_cast<Zan::Long32>(4 * width);
                    ASSERT_EQ(compositor.CrossDissolve(a.data(), b.data(), dst.data(), width, 256, pitch,
                                                       pitch, pitch, fade, path),
                              0);
                    const unsigned block = kernel == kMmxKernel ? 8 : 16;
                    for (unsigned y = 0; y < 256; ++y) {
                        for (unsigned x = 0; x < width; ++x) {
                            ASSERT_EQ(dst[y * width + x],
                                      0x01010101U * Dissolve(kernel, x >= width / block * block, fade,
                                                             a[y * width + x] & 255U, y))
                                << "path " << path << " fade " << fade << " a " << (a[y * width + x] & 255U)
                                << " b " << y;
                        }
                    }
                }
            }
        }
    });
}

TEST_F(CrossDissolve, FadeOneOnWeightsOf256IsTheFirstSource) {
    Zan::ScopedInstructionSet scope(Zan::kSSE2);
    Zan::ZanCompositor compositor;
    for (const unsigned path : {1U, 2U}) {
        std::vector<Zan::ULong32> a(61);
        std::vector<Zan::ULong32> b(61);
        std::vector<Zan::ULong32> dst(61);
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = static_cast<Zan::ULong32>(Random()());
            b[i] = static_cast<Zan::ULong32>(Random()());
        }
        EXPECT_EQ(compositor.CrossDissolve(a.data(), b.data(), dst.data(), 61, 1, 244, 244, 244, 1.0, path),
                  0);
        EXPECT_EQ(dst, a);
        EXPECT_EQ(compositor.CrossDissolve(a.data(), b.data(), dst.data(), 61, 1, 244, 244, 244, 0.0, path),
                  0);
        EXPECT_EQ(dst, b);
    }
}

TEST_F(CrossDissolve, TailOfTheWeightsOf255IsOneLower) {
    for (const Machine machine : {Machine{Zan::kMMX, false}, Machine{Zan::kSSE_MMX, false}}) {
        Zan::ScopedInstructionSet scope(machine.set);
        Zan::ZanCompositor compositor;
        const std::size_t block = machine.set == Zan::kMMX ? 8 : 16;
        std::vector<Zan::ULong32> white(block + 3, 0xFFFFFFFFU);
        std::vector<Zan::ULong32> dst(block + 3);
        const auto width = static_cast<Zan::ULong32>(white.size());
        const auto pitch = static_cast<Zan::Long32>(4 * width);
        EXPECT_EQ(compositor.CrossDissolve(white.data(), white.data(), dst.data(), width, 1, pitch, pitch,
                                           pitch, 0.5, 2),
                  0);
        for (std::size_t x = 0; x < dst.size(); ++x) {
            EXPECT_EQ(dst[x], x < block ? 0xFFFFFFFFU : 0xFEFEFEFEU) << x;
        }
        // Below one block all is tail.
        std::fill(dst.begin(), dst.end(), 0U);
        EXPECT_EQ(
            compositor.CrossDissolve(white.data(), white.data(), dst.data(),
                                     static_cast<Zan::ULong32>(block - 1), 1, pitch, pitch, pitch, 1.0, 2),
            0);
        for (std::size_t x = 0; x < dst.size(); ++x) {
            EXPECT_EQ(dst[x], x < block - 1 ? 0xFEFEFEFEU : 0U) << x;
        }
    }
}

TEST_F(CrossDissolve, InPlace) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned path = 0; path <= 2; ++path) {
            for (const bool intoA : {true, false}) {
                for (const unsigned width : {5U, 16U, 39U, 61U}) {
                    const std::ptrdiff_t pitch = 4 * static_cast<std::ptrdiff_t>(width) + 8;
                    RawPlane a(4 * width, 3, pitch);
                    RawPlane b(4 * width, 3, pitch);
                    RawPlane& dst = intoA ? a : b;
                    PlaneModel expected = dst.Model();
                    Expect(KernelOf(path, machine), a.Model(), b.Model(), expected, width, 3, 0.37);
                    ASSERT_EQ(compositor.CrossDissolve(a.Words(), b.Words(), dst.Words(), width, 3, a.Pitch(),
                                                       b.Pitch(), dst.Pitch(), 0.37, path),
                              0);
                    ASSERT_TRUE(Matches(expected, dst.Memory())) << "path " << path << " width " << width;
                }
            }
        }
    });
}

TEST_F(CrossDissolve, OtherPathsAreRefused) {
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {3U, 4U, 5U, 6U, 100U, 0xFFFFFFFFU}) {
            RawPlane a(64, 2, 64);
            RawPlane dst(64, 2, 64);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(
                compositor.CrossDissolve(a.Words(), a.Words(), dst.Words(), 16, 2, 64, 64, 64, 0.5, path),
                100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

TEST(CompositorObject, CopiesTheFlag) {
    // With integer SSE and no SSE2 the flag is what decides between a refusal and a result.
    Zan::ScopedInstructionSet scope(Zan::kSIMD);
    std::vector<Zan::ULong32> a(8, 0);
    unsigned char out[8] = {};
    const auto takesSse = [&](Zan::ZanCompositor& compositor) {
        return compositor.SumOfAbsDiffs(a.data(), a.data(), out, 8, 1, 32, 32, 8, 2) == 0;
    };
    Zan::ZanCompositor fresh;
    EXPECT_TRUE(takesSse(fresh));
    Zan::ZanCompositor flagged;
    flagged.SetMMXonlyStyle(true);
    EXPECT_FALSE(takesSse(flagged));
    Zan::ZanCompositor copy(flagged);
    EXPECT_FALSE(takesSse(copy));
    EXPECT_EQ(&(fresh = flagged), &fresh);
    EXPECT_FALSE(takesSse(fresh));
    flagged.SetMMXonlyStyle(false);
    EXPECT_TRUE(takesSse(flagged));
    EXPECT_FALSE(takesSse(fresh));
}

TEST(CompositorObject, NoRowsNeedNoPlanes) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const Zan::ULong32 width : {0U, 7U, 61U}) {
            for (const unsigned path : {0U, 1U, 2U}) {
                EXPECT_EQ(
                    compositor.CrossDissolve(nullptr, nullptr, nullptr, width, 0, 244, -244, 244, 0.5, path),
                    0);
            }
            EXPECT_EQ(compositor.CompositeTwoSources(nullptr, nullptr, nullptr, width, 0, 244, 244, 244, 2),
                      0);
            for (const unsigned path : {1U, 2U}) {
                EXPECT_EQ(compositor.CompositeTwoSrcAndAlpha(nullptr, nullptr, nullptr, nullptr, width, 0,
                                                             244, 244, 61, 244, path),
                          0);
                EXPECT_EQ(
                    compositor.CompositeTwoSrcAndAlphaGradient(nullptr, nullptr, nullptr, nullptr, width, 0,
                                                               244, 244, 61, 244, 0.5, 1.0, path),
                    0);
                EXPECT_EQ(compositor.SumOfAbsDiffs(nullptr, nullptr, nullptr, width, 0, 244, 244, 61, path),
                          path == 1 || machine.TakesSse() ? 0 : 100);
            }
            EXPECT_EQ(compositor.XSubPixelPosition(nullptr, nullptr, width, 0, 244, 244, 0.5, 1), 0);
        }
    });
}

}  // namespace
