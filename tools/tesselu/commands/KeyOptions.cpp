#include "commands/KeyOptions.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Errors.h"
#include "media/Writer.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

/// Options that tell the settings of the keyer, or find them.
constexpr const char* kSources[] = {"color", "pick", "auto", "hue"};
constexpr const char* kOfChroma[] = {"color",      "pick",        "auto",  "at",     "hue",
                                     "acceptance", "saturation",  "clip",  "offset", "gain",
                                     "spill",      "spill-angle", "plane", "style",  "444"};

std::optional<Colour> HexColour(const std::string& text) {
    unsigned digits = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), digits, 16);
    if (text.size() != 6 || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return Colour{static_cast<int>(digits >> 16), static_cast<int>(digits >> 8 & 0xFF),
                  static_cast<int>(digits & 0xFF)};
}

/// Of --color. Those with names are the usual paints of studios.
Colour BackingColour(const std::string& text) {
    if (text == "green") {
        return {0, 177, 64};
    }
    if (text == "blue") {
        return {0, 71, 187};
    }
    const auto colour = HexColour(text);
    if (!colour) {
        throw UsageError("--color " + text + ": green, blue, or RRGGBB in hexadecimal digits");
    }
    return *colour;
}

/// X,Y or X,Y,RADIUS
Spot SpotOf(const Arguments& arguments) {
    const std::vector<double> values = arguments.Reals("pick");
    const bool areWhole =
        std::all_of(values.begin(), values.end(), [](double value) { return value == std::floor(value); });
    if (!areWhole || values.size() < 2 || values.size() > 3) {
        throw UsageError("--pick " + arguments.Text("pick") + ": two or three whole numbers, X,Y[,RADIUS]");
    }
    Spot spot{static_cast<unsigned>(values[0]), static_cast<unsigned>(values[1])};
    if (values.size() == 3) {
        spot.radius = static_cast<unsigned>(values[2]);
    }
    return spot;
}

Split SplitOf(const std::string& text) {
    Split split{};
    split.isPart = text.back() == '%';
    const char* const end = text.data() + text.size() - (split.isPart ? 1 : 0);
    const auto [stop, error] = std::from_chars(text.data(), end, split.count);
    const double most = split.isPart ? 100 : kLargestSide;
    if (error != std::errc() || stop != end || !(split.count >= 0 && split.count <= most) ||
        (!split.isPart && split.count != std::floor(split.count))) {
        throw UsageError("--split " + text + ": a number of lines, or a part of them such as 50%");
    }
    return split;
}

}  // namespace

long Split::Lines(unsigned height) const {
    return isPart ? std::lround(height * count / 100) : static_cast<long>(count);
}

KeyOptions::KeyOptions(const Arguments& arguments)
    : hasGarbage(arguments.Has("garbage")),
      isShaped(arguments.Has("shaped")),
      isInverted(arguments.Has("invert")),
      asksFull(arguments.Has("444")),
      asksPairs(arguments.Has("422")),
      style(StyleOf(arguments)),
      at(arguments.Integer("at")),
      isSplitBelow(arguments.Has("split-bottom")),
      choke(arguments.Integer("choke")),
      feather(arguments.Integer("feather")) {
    Refuse(arguments);
    if (arguments.Has("luma")) {
        TakeLuma(arguments);
    } else {
        TakeChroma(arguments);
    }
    if (arguments.Has("split")) {
        split = SplitOf(arguments.Text("split"));
    }
    if (asksFull && IsReworked()) {
        throw UsageError("--444: --choke and --feather work in 4:2:2");
    }
    OutputOptions out;
    out.kind = arguments.Text("to");
    carrier = CarrierOf(arguments.Text("output"), out);
    outHoldsFullChroma = HoldsFullChroma(arguments.Text("output"), out);
    if (arguments.Has("background")) {
        plateColour = HexColour(arguments.Text("background"));
        hasClip = !plateColour;
    } else if (carrier == AlphaCarrier::kOpaque) {
        plateColour = Colour{0, 0, 0};
    }
    hasPlate = hasClip || plateColour;
    for (const char* side : {"matte", "foreground"}) {
        if (arguments.Has(side)) {
            TakeSide(arguments, side);
        }
    }
    if (isShaped && foreground.empty() && hasPlate) {
        throw UsageError("--shaped: there is no picture with alpha; --foreground OUT makes one");
    }
    if (arguments.Has("plane")) {
        plane = arguments.Text("plane");
    }
}

