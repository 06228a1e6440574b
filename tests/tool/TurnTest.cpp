#include "ProgramRun.h"

namespace tool::test {
namespace {

class TurnTest : public ProgramTest {
protected:
    int Turn(const std::string& arguments) const {
        return std::system(
            ("cd '" + directory.string() + "' && '" TESSELU_TURN "' " + arguments + " 2>.err").c_str());
    }
};

// A green sheet: green in the middle, brighter or darker by its waves, and nothing in the corners.
TEST_F(TurnTest, DrawsALitSheet) {
    std::string photo;
    for (int i = 0; i < 60 * 40; ++i) {
        photo += std::string("\x10\xA0\x30\xFF", 4);
    }
    std::ofstream(In("photo.bgra"), std::ios::binary) << photo;
    ASSERT_EQ(Turn("photo.bgra 60 40"), 0);
    const std::string ppm = Contents(In("turn.ppm")), header = "P6 480 320 255\n";
    ASSERT_EQ(ppm.rfind(header, 0), 0U);
    ASSERT_EQ(ppm.size(), header.size() + 480 * 320 * 3);
    const auto at = [&](std::size_t x, std::size_t y, std::size_t c) {
        return static_cast<int>(static_cast<unsigned char>(ppm[header.size() + (y * 480 + x) * 3 + c]));
    };
    for (const auto& [x, y] : {std::pair(1, 1), std::pair(478, 1), std::pair(1, 318), std::pair(478, 318)}) {
        EXPECT_EQ(at(static_cast<std::size_t>(x), static_cast<std::size_t>(y), 1), 24);
    }
    int darkest = 255, brightest = 0;
    for (std::size_t x = 200; x < 280; ++x) {
        EXPECT_GT(at(x, 160, 1), 2 * at(x, 160, 0)) << x;
        EXPECT_GT(at(x, 160, 0), at(x, 160, 2)) << x;
        darkest = std::min(darkest, at(x, 160, 1));
        brightest = std::max(brightest, at(x, 160, 1));
    }
    EXPECT_GT(brightest, darkest + 20);
}

TEST_F(TurnTest, RefusesWhatIsNoPhotograph) {
    EXPECT_NE(Turn(""), 0);
    EXPECT_NE(Turn("nothing.bgra 60 40"), 0);
    std::ofstream(In("short.bgra"), std::ios::binary) << "too short";
    EXPECT_NE(Turn("short.bgra 60 40"), 0);
    EXPECT_NE(Turn("short.bgra 1 40"), 0);
    EXPECT_FALSE(Exists("turn.ppm"));
}

}  // namespace
}  // namespace tool::test
