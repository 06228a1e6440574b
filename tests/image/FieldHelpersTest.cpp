#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include "image/Formats.h"

namespace Zan {
namespace {

constexpr WhichFieldEnum kNoSuchField = static_cast<WhichFieldEnum>(9);

Image Scanned(ScanStyleEnum scanStyle) {
    ImageDescriptor format = test::Alpha(8, 8);
    format.scanStyle = scanStyle;
    return Image(format, 64);
}

TEST(FieldHelpers, OtherSpatialFieldIsLowerOnlyForUpper) {
    EXPECT_EQ(GetOtherSpatialField(kUpperField), kLowerField);
    for (const WhichFieldEnum field : {kLowerField, kFrame, kFirstField, kSecondField, kNoSuchField}) {
        EXPECT_EQ(GetOtherSpatialField(field), kUpperField) << field;
    }
}

TEST(FieldHelpers, OtherTemporalFieldIsSecondOnlyForFirst) {
    EXPECT_EQ(GetOtherTemporalField(kFirstField), kSecondField);
    for (const WhichFieldEnum field : {kSecondField, kFrame, kUpperField, kLowerField, kNoSuchField}) {
        EXPECT_EQ(GetOtherTemporalField(field), kFirstField) << field;
    }
}

TEST(FieldHelpers, WithoutAnImageTheFirstOfItsKind) {
    for (const WhichFieldEnum field :
         {kFrame, kFirstField, kSecondField, kUpperField, kLowerField, kNoSuchField}) {
        EXPECT_EQ(GetSpatialField(nullptr, field), kUpperField) << field;
        EXPECT_EQ(GetTemporalField(nullptr, field), kFirstField) << field;
    }
}

TEST(FieldHelpers, UpperFieldFirst) {
    Image image = Scanned(kUpperFieldFirst);
    EXPECT_EQ(GetSpatialField(&image, kFrame), kUpperField);
    EXPECT_EQ(GetSpatialField(&image, kFirstField), kUpperField);
    EXPECT_EQ(GetSpatialField(&image, kSecondField), kLowerField);
    EXPECT_EQ(GetTemporalField(&image, kFrame), kFirstField);
    EXPECT_EQ(GetTemporalField(&image, kUpperField), kFirstField);
    EXPECT_EQ(GetTemporalField(&image, kLowerField), kSecondField);
}

TEST(FieldHelpers, EveryOtherScanStyleCountsAsLowerFieldFirst) {
    for (const ScanStyleEnum scanStyle : {kLowerFieldFirst, kProgressive, static_cast<ScanStyleEnum>(7)}) {
        Image image = Scanned(scanStyle);
        EXPECT_EQ(GetSpatialField(&image, kFrame), kUpperField) << scanStyle;
        EXPECT_EQ(GetSpatialField(&image, kFirstField), kLowerField) << scanStyle;
        EXPECT_EQ(GetSpatialField(&image, kSecondField), kUpperField) << scanStyle;
        EXPECT_EQ(GetTemporalField(&image, kFrame), kFirstField) << scanStyle;
        EXPECT_EQ(GetTemporalField(&image, kUpperField), kSecondField) << scanStyle;
        EXPECT_EQ(GetTemporalField(&image, kLowerField), kFirstField) << scanStyle;
    }
}

TEST(FieldHelpers, OtherValuesComeBackUnchanged) {
    for (const ScanStyleEnum scanStyle : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        Image image = Scanned(scanStyle);
        for (const WhichFieldEnum field : {kUpperField, kLowerField, kNoSuchField}) {
            EXPECT_EQ(GetSpatialField(&image, field), field);
        }
        for (const WhichFieldEnum field : {kFirstField, kSecondField, kNoSuchField}) {
            EXPECT_EQ(GetTemporalField(&image, field), field);
        }
    }
}

}  // namespace
}  // namespace Zan
