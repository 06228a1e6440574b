// Where a soft dot lies after it was put at 400 places that are 1/16 pixel apart: ours, between pixels and by
// whole ones, beside FFmpeg's overlay filter. Prints tables in Markdown.
#include <TesselU/overlay/Mixup.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <numbers>
#include <string>
#include <vector>

#include "Errors.h"
#include "commands/ToneEffect.h"
#include "media/Libav.h"
#include "media/Picture.h"

namespace {

constexpr int kDot = 64, kSize = 112, kSteps = 400;
constexpr double kRadius = 30.5, kMiddleOfDot = 32;
/// The first place of the dot's top left corner. The other coordinate stays at kPlace, between pixels: at a
/// whole one shaped samples are whole numbers, and a slope of less than half a code value between two is
/// rounded away.
constexpr double kFirst = 11.5, kPlace = 24.2;

double PlaceOf(int step) {
    return kFirst + step / 16.0;
}

enum class Sampling { kRgb, kPairs, kQuads };  // quads: 4:2:0, which only FFmpeg has

struct Case {
    const char* name;
    Sampling sampling;
    bool isShaped;
};
constexpr Case kCases[] = {
    {"RGB, shaped", Sampling::kRgb, true},     {"RGB, straight", Sampling::kRgb, false},
    {"4:2:2, shaped", Sampling::kPairs, true}, {"4:2:2, straight", Sampling::kPairs, false},
    {"4:2:0, shaped", Sampling::kQuads, true}, {"4:2:0, straight", Sampling::kQuads, false},
};

/// Alpha of the dot: full in the middle, falling by a raised cosine to nothing.
int AlphaAt(int x, int y) {
    const double r = std::hypot(x - kMiddleOfDot, y - kMiddleOfDot);
    return r < kRadius ? static_cast<int>(std::lround(127.5 * (1 + std::cos(std::numbers::pi * r / kRadius))))
                       : 0;
}

/// Where it is full the dot has 255, 255 and 1 of Y, Cb and Cr, or is white. The background is black.
constexpr int kY = 255, kCb = 255, kCr = 1;

std::uint8_t Shaped(int full, int black, int alpha) {
    return static_cast<std::uint8_t>(std::lround(black + (full - black) * alpha / 255.0));
}

/// The centre of samples above black, in pixels.
struct Centre {
    double x = 0, y = 0, sum = 0;

    void Add(double at, double line, double value) {
        x += value * at;
        y += value * line;
        sum += value;
    }
    double X() const { return x / sum; }
    double Y() const { return y / sum; }
};

struct Centres {
    Centre luma, chroma;  ///< of RGB all channels are one, in `luma`
};

/// Mean and largest error of the 400 places.
struct Errors {
    double sum = 0, largest = 0;
    int count = 0;

