#include <TesselU/foundation/Status.h>
#include <gtest/gtest.h>

namespace Zan {
namespace {

TEST(StatusTest, Values) {
    EXPECT_EQ(kStatusOk, 0);
    EXPECT_EQ(kStatusNullPointer, 1);
    EXPECT_EQ(kStatusUnsupportedKind, 2);
    EXPECT_EQ(kStatusMismatch, 3);
    EXPECT_EQ(kStatusUnsupportedFormat, 4);
    EXPECT_EQ(kStatusUnsupportedFunction, 5);
    EXPECT_EQ(kStatusNoProcessorFeatures, 72);
    EXPECT_EQ(kStatusUnsupportedField, 98);
    EXPECT_EQ(kStatusUnsupportedStyle, 100);
    EXPECT_EQ(kStatusBadArgument, -1);
    EXPECT_EQ(kStatusNoPixelMemory, -2);
    EXPECT_EQ(kStatusAccumulatorOverflow, -10);
}

const char* const kTexts[] = {
    "Catastrophic failure",
    "Not implemented",
    "Out of memory",
    "Invalid argument(s)",
    "No such interface supported",
    "Invalid pointer",
    "Invalid handle",
    "Operation aborted",
    "Unspecified error",
    "Access denied",
    "Version check failed",
    "Object not initialized",
    "Task not running",
    "Argument(s) out of range",
    "Duplicate entries not allowed",
    "Object not found",
    "Image not valid",
    "Could not send Message",
    "Too many Elements",
    "Thread creation failed",
    "Rendering cancelled",
    "Render subsystem failed",
    "Frame not available",
    "Object has already been initialized",
    "Semaphore creation failed",
    "Conversion failed",
    "Rendering an Algorithm failed",
    "Initialization failed",
    "Unknown Format",
    "Locking of memory failed",
    "Creation of page table failed",
    "format not supported",
    "Is Default, Nothing to do",
};

TEST(StatusTest, ExtendedTexts) {
    ASSERT_EQ(std::size(kTexts), 33U);
    EXPECT_EQ(kExtendedStatusCount, 33U);
    for (ULong32 n = 0; n < std::size(kTexts); ++n) {
        EXPECT_STREQ(ExtendedStatusText(0x80000000U + n), kTexts[n]);
        EXPECT_STREQ(ExtendedStatusText(n), kTexts[n]);
    }
}

TEST(StatusTest, ThereIsNoTextForAnythingElse) {
    for (const ULong32 status :
         {33U, 34U, 100U, 0x40000000U, 0x7FFFFFFFU, 0x80000021U, 0x80000022U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        EXPECT_EQ(ExtendedStatusText(status), nullptr) << std::hex << status;
    }
}

}  // namespace
}  // namespace Zan
