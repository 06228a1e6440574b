#include "composite/ViewRows.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

using namespace Zan;

namespace {

struct Stretch {
    std::size_t first, rows, units;

    bool operator==(const Stretch& other) const {
        return first == other.first && rows == other.rows && units == other.units;
    }
};

std::vector<Stretch> Walked(std::initializer_list<WalkedPlane> planes, std::size_t units, std::size_t rows) {
    std::vector<Stretch> walked;
    WalkInside(planes, units, rows, [&](std::size_t first, std::size_t count, std::size_t n) {
        walked.push_back({first, count, n});
    });
    return walked;
}

class ViewRows : public ::testing::Test {
protected:
    // 40 bytes, in lines of 16.
    std::array<std::uint8_t, 40> memory{};
    ViewPlane plane{memory.data(), 16, memory.data(), memory.data() + memory.size()};
};

TEST_F(ViewRows, WhatLiesInsideIsOneStretch) {
    EXPECT_EQ(Walked({{&plane, 4}}, 4, 2), (std::vector<Stretch>{{0, 2, 4}}));
    EXPECT_EQ(Walked({{&plane, 4}}, 2, 3), (std::vector<Stretch>{{0, 3, 2}}));
}

TEST_F(ViewRows, ShortRowsComeAlone) {
    EXPECT_EQ(Walked({{&plane, 4}}, 3, 4), (std::vector<Stretch>{{0, 1, 3}, {1, 1, 3}, {2, 1, 2}}));
    // The plane that holds the fewest units decides.
    ViewPlane bytes{memory.data(), 8, memory.data(), memory.data() + 10};
    EXPECT_EQ(Walked({{&plane, 4}, {&bytes, 2}}, 4, 2), (std::vector<Stretch>{{0, 1, 4}, {1, 1, 1}}));
}

// A row whose bytes no address can count holds as few units as any other that is too long.
TEST_F(ViewRows, NoCountOfBytesWraps) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    for (const std::size_t units : {most / 4 + 1, most / 4 + 3, most / 2, most}) {
        EXPECT_EQ(Walked({{&plane, 4}}, units, 1), (std::vector<Stretch>{{0, 1, 10}})) << units;
    }
}

}  // namespace
