#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>

#include "foundation/CapabilitySeam.h"
#include "foundation/ClassCapabilities.h"
#include "foundation/FakeProbe.h"
#include "foundation/FeatureProbe.h"

namespace Zan {
namespace {

using test::FakeProbe;

struct Abilities {
    CPUinstructionSetEnum set;
    bool mmx, sseMmx, simd, sse2;
};

void ExpectAbilities(const CPUcapabilities& found, const Abilities& expected) {
    EXPECT_EQ(found.WhichInstructionSetIsSupported(), expected.set);
    EXPECT_FALSE(found.IsScalarOnly());
    EXPECT_EQ(found.IsMMXsupported(), expected.mmx);
    EXPECT_EQ(found.IsSSE_MMXsupported(), expected.sseMmx);
    EXPECT_EQ(found.IsSIMDsupported(), expected.simd);
    EXPECT_EQ(found.IsSSE2supported(), expected.sse2);
}

constexpr Abilities kAbleMMX = {kMMX, true, false, false, false};
constexpr Abilities kAbleSSE_MMX = {kSSE_MMX, true, true, false, false};
constexpr Abilities kAbleSIMD = {kSIMD, true, true, true, false};
constexpr Abilities kAbleSSE2 = {kSSE2, true, true, true, true};

TEST(CPUcapabilitiesTest, AnswersFollowTheInstructionSet) {
    const struct {
        CPUinstructionSetEnum set;
        bool scalar, mmx, sseMmx, simd, sse2;
    } rows[] = {
        {kScalarOnly, true, false, false, false, false},
        {kMMX, false, true, false, false, false},
        {kSSE_MMX, false, true, true, false, false},
        {kSIMD, false, true, true, true, false},
        {kSSE2, false, true, true, true, true},
        {static_cast<CPUinstructionSetEnum>(5), false, false, false, false, false},
    };
    CPUcapabilities capabilities;
    for (const auto& row : rows) {
        CapabilitySeam::SetInstructionSet(capabilities, row.set);
        EXPECT_EQ(capabilities.WhichInstructionSetIsSupported(), row.set);
        EXPECT_EQ(capabilities.IsScalarOnly(), row.scalar) << row.set;
        EXPECT_EQ(capabilities.IsMMXsupported(), row.mmx) << row.set;
        EXPECT_EQ(capabilities.IsSSE_MMXsupported(), row.sseMmx) << row.set;
        EXPECT_EQ(capabilities.IsSIMDsupported(), row.simd) << row.set;
        EXPECT_EQ(capabilities.IsSSE2supported(), row.sse2) << row.set;
    }
}

TEST(CPUcapabilitiesTest, MMXonlyProcessor) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleMMX);
}

TEST(CPUcapabilitiesTest, FloorIsMMXevenWithoutMMX) {
    const FakeProbe probe;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleMMX);
}

TEST(CPUcapabilitiesTest, FaultingCPUIDLeavesTheFloor) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxSse | test::kEdxSse2;
    probe.executesSSE = true;
    probe.cpuidFaults = true;
    const CPUcapabilities found = CapabilitySeam::Detect(probe);
    ExpectAbilities(found, kAbleMMX);
    EXPECT_EQ(CapabilitySeam::HyperThreadingState(found), 0U);
}

TEST(CPUcapabilitiesTest, SSEwithoutOperatingSystemSupport) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxSse;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE_MMX);
}

TEST(CPUcapabilitiesTest, SSE2thatFaults) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxSse | test::kEdxSse2;
    probe.executesSSE = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSIMD);
}

TEST(CPUcapabilitiesTest, SSE2processor) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx | test::kEdxSse | test::kEdxSse2;
    probe.executesSSE = true;
    probe.executesSSE2 = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE2);
}

TEST(CPUcapabilitiesTest, ExecutionAloneDecidesSSE2) {
    FakeProbe probe;
    probe.executesSSE2 = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE2);
    probe.cpuidFaults = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE2);
}

TEST(CPUcapabilitiesTest, SSEisNotTriedWithoutItsBit) {
    FakeProbe probe;
    probe.edx = test::kEdxMmx;
    probe.executesSSE = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleMMX);
}

