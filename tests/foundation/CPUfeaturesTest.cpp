#include <TesselU/foundation/CPUfeatures.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "foundation/CopyMethod.h"
#include "foundation/FakeProbe.h"
#include "foundation/LazySingleton.h"
#include "platform/Platform.h"

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace Zan {
namespace {

using test::FakeProbe;

CapabilitySeam::Features Detect(const FakeProbe& probe) {
    return CapabilitySeam::State(*CapabilitySeam::BuildFeatures(probe));
}

FakeProbe SSE2machine() {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxFxsr | test::kEdxSse | test::kEdxSse2;
    probe.reportsMMX = true;
    probe.reportsSSE = true;
    return probe;
}

FakeProbe SSEmachine() {
    FakeProbe probe = SSE2machine();
    probe.edx &= ~test::kEdxSse2;
    return probe;
}

FakeProbe PlainMachine() {
    FakeProbe probe;
    probe.edx = test::kEdxMmx;
    probe.reportsMMX = true;
    return probe;
}

std::string RefusalOf(const FakeProbe& probe) {
    try {
        CapabilitySeam::BuildFeatures(probe);
    } catch (const std::exception& refusal) {
        return refusal.what();
    }
    return "accepted";
}

// --- detection

TEST(CPUfeaturesTest, KeepsTheWholeProcessorCount) {
    FakeProbe probe = PlainMachine();
    probe.SetProcessors(300);
    EXPECT_EQ(Detect(probe).processorCount, 300U);
}

TEST(CPUfeaturesTest, ReadsTheExtendedVersionRecord) {
    const FakeProbe probe = PlainMachine();
    const CapabilitySeam::Features state = Detect(probe);
    EXPECT_TRUE(state.hasExtendedVersionInfo);
    EXPECT_EQ(state.osVersion.platformId, 2U);
    EXPECT_EQ(probe.versionSizes, (std::vector<std::size_t>{156}));
}

TEST(CPUfeaturesTest, FallsBackToThePlainVersionRecord) {
    FakeProbe probe = PlainMachine();
    probe.givesExtendedVersion = false;
    EXPECT_FALSE(Detect(probe).hasExtendedVersionInfo);
    EXPECT_EQ(probe.versionSizes, (std::vector<std::size_t>{156, 148}));
}

TEST(CPUfeaturesTest, UnknownSystemIsRefused) {
    FakeProbe probe = SSE2machine();
    probe.givesExtendedVersion = false;
    probe.givesPlainVersion = false;
    EXPECT_EQ(RefusalOf(probe), "unknown OS");
    EXPECT_TRUE(probe.mxcsrWrites.empty());
}

TEST(CPUfeaturesTest, SystemsOfAnotherLineAreRefused) {
    for (const ULong32 platform : {0U, 1U, 3U}) {
        FakeProbe probe = SSE2machine();
        probe.executesSSE = true;
        probe.executesSSE2 = true;
        probe.platformId = platform;
        EXPECT_EQ(RefusalOf(probe), "OS not supported");
        EXPECT_TRUE(probe.mxcsrWrites.empty());
        // The other detector works there as ever.
        EXPECT_TRUE(CapabilitySeam::Detect(probe).IsSSE2supported());
    }
}

TEST(CPUfeaturesTest, TheSystemReportsMMXandSSE) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxSse;
    EXPECT_FALSE(Detect(probe).hasSSE) << "the processor's own bits do not count";
    probe.reportsSSE = true;
    EXPECT_FALSE(Detect(probe).hasSSE) << "SSE needs MMX";
    probe.reportsMMX = true;
    EXPECT_TRUE(Detect(probe).hasSSE);
    EXPECT_TRUE(Detect(probe).hasMMX);
}

TEST(CPUfeaturesTest, PlainMMXisNone) {
    EXPECT_FALSE(Detect(PlainMachine()).hasMMX);
}

TEST(CPUfeaturesTest, MMXwithTheAdditions) {
    FakeProbe probe = PlainMachine();
    probe.vendor = "AuthenticAMD";
    probe.extendedEdx = test::kExtendedMmxAdditions;
    probe.highestExtendedLeaf = 0x80000000U;
    EXPECT_FALSE(Detect(probe).hasAMDmmxExtensions) << "the leaf does not exist";
    EXPECT_FALSE(Detect(probe).hasMMX);
    probe.highestExtendedLeaf = 0x80000001U;
    EXPECT_TRUE(Detect(probe).hasAMDmmxExtensions);
    EXPECT_TRUE(Detect(probe).hasMMX);
    EXPECT_FALSE(Detect(probe).hasSSE);
    probe.extendedEdx = ~test::kExtendedMmxAdditions;
    EXPECT_FALSE(Detect(probe).hasAMDmmxExtensions);
    // Without the system's word for MMX the additions are nothing.
    probe.extendedEdx = test::kExtendedMmxAdditions;
    probe.reportsMMX = false;
    EXPECT_TRUE(Detect(probe).hasAMDmmxExtensions);
    EXPECT_FALSE(Detect(probe).hasMMX);
}

TEST(CPUfeaturesTest, SSE2needsItsBitAndSSE) {
    EXPECT_TRUE(Detect(SSE2machine()).hasSSE2);
    EXPECT_FALSE(Detect(SSEmachine()).hasSSE2);
    FakeProbe withoutSSE = SSE2machine();
    withoutSSE.reportsSSE = false;
    EXPECT_FALSE(Detect(withoutSSE).hasSSE2);
}

TEST(CPUfeaturesTest, FXSRhasItsBit) {
    FakeProbe probe = PlainMachine();
    EXPECT_FALSE(Detect(probe).hasFXSR);
    probe.edx |= test::kEdxFxsr;
    EXPECT_TRUE(Detect(probe).hasFXSR);
}

TEST(CPUfeaturesTest, Vendors) {
    FakeProbe probe = PlainMachine();
    CapabilitySeam::Features state = Detect(probe);
    EXPECT_TRUE(state.vendorIsIntel);
    EXPECT_FALSE(state.vendorIsAMD);
    EXPECT_EQ(state.vendor, "GenuineIntel");
    EXPECT_EQ(state.amdVendor, "AuthenticAMD");
    EXPECT_EQ(state.intelVendor, "GenuineIntel");
    probe.vendor = "AuthenticAMD";
    state = Detect(probe);
    EXPECT_FALSE(state.vendorIsIntel);
    EXPECT_TRUE(state.vendorIsAMD);
    probe.vendor = "CentaurHauls";
    state = Detect(probe);
    EXPECT_FALSE(state.vendorIsIntel);
    EXPECT_FALSE(state.vendorIsAMD);
    EXPECT_EQ(state.vendor, "CentaurHauls");
}

TEST(CPUfeaturesTest, HyperThreadingCountsOnIntelOnly) {
    FakeProbe probe = PlainMachine();
    probe.ebx = 0x12045678;
    CapabilitySeam::Features state = Detect(probe);
    EXPECT_FALSE(state.hyperThreading);
    EXPECT_EQ(state.logicalPerPackage, 1U);
    probe.edx |= test::kEdxHyperThreading;
    state = Detect(probe);
    EXPECT_TRUE(state.hyperThreading);
    EXPECT_EQ(state.logicalPerPackage, 4U);
    probe.vendor = "AuthenticAMD";
    state = Detect(probe);
    EXPECT_FALSE(state.hyperThreading);
    EXPECT_EQ(state.logicalPerPackage, 1U);
}

TEST(CPUfeaturesTest, FaultingCPUIDlowersTheAnswer) {
    FakeProbe probe = SSE2machine();
    probe.cpuidFaults = true;
    const CapabilitySeam::Features state = Detect(probe);
    EXPECT_TRUE(state.hasMMX);
    EXPECT_TRUE(state.hasSSE);
    EXPECT_FALSE(state.hasSSE2);
    EXPECT_FALSE(state.hasFXSR);
    EXPECT_FALSE(state.vendorIsAMD);
    EXPECT_FALSE(state.vendorIsIntel);
    EXPECT_FALSE(state.hyperThreading);
    EXPECT_EQ(state.logicalPerPackage, 1U);
}

TEST(CPUfeaturesTest, SwitchesStartAtTheAbilities) {
    for (const FakeProbe& probe : {PlainMachine(), SSEmachine(), SSE2machine()}) {
        const auto features = CapabilitySeam::BuildFeatures(probe);
        const CapabilitySeam::Features state = CapabilitySeam::State(*features);
        EXPECT_EQ(state.useMMX, state.hasMMX);
        EXPECT_EQ(state.useSSE, state.hasSSE);
        EXPECT_EQ(state.useSSE2, state.hasSSE2);
        EXPECT_EQ(features->IsMMXusable(), state.hasMMX);
        EXPECT_EQ(features->IsSSEusable(), state.hasSSE);
        EXPECT_EQ(features->IsSSE2usable(), state.hasSSE2);
    }
}

TEST(CPUfeaturesTest, UsableNeedsAbilityAndSwitch) {
    const FakeProbe able = SSE2machine();
    const auto features = CapabilitySeam::BuildFeatures(able);
    CapabilitySeam::UseMMX(*features, false);
    EXPECT_FALSE(features->IsMMXusable());
    EXPECT_TRUE(features->IsSSEusable());
    CapabilitySeam::UseSSE(*features, false);
    EXPECT_FALSE(features->IsSSEusable());
    EXPECT_TRUE(features->IsSSE2usable());
    CapabilitySeam::UseSSE2(*features, false);
    EXPECT_FALSE(features->IsSSE2usable());

    const FakeProbe unable = PlainMachine();
    const auto plain = CapabilitySeam::BuildFeatures(unable);
    CapabilitySeam::UseMMX(*plain, true);
    CapabilitySeam::UseSSE(*plain, true);
    CapabilitySeam::UseSSE2(*plain, true);
    EXPECT_FALSE(plain->IsMMXusable());
    EXPECT_FALSE(plain->IsSSEusable());
    EXPECT_FALSE(plain->IsSSE2usable());
}

// --- the SSE control register

TEST(CPUfeaturesTest, ControlRegisterBits) {
    const struct {
        bool sse2;
        ULong32 before, after;
    } rows[] = {
        {false, 0x1F80, 0x9F80},  // as after power-up: flush to zero is added
        {true, 0x1F80, 0x9FC0},   // and denormals are zero
        {false, 0x7F80, 0x9F80},  // rounding back to nearest
        {true, 0x0000, 0x9940},   // three exceptions masked, the others as they were
        {false, 0x003F, 0x993F},  // sticky flags stay
    };
    for (const auto& row : rows) {
        FakeProbe probe = row.sse2 ? SSE2machine() : SSEmachine();
        probe.mxcsr = row.before;
        const auto features = CapabilitySeam::BuildFeatures(probe);
        const CapabilitySeam::Features state = CapabilitySeam::State(*features);
        EXPECT_EQ(probe.mxcsr, row.after) << std::hex << row.before;
        EXPECT_EQ(probe.mxcsrWrites, (std::vector<ULong32>{row.after}));
        EXPECT_EQ(state.savedMXCSR, row.before);
        EXPECT_TRUE(state.mxcsrChanged);
    }
}

TEST(CPUfeaturesTest, ControlRegisterThatFitsIsLeftAlone) {
    FakeProbe probe = SSE2machine();
    probe.mxcsr = 0x9FC0;
    const auto features = CapabilitySeam::BuildFeatures(probe);
    EXPECT_TRUE(probe.mxcsrWrites.empty());
    EXPECT_FALSE(CapabilitySeam::State(*features).mxcsrChanged);
}

TEST(CPUfeaturesTest, ControlRegisterThatFaultsIsNotMarkedChanged) {
    FakeProbe probe = SSE2machine();
    probe.writesMXCSR = false;
    auto features = CapabilitySeam::BuildFeatures(probe);
    EXPECT_EQ(CapabilitySeam::State(*features).savedMXCSR, 0x1F80U);
    EXPECT_FALSE(CapabilitySeam::State(*features).mxcsrChanged);
    const std::size_t writes = probe.mxcsrWrites.size();
    features.reset();
    EXPECT_EQ(probe.mxcsrWrites.size(), writes);
}

TEST(CPUfeaturesTest, WithoutSSEtheControlRegisterIsNotTouched) {
    const FakeProbe probe = PlainMachine();
    CapabilitySeam::BuildFeatures(probe);
    EXPECT_TRUE(probe.mxcsrWrites.empty());
    EXPECT_EQ(probe.mxcsr, 0x1F80U);
}

TEST(CPUfeaturesTest, DestructionRestoresWhatWasChanged) {
    const FakeProbe probe = SSE2machine();
    auto features = CapabilitySeam::BuildFeatures(probe);
    ASSERT_EQ(probe.mxcsr, 0x9FC0U);
    EXPECT_FALSE(CapabilitySeam::State(*features).fpuControlChanged);
    features.reset();
    EXPECT_EQ(probe.mxcsr, 0x1F80U);
    EXPECT_TRUE(probe.fpuWrites.empty());
}

// --- the singleton

TEST(CPUfeaturesTest, OneInstanceForAll) {
    CPUfeatures* first = nullptr;
    CPUfeatures* second = nullptr;
    // On threads of their own: construction tunes the control register of its thread.
    std::thread([&] { first = CPUfeatures::Instance(); }).join();
    std::thread([&] { second = CPUfeatures::Instance(); }).join();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->IsSSE2usable(), classCapabilities[0].IsSSE2supported());
}

