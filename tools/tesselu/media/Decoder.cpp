#include "media/Decoder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "Errors.h"
#include "media/FileNames.h"
#include "run/Console.h"

namespace tool {
namespace {

/// Settings for libav, by name.
class Dictionary {
public:
    ~Dictionary() { av_dict_free(&entries); }
    Dictionary() = default;
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    void Set(const char* key, const std::string& value) { av_dict_set(&entries, key, value.c_str(), 0); }
    AVDictionary** Entries() { return &entries; }

private:
    AVDictionary* entries = nullptr;
};

std::string TextOf(AVRational number) {
    return std::to_string(number.num) + "/" + std::to_string(number.den);
}

std::string Seconds(double time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", time);
    return text;
}

/// Opens what `url` names and nothing else: a play list in it cannot reach out to other places.
InputPtr Open(const std::string& path, const std::string& url, const AVInputFormat* format,
              Dictionary& settings) {
    AVFormatContext* context = nullptr;
    settings.Set("protocol_whitelist", "file,pipe");
    CheckLibav(avformat_open_input(&context, url.c_str(), format, settings.Entries()),
               path + ": not a video or picture file");
    return InputPtr(context);
}

/// Where every bit counts, any error is damage. Other decoders stumble over streams that look right.
bool IsStrict(AVCodecID id) {
    switch (id) {
        case AV_CODEC_ID_FFV1:
        case AV_CODEC_ID_PNG:
        case AV_CODEC_ID_MJPEG:
        case AV_CODEC_ID_TIFF:
        case AV_CODEC_ID_BMP:
        case AV_CODEC_ID_HUFFYUV:
        case AV_CODEC_ID_FFVHUFF:
        case AV_CODEC_ID_UTVIDEO:
            return true;
        default:
            return false;
    }
}

/// Formats of pictures and graphics, whose grey has the full range where nothing is said.
bool IsPictureCodec(AVCodecID id) {
    switch (id) {
        case AV_CODEC_ID_MJPEG:
        case AV_CODEC_ID_PNG:
        case AV_CODEC_ID_APNG:
        case AV_CODEC_ID_TIFF:
        case AV_CODEC_ID_BMP:
        case AV_CODEC_ID_PGM:
        case AV_CODEC_ID_PAM:
        case AV_CODEC_ID_PBM:
        case AV_CODEC_ID_TARGA:
        case AV_CODEC_ID_SGI:
        case AV_CODEC_ID_PCX:
        case AV_CODEC_ID_JPEG2000:
        case AV_CODEC_ID_JPEGLS:
        case AV_CODEC_ID_JPEGXL:
        case AV_CODEC_ID_WEBP:
            return true;
        default:
            return false;
    }
}

/// Some decoders hide damage and tell of it in the log only.
void HearLog(void* who, int level, const char* format, va_list values) {
    if (who != nullptr && level <= AV_LOG_ERROR &&
        *static_cast<const AVClass* const*>(who) == avcodec_get_class()) {
        const auto* codec = static_cast<const AVCodecContext*>(who);
        if (codec->opaque != nullptr && IsStrict(codec->codec_id)) {
            ++*static_cast<std::atomic<int>*>(codec->opaque);
        }
    }
    av_log_default_callback(who, level, format, values);
}

bool IsFormat(const AVFormatContext& input, const char* name) {
    return std::strstr(input.iformat->name, name) != nullptr;
}

}  // namespace

bool IsRawName(const std::string& path, const InputOptions& options) {
    const std::string extension = ExtensionOf(path);
    return options.rawSamples || extension == ".yuv" || extension == ".raw" || extension == ".rgb" ||
           (path == kStandardStream && !options.rawFormat.empty());
}

Decoder::Decoder(std::string newPath, const InputOptions& newOptions)
    : path(std::move(newPath)), options(newOptions) {
    OpenInput();
    OpenCodec();
    FindRate();
    FindEnd();
}

void Decoder::OpenInput() {
    Dictionary settings;
    std::string url = path == kStandardStream ? "pipe:0" : LocalFile(path);
    const AVInputFormat* format = nullptr;
    isSequence = NumberedName::Is(path);
    if (isSequence) {
        const NumberedName name(path);
        const std::vector<long> numbers = name.NumbersThatExist();
        if (numbers.empty()) {
            throw Failure(path + ": no such files");
        }
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (numbers[i] != numbers[0] + static_cast<long>(i)) {
                throw Failure(name.At(numbers[0] + static_cast<long>(i)) +
                              ": missing in the middle of the sequence");
            }
        }
        format = av_find_input_format("image2");
        settings.Set("start_number", std::to_string(numbers[0]));
        settings.Set("framerate", TextOf(options.rate));
        settings.Set("pattern_type", "sequence");
        end = static_cast<double>(numbers.size()) / av_q2d(options.rate);
    } else if (path != kStandardStream) {
        struct stat there = {};
        if (stat(path.c_str(), &there) != 0) {
            throw Failure(path + ": " + (errno == ENOENT ? "no such file" : std::strerror(errno)));
        }
        isRegular = S_ISREG(there.st_mode);
        if (!isRegular && !S_ISFIFO(there.st_mode) && !S_ISCHR(there.st_mode) && !S_ISSOCK(there.st_mode)) {
            throw Failure(path + ": not a file");
        }
    }
    if (IsRawName(path, options)) {
        if (options.rawFormat.empty() || options.rawSize.width == 0) {
            throw UsageError(path + ": raw frames need --raw FORMAT and --size WIDTHxHEIGHT");
        }
        format = av_find_input_format("rawvideo");
        settings.Set("pixel_format", options.rawFormat);
        settings.Set("video_size",
                     std::to_string(options.rawSize.width) + "x" + std::to_string(options.rawSize.height));
        settings.Set("framerate", TextOf(options.rate));
    }
    input = Open(path, url, format, settings);
    CheckLibav(avformat_find_stream_info(input.get(), nullptr), path + ": not a video or picture file");
}

