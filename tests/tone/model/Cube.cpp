#include "tone/model/Cube.h"

#include <sstream>

namespace tone_model {

namespace {

constexpr int kCell = 16320;  // 64 * 255

double Mixed(const double (&weights)[4], const double (&values)[4]) {
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
        sum += weights[i] * values[i];
    }
    return std::clamp(255 * sum, 0.0, 255.0);
}

}  // namespace

Cube Cube::Of(const std::string& text) {
    Cube cube;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        std::string word;
        if (!(words >> word) || word[0] == '#') {
            continue;
        }
        if (word == "TITLE") {
            const std::size_t begin = line.find('"') + 1;
            cube.title = line.substr(begin, line.rfind('"') - begin);
        } else if (word == "LUT_1D_SIZE" || word == "LUT_3D_SIZE") {
            cube.dimensions = word[4] - '0';
            words >> cube.size;
        } else if (word == "DOMAIN_MIN") {
            words >> cube.low[0] >> cube.low[1] >> cube.low[2];
        } else if (word == "DOMAIN_MAX") {
            words >> cube.high[0] >> cube.high[1] >> cube.high[2];
        } else if (word == "LUT_1D_INPUT_RANGE" || word == "LUT_3D_INPUT_RANGE") {
            words >> cube.low[0] >> cube.high[0];
            cube.low.fill(cube.low[0]);
            cube.high.fill(cube.high[0]);
        } else {
            std::istringstream row(line);
            row.imbue(std::locale::classic());
            std::array<float, 3> values = {};
            row >> values[0] >> values[1] >> values[2];
            cube.rows.push_back(values);
        }
    }
    cube.Prepare();
    return cube;
}

void Cube::Prepare() {
    // 16 bits, of which the middle stands for 0.5.
    const auto fits = [](double value, int bits) {
        const double entry = std::floor(value * (1 << bits) + 0.5);
        return entry - (1 << bits) / 2 >= -32768 && entry - (1 << bits) / 2 <= 32767;
    };
    exponent = 15;
    for (const auto& row : rows) {
        for (const float value : row) {
            while (exponent > 10 && !fits(value, exponent)) {
                --exponent;
            }
        }
    }
    const double middle = (1 << exponent) / 2;
    entries.clear();
    for (const auto& row : rows) {
        std::array<std::int64_t, 3> entry = {};
        for (std::size_t i = 0; i < 3; ++i) {
            const double rounded = std::floor(double{row[i]} * (1 << exponent) + 0.5);
            entry[i] = static_cast<std::int64_t>(std::clamp(rounded, middle - 32768, middle + 32767));
        }
        entries.push_back(entry);
    }
}

Cube::Place Cube::PlaceOf(std::size_t axis, int sample) const {
    const long double exact = static_cast<long double>(kCell) * (size - 1) *
                              (static_cast<long double>(sample) / 255 - low[axis]) / (high[axis] - low[axis]);
    const long double most = static_cast<long double>(kCell) * (size - 1);
    const auto p = static_cast<std::int64_t>(std::clamp(std::round(exact), 0.0L, most));
    return {static_cast<int>(p / kCell), static_cast<int>(p % kCell)};
}

std::array<int, 3> Cube::Map(const std::array<int, 3>& rgb) const {
    if (dimensions == 0) {
        return rgb;
    }
    const auto finished = [&](std::int64_t sum) {
        return static_cast<int>(
            std::clamp<std::int64_t>((sum + (std::int64_t{1} << (exponent + 5))) >> (exponent + 6), 0, 255));
    };
    std::array<int, 3> out = {};
    if (dimensions == 1) {
        for (std::size_t i = 0; i < 3; ++i) {
            const Place place = PlaceOf(i, rgb[i]);
            const auto cell = static_cast<std::size_t>(place.cell);
            const std::size_t next = std::min(cell + 1, static_cast<std::size_t>(size - 1));
            out[i] =
                finished((kCell - place.fraction) * entries[cell][i] + place.fraction * entries[next][i]);
        }
        return out;
    }
    std::array<Place, 3> places = {};
    std::array<std::size_t, 3> order = {0, 1, 2};
    for (std::size_t i = 0; i < 3; ++i) {
        places[i] = PlaceOf(i, rgb[i]);
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return places[a].fraction > places[b].fraction; });
    std::array<int, 3> at = {places[0].cell, places[1].cell, places[2].cell};
    int before = kCell;
    std::array<std::int64_t, 3> sums = {};
    for (std::size_t step = 0; step <= 3; ++step) {
        const int after = step < 3 ? places[order[step]].fraction : 0;
        for (std::size_t i = 0; i < 3; ++i) {
            sums[i] += (before - after) * entries[Index(at[0], at[1], at[2])][i];
        }
        if (step < 3) {
            int& moved = at[order[step]];
            moved = std::min(moved + 1, size - 1);
        }
        before = after;
    }
    for (std::size_t i = 0; i < 3; ++i) {
        out[i] = finished(sums[i]);
    }
    return out;
}

// The six tetrahedra of a cell, each by itself.
std::array<double, 3> Cube::MapInDoubles(const std::array<int, 3>& rgb) const {
    std::array<double, 3> out = {};
    std::array<double, 3> fraction = {};
    std::array<int, 3> cell = {};
    for (std::size_t i = 0; i < 3; ++i) {
        const double x = std::clamp((rgb[i] / 255.0 - low[i]) / (high[i] - low[i]), 0.0, 1.0) * (size - 1);
        cell[i] = std::min(static_cast<int>(x), size - 2);
        fraction[i] = x - cell[i];
    }
    for (std::size_t i = 0; i < 3; ++i) {
        if (dimensions == 1) {
            const auto at = static_cast<std::size_t>(cell[i]);
            out[i] = std::clamp(255 * ((1 - fraction[i]) * rows[at][i] + fraction[i] * rows[at + 1][i]), 0.0,
                                255.0);
            continue;
        }
        const auto corner = [&](int r, int g, int b) {
            return static_cast<double>(rows[Index(cell[0] + r, cell[1] + g, cell[2] + b)][i]);
        };
        const double r = fraction[0], g = fraction[1], b = fraction[2];
        const double c000 = corner(0, 0, 0), c111 = corner(1, 1, 1);
        if (r >= g && g >= b) {
            out[i] = Mixed({1 - r, r - g, g - b, b}, {c000, corner(1, 0, 0), corner(1, 1, 0), c111});
        } else if (r >= b && b >= g) {
            out[i] = Mixed({1 - r, r - b, b - g, g}, {c000, corner(1, 0, 0), corner(1, 0, 1), c111});
        } else if (b >= r && r >= g) {
            out[i] = Mixed({1 - b, b - r, r - g, g}, {c000, corner(0, 0, 1), corner(1, 0, 1), c111});
        } else if (g >= r && r >= b) {
            out[i] = Mixed({1 - g, g - r, r - b, b}, {c000, corner(0, 1, 0), corner(1, 1, 0), c111});
        } else if (g >= b && b >= r) {
            out[i] = Mixed({1 - g, g - b, b - r, r}, {c000, corner(0, 1, 0), corner(0, 1, 1), c111});
        } else {
            out[i] = Mixed({1 - b, b - g, g - r, r}, {c000, corner(0, 0, 1), corner(0, 1, 1), c111});
        }
    }
    return out;
}

}  // namespace tone_model
