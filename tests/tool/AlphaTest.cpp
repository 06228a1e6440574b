#include <cstdint>
#include <tuple>

#include "ProgramRun.h"
#include "media/Reader.h"
#include "media/Writer.h"

namespace tool::test {
namespace {

constexpr int kWidth = 48, kHeight = 32;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

class AlphaTest : public ProgramTest {
protected:
    /// Bytes without a pattern, transparent colours among them.
    static std::string Noise(std::size_t count, std::uint32_t state) {
        std::string bytes(count, '\0');
        for (char& byte : bytes) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<char>(state >> 24);
        }
        return bytes;
    }
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(directory / name, std::ios::binary) << bytes;
    }
    static PictureFormat Format() {
        PictureFormat format;
        format.width = kWidth;
        format.height = kHeight;
        return format;
    }
    /// Cb, Y, Cr, A of each pixel out of planes Y, Cb, Cr and, perhaps, A.
    static std::string Packed(const std::string& planes) {
        std::string packed;
        for (std::size_t i = 0; i < kPixels; ++i) {
            packed += planes[kPixels + i];
            packed += planes[i];
            packed += planes[2 * kPixels + i];
            packed += planes.size() == 4 * kPixels ? planes[3 * kPixels + i] : '\xFF';
        }
        return packed;
    }
    static std::string BytesOf(const Zan::Image& picture) {
        std::string bytes;
        for (unsigned y = 0; y < picture.GetHeight(); ++y) {
            bytes.append(reinterpret_cast<const char*>(Line(picture, y)), std::size_t{4} * kWidth);
        }
        return bytes;
    }
};

// Colours behind full transparency are kept as well.
TEST_F(AlphaTest, SamplesWithAlphaGoOutAndComeBackToTheByte) {
    for (const auto& [samples, bytesOfPixel, file] : {std::tuple{"bgra", 4, "x.mkv"},
                                                      {"bgra", 4, "x.mov"},
                                                      {"bgra", 4, "x-%d.png"},
                                                      {"v408", 4, "x.mkv"},
                                                      {"v408", 4, "x.mov"},
                                                      {"uyva", 3, "x.mkv"},
                                                      {"uyva", 3, "x.mov"}}) {
        SCOPED_TRACE(std::string(samples) + " " + file);
        const std::string bytes = Noise(3 * kPixels * static_cast<std::size_t>(bytesOfPixel), 7);
        Write("in.raw", bytes);
        const std::string from = std::string("--from ") + samples + " --size 48x32";
        const std::string to = std::string(" --to ") + samples;
        Outcome outcome = Run("convert in.raw " + from + to + " -o " + file);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        outcome = Run(std::string("convert ") + file + to + " -o back.raw");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(Contents(In("back.raw")), bytes);
    }
}

TEST_F(AlphaTest, OtherProgramsReadIt) {
    Write("in.raw", Noise(2 * kPixels * 4, 11));
    for (const auto& [ours, file, theirs] :
         {std::tuple{"bgra", "x.mov", "bgra"}, {"v408", "x.mkv", "yuva444p"}}) {
        ASSERT_EQ(
            Run(std::string("convert in.raw --size 48x32 --from ") + ours + " --to " + ours + " -o " + file)
                .status,
            0);
        const Outcome probed = Shell(
            std::string("ffprobe -v error -show_entries stream=codec_name,pix_fmt -of csv=p=0 ") + file);
        EXPECT_EQ(probed.out, std::string("ffv1,") + theirs + "\n");
        Ffmpeg(std::string("-i ") + file + " -f rawvideo -pix_fmt " + theirs + " theirs.raw");
        const std::string in = Contents(In("in.raw")), read = Contents(In("theirs.raw"));
        EXPECT_EQ(std::string(theirs) == "bgra"
                      ? read
                      : Packed(read.substr(0, 4 * kPixels)) + Packed(read.substr(4 * kPixels)),
                  in);
    }
}

