#include "Scenes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "Errors.h"

namespace score {
namespace {

constexpr double kSensorSigma = 2.0;  // code values of red, green and blue each
constexpr float kSpill = 0.3F;        // of the plate's colour, where half of what lies around is plate
constexpr float kSpillReach = 14.0F;  // lines of 1080
constexpr double kDarkest = 0.80, kBrightest = 1.06;  // of the plate's light

constexpr std::array<float, 3> kPlates[] = {{48, 168, 62}, {38, 66, 178}};

/// The same numbers everywhere.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed * 0x9E3779B97F4A7C15U + 1) {}

    std::uint64_t Next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state * 0x2545F4914F6CDD1DU;
    }
    double Uniform() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
    /// About normal, of variance 1: the sum of four uniform numbers.
    float Normal() {
        const std::uint64_t bits = Next();
        const auto sum = static_cast<float>((bits & 0xFFFF) + (bits >> 16 & 0xFFFF) + (bits >> 32 & 0xFFFF) +
                                            (bits >> 48));
        return (sum - 131070.0F) * (1.7320508F / 65536.0F);
    }

private:
    std::uint64_t state;
};

/// A cut-out in its place in the frame: colours times alpha, and alpha, by linear interpolation.
Raster Place(const Raster& cutout, double scale, double left, double top, unsigned width, unsigned height) {
    Raster premultiplied = cutout;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < premultiplied.channel[i].size(); ++k) {
            premultiplied.channel[i][k] *= cutout.channel[3][k];
        }
    }
    Raster placed(width, height);
    for (unsigned y = 0; y < height; ++y) {
        const double v = (y + 0.5 - top) / scale - 0.5;
        if (v <= -1.0 || v >= cutout.height) {
            continue;
        }
        const auto row = static_cast<std::ptrdiff_t>(std::floor(v));
        const auto below = static_cast<float>(v - std::floor(v));
        for (unsigned x = 0; x < width; ++x) {
            const double u = (x + 0.5 - left) / scale - 0.5;
            if (u <= -1.0 || u >= cutout.width) {
                continue;
            }
            const auto column = static_cast<std::ptrdiff_t>(std::floor(u));
            const auto right = static_cast<float>(u - std::floor(u));
            for (std::size_t i = 0; i < 4; ++i) {
                // Beyond the cut-out there is nothing.
                const auto at = [&](std::ptrdiff_t dx, std::ptrdiff_t dy) {
                    const std::ptrdiff_t atX = column + dx, atY = row + dy;
                    const bool inside = atX >= 0 && atY >= 0 && atX < std::ptrdiff_t{cutout.width} &&
                                        atY < std::ptrdiff_t{cutout.height};
                    return inside ? premultiplied.channel[i][static_cast<std::size_t>(atY) * cutout.width +
                                                             static_cast<std::size_t>(atX)]
                                  : 0.0F;
                };
                const float upper = at(0, 0) + (at(1, 0) - at(0, 0)) * right;
                const float lower = at(0, 1) + (at(1, 1) - at(0, 1)) * right;
                placed.channel[i][std::size_t{y} * width + x] = upper + (lower - upper) * below;
            }
        }
    }
    return placed;
}

/// Means over `2 * reach + 1` samples along rows, then along columns.
Samples Blurred(const Samples& from, unsigned width, unsigned height, unsigned reach) {
    Samples made = from, line;
    const auto blur = [&](float* first, std::size_t count, std::size_t step) {
        line.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            line[i] = first[i * step];
        }
        const auto clamped = [&](std::ptrdiff_t i) {
            return line[static_cast<std::size_t>(
                std::clamp<std::ptrdiff_t>(i, 0, static_cast<std::ptrdiff_t>(count) - 1))];
        };
        const auto r = static_cast<std::ptrdiff_t>(reach);
        double sum = 0.0;
        for (std::ptrdiff_t i = -r; i <= r; ++i) {
            sum += clamped(i);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const auto at = static_cast<std::ptrdiff_t>(i);
            first[i * step] = static_cast<float>(sum / static_cast<double>(2 * r + 1));
            sum += clamped(at + r + 1) - clamped(at - r);
        }
    };
    for (std::size_t y = 0; y < height; ++y) {
        blur(made.data() + y * width, width, 1);
    }
    for (std::size_t x = 0; x < width; ++x) {
        blur(made.data() + x, height, width);
    }
    return made;
}

/// ITU-R BT.709.
constexpr float kRed = 0.2126F, kBlue = 0.0722F, kGreen = 1.0F - kRed - kBlue;