TEST(CPUcapabilitiesTest, SSEbitCountsWithoutTheFeatureFlags) {
    FakeProbe probe;
    probe.edx = test::kEdxSse;
    probe.executesSSE = true;
    probe.faultingLeaves = {0x80000000U};
    ASSERT_EQ(ProbeFeatures(probe), 0U);
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSIMD);
}

TEST(CPUcapabilitiesTest, SSEbitCountsForEveryVendor) {
    for (const char* vendor : {"GenuineIntel", "AuthenticAMD", "CentaurHauls", "            "}) {
        FakeProbe probe;
        probe.vendor = vendor;
        probe.edx = test::kEdxSse;
        probe.executesSSE = true;
        ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSIMD);
    }
}

TEST(CPUcapabilitiesTest, AMDextensionsCountForAMDonly) {
    FakeProbe probe;
    probe.vendor = "AuthenticAMD";
    probe.edx = test::kEdxMmx;
    probe.highestExtendedLeaf = 0x80000005U;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleMMX);
    probe.extendedEdx = test::kExtendedMmxAdditions;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE_MMX);
    probe.vendor = "GenuineIntel";
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleMMX);
    // With the extensions but without the SSE bit there is nothing to execute.
    probe.vendor = "AuthenticAMD";
    probe.executesSSE = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSSE_MMX);
}

// --- the feature probe

TEST(CPUcapabilitiesTest, FeatureFlagsHaveTheirPlaces) {
    FakeProbe probe;
    probe.highestLeaf = 0;
    EXPECT_EQ(ProbeFeatures(probe), 0x0001U);

    probe.highestLeaf = 1;
    EXPECT_EQ(ProbeFeatures(probe), 0x0003U);

    probe.highestExtendedLeaf = 0x80000000U;
    EXPECT_EQ(ProbeFeatures(probe), 0x0003U);
    probe.highestExtendedLeaf = 0x80000001U;
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U);

    const struct {
        std::uint32_t edx;
        std::uint32_t flags;
    } bits[] = {
        {test::kEdxTsc, 0x0010}, {test::kEdxMmx, 0x0020}, {test::kEdxCmov, 0x0040}, {test::kEdxMtrr, 0x1000}};
    for (const auto& bit : bits) {
        probe.edx = bit.edx;
        EXPECT_EQ(ProbeFeatures(probe), 0x0007U | bit.flags) << std::hex << bit.edx;
    }
    probe.edx = ~(test::kEdxTsc | test::kEdxMmx | test::kEdxCmov | test::kEdxMtrr | test::kEdxSse);
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U);
}

TEST(CPUcapabilitiesTest, FeatureFlagsOfSSE) {
    FakeProbe probe;
    probe.edx = test::kEdxSse;
    EXPECT_EQ(ProbeFeatures(probe), 0x0003U | 0x0200U);
    probe.executesSSE = true;
    EXPECT_EQ(ProbeFeatures(probe), 0x0003U | 0x0200U | 0x0400U);
    probe.edx = 0;
    EXPECT_EQ(ProbeFeatures(probe), 0x0003U);
}

TEST(CPUcapabilitiesTest, FeatureFlagsOfTheExtendedLeaf) {
    FakeProbe probe;
    probe.highestExtendedLeaf = 0x80000001U;
    probe.extendedEdx = 1U << 31;
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U | 0x0080U);
    probe.extendedEdx = 1U << 30;
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U);
    probe.extendedEdx = 1U << 22;
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U);
    probe.vendor = "AuthenticAMD";
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U | 0x0200U);
    probe.extendedEdx = 1U << 30;
    EXPECT_EQ(ProbeFeatures(probe), 0x0007U | 0x0100U);
}

TEST(CPUcapabilitiesTest, FeatureFlagOfEarlyAMDmodels) {
    FakeProbe probe;
    probe.vendor = "AuthenticAMD";
    const struct {
        std::uint32_t eax;
        bool set;
    } rows[] = {{0x587, false}, {0x588, true}, {0x5FF, true}, {0x600, false}, {0x12588, true}};
    for (const auto& row : rows) {
        probe.eax = row.eax;
        EXPECT_EQ((ProbeFeatures(probe) & 0x0800U) != 0, row.set) << std::hex << row.eax;
    }
    probe.eax = 0x588;
    probe.vendor = "GenuineIntel";
    EXPECT_EQ(ProbeFeatures(probe) & 0x0800U, 0U);
}