TEST_F(AlphaTest, ClipsOfOtherProgramsAreReadToTheByte) {
    Write("rgba.raw", Noise(2 * kPixels * 4, 3));
    const std::string in = "-f rawvideo -s 48x32 -r 25 -pix_fmt ";
    for (const char* coded : {"-c:v ffv1 -pix_fmt bgra x.mov", "-c:v ffv1 -pix_fmt bgra x.mkv",
                              "-c:v png -pix_fmt rgba x.mov", "-c:v qtrle -pix_fmt argb x.mov"}) {
        SCOPED_TRACE(coded);
        Ffmpeg(in + "rgba -i rgba.raw " + coded);
        const std::string name = std::string(coded).substr(std::string(coded).rfind(' ') + 1);
        ASSERT_EQ(Run("convert " + name + " --to bgra -o back.raw").status, 0);
        std::string swapped = Contents(In("rgba.raw"));
        for (std::size_t i = 0; i < swapped.size(); i += 4) {
            std::swap(swapped[i], swapped[i + 2]);
        }
        EXPECT_EQ(Contents(In("back.raw")), swapped);
    }
    Write("planes.raw", Noise(kPixels * 4, 5));
    for (const char* name : {"x.mov", "x.mkv"}) {
        Ffmpeg(in + "yuva444p -i planes.raw -c:v ffv1 " + name);
        ASSERT_EQ(Run(std::string("convert ") + name + " --to v408 -o back.raw").status, 0);
        EXPECT_EQ(Contents(In("back.raw")), Packed(Contents(In("planes.raw"))));
    }
}

// An effect that asks for full chroma gets the samples of 4:4:4 as they are, alpha 255 beside them.
TEST_F(AlphaTest, FullChromaComesAsItIs) {
    Write("planes.raw", Noise(kPixels * 3, 13));
    Ffmpeg("-f rawvideo -s 48x32 -r 25 -pix_fmt yuv444p -i planes.raw -c:v ffv1 x.mkv");
    PictureFormat format = Format();
    format.hasFullChroma = true;
    Reader reader(In("x.mkv"));
    reader.SetTarget(format, reader.Aspect());
    EXPECT_EQ(BytesOf(*reader.PictureAt(0, 0)), Packed(Contents(In("planes.raw"))));
}

TEST_F(AlphaTest, WithFullChromaTheTransparentIsBlackToo) {
    // The left half is opaque, the right one transparent; 180, 90, 200 in Y, Cb, Cr.
    std::string planes(kPixels * 4, '\0');
    for (std::size_t i = 0; i < kPixels; ++i) {
        planes[i] = '\xB4';
        planes[kPixels + i] = '\x5A';
        planes[2 * kPixels + i] = '\xC8';
        planes[3 * kPixels + i] = i % kWidth < kWidth / 2 ? '\xFF' : '\x00';
    }
    Write("planes.raw", planes);
    Ffmpeg("-f rawvideo -s 48x32 -r 25 -pix_fmt yuva444p -i planes.raw -c:v ffv1 x.mkv");
    for (const bool keepsAlpha : {true, false}) {
        PictureFormat format = Format();
        format.hasFullChroma = true;
        format.hasAlpha = keepsAlpha;
        Reader reader(In("x.mkv"));
        reader.SetTarget(format, reader.Aspect());
        const std::string bytes = BytesOf(*reader.PictureAt(0, 0));
        for (std::size_t i = 0; i < kPixels; ++i) {
            const bool isOpaque = i % kWidth < kWidth / 2;
            EXPECT_EQ(bytes.substr(4 * i, 3), isOpaque ? "\x5A\xB4\xC8" : "\x80\x10\x80") << i;
            EXPECT_EQ(bytes[4 * i + 3], isOpaque || !keepsAlpha ? '\xFF' : '\0') << i;
        }
    }
}

// A label that turns pictures turns their alpha, too.
TEST_F(AlphaTest, FullChromaIsTurned) {
    std::string planes(kPixels * 3, '\x80');
    for (std::size_t i = 0; i < kPixels; ++i) {
        planes[i] = static_cast<char>(40 + i % kWidth);
        planes[kPixels + i] = static_cast<char>(60 + i / kWidth);
    }
    Write("planes.raw", planes);
    Ffmpeg("-f rawvideo -s 48x32 -r 25 -pix_fmt yuv444p -i planes.raw -c:v ffv1 flat.mov");
    Ffmpeg("-i flat.mov -c copy -metadata:s:v:0 rotate=90 x.mov");
    Reader turned(In("x.mov"));
    ASSERT_EQ(turned.Width(), static_cast<unsigned>(kHeight));
    PictureFormat format = Format();
    std::swap(format.width, format.height);
    format.hasFullChroma = true;
    turned.SetTarget(format, turned.Aspect());
    const SharedPicture shown = turned.PictureAt(0, 0);
    // The first line is the first column, or the last one, of what was stored; so it is one luma.
    const int first = Line(*shown, 0)[1];
    EXPECT_TRUE(first == 40 || first == 40 + kWidth - 1) << first;
    const int step = first == 40 ? 1 : -1;
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned x = 0; x < format.width; ++x) {
            EXPECT_EQ(Line(*shown, y)[4 * x + 1], first + step * static_cast<int>(y));
            EXPECT_EQ(Line(*shown, y)[4 * x + 3], 255);
        }
    }
    EXPECT_EQ(Line(*shown, 0)[0] + Line(*shown, 0)[4 * (format.width - 1)], 2 * 60 + kHeight - 1);
}