struct Yuv {
    float y, cb, cr;
};
Yuv ToYuv(float red, float green, float blue) {
    const float luma = kRed * red + kGreen * green + kBlue * blue;
    return {16.0F + luma * (219.0F / 255.0F),
            128.0F + (blue - luma) * (224.0F / 255.0F / (2.0F * (1.0F - kBlue))),
            128.0F + (red - luma) * (224.0F / 255.0F / (2.0F * (1.0F - kRed)))};
}

std::uint8_t Nearest(float value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0F, 255.0F) + 0.5F);
}

/// Both samplings of a picture of colours. Chroma of a pair is the mean of its pixels'.
void ToPictures(const std::array<Samples, 3>& colours, unsigned width, unsigned height,
                tool::ImagePtr& pixels, tool::ImagePtr& pairs) {
    pixels = tool::NewPicture({.width = width, .height = height, .hasFullChroma = true});
    pairs = tool::NewPicture({.width = width, .height = height});
    for (unsigned y = 0; y < height; ++y) {
        std::uint8_t* full = tool::Line(*pixels, y);
        std::uint8_t* half = tool::Line(*pairs, y);
        for (unsigned x = 0; x < width; x += 2, full += 8, half += 4) {
            Yuv pixel[2];
            for (unsigned i = 0; i < 2; ++i) {
                const std::size_t at = std::size_t{y} * width + x + i;
                pixel[i] = ToYuv(colours[0][at], colours[1][at], colours[2][at]);
                full[4 * i] = Nearest(pixel[i].cb);
                full[4 * i + 1] = half[2 * i + 1] = Nearest(pixel[i].y);
                full[4 * i + 2] = Nearest(pixel[i].cr);
                full[4 * i + 3] = 255;
            }
            half[0] = Nearest((pixel[0].cb + pixel[1].cb) / 2.0F);
            half[2] = Nearest((pixel[0].cr + pixel[1].cr) / 2.0F);
        }
    }
}

/// The middle of a picture, scaled to fill the frame.
std::array<Samples, 3> Filling(const Raster& picture, unsigned width, unsigned height) {
    const double scale =
        std::max(static_cast<double>(width) / picture.width, static_cast<double>(height) / picture.height);
    // A little more, so that the edges of the picture lie outside.
    const double enlarged = scale * 1.02;
    Raster opaque = picture;
    std::fill(opaque.channel[3].begin(), opaque.channel[3].end(), 1.0F);
    Raster placed = Place(opaque, enlarged, (width - enlarged * picture.width) / 2.0,
                          (height - enlarged * picture.height) / 2.0, width, height);
    return {std::move(placed.channel[0]), std::move(placed.channel[1]), std::move(placed.channel[2])};
}

}  // namespace

Raster::Raster(unsigned newWidth, unsigned newHeight) : width(newWidth), height(newHeight) {
    for (Samples& samples : channel) {
        samples.resize(std::size_t{width} * height);
    }
}

Raster LoadRaster(const std::string& path) {
    AVFormatContext* opened = nullptr;
    tool::CheckLibav(avformat_open_input(&opened, tool::LocalFile(path).c_str(), nullptr, nullptr), path);
    const tool::InputPtr input(opened);
    tool::CheckLibav(avformat_find_stream_info(input.get(), nullptr), path);
    const AVCodecParameters* const stream = input->streams[0]->codecpar;
    const AVCodec* const codec = avcodec_find_decoder(stream->codec_id);
    const tool::CodecPtr decoder(avcodec_alloc_context3(codec));
    tool::CheckLibav(avcodec_parameters_to_context(decoder.get(), stream), path);
    tool::CheckLibav(avcodec_open2(decoder.get(), codec, nullptr), path);
    const tool::PacketPtr packet = tool::NewPacket();
    const tool::FramePtr frame = tool::NewFrame();
    tool::CheckLibav(av_read_frame(input.get(), packet.get()), path);
    tool::CheckLibav(avcodec_send_packet(decoder.get(), packet.get()), path);
    avcodec_send_packet(decoder.get(), nullptr);
    tool::CheckLibav(avcodec_receive_frame(decoder.get(), frame.get()), path);

    const tool::FramePtr rgba = tool::NewFrame(AV_PIX_FMT_RGBA, frame->width, frame->height);
    const tool::SwsPtr scaler(
        sws_getContext(frame->width, frame->height, static_cast<AVPixelFormat>(frame->format), frame->width,
                       frame->height, AV_PIX_FMT_RGBA, SWS_POINT, nullptr, nullptr, nullptr));
    if (!scaler) {
        throw tool::Failure(path + " cannot be converted");
    }
    sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, rgba->data, rgba->linesize);
    Raster made(static_cast<unsigned>(frame->width), static_cast<unsigned>(frame->height));
    for (std::size_t y = 0; y < made.height; ++y) {
        const std::uint8_t* const row = rgba->data[0] + static_cast<std::ptrdiff_t>(y) * rgba->linesize[0];
        for (std::size_t x = 0; x < made.width; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                made.channel[i][y * made.width + x] =
                    static_cast<float>(row[4 * x + i]) / (i == 3 ? 255.0F : 1.0F);
            }
        }
    }
    return made;
}