TEST(CPUcapabilitiesTest, NoFeatureFlagWhereCPUIDfaults) {
    FakeProbe probe;
    probe.edx = 0xFFFFFFFFU;
    probe.executesSSE = true;
    probe.cpuidFaults = true;
    EXPECT_EQ(ProbeFeatures(probe), 0U);
}

TEST(CPUcapabilitiesTest, FaultOfAnyLeafLeavesNoFeatureFlag) {
    for (const std::uint32_t leaf : {0U, 1U, 0x80000000U, 0x80000001U}) {
        FakeProbe probe;
        probe.edx = 0xFFFFFFFFU;
        probe.executesSSE = true;
        probe.highestExtendedLeaf = 0x80000001U;
        probe.faultingLeaves = {leaf};
        EXPECT_EQ(ProbeFeatures(probe), 0U) << std::hex << leaf;
    }
}

TEST(CPUcapabilitiesTest, VendorIsUnknownUntilLeaf0Answers) {
    EXPECT_EQ(VendorString().View(), "UnknownVendr");
    FakeProbe probe;
    probe.vendor = "CentaurHauls";
    EXPECT_EQ(VendorString(*probe.Cpuid(0)).View(), "CentaurHauls");
}

// --- the processor count

struct Count {
    unsigned state;
    ULong32 physical, logical, total;
};

void ExpectCount(const FakeProbe& probe, const Count& expected) {
    const CPUcapabilities found = CapabilitySeam::Detect(probe);
    EXPECT_EQ(CapabilitySeam::HyperThreadingState(found), expected.state);
    EXPECT_EQ(found.GetNumberOfPhysicalProcessors(), expected.physical);
    EXPECT_EQ(found.GetNumberOfLogicalProcessorsPerPhysical(), expected.logical);
    EXPECT_EQ(found.GetNumberOfTotalProcessors(), expected.total);
}

TEST(CPUcapabilitiesTest, WithoutHyperThreadingTheSystemCountIsEverything) {
    FakeProbe probe;
    for (ULong32 count : {1U, 2U, 7U, 255U}) {
        probe.SetProcessors(count);
        ExpectCount(probe, {0, count, 1, count});
    }
}

TEST(CPUcapabilitiesTest, WithoutHyperThreadingAffinityDoesNotMatter) {
    FakeProbe probe;
    probe.SetProcessors(4);
    probe.processAffinity = 1;
    ExpectCount(probe, {0, 4, 1, 4});
    EXPECT_TRUE(probe.visits.empty());
}

TEST(CPUcapabilitiesTest, PhysicalCountKeepsTheLowByte) {
    FakeProbe probe;
    probe.SetProcessors(258);
    ExpectCount(probe, {0, 2, 1, 2});
    probe.SetProcessors(256);
    ExpectCount(probe, {0, 0, 1, 0});
}

TEST(CPUcapabilitiesTest, CapabilityNeedsFamilyVendorAndBit) {
    FakeProbe capable;
    capable.MakeHyperThreaded(2, {0, 1});
    ExpectCount(capable, {1, 1, 2, 2});

    FakeProbe oldFamily = capable;
    oldFamily.eax = 0x6B1;
    ExpectCount(oldFamily, {0, 2, 1, 2});

    FakeProbe almostFamily15 = capable;
    almostFamily15.eax = 0xE29;
    ExpectCount(almostFamily15, {0, 2, 1, 2});

    for (const std::uint32_t extendedFamilyBit : {0x100000U, 0x200000U, 0x400000U, 0x800000U}) {
        FakeProbe extendedFamily = capable;
        extendedFamily.eax = 0x6B1 | extendedFamilyBit;
        ExpectCount(extendedFamily, {1, 1, 2, 2});
    }
    for (const std::uint32_t otherBit : {0x080000U, 0x1000000U}) {
        FakeProbe notExtended = capable;
        notExtended.eax = 0x6B1 | otherBit;
        ExpectCount(notExtended, {0, 2, 1, 2});
    }

    FakeProbe otherVendor = capable;
    otherVendor.vendor = "AuthenticAMD";
    ExpectCount(otherVendor, {0, 2, 1, 2});

    FakeProbe noBit = capable;
    noBit.edx &= ~test::kEdxHyperThreading;
    ExpectCount(noBit, {0, 2, 1, 2});

    FakeProbe faults = capable;
    faults.cpuidFaults = true;
    ExpectCount(faults, {0, 2, 1, 2});
    for (const std::uint32_t leaf : {0U, 1U}) {
        FakeProbe oneFaults = capable;
        oneFaults.faultingLeaves = {leaf};
        ExpectCount(oneFaults, {0, 2, 1, 2});
    }
}

