// The loops that one would write without a library, in the arithmetic that our operations promise. That
// arrays do not overlap is told where the compiler heeds it, in parameters.

#include <cmath>

#include "vectors/Work.h"

namespace bench::vectors {

namespace {

constexpr float kLeast = 1e-9F;

[[gnu::noinline]] void SingleNormals(const float* __restrict v, float* __restrict out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const float x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        const float length = std::sqrt(x * x + y * y + z * z);
        const float scale = 1.0F / (length > kLeast ? length : kLeast);
        out[3 * i] = x * scale;
        out[3 * i + 1] = y * scale;
        out[3 * i + 2] = z * scale;
    }
}

[[gnu::noinline]] void SingleArrays(const float* __restrict fromX, const float* __restrict fromY,
                                    const float* __restrict fromZ, float* __restrict toX,
                                    float* __restrict toY, float* __restrict toZ, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const float x = fromX[i], y = fromY[i], z = fromZ[i];
        const float square = x * x + y * y + z * z;
        const float scale = 1.0F / std::sqrt(square > kLeast ? square : kLeast);
        toX[i] = x * scale;
        toY[i] = y * scale;
        toZ[i] = z * scale;
    }
}

[[gnu::noinline]] void SingleBlocks(const float* __restrict v, float* __restrict out, std::size_t n) {
    for (std::size_t i = 0; i < 3 * n; i += 12) {
        for (std::size_t k = 0; k < 4; ++k) {
            const float x = v[i + k], y = v[i + 4 + k], z = v[i + 8 + k];
            const float square = x * x + y * y + z * z;
            const float scale = 1.0F / std::sqrt(square > kLeast ? square : kLeast);
            out[i + k] = x * scale;
            out[i + 4 + k] = y * scale;
            out[i + 8 + k] = z * scale;
        }
    }
}

template <class Real>
[[gnu::noinline]] void Lengths(const float* __restrict v, float* __restrict out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const Real x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        out[i] = static_cast<float>(std::sqrt(x * x + y * y + z * z));
    }
}

template <class Real>
[[gnu::noinline]] void Linear(const double* __restrict matrix, const float* __restrict v,
                              float* __restrict out, std::size_t n) {
    Real m[12];
    for (int i = 0; i < 12; ++i) {
        m[i] = static_cast<Real>(matrix[i]);
    }
    for (std::size_t i = 0; i < n; ++i) {
        const Real x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        out[3 * i] = static_cast<float>(m[0] * x + m[1] * y + m[2] * z);
        out[3 * i + 1] = static_cast<float>(m[4] * x + m[5] * y + m[6] * z);
        out[3 * i + 2] = static_cast<float>(m[8] * x + m[9] * y + m[10] * z);
    }
}

[[gnu::noinline]] void Normals(const float* __restrict v, float* __restrict out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        const double length = std::sqrt(x * x + y * y + z * z);
        const double scale = 1.0 / (length > kLeast ? length : kLeast);
        out[3 * i] = static_cast<float>(x * scale);
        out[3 * i + 1] = static_cast<float>(y * scale);
        out[3 * i + 2] = static_cast<float>(z * scale);
    }
}

[[gnu::noinline]] void Arrays(const float* __restrict fromX, const float* __restrict fromY,
                              const float* __restrict fromZ, float* __restrict toX, float* __restrict toY,
                              float* __restrict toZ, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double x = fromX[i], y = fromY[i], z = fromZ[i];
        const double length = std::sqrt(x * x + y * y + z * z);
        const double scale = 1.0 / (length > kLeast ? length : kLeast);
        toX[i] = static_cast<float>(x * scale);
        toY[i] = static_cast<float>(y * scale);
        toZ[i] = static_cast<float>(z * scale);
    }
}

[[gnu::noinline]] void Dot(const float* __restrict a, const float* __restrict b, float* __restrict out,
                           std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double ax = a[3 * i], ay = a[3 * i + 1], az = a[3 * i + 2];
        out[i] = static_cast<float>(ax * b[3 * i] + ay * b[3 * i + 1] + az * b[3 * i + 2]);
    }
}

[[gnu::noinline]] void Cross(const float* __restrict a, const float* __restrict b, float* __restrict out,
                             std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double ax = a[3 * i], ay = a[3 * i + 1], az = a[3 * i + 2];
        const double bx = b[3 * i], by = b[3 * i + 1], bz = b[3 * i + 2];
        out[3 * i] = static_cast<float>(ay * bz - az * by);
        out[3 * i + 1] = static_cast<float>(az * bx - ax * bz);
        out[3 * i + 2] = static_cast<float>(ax * by - ay * bx);
    }
}

// In place, as ours: the factor is 1 or -1, so that repetition changes nothing but signs.
[[gnu::noinline]] void Scale(float* __restrict v, std::size_t n) {
    for (std::size_t i = 0; i < 3 * n; ++i) {
        v[i] = -1.0F * v[i];
    }
}