Raster DiscCutout(unsigned side) {
    Raster made(side, side);
    const double centre = side / 2.0, radius = side * 0.42, soft = side * 0.06;
    for (unsigned y = 0; y < side; ++y) {
        for (unsigned x = 0; x < side; ++x) {
            const double u = (x + 0.5 - centre) / radius, v = (y + 0.5 - centre) / radius;
            const double beyond = (std::hypot(u, v) - 1.0) * radius;
            const std::size_t at = std::size_t{y} * side + x;
            // Skin on one side, cloth on the other, and a shade over both.
            const double shade = 0.75 + 0.25 * (-u - v) / 1.5, wave = 0.5 + 0.5 * std::sin(9.0 * u);
            made.channel[0][at] = static_cast<float>(shade * (u < 0.0 ? 225.0 : 120.0 + 60.0 * wave));
            made.channel[1][at] = static_cast<float>(shade * (u < 0.0 ? 170.0 : 70.0 + 20.0 * wave));
            made.channel[2][at] = static_cast<float>(shade * (u < 0.0 ? 140.0 : 90.0));
            made.channel[3][at] = static_cast<float>(std::clamp(0.5 - beyond / soft, 0.0, 1.0));
        }
    }
    return made;
}

Raster StrandCutout(unsigned width, unsigned height) {
    Raster made(width, height);
    Random random(77);
    // Hair that hangs from the upper edge and waves; alpha is how much of a pixel it covers.
    const unsigned strands = width / 9;
    for (unsigned n = 0; n < strands; ++n) {
        const double root = (n + random.Uniform()) * width / strands,
                     thickness = 0.4 + 2.2 * random.Uniform();
        const double swing = (random.Uniform() - 0.5) * width * 0.12, phase = random.Uniform() * 6.28;
        const double length = height * (0.5 + 0.5 * random.Uniform());
        const double brightness = 35.0 + 120.0 * random.Uniform();
        for (unsigned y = 0; y < height && y < length; ++y) {
            const double down = static_cast<double>(y) / height;
            const double x = root + swing * down * std::sin(5.0 * down + phase);
            const double half = thickness * (1.0 - down) / 2.0 + 0.15;
            for (auto at = static_cast<int>(x - half - 1); at <= static_cast<int>(x + half + 1); ++at) {
                const double cover =
                    std::min(x + half, at + 1.0) - std::max(x - half, static_cast<double>(at));
                if (at < 0 || at >= static_cast<int>(width) || cover <= 0.0) {
                    continue;
                }
                const std::size_t i = std::size_t{y} * width + static_cast<std::size_t>(at);
                const auto alpha = static_cast<float>(cover), before = made.channel[3][i];
                const float colour[] = {static_cast<float>(brightness), static_cast<float>(brightness * 0.72),
                                        static_cast<float>(brightness * 0.45)};
                const float after = alpha + before * (1.0F - alpha);
                for (std::size_t k = 0; k < 3; ++k) {
                    made.channel[k][i] =
                        (colour[k] * alpha + made.channel[k][i] * before * (1.0F - alpha)) / after;
                }
                made.channel[3][i] = after;
            }
        }
    }
    return made;
}

Raster PaintedBackground(unsigned width, unsigned height) {
    Raster made(width, height);
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) / width, v = static_cast<double>(y) / height;
            const double wave = 0.5 + 0.5 * std::sin(20.0 * u + 7.0 * v) * std::cos(13.0 * v);
            const std::size_t at = std::size_t{y} * width + x;
            made.channel[0][at] = static_cast<float>(60.0 + 120.0 * u * wave);
            made.channel[1][at] = static_cast<float>(80.0 + 90.0 * v);
            made.channel[2][at] = static_cast<float>(170.0 - 110.0 * v * wave);
            made.channel[3][at] = 1.0F;
        }
    }
    return made;
}

