#include "filter/model/Defocus.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace filter_model {

namespace {

enum class Form { kReference, kInteger, kSingle };

/// How a style makes sizes and samples.
struct Path {
    bool rounds;
    Form form;
};

Path PathOf(int style, const Processor& processor) {
    switch (style) {
        case 0:
        case 1:
            return {false, Form::kInteger};
        case 2:
        case 3:
            return {true, processor.simd ? Form::kSingle : Form::kInteger};
        case 5:
            return {true, processor.sse2 || processor.simd ? Form::kSingle : Form::kInteger};
        default:
            return {false, Form::kReference};
    }
}

/// 0 for what is no number and, truncated, for what is negative.
int Resolved(double size, int limit, bool rounds) {
    if (std::isnan(size)) {
        return 0;
    }
    if (!rounds) {
        return size > limit ? limit : size < 0 ? 0 : static_cast<int>(size);
    }
    if (size < 1) {
        return 1;
    }
    int whole = size + 0.5 >= limit ? limit : static_cast<int>(size + 0.5);
    if (whole % 2 == 0) {
        ++whole;
    }
    return whole;
}

int Mirrored(int c, int n) {
    return c < 0 ? -c : c >= n ? 2 * n - 2 - c : c;
}

/// Sums of one byte of the pixels over boxes, from sums of everything above and to the left in the mirrored
/// picture.
class Sums {
public:
    Sums(const Plane& plane, int byte, int width, int height, int kw, int kh)
        : boxWidth(kw), boxHeight(kh), stride(static_cast<std::size_t>(width + kw)) {
        const int left = kw / 2, above = kh / 2;
        sums.resize(stride * static_cast<std::size_t>(height + kh));
        for (int y = 0; y < height + 2 * above; ++y) {
            std::uint64_t row = 0;
            const std::ptrdiff_t line = plane.first + plane.pitch * Mirrored(y - above, height);
            for (int x = 0; x < width + 2 * left; ++x) {
                row += plane.At(line + 4 * Mirrored(x - left, width) + byte);
                At(x + 1, y + 1) = At(x + 1, y) + row;
            }
        }
    }
    std::uint64_t Around(int x, int y) {
        return At(x + boxWidth, y + boxHeight) - At(x, y + boxHeight) - At(x + boxWidth, y) + At(x, y);
    }

private:
    std::uint64_t& At(int x, int y) {
        return sums[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)];
    }

    int boxWidth, boxHeight;
    std::size_t stride;
    std::vector<std::uint64_t> sums;
};

/// Halves to even.
int NearestEven(float value) {
    const double floor = std::floor(static_cast<double>(value)), rest = static_cast<double>(value) - floor;
    const int whole = static_cast<int>(floor);
    return rest > 0.5 || (rest == 0.5 && whole % 2 != 0) ? whole + 1 : whole;
}

Byte Sample(std::uint64_t sum, std::uint64_t area, Form form, const Scale& scale) {
    const auto low = static_cast<std::uint32_t>(sum);
    switch (form) {
        case Form::kReference:
            return static_cast<Byte>(
                static_cast<std::uint64_t>(low * (1.0 / static_cast<double>(area)) + 0.5));
        case Form::kInteger: {
            if (scale.totalShift < scale.preShift) {
                return 0;
            }
            const std::uint32_t product = (low >> scale.preShift) * scale.multiplier;
            return static_cast<Byte>(product >> (scale.totalShift - scale.preShift));
        }
        default: {
            const auto factor = static_cast<float>(1.0 / static_cast<double>(area));
            const int nearest = NearestEven(static_cast<float>(sum) * factor);
            return static_cast<Byte>(nearest > 255 ? 255 : nearest);
        }
    }
}

}  // namespace

bool ScaleOf(std::uint64_t area, std::uint32_t bits, Scale& scale) {
    double largest =
        static_cast<double>(area) * (std::ldexp(1.0, static_cast<int>(std::min(bits, 5000U))) - 1);
    for (scale.preShift = 0; scale.preShift < 32 && largest > 65535.0; ++scale.preShift) {
        largest /= 2;
    }
    double inverse = 1.0 / static_cast<double>(area);
    for (scale.totalShift = 0; inverse < 32768.0; ++scale.totalShift) {
        if (scale.totalShift == 31) {
            return false;
        }
        inverse *= 2;
    }
    scale.multiplier = static_cast<std::uint32_t>(inverse + 0.5 > 65535.0 ? inverse : inverse + 0.5);
    return true;
}

int Defocus(const Picture& source, Picture& destination, const Box& box, std::uint32_t bits, int style,
            const Processor& processor) {
    if (source.isNull || destination.isNull) {
        return 1;
    }
    for (const Picture* picture : {&source, static_cast<const Picture*>(&destination)}) {
        if (picture->sampling != 0 || picture->channels != 4) {
            return 4;
        }
    }
    if (!source.words.isThere || !destination.words.isThere) {
        return 1;
    }
    if (source.isUpwardField || destination.isUpwardField) {
        return 98;
    }
    if ((std::ldexp(1.0, static_cast<int>(std::min(bits, 5000U))) - 1) * box.horizontal * box.vertical >
        4294967295.0) {
        return -10;
    }
    const int width = std::min(source.width, destination.width);
    const int height = std::min(source.height, destination.height);
    const Path path = PathOf(style, processor);
    const int kw = Resolved(box.horizontal, width, path.rounds);
    const int kh = Resolved(box.vertical, height, path.rounds);
    if (kw == 0 || kh == 0) {
        return -1;
    }
    if (kw % 2 == 0 || kh % 2 == 0) {
        return -2;
    }
    if (kw >= width || kh >= height) {
        return -3;
    }
    const std::uint64_t area = static_cast<std::uint64_t>(kw) * static_cast<std::uint64_t>(kh);
    Scale scale = {};
    if (path.form == Form::kInteger && !ScaleOf(area, bits, scale)) {
        return -5;
    }
    const auto limit = [](std::uint32_t value, int most) {
        return value < static_cast<std::uint32_t>(most) ? static_cast<int>(value) : most;
    };
    const int firstColumn = limit(box.xStart, width);
    const int firstRow = limit(box.yStart, height), endRow = limit(box.yEnd, height);
    int endColumn = limit(box.xEnd, width);
    if (path.form != Form::kReference && box.xEnd <= box.xStart && firstColumn < width) {
        endColumn = firstColumn + 1;
    }
    for (int byte = 0; byte < 4; ++byte) {
        Sums sums(source.words, byte, width, height, kw, kh);
        for (int y = firstRow; y < endRow; ++y) {
            for (int x = firstColumn; x < endColumn; ++x) {
                destination.words.Put(
                    destination.words.first + y * destination.words.pitch + 4 * std::ptrdiff_t{x} + byte,
                    Sample(sums.Around(x, y), area, path.form, scale));
            }
        }
    }
    return 0;
}

}  // namespace filter_model