    void Add(double error) {
        sum += error;
        largest = std::max(largest, std::abs(error));
        ++count;
    }
};

struct Measured {
    Errors luma, chroma;
    std::vector<double> lumaAt;  ///< where the luma lies, for each step
};

void Note(Measured& measured, const Centres& centres, Sampling sampling, bool isAcross, int step) {
    const double wanted = kMiddleOfDot + PlaceOf(step);
    const auto error = [&](const Centre& centre) { return (isAcross ? centre.X() : centre.Y()) - wanted; };
    measured.luma.Add(error(centres.luma));
    measured.lumaAt.push_back(error(centres.luma) + PlaceOf(step));
    if (sampling != Sampling::kRgb) {
        measured.chroma.Add(error(centres.chroma));
    }
}

// ---- ours ----

tool::ImagePtr PictureOf(int side, Zan::ConverterFormat samples) {
    tool::PictureFormat format;
    format.width = format.height = static_cast<unsigned>(side);
    format.samples = samples;
    return tool::NewPicture(format);
}

tool::ImagePtr OurDot(const Case& of) {
    const bool isRgb = of.sampling == Sampling::kRgb;
    tool::ImagePtr dot = PictureOf(kDot, isRgb ? Zan::kFmtRGB32 : Zan::kFmtCbYCrY4);
    dot->SetPixelShaping(of.isShaped ? Zan::kShaped : Zan::kUnshaped);
    for (int y = 0; y < kDot; ++y) {
        std::uint8_t* const line = tool::Line(*dot, static_cast<unsigned>(y));
        for (int x = 0; x < kDot; ++x) {
            const int alpha = AlphaAt(x, y), share = of.isShaped ? alpha : 255;
            if (isRgb) {
                std::fill_n(line + 4 * x, 3, Shaped(255, 0, share));
                line[4 * x + 3] = static_cast<std::uint8_t>(alpha);
                continue;
            }
            const int shareOfPair = of.isShaped ? AlphaAt(x - x % 2, y) : 255;
            line[2 * x] = Shaped(x % 2 == 0 ? kCb : kCr, 128, shareOfPair);
            line[2 * x + 1] = Shaped(kY, 16, share);
            tool::Line(*dot, static_cast<unsigned>(y), tool::kAlphaChannel)[x] =
                static_cast<std::uint8_t>(alpha);
        }
    }
    return dot;
}

Centres CentresOf(const Zan::Image& picture, bool isRgb) {
    Centres centres;
    for (int y = 0; y < kSize; ++y) {
        const std::uint8_t* const line = tool::Line(picture, static_cast<unsigned>(y));
        for (int x = 0; x < kSize; ++x) {
            if (isRgb) {
                centres.luma.Add(x, y, line[4 * x] + line[4 * x + 1] + line[4 * x + 2]);
                continue;
            }
            centres.luma.Add(x, y, line[2 * x + 1] - 16);
            // Both chroma samples of a pair lie at its first pixel.
            centres.chroma.Add(x - x % 2, y, x % 2 == 0 ? line[2 * x] - 128 : 128 - line[2 * x]);
        }
    }
    return centres;
}

Measured Ours(const Case& of, bool isAcross, bool subPixel) {
    const bool isRgb = of.sampling == Sampling::kRgb;
    const Zan::ConverterFormat samples = isRgb ? Zan::kFmtRGB32 : Zan::kFmtCbYCrY;
    const tool::ImagePtr dot = OurDot(of), black = PictureOf(kSize, samples),
                         made = PictureOf(kSize, samples);
    for (int y = 0; y < kSize; ++y) {
        std::uint8_t* const line = tool::Line(*black, static_cast<unsigned>(y));
        for (int x = 0; x < kSize * (isRgb ? 4 : 2); ++x) {
            line[x] = static_cast<std::uint8_t>(isRgb ? (x % 4 == 3 ? 255 : 0) : x % 2 == 0 ? 128 : 16);
        }
    }
    Zan::ImageView front = tool::Whole(*dot), behind = tool::Whole(*black), result = tool::Whole(*made);
    Measured measured;
    for (int step = 0; step < kSteps; ++step) {
        constexpr double kCentred = (kSize - kDot) / 2.0;
        const double moving = PlaceOf(step) - kCentred, still = kPlace - kCentred;
        tool::CheckStatus("overlay", Zan::MixupPosition::Mixup().DoAt(
                                         front, behind, result, isAcross ? moving : still,
                                         isAcross ? still : moving, subPixel, Zan::kBestAvailable));
        Note(measured, CentresOf(*made, isRgb), of.sampling, isAcross, step);
    }
    return measured;
}

// ---- FFmpeg ----

AVPixelFormat FormatOf(Sampling sampling, bool hasAlpha) {
    switch (sampling) {
        case Sampling::kRgb:
            return AV_PIX_FMT_BGRA;
        case Sampling::kPairs:
            return hasAlpha ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUV422P;
        default:
            return hasAlpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
    }
}

std::uint8_t* At(const AVFrame& frame, int plane, int y) {
    return frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
}

/// The dot, or black without one.
tool::FramePtr FrameOf(const Case& of, bool isDot) {
    const int side = isDot ? kDot : kSize;
    tool::FramePtr frame = tool::NewFrame(FormatOf(of.sampling, isDot), side, side);
    frame->color_range = of.sampling == Sampling::kRgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    frame->colorspace = of.sampling == Sampling::kRgb ? AVCOL_SPC_RGB : AVCOL_SPC_SMPTE170M;
    frame->sample_aspect_ratio = {1, 1};
    const auto alpha = [isDot](int x, int y) { return isDot ? AlphaAt(x, y) : 0; };
    const auto share = [&](int x, int y) { return !isDot ? 0 : of.isShaped ? AlphaAt(x, y) : 255; };
    if (of.sampling == Sampling::kRgb) {
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                std::uint8_t* const pixel = At(*frame, 0, y) + 4 * x;
                std::fill_n(pixel, 3, Shaped(255, 0, share(x, y)));
                pixel[3] = static_cast<std::uint8_t>(isDot ? alpha(x, y) : 255);
            }
        }
        return frame;
    }
    const int down = of.sampling == Sampling::kQuads ? 2 : 1;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            At(*frame, 0, y)[x] = Shaped(kY, 16, share(x, y));
            if (isDot) {
                At(*frame, 3, y)[x] = static_cast<std::uint8_t>(alpha(x, y));
            }
        }
    }
    for (int y = 0; y < side / down; ++y) {
        for (int x = 0; x < side / 2; ++x) {
            At(*frame, 1, y)[x] = Shaped(kCb, 128, share(2 * x, down * y));
            At(*frame, 2, y)[x] = Shaped(kCr, 128, share(2 * x, down * y));
        }
    }
    return frame;
}