void KeyOptions::Refuse(const Arguments& arguments) const {
    if (arguments.Has("luma")) {
        for (const char* option : kOfChroma) {
            if (arguments.Has(option)) {
                throw UsageError(std::string("--") + option +
                                 ": is for colours, and --luma keys by brightness");
            }
        }
    }
    const char* source = nullptr;
    for (const char* each : kSources) {
        if (!arguments.Has(each)) {
            continue;
        }
        if (source != nullptr) {
            throw UsageError(std::string("--") + source + " and --" + each + ": the backing is told once");
        }
        source = each;
    }
    const std::string from = source != nullptr ? source : "auto";
    if (arguments.Has("at") && (from == "color" || from == "hue")) {
        throw UsageError("--at: no frame is looked at, since --" + from + " tells the backing");
    }
    for (const char* option : {"offset", "gain"}) {
        if (arguments.Has("clip") && arguments.Has(option)) {
            throw UsageError(std::string("--clip and --") + option + ": one or the other");
        }
    }
    if (asksFull && asksPairs) {
        throw UsageError("--444 and --422: one or the other");
    }
    if (asksFull && hasGarbage) {
        throw UsageError("--garbage: a mask is for 4:2:2, and --444 asks for other pictures");
    }
    if (hasGarbage && style == Zan::kFP) {
        throw UsageError("--garbage: the fixed code path (--style fp) takes no mask");
    }
    if (arguments.Has("split-bottom") && !arguments.Has("split")) {
        throw UsageError("--split-bottom: --split N says where");
    }
}

void KeyOptions::TakeLuma(const Arguments& arguments) {
    const std::vector<double> values = arguments.Reals("luma");
    if (values.size() < 3 || values.size() > 5) {
        throw UsageError("--luma " + arguments.Text("luma") +
                         ": three to five numbers, CENTER,HALFWIDTH,SOFTNESS[,LEVEL,OFFSET]");
    }
    luma.emplace();
    const double level = values.size() > 3 ? values[3] : 1, offset = values.size() > 4 ? values[4] : 0;
    if (luma->Set(values[0], values[1], values[2], level, offset, !isInverted) != Zan::kStatusOk) {
        throw UsageError("--luma " + arguments.Text("luma") +
                         ": numbers from 0 to 1, of which OFFSET may be negative");
    }
}

void KeyOptions::TakeChroma(const Arguments& arguments) {
    const auto real = [&arguments](const char* option) {
        return arguments.Has(option) ? std::optional(arguments.Real(option)) : std::nullopt;
    };
    given = {real("hue"),         real("acceptance"), real("spill"),
             real("spill-angle"), real("offset"),     real("gain")};
    given.saturation = arguments.Real("saturation");
    wishes.acceptance = given.acceptance;
    if (arguments.Has("clip")) {
        const std::vector<double> values = arguments.Reals("clip");
        if (values.size() != 2 || values[0] <= values[1]) {
            throw UsageError("--clip " + arguments.Text("clip") +
                             ": two numbers, WHITE,BLACK, of which the first is the larger one");
        }
        wishes.white = values[0];
        wishes.black = values[1];
    }
    if (arguments.Has("color")) {
        const std::string colour = arguments.Text("color");
        backing = BackingColour(colour);
        if (colour == "green" || colour == "blue") {
            // Names are vague.
            constexpr double kWide = 120, kHalf = 0.5;
            wishes.acceptance = wishes.acceptance.value_or(kWide);
            wishes.white = wishes.white.value_or(kHalf);
        }
    } else if (arguments.Has("pick")) {
        spot = SpotOf(arguments);
    } else if (given.hue) {
        // Nothing is looked at. Chroma of full saturation has a key of 1.
        settings.emplace();
        settings->spillAngle = *given.hue;
        if (wishes.white) {
            settings->keyOffset = -*wishes.black;
            settings->keyGain = 1 / (*wishes.white - *wishes.black);
        }
    }
}

void KeyOptions::TakeSide(const Arguments& arguments, const char* side) {
    OutputOptions options;
    options.option = std::string("--") + side;
    const std::string path = arguments.Text(side);
    CheckOutputName(path, options);
    if (side == std::string("matte")) {
        matte = path;
        return;
    }
    foreground = path;
    foregroundCarrier = CarrierOf(path, options);
    if (foregroundCarrier == AlphaCarrier::kOpaque) {
        throw UsageError("--foreground " + path + ": holds no alpha; .mkv, .mov and .png do");
    }
}

std::vector<std::string> MoreInputsOfKey(const Arguments& arguments) {
    std::vector<std::string> inputs;
    if (arguments.Has("background") && !HexColour(arguments.Text("background"))) {
        inputs.push_back(arguments.Text("background"));
    }
    if (arguments.Has("garbage")) {
        inputs.push_back(arguments.Text("garbage"));
    }
    return inputs;
}