TEST(CPUcapabilitiesTest, PackageThatCountsNoLogicalProcessors) {
    FakeProbe probe;
    probe.MakeHyperThreaded(0, {0, 1});
    ExpectCount(probe, {0, 2, 0, 0});
}

TEST(CPUcapabilitiesTest, State1DividesTheSystemCount) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 1, 6, 7});
    ExpectCount(probe, {1, 2, 2, 4});
    EXPECT_EQ(probe.visits, (std::vector<std::size_t>{0, 1, 2, 3}));
}

TEST(CPUcapabilitiesTest, State1DividesAsIntegers) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 1, 2, 3, 4, 5, 6});
    ExpectCount(probe, {1, 3, 2, 6});
}

TEST(CPUcapabilitiesTest, State1DividesTheWholeSystemCount) {
    // 258 of which the low byte is 2: it is 258 that is divided.
    std::vector<unsigned> ids(258);
    for (unsigned i = 0; i < ids.size(); ++i) {
        ids[i] = i % 256;
    }
    FakeProbe probe;
    probe.MakeHyperThreaded(2, ids);
    ExpectCount(probe, {1, 129, 2, 258});
}

TEST(CPUcapabilitiesTest, State2IsASingleLogicalProcessor) {
    FakeProbe probe;
    probe.MakeHyperThreaded(1, {0, 1});
    ExpectCount(probe, {2, 2, 1, 2});
    // The mask is all of the id then, also for ids that show up as 0xFF.
    probe.faultingBits = {1};
    ExpectCount(probe, {2, 2, 1, 2});
}

TEST(CPUcapabilitiesTest, State3OverCounts) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 6});
    ExpectCount(probe, {3, 2, 2, 4});
}

TEST(CPUcapabilitiesTest, State4OnATwoWayPackageRestrictedToOneProcessor) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 1});
    probe.processAffinity = 1;
    ExpectCount(probe, {4, 2, 2, 4});
    EXPECT_TRUE(probe.visits.empty());
}

TEST(CPUcapabilitiesTest, State4ComesBeforeState2) {
    FakeProbe probe;
    probe.MakeHyperThreaded(1, {0, 1});
    probe.processAffinity = 2;
    ExpectCount(probe, {4, 2, 1, 2});
}

TEST(CPUcapabilitiesTest, PackageMaskCoversTheNextPowerOfTwo) {
    // Three logical processors take two bits of the id.
    FakeProbe probe;
    probe.MakeHyperThreaded(3, {0, 4, 8});
    ExpectCount(probe, {3, 3, 3, 9});
    probe.MakeHyperThreaded(3, {0, 4, 10});
    ExpectCount(probe, {1, 1, 3, 3});
    // Four take two bits as well, five take three.
    probe.MakeHyperThreaded(4, {0, 4});
    ExpectCount(probe, {3, 2, 4, 8});
    probe.MakeHyperThreaded(5, {0, 4});
    ExpectCount(probe, {1, 0, 5, 0});
    probe.MakeHyperThreaded(5, {0, 8});
    ExpectCount(probe, {3, 2, 5, 10});
    probe.MakeHyperThreaded(128, {0, 0x80});
    ExpectCount(probe, {3, 2, 128, 256});
}

TEST(CPUcapabilitiesTest, PackageOfMoreThan128EndsTheSearchForItsMask) {
    FakeProbe probe;
    probe.MakeHyperThreaded(255, {0, 1});
    const CPUcapabilities found = CapabilitySeam::Detect(probe);
    EXPECT_EQ(CapabilitySeam::HyperThreadingState(found), 1U);
    EXPECT_EQ(found.GetNumberOfLogicalProcessorsPerPhysical(), 255U);
}

TEST(CPUcapabilitiesTest, ProcessorsThatCannotBeReachedAreSkipped) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 1});
    probe.apicIds.erase(1);
    ExpectCount(probe, {3, 2, 2, 4});
}

