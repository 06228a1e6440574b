// A photograph on a waving sheet, turned in space and lit by a lamp, written as turn.ppm:
//
//     tesselu convert photo.png -t bgra -o photo.bgra
//     turn photo.bgra 500 500
#include <TesselU/TesselU.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <vector>

using namespace Zan;

namespace {

/// A picture with the nearest depth at each pixel; what is larger lies nearer.
class Canvas {
public:
    static constexpr int kWidth = 960, kHeight = 640;  // of which four pixels become one

    Canvas() : rgb(3 * kWidth * kHeight, 24), depth(kWidth * kHeight, 0) {}

    /// A triangle of three points x, y, depth, in the colour of a pixel B, G, R.
    void Fill(const float* a, const float* b, const float* c, const unsigned char* colour, float light) {
        const float area = (b[0] - a[0]) * (c[1] - a[1]) - (c[0] - a[0]) * (b[1] - a[1]);
        const auto [left, right] = std::minmax({a[0], b[0], c[0]});
        const auto [top, bottom] = std::minmax({a[1], b[1], c[1]});
        for (int y = std::max(0, int(top)); y <= std::min(kHeight - 1, int(bottom)); ++y) {
            for (int x = std::max(0, int(left)); x <= std::min(kWidth - 1, int(right)); ++x) {
                const float px = float(x) + 0.5F, py = float(y) + 0.5F;
                const float ofB = ((px - a[0]) * (c[1] - a[1]) - (c[0] - a[0]) * (py - a[1])) / area;
                const float ofC = ((b[0] - a[0]) * (py - a[1]) - (px - a[0]) * (b[1] - a[1])) / area;
                const float near = a[2] + ofB * (b[2] - a[2]) + ofC * (c[2] - a[2]);
                const std::size_t at = std::size_t(y) * kWidth + std::size_t(x);
                if (ofB >= 0 && ofC >= 0 && ofB + ofC <= 1 && near > depth[at]) {
                    depth[at] = near;
                    for (std::size_t i = 0; i < 3; ++i) {
                        rgb[3 * at + i] =
                            static_cast<unsigned char>(std::min(255.0F, float(colour[2 - i]) * light));
                    }
                }
            }
        }
    }

    bool Write(const char* path) const {
        std::ofstream file(path, std::ios::binary);
        file << "P6 " << kWidth / 2 << ' ' << kHeight / 2 << " 255\n";
        for (std::size_t y = 0; y < kHeight; y += 2) {
            for (std::size_t i = 0; i < 3 * kWidth; i += i % 3 == 2 ? 4 : 1) {
                const unsigned char* at = rgb.data() + y * 3 * kWidth + i;
                file.put(static_cast<char>((at[0] + at[3] + at[3 * kWidth] + at[3 * kWidth + 3] + 2) / 4));
            }
        }
        return static_cast<bool>(file.flush());
    }

private:
    std::vector<unsigned char> rgb;
    std::vector<float> depth;
};

}  // namespace

int main(int argc, char** argv) {
    const long width = argc == 4 ? std::atol(argv[2]) : 0, height = argc == 4 ? std::atol(argv[3]) : 0;
    if (width < 2 || height < 2 || width > 8192 || height > 8192) {
        std::cerr << "usage: turn photo.bgra WIDTH HEIGHT\n";
        return 1;
    }
    const auto columns = static_cast<ULong32>(width), rows = static_cast<ULong32>(height),
               count = columns * rows;
    std::vector<unsigned char> photo(std::size_t{4} * count);
    std::ifstream file(argv[1], std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(photo.data()), static_cast<std::streamsize>(photo.size()))) {
        std::cerr << argv[1] << ": is no such photograph\n";
        return 1;
    }

    // The sheet: a point for each pixel, x from -1 to 1, and the steps to the points on its right and below.
    std::vector<float> points, right, down;
    const auto point = [&](float column, float row) {
        const float x = 2 * column / float(columns) - 1, y = (2 * row - float(rows)) / float(columns);
        return std::vector<float>{x, y, 0.11F * std::sin(4.5F * x + 1.5F * y) * (1.2F + x)};
    };
    for (ULong32 row = 0; row < rows; ++row) {
        for (ULong32 column = 0; column < columns; ++column) {
            const auto here = point(float(column), float(row));
            const auto beside = point(float(column) + 1, float(row)),
                       below = point(float(column), float(row) + 1);
            points.insert(points.end(), here.begin(), here.end());
            right.insert(right.end(), beside.begin(), beside.end());
            down.insert(down.end(), below.begin(), below.end());
        }
    }
    std::vector<float> minus(points.size()), normals(points.size()), light(count);
    const auto subtract = [&](std::vector<float>& from) {
        Operations3D::AddScaledVectors(1.0F, from.data(), -1.0F, points.data(), from.data(), count,
                                       kBestAvailable);
    };
    subtract(right);
    subtract(down);

    // Normals, and what they see of a lamp in front of the upper left.
    float lamp[3] = {-1.1F, -1.3F, -1.6F};
    Operations3D::CrossProduct(down.data(), right.data(), normals.data(), count, kBestAvailable);
    Operations3D::NormalizeVectors(normals.data(), normals.data(), count, kFlp_SIMD);
    Operations3D::SubtractConstantVector(points.data(), lamp, minus.data(), count, kBestAvailable);
    Operations3D::NormalizeVectors(minus.data(), minus.data(), count, kFlp_SIMD);
    Operations3D::DotProduct(normals.data(), minus.data(), light.data(), count, kBestAvailable);

    // Turned by 36 degrees about its height, tilted by 15, and seen from 2.6 in front: x' and y' are pixels,
    // z' is 1 / distance.
    const double turn = 0.62, tilt = 0.26, distance = 2.6, zoom = 690;
    const double across[3] = {std::cos(turn), 0, -std::sin(turn)};
    const double downwards[3] = {std::sin(turn) * std::sin(tilt), std::cos(tilt),
                                 std::cos(turn) * std::sin(tilt)};
    const double away[3] = {std::sin(turn) * std::cos(tilt), -std::sin(tilt),
                            std::cos(turn) * std::cos(tilt)};
    double matrix[16] = {
        0, 0, 0,       Canvas::kWidth / 2 * distance, 0, 0, 0, Canvas::kHeight / 2 * distance, 0, 0, 0, 1, 0,
        0, 0, distance};
    for (int i = 0; i < 3; ++i) {
        matrix[i] = zoom * across[i] + Canvas::kWidth / 2 * away[i];
        matrix[4 + i] = zoom * downwards[i] + Canvas::kHeight / 2 * away[i];
        matrix[12 + i] = away[i];
    }
    Transform3D view;
    view.SetMatrix(matrix, 4, 4);
    view.Do(points.data(), points.data(), count, kBestAvailable);

    Canvas canvas;
    for (ULong32 row = 0; row + 1 < rows; ++row) {
        for (ULong32 column = 0; column + 1 < columns; ++column) {
            const std::size_t i = std::size_t{row} * columns + column;
            const float *a = points.data() + 3 * i, *b = a + 3, *c = a + std::size_t{3} * columns, *d = c + 3;
            const float brightness = 0.25F + 1.05F * std::fabs(light[i]);
            canvas.Fill(a, b, c, photo.data() + 4 * i, brightness);
            canvas.Fill(b, d, c, photo.data() + 4 * i, brightness);
        }
    }
    return canvas.Write("turn.ppm") ? 0 : 1;
}
