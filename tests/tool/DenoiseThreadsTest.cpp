// Denoising on any number of threads, in pictures that strips cut unevenly.

#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "ProgramRun.h"

namespace tool::test {
namespace {

class DenoiseThreadsTest : public ProgramTest {
protected:
    /// Slopes under noise, with chroma in every pixel, so that any width will do.
    void WriteNoisy(const std::string& name, int width, int height, int frames,
                    const std::string& scan) const {
        std::mt19937 random(31);
        std::ofstream file(directory / name, std::ios::binary);
        file << "YUV4MPEG2 W" << width << " H" << height << " F25:1 " << scan << " A1:1 C444\n";
        for (int frame = 0; frame < frames; ++frame) {
            file << "FRAME\n";
            for (const int base : {70, 110, 120}) {
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x) {
                        file.put(static_cast<char>(base + (2 * x + 3 * y + frame) % 60 +
                                                   static_cast<int>(random() >> 8) % 21));
                    }
                }
            }
        }
    }
};

TEST_F(DenoiseThreadsTest, StripsOfEveryCutMakeTheSameBytes) {
    const struct {
        int width, height;
        const char *scan, *options;
    } kCases[] = {
        // Prime numbers of lines, one line a strip, fewer lines than threads, windows higher than strips.
        {66, 61, "Ip", "--window 5x5x3"},
        {18, 61, "Ip", "--window 1x15x1 --level 9,7"},
        {130, 7, "Ip", "--window 3x3x1 --level 12,12 --limit"},
        {64, 3, "Ip", "--window 3x7x1 --level 12,12"},
        {34, 62, "It", "--window 3x5x1 --level 6,20"},
        {34, 62, "Ib", "--follow"},
        {66, 53, "Ip", "--method temporal"},
        {66, 22, "It", "--method temporal"},
        // Widths without a whole pair at the end.
        {67, 41, "Ip", "--window 5x3x3 --level 8,8"},
        {129, 13, "Ip", "--method temporal"},
    };
    for (const auto& [width, height, scan, options] : kCases) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << scan << ' ' << options);
        WriteNoisy("a.y4m", width, height, 3, scan);
        const auto made = [&, words = options](int threads) {
            const Outcome outcome =
                Run("denoise a.y4m -o b.y4m --overwrite --threads " + std::to_string(threads) + " " + words);
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            return Contents(In("b.y4m"));
        };
        const std::string alone = made(1);
        ASSERT_FALSE(alone.empty());
        for (const int threads : {2, 3, 5, 64}) {
            EXPECT_EQ(made(threads), alone) << threads << " threads";
        }
    }
}

}  // namespace
}  // namespace tool::test