TEST(CPUcapabilitiesTest, WalkGoesOnBehindAGap) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 1});
    probe.processAffinity.reset();
    probe.processAffinity.set(0);
    probe.processAffinity.set(40);
    probe.systemAffinity = probe.processAffinity;
    probe.apicIds = {{0, 0}, {40, 1}};
    ExpectCount(probe, {1, 1, 2, 2});
    ASSERT_FALSE(probe.visits.empty());
    EXPECT_TRUE(std::is_sorted(probe.visits.begin(), probe.visits.end()));
    EXPECT_EQ(probe.visits.back(), 40U);
}

TEST(CPUcapabilitiesTest, ProcessorThatFailsTheCapabilityTestCountsAsId0xFF) {
    FakeProbe faulting;
    faulting.MakeHyperThreaded(2, {0, 2});
    faulting.faultingBits = {1};
    ExpectCount(faulting, {1, 1, 2, 2});

    FakeProbe plain;
    plain.MakeHyperThreaded(2, {0, 2});
    plain.plainBits = {1};
    ExpectCount(plain, {1, 1, 2, 2});
}

TEST(CPUcapabilitiesTest, DoesNotAskTheOperatingSystemForItsKind) {
    FakeProbe probe;
    probe.platformId = 1;
    probe.edx = test::kEdxSse;
    probe.executesSSE = true;
    ExpectAbilities(CapabilitySeam::Detect(probe), kAbleSIMD);
    EXPECT_TRUE(probe.versionSizes.empty());
}

TEST(CPUcapabilitiesTest, AssignmentCopiesEverything) {
    FakeProbe probe;
    probe.MakeHyperThreaded(2, {0, 6});
    probe.executesSSE2 = true;
    CPUcapabilities target = CapabilitySeam::Detect(FakeProbe());
    target = CapabilitySeam::Detect(probe);
    ExpectAbilities(target, kAbleSSE2);
    EXPECT_EQ(CapabilitySeam::HyperThreadingState(target), 3U);
    EXPECT_EQ(target.GetNumberOfPhysicalProcessors(), 2U);
    EXPECT_EQ(target.GetNumberOfLogicalProcessorsPerPhysical(), 2U);
    static_assert(std::is_trivially_copyable_v<CPUcapabilities>);
    static_assert(!std::is_polymorphic_v<CPUcapabilities>);
    static_assert(sizeof(CPUcapabilities) == 8, "32 bits and three bytes");
}

// --- the records of the classes

void ExpectSame(const CPUcapabilities& a, const CPUcapabilities& b) {
    EXPECT_EQ(a.WhichInstructionSetIsSupported(), b.WhichInstructionSetIsSupported());
    EXPECT_EQ(a.GetNumberOfPhysicalProcessors(), b.GetNumberOfPhysicalProcessors());
    EXPECT_EQ(a.GetNumberOfLogicalProcessorsPerPhysical(), b.GetNumberOfLogicalProcessorsPerPhysical());
    EXPECT_EQ(CapabilitySeam::HyperThreadingState(a), CapabilitySeam::HyperThreadingState(b));
}

TEST(CPUcapabilitiesTest, NineteenClassesWereDetectedAtLoad) {
    ASSERT_EQ(static_cast<std::size_t>(kCapabilityOwners), 19U);
    ASSERT_EQ(std::size(classCapabilities), 19U);
    const CPUcapabilities now;
    EXPECT_GE(now.WhichInstructionSetIsSupported(), kMMX);
    for (const CPUcapabilities& record : classCapabilities) {
        ExpectSame(record, now);
    }
}

TEST(CPUcapabilitiesTest, ImageShowsItsRecord) {
    EXPECT_EQ(&Image::CPUinstructionSet, &classCapabilities[kOwnerImage]);
}

TEST(CPUcapabilitiesTest, ScopedInstructionSetLowersAllClassesAndRestores) {
    const CPUcapabilities before = classCapabilities[0];
    {
        const ScopedInstructionSet lowered(kMMX);
        for (const CPUcapabilities& record : classCapabilities) {
            EXPECT_EQ(record.WhichInstructionSetIsSupported(), kMMX);
        }
    }
    for (const CPUcapabilities& record : classCapabilities) {
        ExpectSame(record, before);
    }
}

#if defined(__SSE2__)
TEST(CPUcapabilitiesTest, DetectsTheProcessorItRunsOn) {
    ExpectAbilities(CPUcapabilities(), kAbleSSE2);
}
#endif

}  // namespace
}  // namespace Zan