Centres CentresOf(const AVFrame& frame, Sampling sampling) {
    Centres centres;
    const int down = sampling == Sampling::kQuads ? 2 : 1;
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            const std::uint8_t* const pixel = At(frame, 0, y);
            centres.luma.Add(x, y,
                             sampling == Sampling::kRgb ? pixel[4 * x] + pixel[4 * x + 1] + pixel[4 * x + 2]
                                                        : pixel[x] - 16);
        }
    }
    for (int y = 0; sampling != Sampling::kRgb && y < kSize / down; ++y) {
        for (int x = 0; x < kSize / 2; ++x) {
            centres.chroma.Add(2 * x, down * y, At(frame, 1, y)[x] - At(frame, 2, y)[x]);
        }
    }
    return centres;
}

std::string SourceOf(const char* name, const Case& of, bool isDot) {
    const std::string side = std::to_string(isDot ? kDot : kSize);
    std::string text = "buffer@";
    text += name;
    text += "=video_size=" + side + "x" + side + ":pix_fmt=";
    text += av_get_pix_fmt_name(FormatOf(of.sampling, isDot));
    return text + ":time_base=1/25:pixel_aspect=1/1";
}

Measured Theirs(const Case& of, bool isAcross) {
    const std::string moving = std::to_string(kFirst) + "+n/16", still = std::to_string(kPlace);
    std::string chain =
        SourceOf("behind", of, false) + "[behind];" + SourceOf("front", of, true) + "[front];";
    chain += "[behind][front]overlay=x='" + (isAcross ? moving : still) + "':y='" +
             (isAcross ? still : moving) + "':format=";
    chain += of.sampling == Sampling::kRgb ? "rgb" : of.sampling == Sampling::kPairs ? "yuv422" : "yuv420";
    chain += of.isShaped ? ":alpha=premultiplied" : ":alpha=straight";
    chain += ",format=";
    chain += av_get_pix_fmt_name(FormatOf(of.sampling, false));
    chain += ",buffersink@out";

    const tool::GraphPtr graph(avfilter_graph_alloc());
    AVFilterInOut *in = nullptr, *out = nullptr;
    tool::CheckLibav(avfilter_graph_parse2(graph.get(), chain.c_str(), &in, &out), chain);
    tool::CheckLibav(avfilter_graph_config(graph.get(), nullptr), chain);
    AVFilterContext* const front = avfilter_graph_get_filter(graph.get(), "buffer@front");
    AVFilterContext* const behind = avfilter_graph_get_filter(graph.get(), "buffer@behind");
    AVFilterContext* const sink = avfilter_graph_get_filter(graph.get(), "buffersink@out");
    const tool::FramePtr dot = FrameOf(of, true), made = tool::NewFrame();
    dot->pts = 0;
    tool::CheckLibav(av_buffersrc_add_frame(front, dot.get()), chain);
    tool::CheckLibav(av_buffersrc_add_frame(front, nullptr), chain);  // and it stays
    Measured measured;
    for (int step = 0; step < kSteps; ++step) {
        const tool::FramePtr black = FrameOf(of, false);
        black->pts = step;
        tool::CheckLibav(av_buffersrc_add_frame(behind, black.get()), chain);
        int got = av_buffersink_get_frame(sink, made.get());
        if (got == AVERROR(EAGAIN)) {
            continue;  // it comes with the next
        }
        tool::CheckLibav(got, chain);
        Note(measured, CentresOf(*made, of.sampling), of.sampling, isAcross,
             static_cast<int>(measured.lumaAt.size()));
        av_frame_unref(made.get());
    }
    tool::CheckLibav(av_buffersrc_add_frame(behind, nullptr), chain);
    while (av_buffersink_get_frame(sink, made.get()) >= 0) {
        Note(measured, CentresOf(*made, of.sampling), of.sampling, isAcross,
             static_cast<int>(measured.lumaAt.size()));
        av_frame_unref(made.get());
    }
    if (measured.lumaAt.size() != kSteps) {
        throw tool::Failure(chain + ": not every frame came back");
    }
    return measured;
}

