#include <set>

#include "ProgramRun.h"
#include "commands/Routes.h"
#include "convert/Formats.h"
#include "media/Picture.h"
#include "media/Samples.h"

namespace tool::test {
namespace {

class FormatsTest : public ProgramTest {
protected:
    void SetUp() override {
        ProgramTest::SetUp();
        json = Run("formats --json").out;
    }

    /// The object of a format, on a line of its own.
    std::string Object(int code) const {
        const std::size_t at = json.find("{\"code\":" + std::to_string(code) + ",");
        return at == std::string::npos ? "" : json.substr(at, json.find('\n', at) - at);
    }

    void ExpectIn(int code, const std::string& part) const {
        EXPECT_NE(Object(code).find(part), std::string::npos) << part << " in " << Object(code);
    }

    std::string json;
};

TEST_F(FormatsTest, ListsAll) {
    const std::string text = Run("formats").out;
    for (int code = 0; code < 26; ++code) {
        const std::string name = NameOf(static_cast<Zan::ConverterFormat>(code));
        EXPECT_NE(text.find(name + " "), std::string::npos) << name;
        ExpectIn(code, "\"name\":\"" + name + "\"");
    }
    EXPECT_EQ(Object(26), "");
    EXPECT_EQ(Run("formats").status, 0);
}

TEST_F(FormatsTest, TellsNamesAndLayouts) {
    ExpectIn(2, "\"name\":\"kFmtCbYCrY\",\"aliases\":[\"uyvy\",");
    ExpectIn(2, "\"layout\":\"Cb Y0 Cr Y1\",\"bytes\":2,");
    ExpectIn(0, "\"aliases\":[\"bgra\",");
    ExpectIn(6, "\"i420\"");
    ExpectIn(6, "\"bytes\":1.5,");
    ExpectIn(9, "\"bytes\":1.5,");
    ExpectIn(10, "\"bytes\":3,");
    ExpectIn(11, "\"yuy2\"");
    ExpectIn(12, "\"bytes\":2,");
    ExpectIn(17, "\"bytes\":3,");
    ExpectIn(25, "\"bytes\":1,");
}

TEST_F(FormatsTest, TellsThePairsOfEachPath) {
    ExpectIn(0, "\"int\":[0,1,2,6,8,9,10,12,14,16,17]");
    ExpectIn(0, "\"flp\":[0,1,2,6,8,9,10,12,13,14,16,17,23]");
    ExpectIn(0, "\"fp\":[0,1],\"flp-simd\":[1]");
    ExpectIn(2, "\"int\":[0,1,2,5,6,7,10,11,12,14,16,17,18]");
    ExpectIn(7, "\"int\":[2],\"flp\":[]");
    ExpectIn(18, "\"int\":[18],\"flp\":[]");
    ExpectIn(21, "\"int\":[],\"flp\":[2]");
    for (int code = 0; code < 26; ++code) {
        const bool isUnknown = std::set{8, 16, 17, 19, 22, 25}.count(code) != 0;
        ExpectIn(code, isUnknown ? "\"general\":{\"reads\":false,\"writes\":false}"
                                 : "\"general\":{\"reads\":true,\"writes\":true}");
    }
}

TEST(SamplesTest, NamesAreUnique) {
    std::set<std::string> names;
    for (const Zan::ConverterFormat samples : AllSamples()) {
        for (const std::string& alias : AliasesOf(samples)) {
            EXPECT_TRUE(names.insert(alias).second) << alias;
            EXPECT_EQ(SamplesNamed("--to", alias), samples);
        }
        EXPECT_EQ(SamplesNamed("--to", NameOf(samples)), samples);
        EXPECT_EQ(SamplesNamed("--to", std::to_string(static_cast<int>(samples))), samples);
    }
    EXPECT_EQ(SamplesNamed("--to", "UYVY"), Zan::kFmtCbYCrY);
    EXPECT_EQ(SamplesNamed("--to", "cbycry"), Zan::kFmtCbYCrY);
}

TEST(SamplesTest, PicturesAreWhatTheConverterTakesThemFor) {
    for (const Zan::ScanStyleEnum scan : {Zan::kProgressive, Zan::kUpperFieldFirst, Zan::kLowerFieldFirst}) {
        PictureFormat format;
        format.width = 32;
        format.height = 16;
        format.scan = scan;
        for (const Zan::ConverterFormat samples : AllSamples()) {
            format.samples = samples;
            const ImagePtr picture = NewPicture(format);
            // No image can be told from a shaped one by its opaque alpha alone.
            const Zan::ConverterFormat expected =
                samples == Zan::kFmtRGB32ShapedOpaque ? Zan::kFmtRGB32Shaped : samples;
            EXPECT_EQ(Zan::ClassifyImage(*picture), expected) << NameOf(samples) << ", " << scan;
        }
    }
}

TEST(SamplesTest, BytesComeBackAsTheyWent) {
    PictureFormat format;
    format.width = 48;
    format.height = 12;
    for (const Zan::ConverterFormat samples : AllSamples()) {
        format.samples = samples;
        const ImagePtr picture = NewPicture(format);
        const std::size_t size = BytesOfFrame(samples, 48, 12);
        EXPECT_EQ(static_cast<double>(size), BytesOfPixel(samples) * 48 * 12) << NameOf(samples);
        std::vector<std::uint8_t> bytes(size), back(size);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
        }
        CopyFromBytes(bytes.data(), samples, *picture);
        CopyToBytes(*picture, samples, back.data());
        EXPECT_EQ(back, bytes) << NameOf(samples);
        const int carried = av_image_get_buffer_size(CarrierOf(samples), 48, 12, 1);
        EXPECT_EQ(static_cast<std::size_t>(carried), size) << NameOf(samples);
    }
}

TEST(RoutesTest, GoTheShortestWayThatLosesLeast) {
    const auto between = [](Zan::ConverterFormat from, Zan::ConverterFormat to) {
        std::string text;
        if (const auto route = RouteBetween(from, to, std::nullopt)) {
            for (const Step& step : *route) {
                text += (text.empty() ? "" : " ") + std::to_string(static_cast<int>(step.from)) + ">" +
                        std::to_string(static_cast<int>(step.to));
            }
            return text.empty() ? std::string("copy") : text;
        }
        return std::string("none");
    };
    EXPECT_EQ(between(Zan::kFmtCbYCrY, Zan::kFmtRGB32), "2>0");
    EXPECT_EQ(between(Zan::kFmtPlanar420, Zan::kFmtPlanar420), "copy");
    EXPECT_EQ(between(Zan::kFmtPlanar422, Zan::kFmtRGB32), "7>2 2>0");
    EXPECT_EQ(between(Zan::kFmtPlanar422, Zan::kFmtYCbYCr), "7>2 2>11");
    EXPECT_EQ(between(Zan::kFmtPlanar420Interlaced, Zan::kFmtCbYCrY), "8>0 0>2");
    EXPECT_EQ(between(Zan::kFmtPlanar411, Zan::kFmtPlanar422), "9>0 0>2 2>7");
    // Alpha stays on the way.
    EXPECT_EQ(between(Zan::kFmtYCbCrA, Zan::kFmtRGB32), "13>17 17>0");
    EXPECT_EQ(between(Zan::kFmtRGB32Shaped, Zan::kFmtYCbCrA), "14>0 0>13");
    EXPECT_EQ(between(Zan::kFmtRGB32StudioOpen, Zan::kFmtRGB32Shaped), "5>16 16>14");
    // Only the general path makes these.
    EXPECT_EQ(between(Zan::kFmtRGB32, Zan::kFmtCbYCr24), "0>21");
    EXPECT_EQ(between(Zan::kFmtCbYCrY4, Zan::kFmtCbYCr24), "17>0 0>21");
    // Levels that nothing writes, samples that nothing reads, keys that are no pictures.
    EXPECT_EQ(between(Zan::kFmtCbYCrY, Zan::kFmtRGB32Studio), "none");
    EXPECT_EQ(between(Zan::kFmtYCbCrAShaped, Zan::kFmtCbYCrY), "none");
    EXPECT_EQ(between(Zan::kFmtCbYCrY, Zan::kFmtAlpha8), "none");
    EXPECT_EQ(between(Zan::kFmtAlpha8, Zan::kFmtRGB32), "none");
}

TEST(RoutesTest, AStyleIsASingleStep) {
    using Zan::ConverterFormat;
    const auto has = [](Zan::ProcessingStyleEnum style, ConverterFormat from, ConverterFormat to) {
        const auto route = RouteBetween(from, to, style);
        EXPECT_TRUE(!route || (route->size() == 1 && (*route)[0].style == style));
        return route.has_value();
    };
    EXPECT_TRUE(has(Zan::kInt_MMXorSIMD, Zan::kFmtCbYCrY, Zan::kFmtRGB32));
    EXPECT_FALSE(has(Zan::kInt_MMXorSIMD, Zan::kFmtPlanar422, Zan::kFmtRGB32));
    EXPECT_TRUE(has(Zan::kFlp_SIMD, Zan::kFmtRGB32, Zan::kFmtCbYCrA));
    EXPECT_FALSE(has(Zan::kFlp_SIMD, Zan::kFmtCbYCrA, Zan::kFmtRGB32));
    EXPECT_FALSE(has(Zan::kFP, Zan::kFmtPlanar420, Zan::kFmtPlanar420));
    EXPECT_TRUE(has(Zan::kGeneralFormat, Zan::kFmtPlanar420, Zan::kFmtCbYCrY));
    // The best path says that it is done where it has written nothing.
    EXPECT_TRUE(has(Zan::kBestAvailable, Zan::kFmtPlanar420, Zan::kFmtCbYCrY));
    EXPECT_FALSE(has(Zan::kBestAvailable, Zan::kFmtPlanar420, Zan::kFmtPlanar420Interlaced));
    EXPECT_FALSE(has(Zan::kBestAvailable, Zan::kFmtCbYCrY, Zan::kFmtAlpha8));
    EXPECT_FALSE(has(Zan::kGeneralFormat, Zan::kFmtCbYCrY4, Zan::kFmtCbYCrY));
}

}  // namespace
}  // namespace tool::test