TEST_F(AlphaTest, FullChromaIsWrittenAsItIs) {
    const std::string planes = Noise(kPixels * 3, 17);
    PictureFormat format = Format();
    format.hasFullChroma = true;
    const ImagePtr picture = NewPicture(format);
    const std::string packed = Packed(planes);
    for (unsigned y = 0; y < format.height; ++y) {
        std::copy_n(packed.data() + std::size_t{y} * 4 * kWidth, 4 * kWidth,
                    reinterpret_cast<char*>(Line(*picture, y)));
    }
    for (const char* name : {"x.mkv", "x.mov", "x.y4m"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(HoldsFullChroma(name, {}));
        const std::unique_ptr<Writer> writer = OpenWriter(In(name), {}, format);
        writer->Write(*picture);
        writer->Finish();
        const Outcome probed =
            Shell(std::string("ffprobe -v error -show_entries stream=pix_fmt -of csv=p=0 ") + name);
        EXPECT_EQ(probed.out, "yuv444p\n");
        Ffmpeg(std::string("-i ") + name + " -f rawvideo -pix_fmt yuv444p back.raw");
        EXPECT_EQ(Contents(In("back.raw")), planes);
    }
    EXPECT_FALSE(HoldsFullChroma("x.mp4", {}));
}

// Full chroma with alpha 128 behind it: 64 above black was 127.5 above it.
TEST_F(AlphaTest, FullChromaIsDividedByItsAlphaInFiles) {
    PictureFormat format = Format();
    format.hasFullChroma = format.hasAlpha = true;
    const ImagePtr picture = NewPicture(format);
    EXPECT_EQ(picture->GetPixelShaping(), Zan::kShaped);
    for (unsigned y = 0; y < format.height; ++y) {
        for (unsigned x = 0; x < format.width; ++x) {
            const std::uint8_t pixel[] = {128 - 20, 16 + 64, 128 + 30, 128};
            std::copy_n(pixel, 4, Line(*picture, y) + 4 * x);
        }
    }
    const std::unique_ptr<Writer> clip = OpenWriter(In("x.mkv"), {}, format);
    clip->Write(*picture);
    clip->Finish();
    Ffmpeg("-i x.mkv -f rawvideo -pix_fmt yuva444p back.raw");
    const std::string back = Contents(In("back.raw"));
    ASSERT_EQ(back.size(), 4 * kPixels);
    // 64 * 255 / 128 = 127.5; -20 * 255 / 128 = -39.8; 30 * 255 / 128 = 59.8
    EXPECT_EQ(static_cast<unsigned char>(back[5]), 16 + 128);
    EXPECT_EQ(static_cast<unsigned char>(back[kPixels + 5]), 128 - 40);
    EXPECT_EQ(static_cast<unsigned char>(back[2 * kPixels + 5]), 128 + 60);
    EXPECT_EQ(static_cast<unsigned char>(back[3 * kPixels + 5]), 128);

    const std::unique_ptr<Writer> stills = OpenWriter(In("x-%d.png"), {}, format);
    stills->Write(*picture);
    stills->Finish();
    Ffmpeg("-i x-0.png -f rawvideo -pix_fmt rgba back.raw");
    const std::string rgba = Contents(In("back.raw"));
    ASSERT_EQ(rgba.size(), 4 * kPixels);
    // At BT.601: 1.164 * 127.5 + 1.596 * 59.8 = 243.8 of red, 1.164 * 127.5 - 2.018 * 39.8 = 68.1 of blue.
    EXPECT_NEAR(static_cast<unsigned char>(rgba[20]), 243.8, 2);
    EXPECT_NEAR(static_cast<unsigned char>(rgba[22]), 68.1, 2);
    EXPECT_EQ(static_cast<unsigned char>(rgba[23]), 128);
}

}  // namespace
}  // namespace tool::test
