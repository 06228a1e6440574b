#include <TesselU/image/Rectangle.h>
#include <gtest/gtest.h>

#include <limits>

namespace Zan {
namespace {

void ExpectRectangle(const Rectangle& r, Long32 left, Long32 top, Long32 width, Long32 height) {
    EXPECT_EQ(r.getLeft(), left);
    EXPECT_EQ(r.getTop(), top);
    EXPECT_EQ(r.getWidth(), width);
    EXPECT_EQ(r.getHeight(), height);
}

TEST(Rectangle, DefaultIsZero) {
    ExpectRectangle(Rectangle(), 0, 0, 0, 0);
}

TEST(Rectangle, KeepsItsArgumentsInTheOrderLeftTopWidthHeight) {
    ExpectRectangle(Rectangle(-1, 2, 3, -4), -1, 2, 3, -4);
    static_assert(sizeof(Rectangle) == 16, "four 32-bit fields");
}

TEST(Rectangle, SettersSetOneFieldEach) {
    Rectangle r(1, 2, 3, 4);
    r.setLeft(-10);
    ExpectRectangle(r, -10, 2, 3, 4);
    r.setTop(-20);
    ExpectRectangle(r, -10, -20, 3, 4);
    r.setWidth(30);
    ExpectRectangle(r, -10, -20, 30, 4);
    r.setHeight(40);
    ExpectRectangle(r, -10, -20, 30, 40);
}

TEST(Rectangle, IntersectionTakesTheInnerEdges) {
    ExpectRectangle(Rectangle(0, 0, 720, 486).intersection(Rectangle(10, 20, 100, 50)), 10, 20, 100, 50);
    ExpectRectangle(Rectangle(0, 0, 720, 486).intersection(Rectangle(-10, -20, 100, 50)), 0, 0, 90, 30);
    ExpectRectangle(Rectangle(0, 0, 720, 486).intersection(Rectangle(700, 480, 100, 50)), 700, 480, 20, 6);
    // Neither holds the other: left 5, top 7, right min(15, 25), bottom min(30, 17).
    ExpectRectangle(Rectangle(5, -3, 10, 33).intersection(Rectangle(1, 7, 24, 10)), 5, 7, 10, 10);
}

TEST(Rectangle, IntersectionIsTheSameBothWays) {
    const Rectangle a(3, 4, 10, 20);
    const Rectangle b(-5, 9, 11, 40);
    ExpectRectangle(a.intersection(b), 3, 9, 3, 15);
    ExpectRectangle(b.intersection(a), 3, 9, 3, 15);
}

TEST(Rectangle, EmptyIntersectionKeepsTheLargerLeftAndTop) {
    ExpectRectangle(Rectangle(0, 0, 10, 10).intersection(Rectangle(20, 5, 10, 10)), 20, 5, 0, 5);
    ExpectRectangle(Rectangle(0, 0, 10, 10).intersection(Rectangle(5, 30, 10, 10)), 5, 30, 5, 0);
    ExpectRectangle(Rectangle(0, 0, 10, 10).intersection(Rectangle(10, 10, 5, 5)), 10, 10, 0, 0);
}

TEST(Rectangle, IntersectionLeavesItsOperandsAlone) {
    Rectangle a(0, 0, 10, 10);
    const Rectangle b(5, 5, 10, 10);
    static_cast<void>(a.intersection(b));
    ExpectRectangle(a, 0, 0, 10, 10);
    ExpectRectangle(b, 5, 5, 10, 10);
}

TEST(Rectangle, EdgesBeyond32BitsDoNotWrap) {
    constexpr Long32 kMax = std::numeric_limits<Long32>::max();
    constexpr Long32 kMin = std::numeric_limits<Long32>::min();
    const Rectangle image(0, 0, 720, 486);
    ExpectRectangle(image.intersection(Rectangle(kMax, kMax, kMax, kMax)), kMax, kMax, 0, 0);
    ExpectRectangle(image.intersection(Rectangle(1, 1, kMax, kMax)), 1, 1, 719, 485);
    ExpectRectangle(image.intersection(Rectangle(kMin, kMin, kMax, kMax)), 0, 0, 0, 0);
    ExpectRectangle(image.intersection(Rectangle(0, 0, kMin, kMin)), 0, 0, 0, 0);
}

}  // namespace
}  // namespace Zan