#if defined(__SSE__)
TEST(CPUfeaturesTest, OtherThreadsKeepTheirControlRegister) {
    std::thread([] { CPUfeatures::Instance(); }).join();
    std::thread([] {
        const unsigned before = _mm_getcsr();
        CPUfeatures::Instance();
        EXPECT_EQ(_mm_getcsr(), before);
    }).join();
}
#endif

#if defined(__SSE2__)
TEST(CPUfeaturesTest, ConstructingThreadIsTunedUntilDestruction) {
    std::thread([] {
        const unsigned before = _mm_getcsr();
        auto features = CapabilitySeam::BuildFeatures(SystemProcessorProbe());
        EXPECT_EQ(_mm_getcsr() & 0xE040U, 0x8040U) << "flush to zero, denormals are zero, round to nearest";
        features.reset();
        EXPECT_EQ(_mm_getcsr(), before);
    }).join();
}
#endif

TEST(CPUfeaturesTest, ThreadThatMeetsTheConstructionGetsNull) {
    LazySingleton<int> singleton;
    int object = 7;
    int* meanwhile = &object;
    bool built = false;
    int* const made = singleton.Get([&] {
        std::thread([&] {
            meanwhile = singleton.Get([&] {
                built = true;
                return &object;
            });
        }).join();
        return &object;
    });
    EXPECT_EQ(made, &object);
    EXPECT_EQ(meanwhile, nullptr);
    EXPECT_FALSE(built) << "only the first thread builds";
    EXPECT_EQ(singleton.Get([]() -> int* { return nullptr; }), &object) << "built once";
}

