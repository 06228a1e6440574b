#include "convert/model/Pairs.h"

#include <map>

namespace convert_model {
namespace {

using Table = std::vector<std::pair<int, std::vector<int>>>;
using PairList = std::vector<std::pair<int, int>>;

PairList Listed(const Table& table) {
    PairList pairs;
    for (const auto& [source, destinations] : table) {
        for (const int destination : destinations) {
            pairs.emplace_back(source, destination);
        }
    }
    return pairs;
}

const Table kInteger = {
    {0, {0, 1, 2, 6, 8, 9, 10, 12, 14, 16, 17}},
    {1, {0, 1, 2, 5, 17}},
    {2, {0, 1, 2, 5, 6, 7, 10, 11, 12, 14, 16, 17, 18}},
    {3, {1, 3}},
    {4, {1, 4}},
    {5, {1, 2, 5, 9, 12, 16, 17}},
    {6, {0, 5}},
    {7, {2}},
    {8, {0, 5}},
    {9, {0, 5}},
    {10, {0, 2, 10, 11, 14, 20}},
    {11, {0, 2, 5, 10}},
    {12, {2}},
    {13, {13, 17}},
    {14, {0, 2, 14, 16, 17}},
    {15, {15, 16}},
    {16, {0, 2, 5, 14, 15, 16, 17, 22}},
    {17, {0, 1, 2, 5, 10, 14, 16, 17, 19}},
    {18, {18}},
    {19, {19}},
    {25, {25}},
};

const Table kFloat = {
    {0, {0, 1, 2, 6, 8, 9, 10, 12, 13, 14, 16, 17, 23}},
    {1, {0, 1, 2, 5, 17}},
    {2, {0, 1, 2, 5, 6, 7, 10, 11, 12, 13, 17, 23, 24}},
    {3, {1, 3}},
    {4, {1, 4}},
    {5, {1, 2, 5, 9, 12, 16, 17}},
    {6, {0, 5}},
    {8, {0, 5}},
    {9, {0, 5}},
    {10, {0, 2, 10, 11, 20}},
    {11, {0, 2, 5, 10}},
    {12, {2}},
    {13, {13, 17}},
    {14, {0, 2, 14, 17, 23}},
    {15, {15, 16}},
    {16, {0, 5, 13, 15, 17, 23}},
    {17, {0, 1, 2, 5, 10, 13, 14, 16, 17, 23}},
    {21, {2}},
    {24, {2}},
};

const Table kFixedPoint = {{0, {0, 1}}, {1, {1}}, {2, {2}}, {3, {3}}, {4, {4}}, {5, {5}}};
const Table kFloatSimd = {{0, {1}}};

/// Destinations of the kinds 1 to 4, by source.
const std::map<int, std::array<std::vector<int>, 4>> kKinds = {
    {0, {{{}, {}, {1, 2, 6, 8, 9, 12, 16, 17}, {}}}},
    {1, {{{4, 5}, {}, {}, {0, 3}}}},
    {2, {{{4, 5}, {}, {}, {0, 10, 14}}}},
    {3, {{{}, {}, {1}, {}}}},
    {4, {{{}, {1}, {}, {}}}},
    {5, {{{}, {1, 2, 9, 12, 16, 17}, {}, {}}}},
    {6, {{{5}, {}, {}, {0}}}},
    {8, {{{5}, {}, {}, {0}}}},
    {9, {{{5}, {}, {}, {0}}}},
    {10, {{{}, {}, {2, 11}, {}}}},
    {11, {{{5}, {}, {}, {0, 10}}}},
    {12, {{{5}, {}, {}, {}}}},
    {14, {{{}, {}, {2, 16, 17}, {}}}},
    {16, {{{5}, {}, {}, {0, 14}}}},
    {17, {{{5}, {}, {}, {0, 10, 14}}}},
};

Coefficients In4096ths(const int (&rows)[3][3], const double (&before)[3], const double (&after)[3]) {
    Coefficients made{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            made.m[i][j] = rows[i][j] / 4096.0;
        }
        made.o[0][i] = before[i];
        made.o[1][i] = after[i];
    }
    made.m[3][3] = 1;
    return made;
}

const Coefficients kMatrices[5] = {
    In4096ths({{4096, 0, 0}, {0, 4096, 0}, {0, 0, 4096}}, {0, 0, 0}, {0, 0, 0}),
    In4096ths({{7096, 4096, 0}, {-1378, 4096, -2860}, {0, 4096, 5614}}, {-128, -16, -128}, {16, 16, 16}),
    In4096ths({{2095, -1388, -707}, {467, 2404, 1225}, {-341, -1754, 2095}}, {-16, -16, -16}, {128, 16, 128}),
    In4096ths({{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}}, {0, 0, 0}, {128, 16, 128}),
    In4096ths({{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}}, {-128, -16, -128}, {0, 0, 0}),
};

}  // namespace

const PairList& PairsOf(Path path) {
    static const PairList integer = Listed(kInteger), inDoubles = Listed(kFloat),
                          fixedPoint = Listed(kFixedPoint), simd = Listed(kFloatSimd);
    static const PairList all = [] {
        PairList pairs;
        for (int source = 0; source < 26; ++source) {
            for (int destination = 0; destination < 26; ++destination) {
                pairs.emplace_back(source, destination);
            }
        }
        return pairs;
    }();
    switch (path) {
        case Path::kInteger:
            return integer;
        case Path::kFloat:
            return inDoubles;
        case Path::kFixedPoint:
            return fixedPoint;
        case Path::kFloatSimd:
            return simd;
        default:
            return all;
    }
}

bool HasPair(Path path, int source, int destination) {
    const PairList& pairs = PairsOf(path);
    return path == Path::kGeneral ||
           std::find(pairs.begin(), pairs.end(), std::pair(source, destination)) != pairs.end();
}

int KindOf(int source, int destination) {
    const auto found = kKinds.find(source);
    for (std::size_t kind = 0; found != kKinds.end() && kind < 4; ++kind) {
        const std::vector<int>& destinations = found->second[kind];
        if (std::find(destinations.begin(), destinations.end(), destination) != destinations.end()) {
            return static_cast<int>(kind) + 1;
        }
    }
    return 0;
}

int KindInDoubles(int source, int destination) {
    const bool toLumaFirst =
        (source == 0 && OneOf(destination, {13, 23})) || (source == 14 && destination == 23);
    return toLumaFirst ? 3 : KindOf(source, destination);
}

const Coefficients& OfKind(int kind) {
    return kMatrices[kind];
}

}  // namespace convert_model