PlateChroma ChromaOf(Plate plate) {
    const std::array<float, 3>& colour = kPlates[static_cast<std::size_t>(plate)];
    const Yuv made = ToYuv(colour[0], colour[1], colour[2]);
    return {made.y, made.cb, made.cr};
}

Frame MakeFrame(const Scene& scene, unsigned number, unsigned width, unsigned height) {
    const double lines = height / 1080.0;
    const double scale = scene.scale * lines;
    const double left = (width - scale * scene.cutout->width) / 2.0 + (number * 37.3 - 40.0) * lines;
    const double top = height - scale * scene.cutout->height * 0.97 + number * 5.4 * lines;
    const Raster placed = Place(*scene.cutout, scale, left, top, width, height);
    const Samples& alpha = placed.channel[3];

    // Light reaches edges from the plate around them.
    Samples around(alpha.size());
    std::transform(alpha.begin(), alpha.end(), around.begin(), [](float a) { return 1.0F - a; });
    const auto reach = static_cast<unsigned>(std::max(1.0F, kSpillReach * static_cast<float>(lines)));
    around = Blurred(Blurred(around, width, height, reach), width, height, reach);

    Frame frame;
    frame.width = width;
    frame.height = height;
    ToPictures(Filling(*scene.background, width, height), width, height, frame.backgroundPixels,
               frame.backgroundPairs);
    // The true one is what everybody gets.
    frame.background = ToColours(*frame.backgroundPixels);
    frame.backgroundOfPairs = ToColours(*frame.backgroundPairs);
    frame.alpha.resize(alpha.size());
    std::array<Samples, 3> seen;
    const std::array<float, 3>& plate = kPlates[static_cast<std::size_t>(scene.plate)];
    const float least = std::min({plate[0], plate[1], plate[2]});
    Random random(scene.seed * 1000 + number);
    for (std::size_t i = 0; i < 3; ++i) {
        frame.composite[i].resize(alpha.size());
        seen[i].resize(alpha.size());
    }
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const std::size_t at = std::size_t{y} * width + x;
            // Brightest left of the middle, dimmer towards the corners.
            const double u = static_cast<double>(x) / width - 0.42,
                         v = static_cast<double>(y) / height - 0.45;
            const double light = kBrightest - (kBrightest - kDarkest) * std::min(1.0, 2.2 * (u * u + v * v));
            for (std::size_t i = 0; i < 3; ++i) {
                const float backing = plate[i] * static_cast<float>(light), clean = placed.channel[i][at];
                const float spilt = clean + alpha[at] * kSpill * 2.0F * around[at] * (backing - least);
                seen[i][at] = std::clamp(
                    spilt + (1.0F - alpha[at]) * backing + static_cast<float>(kSensorSigma) * random.Normal(),
                    0.0F, 255.0F);
                frame.composite[i][at] = clean + (1.0F - alpha[at]) * frame.background[i][at];
            }
            frame.alpha[at] = 255.0F * alpha[at];
        }
    }
    ToPictures(seen, width, height, frame.pixels, frame.pairs);
    return frame;
}

std::array<Samples, 3> ToColours(const Zan::Image& picture) {
    const bool hasPairs = picture.GetChannelSampling() != Zan::k4444;
    const unsigned width = picture.GetWidth(), height = picture.GetHeight();
    std::array<Samples, 3> made;
    for (Samples& samples : made) {
        samples.resize(std::size_t{width} * height);
    }
    constexpr float kLuma = 255.0F / 219.0F, kChroma = 255.0F / 224.0F;
    for (unsigned y = 0; y < height; ++y) {
        const std::uint8_t* const row = tool::Line(picture, y);
        for (unsigned x = 0; x < width; ++x) {
            const std::uint8_t* const word = row + 4 * (hasPairs ? x / 2 : x);
            const float luma = kLuma * (static_cast<float>(word[hasPairs ? 1 + x % 2 * 2 : 1]) - 16.0F);
            const float blue = kChroma * 2.0F * (1.0F - kBlue) * (static_cast<float>(word[0]) - 128.0F);
            const float red = kChroma * 2.0F * (1.0F - kRed) * (static_cast<float>(word[2]) - 128.0F);
            const std::size_t at = std::size_t{y} * width + x;
            made[0][at] = std::clamp(luma + red, 0.0F, 255.0F);
            made[1][at] = std::clamp(luma - (kRed * red + kBlue * blue) / kGreen, 0.0F, 255.0F);
            made[2][at] = std::clamp(luma + blue, 0.0F, 255.0F);
        }
    }
    return made;
}

}  // namespace score