TEST(CPUfeaturesTest, EveryThreadThatIsAnsweredGetsTheSameObject) {
    for (int round = 0; round < 200; ++round) {
        LazySingleton<int> singleton;
        std::atomic<int> builds{0};
        int object = 0;
        const auto build = [&] {
            ++builds;
            return &object;
        };
        std::vector<std::thread> threads;
        std::vector<int*> answers(4, nullptr);
        for (int*& answer : answers) {
            threads.emplace_back([&] { answer = singleton.Get(build); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (int* const answer : answers) {
            EXPECT_TRUE(answer == nullptr || answer == &object);
        }
        EXPECT_EQ(singleton.Get(build), &object);
        EXPECT_EQ(builds, 1);
    }
}

TEST(CPUfeaturesTest, ConstructionThatThrowsPassesThroughAndIsTriedAgain) {
    LazySingleton<int> singleton;
    int object = 0;
    EXPECT_THROW(singleton.Get([]() -> int* { throw std::runtime_error("OS not supported"); }),
                 std::runtime_error);
    EXPECT_EQ(singleton.Get([&] { return &object; }), &object);
}

TEST(CPUfeaturesTest, FailedAllocationIsTriedAgain) {
    LazySingleton<int> singleton;
    int object = 0;
    EXPECT_EQ(singleton.Get([]() -> int* { return nullptr; }), nullptr);
    EXPECT_EQ(singleton.Get([&] { return &object; }), &object);
}

// --- copying and filling

TEST(CPUfeaturesTest, CopyMethodFollowsAbilityAndAlignment) {
    alignas(64) static unsigned char memory[64];
    unsigned char* const at0 = memory;
    unsigned char* const at8 = memory + 8;
    unsigned char* const at1 = memory + 1;
    const struct {
        bool sse2, mmx;
        const unsigned char *dst, *src;
        Long32 count;
        CopyMethod method;
    } rows[] = {
        {true, true, at0, at0, 1440, CopyMethod::kLinesSSE2},
        {true, true, at0, at0, 2880, CopyMethod::kLinesSSE2},
        {true, true, at0, at0, 1441, CopyMethod::kMaskedSSE2},
        {true, true, at8, at0, 1440, CopyMethod::kMaskedSSE2},
        {true, true, at0, at8, 1440, CopyMethod::kMaskedSSE2},
        {true, true, at1, at1, 1440, CopyMethod::kMaskedSSE2},
        {true, true, at0, at0, 16, CopyMethod::kMaskedSSE2},
        {true, false, at0, at0, 1440, CopyMethod::kLinesSSE2},
        {true, false, at1, at0, 7, CopyMethod::kMaskedSSE2},
        {false, true, at0, at8, 1440, CopyMethod::kLinesMMX},
        {false, true, at8, at8, 2880, CopyMethod::kLinesMMX},
        {false, true, at8, at0, 2048, CopyMethod::kBlocksMMX},
        {false, true, at0, at0, 1, CopyMethod::kBlocksMMX},
        {false, true, at1, at0, 1440, CopyMethod::kMaskedMMX},
        {false, true, at0, at1, 2048, CopyMethod::kMaskedMMX},
        {false, true, at0 + 4, at0, 64, CopyMethod::kMaskedMMX},
        {false, false, at0, at0, 1440, CopyMethod::kWords},
        {false, false, at1, at0, 3, CopyMethod::kWords},
        {true, true, at0, at0, 0, CopyMethod::kNothing},
        {true, true, at0, at0, -1440, CopyMethod::kNothing},
        {false, false, at0, at0, 0, CopyMethod::kNothing},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ChooseCopyMethod(row.sse2, row.mmx, row.dst, row.src, row.count), row.method)
            << "row " << (&row - rows);
    }
}

TEST(CPUfeaturesTest, FillStepFollowsAbilityAndAlignment) {
    alignas(16) static ULong32 memory[8];
    const struct {
        bool sse2, mmx;
        const ULong32* dst;
        ULong32 count, step;
    } rows[] = {
        {true, true, memory, 8, 8},      {true, true, memory, 7, 4},     {true, true, memory, 4, 4},
        {true, true, memory, 3, 1},      {true, true, memory + 1, 8, 4}, {true, false, memory + 1, 8, 1},
        {true, false, memory, 8, 8},     {true, false, memory, 7, 1},    {false, true, memory, 100, 4},
        {false, true, memory + 1, 4, 4}, {false, true, memory, 3, 1},    {false, false, memory, 100, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ChooseFillStep(row.sse2, row.mmx, row.dst, row.count), row.step) << "row " << (&row - rows);
    }
}

class CPUfeaturesMovesTest : public testing::TestWithParam<int> {
protected:
    // 0: a plain processor, 1: the MMX additions alone, 2: SSE2.
    void SetUp() override {
        if (GetParam() == 1) {
            probe = SSEmachine();
        } else if (GetParam() == 2) {
            probe = SSE2machine();
        } else {
            probe = PlainMachine();
        }
        features = CapabilitySeam::BuildFeatures(probe);
        ASSERT_EQ(features->IsMMXusable(), GetParam() >= 1);
        ASSERT_EQ(features->IsSSE2usable(), GetParam() == 2);
    }

    FakeProbe probe;
    CapabilitySeam::FeaturesPtr features;
};

constexpr unsigned char kGuard = 0xA5;
constexpr std::size_t kGuardBytes = 64;

TEST_P(CPUfeaturesMovesTest, CopyBytesCopiesExactlyTheBytesAskedFor) {
    std::vector<Long32> lengths(130);
    std::iota(lengths.begin(), lengths.end(), 0);
    for (const Long32 around : {1440, 2048, 2880, 4096, 4320, 14400}) {
        for (Long32 length = around - 17; length <= around + 17; ++length) {
            lengths.push_back(length);
        }
    }
    constexpr std::size_t kRoom = 14400 + 17 + 16 + 2 * kGuardBytes;
    const auto source = std::make_unique<unsigned char[]>(kRoom + 64);
    const auto target = std::make_unique<unsigned char[]>(kRoom + 64);
    const auto aligned = [](unsigned char* at) {
        return at + (64 - reinterpret_cast<std::uintptr_t>(at) % 64) % 64;
    };
    for (std::size_t i = 0; i < kRoom + 64; ++i) {
        source[i] = static_cast<unsigned char>(i * 7 + i / 256);
    }
    for (const std::size_t dstOffset : std::initializer_list<std::size_t>{0, 1, 3, 4, 8, 15}) {
        for (const std::size_t srcOffset : std::initializer_list<std::size_t>{0, 1, 2, 8, 12}) {
            for (const Long32 length : lengths) {
                unsigned char* const src = aligned(source.get()) + srcOffset;
                unsigned char* const block = aligned(target.get());
                unsigned char* const dst = block + kGuardBytes + dstOffset;
                const auto bytes = static_cast<std::size_t>(length);
                std::fill(block, dst + bytes + kGuardBytes, kGuard);
                features->CopyBytes(dst, src, length);
                ASSERT_TRUE(std::equal(dst, dst + bytes, src))
                    << "dst +" << dstOffset << ", src +" << srcOffset << ", " << length << " bytes";
                ASSERT_TRUE(std::all_of(block, dst, [](unsigned char byte) { return byte == kGuard; }))
                    << "before: dst +" << dstOffset << ", " << length << " bytes";
                ASSERT_TRUE(std::all_of(dst + bytes, dst + bytes + kGuardBytes,
                                        [](unsigned char byte) { return byte == kGuard; }))
                    << "behind: dst +" << dstOffset << ", " << length << " bytes";
            }
        }
    }
}

TEST_P(CPUfeaturesMovesTest, CopyBytesDoesNothingForNoBytes) {
    unsigned char from[4] = {1, 2, 3, 4};
    unsigned char to[4] = {9, 9, 9, 9};
    for (const Long32 count : {Long32{0}, Long32{-1}, Long32{-1440}, std::numeric_limits<Long32>::min()}) {
        features->CopyBytes(to, from, count);
        features->CopyBytes(nullptr, nullptr, count);
    }
    for (const unsigned char byte : to) {
        EXPECT_EQ(byte, 9);
    }
}

TEST_P(CPUfeaturesMovesTest, FillWordsFillsExactlyTheWordsAskedFor) {
    constexpr ULong32 kGuardWord = 0xA5A5A5A5U;
    constexpr std::size_t kGuardWords = 8;
    alignas(64) ULong32 memory[256];
    std::vector<ULong32> counts(73);
    std::iota(counts.begin(), counts.end(), 0U);
    counts.push_back(200);
    for (const std::size_t offset : std::initializer_list<std::size_t>{0, 1, 2, 3, 4}) {
        for (const ULong32 count : counts) {
            std::fill(std::begin(memory), std::end(memory), kGuardWord);
            ULong32* const dst = memory + kGuardWords + offset;
            features->FillWords(dst, 0x12345678U, count);
            for (std::size_t word = 0; word < std::size(memory); ++word) {
                const bool filled = word >= kGuardWords + offset && word < kGuardWords + offset + count;
                ASSERT_EQ(memory[word], filled ? 0x12345678U : kGuardWord)
                    << "word " << word << ", offset " << offset << ", count " << count;
            }
        }
    }
}

std::string AbilityName(const testing::TestParamInfo<int>& ability) {
    return ability.param == 0 ? "Plain" : ability.param == 1 ? "MMX" : "SSE2";
}

INSTANTIATE_TEST_SUITE_P(Abilities, CPUfeaturesMovesTest, testing::Values(0, 1, 2), AbilityName);

}  // namespace
}  // namespace Zan