[[gnu::noinline]] void AddConstant(const float* __restrict v, const float* __restrict c,
                                   float* __restrict out, std::size_t n) {
    const float x = c[0], y = c[1], z = c[2];
    for (std::size_t i = 0; i < n; ++i) {
        out[3 * i] = v[3 * i] + x;
        out[3 * i + 1] = v[3 * i + 1] + y;
        out[3 * i + 2] = v[3 * i + 2] + z;
    }
}

[[gnu::noinline]] void Add(const float* __restrict a, const float* __restrict b, float* __restrict out,
                           std::size_t n) {
    for (std::size_t i = 0; i < 3 * n; ++i) {
        out[i] = a[i] + b[i];
    }
}

[[gnu::noinline]] void AddScaled(const float* __restrict sa, const float* __restrict a,
                                 const float* __restrict sb, const float* __restrict b, float* __restrict out,
                                 std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double s = sa[i], t = sb[i];
        for (std::size_t c = 0; c < 3; ++c) {
            out[3 * i + c] = static_cast<float>(s * a[3 * i + c] + t * b[3 * i + c]);
        }
    }
}

[[gnu::noinline]] void AddConstantScaled(const float* __restrict a, const float* __restrict b,
                                         float* __restrict out, std::size_t n) {
    const double s = kScaleA, t = kScaleB;
    for (std::size_t i = 0; i < 3 * n; ++i) {
        out[i] = static_cast<float>(s * a[i] + t * b[i]);
    }
}

[[gnu::noinline]] void Affine(const double* __restrict m, const float* __restrict v, float* __restrict out,
                              std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        out[3 * i] = static_cast<float>(m[0] * x + m[1] * y + m[2] * z + m[3]);
        out[3 * i + 1] = static_cast<float>(m[4] * x + m[5] * y + m[6] * z + m[7]);
        out[3 * i + 2] = static_cast<float>(m[8] * x + m[9] * y + m[10] * z + m[11]);
    }
}

[[gnu::noinline]] void Projective(const double* __restrict m, const float* __restrict v,
                                  float* __restrict out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const double x = v[3 * i], y = v[3 * i + 1], z = v[3 * i + 2];
        const float atX = static_cast<float>(m[0] * x + m[1] * y + m[2] * z + m[3]);
        const float atY = static_cast<float>(m[4] * x + m[5] * y + m[6] * z + m[7]);
        const float atZ = static_cast<float>(m[8] * x + m[9] * y + m[10] * z + m[11]);
        const double w = m[12] * x + m[13] * y + m[14] * z + m[15];
        const double scale = w == 0.0 ? 1.0 : 1.0 / w;
        out[3 * i] = static_cast<float>(atX * scale);
        out[3 * i + 1] = static_cast<float>(atY * scale);
        out[3 * i + 2] = static_cast<float>(atZ * scale);
    }
}

}  // namespace

std::vector<Entry> TESSELU_VECTORS_BUILD::PlainLoops() {
    return {{kSingleNormals, "plain", [](const Work& w) { SingleNormals(w.a, w.out, w.n); }},
            {kSingleArrays, "plain",
             [](const Work& w) { SingleArrays(w.x, w.y, w.z, w.out, w.outY, w.outZ, w.n); }},
            {kSingleBlocks, "plain", [](const Work& w) { SingleBlocks(w.a, w.out, w.n); }},
            {kSingleLengths, "plain", [](const Work& w) { Lengths<float>(w.a, w.out, w.n); }},
            {kSingleLinear, "plain", [](const Work& w) { Linear<float>(w.matrix, w.a, w.out, w.n); }},
            {kLengths, "plain", [](const Work& w) { Lengths<double>(w.a, w.out, w.n); }},
            {kNormals, "plain", [](const Work& w) { Normals(w.a, w.out, w.n); }},
            {kArrays, "plain", [](const Work& w) { Arrays(w.x, w.y, w.z, w.out, w.outY, w.outZ, w.n); }},
            {kDot, "plain", [](const Work& w) { Dot(w.a, w.b, w.out, w.n); }},
            {kCross, "plain", [](const Work& w) { Cross(w.a, w.b, w.out, w.n); }},
            {kScale, "plain", [](const Work& w) { Scale(w.out, w.n); }},
            {kAddConstant, "plain", [](const Work& w) { AddConstant(w.a, w.b, w.out, w.n); }},
            {kAdd, "plain", [](const Work& w) { Add(w.a, w.b, w.out, w.n); }},
            {kAddScaled, "plain", [](const Work& w) { AddScaled(w.sa, w.a, w.sb, w.b, w.out, w.n); }},
            {kAddConstantScaled, "plain", [](const Work& w) { AddConstantScaled(w.a, w.b, w.out, w.n); }},
            {kLinear, "plain", [](const Work& w) { Linear<double>(w.matrix, w.a, w.out, w.n); }},
            {kAffine, "plain", [](const Work& w) { Affine(w.matrix, w.a, w.out, w.n); }},
            {kProjective, "plain", [](const Work& w) { Projective(w.matrix, w.a, w.out, w.n); }}};
}

}  // namespace bench::vectors