void Decoder::OpenCodec() {
    const AVCodec* decoder = nullptr;
    stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (stream == AVERROR_DECODER_NOT_FOUND) {
        throw Failure(path + ": no decoder for its video");
    }
    if (stream < 0) {
        throw Failure(path + ": holds no video and no picture");
    }
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        if (static_cast<int>(i) != stream) {
            input->streams[i]->discard = AVDISCARD_ALL;
        }
    }

    codec.reset(avcodec_alloc_context3(decoder));
    if (!codec) {
        throw std::bad_alloc();
    }
    CheckLibav(avcodec_parameters_to_context(codec.get(), Stream().codecpar), path + ": cannot be decoded");
    codec->thread_count = options.threads;
    static const bool isHeard = (av_log_set_callback(HearLog), true);
    static_cast<void>(isHeard);
    codec->opaque = &complaints;  // the threads of the decoder have copies of it
    codec->pkt_timebase = Stream().time_base;
    codec->err_recognition = AV_EF_CRCCHECK;
    if (IsStrict(decoder->id) && !options.keepGoing) {
        codec->err_recognition |= AV_EF_EXPLODE;
    }
    CheckLibav(avcodec_open2(codec.get(), decoder, nullptr), path + ": cannot be decoded");
}

void Decoder::FindRate() {
    const AVRational guessed = av_guess_frame_rate(input.get(), input->streams[stream], nullptr);
    const AVRational mean = Stream().avg_frame_rate;
    const auto isRate = [](AVRational number) {
        return number.num > 0 && number.den > 0 && av_q2d(number) >= 0.001 && av_q2d(number) <= 1000;
    };
    rate = isRate(guessed) ? guessed : options.rate;
    // The finest step of a rate that varies is no rate.
    constexpr double kFarAbove = 1.5;
    if (isRate(mean) && av_q2d(rate) > kFarAbove * av_q2d(mean)) {
        rate = mean;
    }
    rate = StandardRate(rate);
}

void Decoder::FindEnd() {
    if (!isRegular || isSequence) {
        return;
    }
    const AVStream& video = Stream();
    const double tick = av_q2d(video.time_base);
    // Some containers say how long their video is; of others the header tells the longest stream, or nothing.
    if (video.duration > 0 && input->duration_estimation_method == AVFMT_DURATION_FROM_STREAM &&
        !IsFormat(*input, "matroska")) {
        const std::int64_t start = video.start_time == AV_NOPTS_VALUE ? 0 : video.start_time;
        end = static_cast<double>(start + video.duration) * tick;
        return;
    }
    MeasureByPackets();
}

/// Reads through the file once more, without decoding it.
void Decoder::MeasureByPackets() {
    Dictionary settings;
    if (IsRawName(path, options)) {
        const int frame = av_image_get_buffer_size(codec->pix_fmt, codec->width, codec->height, 1);
        if (frame > 0) {
            end = static_cast<double>(avio_size(input->pb) / frame) / av_q2d(rate);
        }
        return;
    }
    const InputPtr again = Open(path, LocalFile(path), nullptr, settings);
    CheckLibav(avformat_find_stream_info(again.get(), nullptr), path + ": not a video or picture file");
    if (static_cast<unsigned>(stream) >= again->nb_streams) {
        return;
    }
    double videoEnd = 0, allEnd = 0;
    while (av_read_frame(again.get(), packet.get()) >= 0) {
        const AVStream& from = *again->streams[packet->stream_index];
        const std::int64_t stamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        if (stamp != AV_NOPTS_VALUE) {
            std::int64_t duration = packet->duration;
            if (packet->stream_index == stream && duration <= 0) {
                duration = std::llround(1 / av_q2d(rate) / av_q2d(from.time_base));
            }
            const double until = static_cast<double>(stamp + duration) * av_q2d(from.time_base);
            allEnd = std::max(allEnd, until);
            if (packet->stream_index == stream) {
                videoEnd = std::max(videoEnd, until);
            }
        } else if (packet->stream_index == stream) {
            videoEnd += 1 / av_q2d(rate);
        }
        av_packet_unref(packet.get());
    }
    end = videoEnd;
    constexpr double kMissing = 0.5;
    if (input->duration > 0 && input->duration_estimation_method == AVFMT_DURATION_FROM_STREAM) {
        const double start =
            input->start_time == AV_NOPTS_VALUE ? 0 : static_cast<double>(input->start_time) / AV_TIME_BASE;
        const double promised = start + static_cast<double>(input->duration) / AV_TIME_BASE;
        if (promised - allEnd > kMissing) {
            end = promised;
        }
    }
}

