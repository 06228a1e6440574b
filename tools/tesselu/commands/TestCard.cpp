#include <TesselU/image/FieldHelpers.h>

#include <array>
#include <cmath>
#include <numbers>

#include "Commands.h"
#include "cli/Arguments.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

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
        if (x >= left && x < left + side && y >= 2 * side && y < 3 * side) {
            return kWhite;
        }
        if (y < height * 3 / 4) {
            return kBars[x * kBars.size() / width];
        }
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

/// Paints the lines of one field, or of a whole frame.
template <typename Card>
void Paint(const Card& card, const Zan::ImageView& view, const Moment& moment) {
    Zan::Image& picture = *view.GetImage();
    const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
    const bool isFrame = field == Zan::kFrame;
    const unsigned first = isFrame || Zan::GetSpatialField(&picture, field) == Zan::kUpperField ? 0 : 1;
    for (unsigned y = first; y < picture.GetHeight(); y += isFrame ? 1 : 2) {
        std::uint8_t* line = Line(picture, y);
        for (unsigned x = 0; x < picture.GetWidth(); x += 2, line += 4) {
            const Colour left = card.At(x, y, moment.Index()), right = card.At(x + 1, y, moment.Index());
            line[0] = left.cb;
            line[1] = left.y;
            line[2] = left.cr;
            line[3] = right.y;
        }
    }
}

class TestCard : public Effect {
public:
    explicit TestCard(const Arguments& arguments) : isZonePlate(arguments.Integer("kind") == 2) {}

    void Make(std::span<Zan::ImageView>, Zan::ImageView& output, const Moment& moment) override {
        const unsigned width = output.GetImage()->GetWidth(), height = output.GetImage()->GetHeight();
        if (isZonePlate) {
            Paint(ZonePlate(width, height), output, moment);
        } else {
            Paint(Bars(width, height), output, moment);
        }
    }

private:
    bool isZonePlate;
};

std::vector<Option> Options() {
    std::vector<Option> options = {{.name = "kind",
                                    .kind = ValueKind::kInteger,
                                    .value = "N",
                                    .help = "1 colour bars, 2 zone plate",
                                    .initial = "1",
                                    .least = 1,
                                    .most = 2}};
    // There is no input that would tell these.
    AddCommonOptions(
        options, {{"length", "frames of the whole run [50]"},
                  {"size", "size of the pictures [1280x720]"},
                  {"scan", "tff (upper field first), bff (lower field first) or progressive [progressive]"},
                  {"rate", "frames a second"}});
    return options;
}

}  // namespace

const Command kTestCardCommand = {
    .name = "testcard",
    .summary = "make a clip of generated pictures",
    .description =
        "Makes colour bars with a moving square, or a zone plate whose rings move outwards. In "
        "interlaced video every field moves on.",
    .options = Options(),
    .examples = {{"tesselu testcard -o bars.mkv --size 1920x1080", "two seconds of colour bars"},
                 {"tesselu testcard -o - --kind 2 --scan tff --length 250 | ffplay -",
                  "ten seconds of a zone plate, interlaced, to look at"}},
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<TestCard>(arguments);
    },
};

}  // namespace tool
