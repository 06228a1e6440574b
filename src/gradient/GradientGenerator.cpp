#include <TesselU/gradient/GradientGenerator.h>

#include "gradient/EdgeFamilies.h"
#include "gradient/GradientMap.h"
#include "gradient/MatrixFamilies.h"
#include "gradient/RecordChecks.h"
#include "gradient/RotaryFamilies.h"
#include "gradient/ShapeFamilies.h"
#include "gradient/ZigzagFamilies.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace GradientGenerator {

using Zan::ULong32;

static_assert(sizeof(void*) != 4 ||
                  (sizeof(WgrGradientData) == 44 && offsetof(WgrGradientData, structSize) == 0 &&
                   offsetof(WgrGradientData, width) == 4 && offsetof(WgrGradientData, height) == 8 &&
                   offsetof(WgrGradientData, pitch) == 12 && offsetof(WgrGradientData, bitsPerSample) == 16 &&
                   offsetof(WgrGradientData, significantBits) == 20 &&
                   offsetof(WgrGradientData, peakValue) == 24 && offsetof(WgrGradientData, pixels) == 28 &&
                   offsetof(WgrGradientData, aspectRatio) == 32 &&
                   offsetof(WgrGradientData, cellFraction) == 36 && offsetof(WgrGradientData, flags) == 40),
              "hosts fill the record by these offsets");

