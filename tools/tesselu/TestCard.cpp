#include "TestCard.h"

#include <array>
#include <cmath>
#include <numbers>

#include "Errors.h"
#include "Interrupt.h"
#include "ProgressBar.h"
#include "media/Writer.h"

namespace tool {
namespace {

struct Colour {
    std::uint8_t cb, y, cr;
};

/// 75 % colour bars in ITU-R BT.601: white, yellow, cyan, green, magenta, red, blue.
constexpr std::array<Colour, 7> kBars = {{{128, 180, 128},
                                          {44, 162, 142},
                                          {156, 131, 44},
                                          {72, 112, 58},
                                          {184, 84, 198},
                                          {100, 65, 212},
                                          {212, 35, 114}}};
constexpr Colour kWhite = {128, 235, 128};

class Bars {
public:
    Bars(unsigned newWidth, unsigned newHeight) : width(newWidth), height(newHeight) {}

    Colour At(unsigned x, unsigned y, long frame) const {
        const unsigned side = height / 5;
        const auto left = static_cast<unsigned>(frame * 8 % width);
        if (x >= left && x < left + side && y >= 2 * side && y < 3 * side)
            return kWhite;
        if (y < height * 3 / 4)
            return kBars[x * kBars.size() / width];
        const auto ramp = static_cast<std::uint8_t>(16 + x * 219 / width);
        return {128, ramp, 128};
    }

private:
    unsigned width, height;
};

class ZonePlate {
public:
    ZonePlate(unsigned newWidth, unsigned newHeight) : width(newWidth), height(newHeight) {}

    Colour At(unsigned x, unsigned y, long frame) const {
        const double dx = x - width / 2.0, dy = y - height / 2.0;
        // The finest rings, at the left and right edge, are three pixels wide.
        const double phase =
            std::numbers::pi / 3 * (dx * dx + dy * dy) / width - static_cast<double>(frame) * 0.3;
        const double around = std::atan2(dy, dx);
        return {Level(128, 60 * std::cos(around)), Level(126, 90 * std::cos(phase)),
                Level(128, 60 * std::sin(around))};
    }

private:
    static std::uint8_t Level(double middle, double swing) {
        return static_cast<std::uint8_t>(std::lround(middle + swing));
    }

    unsigned width, height;
};

template <typename Card>
void Paint(const Card& card, const Zan::Image& picture, long frame) {
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        std::uint8_t* line = Line(picture, y);
        for (unsigned x = 0; x < picture.GetWidth(); x += 2, line += 4) {
            const Colour left = card.At(x, y, frame), right = card.At(x + 1, y, frame);
            line[0] = left.cb;
            line[1] = left.y;
            line[2] = left.cr;
            line[3] = right.y;
        }
    }
}

}  // namespace

void RunTestCard(const TestCardOptions& options) {
    if (options.kind != 1 && options.kind != 2)
        throw UsageError("--kind " + std::to_string(options.kind) + ": 1 (colour bars) or 2 (zone plate)");
    PictureFormat format;
    format.width = options.size.width;
    format.height = options.size.height;
    format.rate = options.rate;
    const std::unique_ptr<Writer> writer = OpenWriter(options.output, format);
    const ImagePtr picture = NewPicture(format);
    ProgressBar progress("drawing", options.frames);
    for (long frame = 0; frame < options.frames; ++frame) {
        StopIfInterrupted();
        if (options.kind == 1)
            Paint(Bars(format.width, format.height), *picture, frame);
        else
            Paint(ZonePlate(format.width, format.height), *picture, frame);
        writer->Write(*picture);
        progress.Show(frame + 1);
    }
    StopIfInterrupted();
    writer->Finish();
}

}  // namespace tool