void Decoder::Damaged(const std::string& what) {
    const std::string line = path + ": damaged after " + Seconds(last + lastDuration) + " (" +
                             std::to_string(frames) + (frames == 1 ? " frame): " : " frames): ") + what;
    if (!options.keepGoing) {
        throw Failure(line);
    }
    if (!std::exchange(isDamaged, true)) {
        console::Note(line);
    }
}

bool Decoder::Next(AVFrame& into, double& time) {
    if (!Receive(into)) {
        LookAtEnd();
        return false;
    }
    if (into.decode_error_flags != 0 || (into.flags & AV_FRAME_FLAG_CORRUPT) != 0 ||
        complaints.exchange(0) > 0) {
        Damaged("a frame is not whole");
    }

    if (into.color_range == AVCOL_RANGE_UNSPECIFIED && IsPictureCodec(codec->codec_id)) {
        into.color_range = AVCOL_RANGE_JPEG;
    }

    const double tick = av_q2d(Stream().time_base);
    const double nominal = 1 / av_q2d(rate);
    const double stamp = into.best_effort_timestamp != AV_NOPTS_VALUE
                             ? static_cast<double>(into.best_effort_timestamp) * tick + shift
                             : last + lastDuration;
    time = stamp;
    if (frames > 0 && stamp < last) {
        // Clips that were joined count anew.
        time = last + lastDuration;
        shift += time - stamp;
    }
    last = time;
    lastDuration = into.pkt_duration > 0 ? static_cast<double>(into.pkt_duration) * tick : nominal;
    ++frames;
    return true;
}

bool Decoder::Receive(AVFrame& into) {
    for (;;) {
        av_frame_unref(&into);
        const int received = avcodec_receive_frame(codec.get(), &into);
        if (received == 0) {
            if (into.width > 0 && into.height > 0) {
                return true;
            }
            continue;
        }
        if (received == AVERROR_EOF) {
            return false;
        }
        if (received == AVERROR(EAGAIN)) {
            FeedCodec();
            continue;
        }
        if (received == AVERROR(ENOMEM)) {
            throw std::bad_alloc();
        }
        Damaged(LibavText(received));
    }
}

void Decoder::FeedCodec() {
    if (isDraining) {
        throw Failure(path + ": cannot be decoded");
    }
    const int read = av_read_frame(input.get(), packet.get());
    if (read < 0) {
        isDraining = true;
        const int error = read != AVERROR_EOF                            ? read
                          : input->pb != nullptr && input->pb->error < 0 ? input->pb->error
                                                                         : 0;
        if (error < 0 && error != AVERROR_EOF) {
            Damaged(LibavText(error));
        }
        // A stream of plain frames that ends in the middle of one.
        const bool isPlain = IsFormat(*input, "yuv4mpegpipe") || IsFormat(*input, "rawvideo");
        if (isPlain && bytesEnd > 0 && avio_tell(input->pb) > bytesEnd) {
            Damaged("it ends in the middle of a frame");
        }
        avcodec_send_packet(codec.get(), nullptr);
        return;
    }
    if (packet->stream_index == stream) {
        if (packet->pos >= 0) {
            constexpr std::int64_t kFrameWord = 6;  // "FRAME\n"
            bytesEnd = packet->pos + packet->size + (IsFormat(*input, "yuv4mpegpipe") ? kFrameWord : 0);
        }
        const bool isCorrupt = (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
        const int sent = isCorrupt && IsFormat(*input, "rawvideo")
                             ? 0  // part of a frame
                             : avcodec_send_packet(codec.get(), packet.get());
        av_packet_unref(packet.get());
        if (sent == AVERROR(ENOMEM)) {
            throw std::bad_alloc();
        }
        if (isCorrupt) {
            Damaged("a frame is not whole");
        } else if (sent < 0) {
            Damaged(LibavText(sent));
        }
        return;
    }
    av_packet_unref(packet.get());
}

void Decoder::LookAtEnd() {
    if (!end || frames == 0) {
        return;
    }
    const double missing = *end - (last + lastDuration);
    // Headers round, and count frames that are not shown.
    const double tolerance = std::max(0.25, 3.5 / av_q2d(rate));
    if (missing > tolerance) {
        Damaged("it ends here, " + Seconds(missing) + " before what it says");
    }
}

}  // namespace tool