namespace {

constexpr ULong32 kLeastStructSize = 44;
constexpr ULong32 kDrawNothing = 1;  // bit 0 of the flags

using Generator = void (*)(const GradientMap&);
using Map = const GradientMap&;

struct Pattern {
    ULong32 number;
    Generator draw;
};

// Every pattern that is drawn. A family draws in one orientation, mirrored maps are its fixed arguments.
constexpr Pattern kPatterns[] = {
    {1, [](Map map) { HorizontalBar(map); }},
    {2, [](Map map) { VerticalBar(map); }},
    {3, [](Map map) { CornerBox(map); }},
    {4, [](Map map) { CornerBox(map.MirrorX()); }},
    {5, [](Map map) { CornerBox(map.MirrorX().MirrorY()); }},
    {6, [](Map map) { CornerBox(map.MirrorY()); }},
    {7, [](Map map) { FourCorners(map); }},
    {8, [](Map map) { FourBoxes(map); }},

    {21, [](Map map) { VerticalBarnDoor(map); }},
    {22, [](Map map) { HorizontalBarnDoor(map); }},
    {23, [](Map map) { TopEdgeBox(map); }},
    {24, [](Map map) { RightEdgeBox(map); }},
    {25, [](Map map) { TopEdgeBox(map.MirrorY()); }},
    {26, [](Map map) { RightEdgeBox(map.MirrorX()); }},

    {41, [](Map map) { Diagonal(map); }},
    {42, [](Map map) { Diagonal(map.MirrorX()); }},
    {43, [](Map map) { VerticalBowTie(map); }},
    {44, [](Map map) { HorizontalBowTie(map); }},
    {45, [](Map map) { RisingDiagonalBarnDoor(map); }},
    {46, [](Map map) { FallingDiagonalBarnDoor(map); }},
    {47, [](Map map) { DiagonalCross(map); }},
    {48, [](Map map) { DiagonalDiamond(map); }},

    {61, [](Map map) { VeeDown(map); }},
    {62, [](Map map) { VeeLeft(map); }},
    {63, [](Map map) { VeeDown(map.MirrorY()); }},
    {64, [](Map map) { VeeLeft(map.MirrorX()); }},
    {65, [](Map map) { BarnVeeDown(map); }},
    {66, [](Map map) { BarnVeeLeft(map); }},
    {67, [](Map map) { BarnVeeDown(map.MirrorY()); }},
    {68, [](Map map) { BarnVeeLeft(map.MirrorX()); }},

    {71, [](Map map) { ZigzagAcross(map); }},
    {72, [](Map map) { ZigzagDown(map); }},
    {73, [](Map map) { BarnZigzagAcross(map); }},
    {74, [](Map map) { BarnZigzagDown(map); }},

    {101, [](Map map) { RectangleIris(map); }},
    {102, [](Map map) { DiamondIris(map); }},
    {103, [](Map map) { TriangleUp(map); }},
    {104, [](Map map) { TriangleRight(map); }},
    {105, [](Map map) { TriangleUp(map.MirrorY()); }},
    {106, [](Map map) { TriangleRight(map.MirrorX()); }},
    {107, [](Map map) { ArrowheadUp(map); }},
    {108, [](Map map) { ArrowheadRight(map); }},
    {109, [](Map map) { ArrowheadUp(map.MirrorY()); }},
    {110, [](Map map) { ArrowheadRight(map.MirrorX()); }},
    {111, [](Map map) { PentagonUp(map); }},
    {112, [](Map map) { PentagonUp(map.MirrorY()); }},
    {113, [](Map map) { FlatTopHexagon(map); }},
    {114, [](Map map) { FlatSideHexagon(map); }},
    {119, [](Map map) { Ellipse(map, 1.0); }},
    {120, [](Map map) { Ellipse(map, 0.5); }},
    {121, [](Map map) { Ellipse(map, 2.0); }},
    {122, [](Map map) { LyingEye(map); }},
    {123, [](Map map) { StandingEye(map); }},
    {127, [](Map map) { FourPointStar(map); }},
    {128, [](Map map) { FivePointStar(map); }},
    {129, [](Map map) { SixPointStar(map); }},

    {201, [](Map map) { Clock(map, 0.0, 1.0); }},
    {202, [](Map map) { Clock(map, 0.25, 1.0); }},
    {203, [](Map map) { Clock(map, 0.5, 1.0); }},
    {204, [](Map map) { Clock(map, 0.75, 1.0); }},
    {205, [](Map map) { Clock(map, 0.5, 2.0); }},
    {206, [](Map map) { Clock(map, 1.0, 2.0); }},
    {207, [](Map map) { Clock(map, 1.5, 4.0); }},
    {211, [](Map map) { CentreTopFan(map); }},
    {212, [](Map map) { CentreRightFan(map); }},
    {213, [](Map map) { VerticalFansFromCentre(map, 2.0); }},
    {214, [](Map map) { HorizontalFansFromCentre(map, 2.0); }},
    {221, [](Map map) { TopSweep(map); }},
    {222, [](Map map) { RightSweep(map); }},
    {223, [](Map map) { BottomSweep(map); }},
    {224, [](Map map) { LeftSweep(map); }},
    {225, [](Map map) { ParallelTopSweeps(map); }},
    {226, [](Map map) { ParallelLeftSweeps(map); }},
    {227, [](Map map) { OppositeTopSweeps(map); }},
    {228, [](Map map) { OppositeLeftSweeps(map); }},
    {231, [](Map map) { TopFan(map); }},
    {232, [](Map map) { LeftFan(map.MirrorX()); }},
    {233, [](Map map) { TopFan(map.MirrorY()); }},
    {234, [](Map map) { LeftFan(map); }},
    {235, [](Map map) { VerticalFansFromEdges(map, 2.0); }},
    {236, [](Map map) { HorizontalFansFromEdges(map, 2.0); }},
    {241, [](Map map) { TopLeftSweep(map); }},
    {242, [](Map map) { BottomLeftSweep(map); }},
    {243, [](Map map) { BottomRightSweep(map); }},
    {244, [](Map map) { TopRightSweep(map); }},
    {245, [](Map map) { DiagonalSweeps(map); }},
    {246, [](Map map) { DiagonalSweeps(map.MirrorX()); }},
    {251, [](Map map) { TopSaloonDoor(map); }},
    {252, [](Map map) { LeftSaloonDoor(map); }},
    {253, [](Map map) { TopSaloonDoor(map.MirrorY()); }},
    {254, [](Map map) { LeftSaloonDoor(map.MirrorX()); }},
    {261, [](Map map) { RightWindshield(map); }},
    {262, [](Map map) { UpWindshield(map); }},
    {263, [](Map map) { VerticalFansFromCentre(map, 4.0); }},
    {264, [](Map map) { HorizontalFansFromCentre(map, 4.0); }},

    {301, [](Map map) { RowSnake(map); }},
    {302, [](Map map) { ColumnSnake(map); }},
    {303, [](Map map) { DiagonalSnake(map); }},
    {304, [](Map map) { DiagonalSnake(map.MirrorX()); }},
    {305, [](Map map) { DiagonalSnake(map.MirrorX().MirrorY()); }},
    {306, [](Map map) { DiagonalSnake(map.MirrorY()); }},
    {310, [](Map map) { ClockwiseSpiral(map); }},
    {311, [](Map map) { CounterClockwiseSpiral(map.MirrorX()); }},
    {312, [](Map map) { ClockwiseSpiral(map.MirrorX().MirrorY()); }},
    {313, [](Map map) { CounterClockwiseSpiral(map.MirrorY()); }},
    {314, [](Map map) { CounterClockwiseSpiral(map); }},
    {315, [](Map map) { ClockwiseSpiral(map.MirrorX()); }},
    {316, [](Map map) { CounterClockwiseSpiral(map.MirrorX().MirrorY()); }},
    {317, [](Map map) { ClockwiseSpiral(map.MirrorY()); }},
    {320, [](Map map) { MirroredColumnSnakes(map); }},
    {321, [](Map map) { MirroredColumnSnakes(map.MirrorY()); }},
    {322, [](Map map) { OpposedColumnSnakes(map); }},
    {323, [](Map map) { OpposedColumnSnakes(map.MirrorY()); }},
    {324, [](Map map) { MirroredRowSnakes(map); }},
    {325, [](Map map) { MirroredRowSnakes(map.MirrorX()); }},
    {326, [](Map map) { OpposedRowSnakes(map); }},
    {327, [](Map map) { OpposedRowSnakes(map.MirrorX()); }},
    {328, [](Map map) { OpposedDiagonalSnakes(map.MirrorX()); }},
    {329, [](Map map) { OpposedDiagonalSnakes(map); }},
    {340, [](Map map) { BoxesLeftAndRight(map); }},
    {341, [](Map map) { BoxesLeftAndRight(map.MirrorY()); }},
    {342, [](Map map) { BoxesAboveAndBelow(map); }},
    {343, [](Map map) { BoxesAboveAndBelow(map.MirrorX()); }},
    {344, [](Map map) { FourBoxesVertical(map); }},
    {345, [](Map map) { FourBoxesHorizontal(map); }},
    {350, [](Map map) { ColumnWaterfall(map); }},
    {351, [](Map map) { ColumnWaterfall(map.MirrorX()); }},
    {352, [](Map map) { RowWaterfall(map); }},
    {353, [](Map map) { RowWaterfall(map.MirrorX()); }},
};

constexpr ULong32 kFirstPattern = 1;
constexpr ULong32 kLastPattern = 353;

// The same by number, null where nothing is drawn.
constexpr auto kGenerators = [] {
    std::array<Generator, kLastPattern - kFirstPattern + 1> table{};
    for (const Pattern& pattern : kPatterns)
        table[pattern.number - kFirstPattern] = pattern.draw;
    return table;
}();

// What the random numbers choose from: edges, shapes, rotary and matrix wipes, in this order. 124, 125, 130
// and 131 stand among the shapes although nothing draws them; a choice may fall on them.
constexpr std::uint16_t kRandomChoices[] = {
    1,   2,   3,   4,   5,   6,   7,   8,   21,  22,  23,  24,  25,  26,  41,  42,  43,  44,  45,  46,
    47,  48,  61,  62,  63,  64,  65,  66,  67,  68,  71,  72,  73,  74,

    101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 119, 120, 121, 122, 123, 124,
    125, 127, 128, 129, 130, 131,

    201, 202, 203, 204, 205, 206, 207, 211, 212, 213, 214, 221, 222, 223, 224, 225, 226, 227, 228, 231,
    232, 233, 234, 235, 236, 241, 242, 243, 244, 245, 246, 251, 252, 253, 254, 261, 262, 263, 264,

    301, 302, 303, 304, 305, 306, 310, 311, 312, 313, 314, 315, 316, 317, 320, 321, 322, 323, 324, 325,
    326, 327, 328, 329, 340, 341, 342, 343, 344, 345, 350, 351, 352, 353,
};

struct RandomPattern {
    ULong32 number;
    int firstChoice;
    int choices;
};

constexpr RandomPattern kRandomPatterns[] = {
    {409, 0, 133},  // any
    {501, 0, 34},   // edges
    {502, 34, 26},  // shapes
    {503, 60, 39},  // rotary
    {504, 99, 34},  // matrix
};

static_assert(std::size(kRandomChoices) == 133);

ULong32 ResolveRandom(ULong32 patternType) {
    for (const RandomPattern& random : kRandomPatterns)
        if (random.number == patternType)
            return kRandomChoices[random.firstChoice + std::rand() % random.choices];
    return patternType;
}

}  // namespace

int WgrGenerateGradient(WgrGradientData* data, ULong32 patternType) {
    if (!data)
        return kNullRecord;
    if (data->structSize < kLeastStructSize)
        return kShortRecord;

    WgrGradientData local = *data;
    if (const GradientStatus status = CheckBuffer(local); status != kDrawn)
        return status;
    local.aspectRatio = Limit(local.aspectRatio, 0.01F, 100.0F);
    local.cellFraction = Limit(local.cellFraction, 0.001F, 1.0F);

    const ULong32 number = ResolveRandom(patternType);
    if (number < kFirstPattern || number > kLastPattern)
        return kNoGenerator;
    const Generator draw = kGenerators[number - kFirstPattern];
    if (!draw)
        return kNoGenerator;
    if (!(local.flags & kDrawNothing))
        draw(GradientMap(local));
    return kDrawn;
}

}  // namespace GradientGenerator
