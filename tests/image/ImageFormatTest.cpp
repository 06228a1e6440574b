#include <TesselU/image/ImageFormat.h>
#include <gtest/gtest.h>

#include <initializer_list>

namespace Zan {
namespace {

// Checks that `values` are the numbers from 0 on.
template <typename Enum>
void ExpectCountedFromZero(std::initializer_list<Enum> values) {
    static_assert(sizeof(Enum) == 4, "hosts store 32 bits");
    int expected = 0;
    for (const Enum value : values) {
        EXPECT_EQ(static_cast<int>(value), expected);
        ++expected;
    }
}

TEST(ImageFormat, ValuesAreThoseThatHostsStore) {
    ExpectCountedFromZero({kRGB, kYCrCb, kColorSpace2, kAlphaOnly});
    ExpectCountedFromZero({k4444, k444, k422, k4224, k420, k411});
    ExpectCountedFromZero({kFullSampling, kHalfHorizontal, kQuarterHorizontal, kHalfBoth});
    ExpectCountedFromZero({kBGRA, kCbYCrA, kYCbYCr, kYCbCrPlanes, kYPlaneCbCrPlane, kYCbCrA});
    ExpectCountedFromZero({kPacked, kPlanar});
    ExpectCountedFromZero({kProgressive, kUpperFieldFirst, kLowerFieldFirst});
    ExpectCountedFromZero({kInterleavedFields, kFieldPacking1, kNoFields});
    ExpectCountedFromZero({kTopLeft, kBottomLeft});
    ExpectCountedFromZero({kFrame, kFirstField, kSecondField, kUpperField, kLowerField});
    ExpectCountedFromZero({kUnshaped, kShaped, kShaped2});
    ExpectCountedFromZero({kAlphaVarying, kNoAlpha, kAlphaOpaque, kAlphaTransparent});
    ExpectCountedFromZero({kGammaNone, kGammaVideo});
    ExpectCountedFromZero({kFullColor, kBlack, kColor2, kMonochrome});
    ExpectCountedFromZero({kMemoryType0});
    ExpectCountedFromZero({kNoAliasWorkAround, kAliasWorkAround});
    ExpectCountedFromZero({kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2});
    ExpectCountedFromZero({kGammaIdentity, kGammaPower, kGammaVideoEncode, kGammaVideoDecode,
                           kGammaVideoEncodeOpenRange, kGammaVideoDecodeOpenRange});
    ExpectCountedFromZero({kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat});
}

TEST(ImageFormat, BitsPerChannelSkipThree) {
    static_assert(sizeof(AggregateBitsPerChannelEnum) == 4);
    EXPECT_EQ(static_cast<int>(k8BitsDefault), 0);
    EXPECT_EQ(static_cast<int>(k8Bits), 1);
    EXPECT_EQ(static_cast<int>(k16Bits), 2);
    EXPECT_EQ(static_cast<int>(k32Bits), 4);
}

}  // namespace
}  // namespace Zan
