#include "ProgramRun.h"

namespace tool::test {
namespace {

using FirstWipeTest = ProgramTest;

// The double diamond half way: the first colour in the centre, where the key is 0, the second one on the
// ridge.
TEST_F(FirstWipeTest, DrawsTheDoubleDiamond) {
    ASSERT_EQ(std::system(("cd '" + directory.string() + "' && '" TESSELU_FIRST_WIPE "'").c_str()), 0);
    const std::string ppm = Contents(In("first_wipe.ppm"));
    const std::string header = "P6 480 270 255\n";
    ASSERT_EQ(ppm.rfind(header, 0), 0U);
    ASSERT_EQ(ppm.size(), header.size() + 480 * 270 * 3);
    const auto expect = [&](std::size_t x, std::size_t y, int red, int green, int blue) {
        const std::size_t at = header.size() + (y * 480 + x) * 3;
        EXPECT_NEAR(static_cast<unsigned char>(ppm[at]), red, 2);
        EXPECT_NEAR(static_cast<unsigned char>(ppm[at + 1]), green, 2);
        EXPECT_NEAR(static_cast<unsigned char>(ppm[at + 2]), blue, 2);
    };
    expect(240, 135, 240, 140, 40);
    expect(2, 2, 240, 140, 40);
    expect(120, 67, 20, 60, 110);
    expect(360, 202, 20, 60, 110);
}

// The program stands in the README word for word.
TEST_F(FirstWipeTest, StandsInTheReadme) {
    const std::string source = Contents(TESSELU_SOURCE_DIR "/examples/first_wipe.cpp");
    ASSERT_FALSE(source.empty());
    EXPECT_NE(Contents(TESSELU_SOURCE_DIR "/README.md").find("```cpp\n" + source + "```\n"),
              std::string::npos);
}

}  // namespace
}  // namespace tool::test
