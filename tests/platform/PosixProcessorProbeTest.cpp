#include <gtest/gtest.h>
#include <unistd.h>
#if defined(__linux__)
#include <sched.h>
#endif

#include <limits>
#include <thread>

#include "foundation/ProcessorProbe.h"
#include "platform/Platform.h"

namespace Zan {
namespace {

TEST(PosixProcessorProbe, ProcessorsOfTheSystem) {
    const ProcessorProbe& probe = SystemProcessorProbe();
    EXPECT_EQ(probe.SystemProcessorCount(), static_cast<ULong32>(::sysconf(_SC_NPROCESSORS_ONLN)));
    EXPECT_EQ(probe.SystemAffinity().count(), probe.SystemProcessorCount());
    EXPECT_TRUE(probe.ProcessAffinity().any());
    EXPECT_TRUE((probe.ProcessAffinity() & ~probe.SystemAffinity()).none());
}

#if defined(__linux__)
TEST(PosixProcessorProbe, AffinityFollowsARestriction) {
    const ProcessorSet before = SystemProcessorProbe().ProcessAffinity();
    std::size_t highest = before.size() - 1;
    while (!before.test(highest)) {
        --highest;
    }
    // On a thread of its own, so that the restriction ends with it.
    std::thread([highest] {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(highest, &one);
        ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
        EXPECT_EQ(SystemProcessorProbe().ProcessAffinity(), ProcessorSet().set(highest));
    }).join();
    EXPECT_EQ(SystemProcessorProbe().ProcessAffinity(), before);
}
#endif

TEST(PosixProcessorProbe, VisitsFindThisKindOfProcessor) {
    const ProcessorProbe& probe = SystemProcessorProbe();
    ProcessorIdentity identity;
    const ProcessorSet all = probe.SystemAffinity();
    for (std::size_t bit = 0; bit < all.size(); ++bit) {
        const auto visit = probe.VisitProcessor(bit, identity);
        if (!all.test(bit)) {
            EXPECT_EQ(visit, ProcessorProbe::Visit::kUnreachable) << bit;
        } else if (visit == ProcessorProbe::Visit::kIdentified) {
            EXPECT_EQ(identity.leaf0.ebx, probe.Cpuid(0)->ebx);
            EXPECT_EQ(identity.leaf1.edx, probe.Cpuid(1)->edx);
            EXPECT_EQ(identity.leaf1.ebx & 0x00FF0000U, probe.Cpuid(1)->ebx & 0x00FF0000U);
        }
    }
}

TEST(PosixProcessorProbe, CountsAsASystemThatIsAccepted) {
    for (const std::size_t size : {std::size_t{156}, std::size_t{148}}) {
        OperatingSystemVersion version;
        version.platformId = 1;
        ASSERT_TRUE(SystemProcessorProbe().ReadOperatingSystemVersion(size, version));
        EXPECT_EQ(version.platformId, 2U);
        EXPECT_EQ(version.recordSize, size);
    }
}

TEST(PosixProcessorProbe, ControlRegisterTakesNoReservedBit) {
    const ProcessorProbe& probe = SystemProcessorProbe();
    ULong32 before = 0;
    if (!probe.ReadMXCSR(before)) {
        GTEST_SKIP() << "no such register here";
    }
    EXPECT_FALSE(probe.WriteMXCSR(before | 0x80000000U));
    EXPECT_TRUE(probe.WriteMXCSR(before ^ 0x8000U));
    ULong32 changed = 0;
    EXPECT_TRUE(probe.ReadMXCSR(changed));
    EXPECT_EQ(changed, before ^ 0x8000U);
    EXPECT_TRUE(probe.WriteMXCSR(before));
}

}  // namespace
}  // namespace Zan