// ---- the tables ----

std::string CellOf(const Errors& errors) {
    if (errors.count == 0) {
        return " |";
    }
    char text[64];
    // Without a minus before nothing.
    const double mean = std::round(1000 * errors.sum / errors.count) / 1000 + 0.0;
    std::snprintf(text, sizeof text, " %.3f / %.3f |", mean, errors.largest);
    return text;
}

void PrintErrors(bool isAcross) {
    std::printf(
        "| | ours: luma | chroma | ours, whole pixels: luma | chroma | FFmpeg: luma | chroma |\n"
        "|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Case& each : kCases) {
        std::string row = std::string("| ") + each.name + " |";
        const bool isOurs = each.sampling != Sampling::kQuads;
        for (const bool subPixel : {true, false}) {
            const Measured ours = isOurs ? Ours(each, isAcross, subPixel) : Measured();
            row += CellOf(ours.luma) + CellOf(ours.chroma);
        }
        const Measured theirs = Theirs(each, isAcross);
        row += CellOf(theirs.luma) + CellOf(theirs.chroma);
        std::printf("%s\n", row.c_str());
    }
}

/// Two pixels of the way in 4:2:2, by eighths.
void PrintWay() {
    const Case& pairs = kCases[2];
    const Measured ours = Ours(pairs, true, true), whole = Ours(pairs, true, false),
                   theirs = Theirs(pairs, true);
    std::printf("| asked for | ours | ours, whole pixels | FFmpeg |\n|---:|---:|---:|---:|\n");
    constexpr int kStart = 200;  // at a whole pixel, an even one
    for (int step = kStart; step <= kStart + 32; step += 2) {
        const auto at = static_cast<std::size_t>(step);
        std::printf("| %.3f | %.3f | %.3f | %.3f |\n", PlaceOf(step), ours.lumaAt[at], whole.lumaAt[at],
                    theirs.lumaAt[at]);
    }
}

}  // namespace

int main() {
    try {
        av_log_set_level(AV_LOG_ERROR);
        std::printf("## Across\n\n");
        PrintErrors(true);
        std::printf("\n## Down\n\n");
        PrintErrors(false);
        std::printf("\n## Two pixels across, in 4:2:2\n\n");
        PrintWay();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "overlay_centroid: %s\n", error.what());
        return 1;
    }
}