std::vector<Option> OptionsOfKey() {
    const auto real = [](const char* name, const char* value, const char* help, double least, double most,
                         const char* initial = "") {
        return Option{.name = name,
                      .kind = ValueKind::kReal,
                      .value = value,
                      .help = help,
                      .initial = initial,
                      .least = least,
                      .most = most};
    };
    return {
        {.name = "color",
         .kind = ValueKind::kText,
         .value = "COLOR",
         .help = "colour of the backing: green, blue or RRGGBB"},
        {.name = "pick",
         .kind = ValueKind::kReals,
         .value = "X,Y[,RADIUS]",
         .help = "the backing is what lies there, within RADIUS pixels [8]",
         .least = 0,
         .most = kLargestSide},
        {.name = "auto",
         .help =
             "the backing is the most frequent colour along the border of the picture; so it is when nothing "
             "else is said"},
        {.name = "at",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "look at frame N, whichever frames are made",
         .initial = "0",
         .least = 0,
         .most = static_cast<double>(kMostPictures)},
        real("hue", "DEGREES", "angle of the backing's chroma, 0 along Cb, 90 along Cr; nothing is looked at",
             0, 360),
        real("acceptance", "DEGREES", "angle of the wedge of chroma that is keyed, from 1 to 179", 1, 179),
        real("saturation", "S", "least chroma that is keyed, from 0 to 1", 0, 1, "0"),
        {.name = "clip",
         .kind = ValueKind::kReals,
         .value = "WHITE,BLACK",
         .help = "parts of the backing's own key: above WHITE all is backing, below BLACK nothing",
         .least = 0,
         .most = 256},
        real("offset", "O", "added to the key, before its gain, from -1 to 1", -1, 1),
        real("gain", "G", "of the key, from 0 to 256", 0, 256),
        real("spill", "G", "how much of the backing's colour is taken out, from 0 to 256", 0, 256),
        real("spill-angle", "DEGREES", "angle of the chroma that is taken out [that of the backing]", 0, 360),
        {.name = "luma",
         .kind = ValueKind::kReals,
         .value = "CENTER,HALFWIDTH,SOFTNESS[,LEVEL,OFFSET]",
         .help =
             "key by brightness instead: a hole of strength LEVEL for luma from CENTER - HALFWIDTH to CENTER "
             "+ HALFWIDTH, fading over SOFTNESS; parts of 255",
         .least = -1,
         .most = 1},
        {.name = "invert", .help = "keep the backing, and make a hole for all else"},
        {.name = "444", .help = "key in 4:4:4, every pixel with chroma of its own [so for stills]"},
        {.name = "422", .help = "key in 4:2:2 [so for clips and masks]"},
        {.name = "background",
         .kind = ValueKind::kMedia,
         .value = "FILE|RRGGBB",
         .help = "what is seen through the hole; without it OUT has alpha, or black where it holds none"},
        {.name = "matte",
         .kind = ValueKind::kClip,
         .value = "OUT",
         .help = "also write the matte, a grey clip or pictures"},
        {.name = "foreground",
         .kind = ValueKind::kClip,
         .value = "OUT",
         .help = "also write the picture without spill, the matte as its alpha: .mkv, .mov or .png"},
        {.name = "shaped", .help = "multiply the colours of pictures with alpha by it"},
        {.name = "garbage",
         .kind = ValueKind::kMedia,
         .value = "MASK",
         .help = "a clip or picture in grey: what is black in it is held out"},
        {.name = "choke",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "draw the edge of the matte in, softly over N pixels",
         .initial = "0",
         .least = 0,
         .most = 1000},
        {.name = "feather",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "soften the matte over N pixels to each side, after that",
         .initial = "0",
         .least = 0,
         .most = 1000},
        {.name = "split",
         .kind = ValueKind::kText,
         .value = "N|N%",
         .help = "in OUT, show the matte below the first N lines, to adjust by eye"},
        {.name = "split-bottom", .help = "show it above them"},
        {.name = "plane",
         .kind = ValueKind::kPngPicture,
         .value = "FILE.png",
         .help = "also draw the plane of chroma, what is keyed of it bright"},
        {.name = "length",
         .kind = ValueKind::kInteger,
         .value = "N",
         .help = "frames of the whole run [those of the shortest clip; 1 of stills]",
         .least = 1,
         .most = static_cast<double>(kMostPictures)},
    };
}

}  // namespace tool
