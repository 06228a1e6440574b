// Denoising on any number of threads, in pictures that strips cut unevenly.

#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "ProgramRun.h"

namespace tool::test {
namespace {

class DenoiseThreadsTest : public ProgramTest {
protected:
    /// Slopes under noise.
    void WriteNoisy(const std::string& name, int width, int height, int frames,
                    const std::string& scan) const {
        std::mt19937 random(31);
        std::ofstream file(directory / name, std::ios::binary);
        file << "YUV4MPEG2 W" << width << " H" << height << " F25:1 " << scan << " A1:1 C422\n";
        for (int frame = 0; frame < frames; ++frame) {
            file << "FRAME\n";
            for (const int base : {70, 110, 120}) {
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < (base == 70 ? width : width / 2); ++x) {
                        file.put(static_cast<char>(base + (2 * x + 3 * y + frame) % 60 +
                                                   static_cast<int>(random() >> 8) % 21));
                    }
                }
            }
        }
    }

    static std::string FirstLuma(const std::string& clip, int width, int height) {
        const std::string word = "FRAME\n";
        return clip.substr(clip.find(word) + word.size(),
                           static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }
};

TEST_F(DenoiseThreadsTest, StripsOfEveryCutMakeTheSameBytes) {
    const struct {
        int width, height;
        const char *scan, *options;
    } kCases[] = {
        // Lines that no number of threads here divides, one line a strip, windows higher than strips, fewer
        // lines than threads; fields of 31 and of 11 lines.
        {66, 62, "Ip", "--window 5x5x3"},
        {18, 58, "Ip", "--window 1x15x1 --level 9,7"},
        {130, 14, "Ip", "--window 3x3x1 --level 12,12 --limit"},
        {64, 8, "Ip", "--window 3x11x1 --level 12,12"},
        {34, 62, "It", "--window 3x5x1 --level 6,20"},
        {34, 62, "Ib", "--follow"},
        {66, 46, "Ip", "--method temporal"},
        {126, 22, "It", "--method temporal"},
        {10, 202, "Ip", "--window 5x3x3 --level 8,8"},
    };
    for (const auto& [width, height, scan, options] : kCases) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << scan << ' ' << options);
        WriteNoisy("a.y4m", width, height, 3, scan);
        const auto made = [&, words = options](int threads) {
            std::filesystem::remove(In("b.y4m"));
            const Outcome outcome =
                Run("denoise a.y4m -o b.y4m --threads " + std::to_string(threads) + " " + words);
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            return Contents(In("b.y4m"));
        };
        const std::string alone = made(1);
        EXPECT_EQ(Y4mClip(alone).width, width);
        EXPECT_EQ(Y4mClip(alone).height, height);
        EXPECT_NE(FirstLuma(alone, width, height), FirstLuma(Contents(In("a.y4m")), width, height));
        for (const int threads : {2, 3, 5, 64}) {
            EXPECT_EQ(made(threads), alone) << threads << " threads";
        }
    }
}

}  // namespace
}  // namespace tool::test
