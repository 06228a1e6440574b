#include "media/Reader.h"

#include <filesystem>
#include <utility>

#include "Errors.h"
#include "Interrupt.h"

namespace tool {
namespace {

/// Opens a local file and nothing else: a play list in it cannot reach out to other places.
InputPtr OpenInput(const std::string& path) {
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr)
        throw std::bad_alloc();
    context->interrupt_callback = InterruptHook();
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    const int opened = avformat_open_input(&context, LocalFile(path).c_str(), nullptr, &options);
    av_dict_free(&options);
    CheckLibav(opened, path + ": not a video or picture file");
    return InputPtr(context);
}

}  // namespace

Reader::Reader(std::string newPath) : path(std::move(newPath)) {
    Open();
    if (!Decode(*current))
        throw Failure(path + ": holds no picture that can be decoded");
    turn = TurnOf(*current, *input->streams[stream]);
    if (Width() > kLargestSide || Height() > kLargestSide)
        throw Failure(path + ": larger than " + std::to_string(kLargestSide) + " pixels or lines");
    hasNext = Decode(*next);
    still = !hasNext;
}

void Reader::Open() {
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw Failure(path + ": no such file");
    if (!std::filesystem::is_regular_file(path, error))
        throw Failure(path + ": not a file");
    input = OpenInput(path);
    CheckLibav(avformat_find_stream_info(input.get(), nullptr), path + ": not a video or picture file");
    const AVCodec* decoder = nullptr;
    stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (stream == AVERROR_DECODER_NOT_FOUND)
        throw Failure(path + ": no decoder for its video");
    if (stream < 0)
        throw Failure(path + ": holds no video and no picture");
    for (unsigned i = 0; i < input->nb_streams; ++i)
        if (static_cast<int>(i) != stream)
            input->streams[i]->discard = AVDISCARD_ALL;

    codec.reset(avcodec_alloc_context3(decoder));
    if (!codec)
        throw std::bad_alloc();
    codec->thread_count = 0;
    const AVStream* video = input->streams[stream];
    CheckLibav(avcodec_parameters_to_context(codec.get(), video->codecpar), path + ": cannot be decoded");
    codec->pkt_timebase = video->time_base;
    CheckLibav(avcodec_open2(codec.get(), decoder, nullptr), path + ": cannot be decoded");
}

bool Reader::Decode(AVFrame& into) {
    for (;;) {
        StopIfInterrupted();
        av_frame_unref(&into);
        const int received = avcodec_receive_frame(codec.get(), &into);
        if (received == 0)
            return into.width > 0 && into.height > 0;
        if (received == AVERROR_EOF)
            return false;
        // A damaged packet costs its frame, not the clip.
        if (received != AVERROR(EAGAIN)) {
            if (received != AVERROR_INVALIDDATA)
                CheckLibav(received, path + ": cannot be decoded");
            continue;
        }
        if (draining)
            return false;
        const int read = av_read_frame(input.get(), packet.get());
        if (read < 0) {
            StopIfInterrupted();
            draining = true;
            avcodec_send_packet(codec.get(), nullptr);
            continue;
        }
        if (packet->stream_index == stream) {
            const int sent = avcodec_send_packet(codec.get(), packet.get());
            if (sent < 0 && sent != AVERROR_INVALIDDATA)
                CheckLibav(sent, path + ": cannot be decoded");
        }
        av_packet_unref(packet.get());
    }
}

unsigned Reader::Width() const noexcept {
    return static_cast<unsigned>(SwapsSides(turn) ? current->height : current->width);
}

unsigned Reader::Height() const noexcept {
    return static_cast<unsigned>(SwapsSides(turn) ? current->width : current->height);
}

AVRational Reader::PixelAspect() const noexcept {
    const AVRational aspect = PixelAspectOf(*current);
    return SwapsSides(turn) ? av_inv_q(aspect) : aspect;
}

double Reader::Aspect() const noexcept {
    return av_q2d(PixelAspect()) * Width() / Height();
}

Zan::ScanStyleEnum Reader::Scan() const noexcept {
    if (still || current->interlaced_frame == 0 || turn != Turn::kNone)
        return Zan::kProgressive;
    return current->top_field_first != 0 ? Zan::kUpperFieldFirst : Zan::kLowerFieldFirst;
}

LumaWeights Reader::Weights() const noexcept {
    const AVColorSpace space = ColourSpaceOf(*current);
    return space == AVCOL_SPC_BT709 || space == AVCOL_SPC_BT2020_NCL ? LumaWeights::kBt709
                                                                     : LumaWeights::kBt601;
}

AVRational Reader::Rate() const noexcept {
    const AVRational rate = av_guess_frame_rate(input.get(), input->streams[stream], nullptr);
    return rate.num > 0 && rate.den > 0 ? rate : AVRational{25, 1};
}

long Reader::CountFrames() const {
    if (still)
        return 1;
    const auto told = input->streams[stream]->nb_frames;
    if (told > 0)
        return static_cast<long>(told);
    const InputPtr again = OpenInput(path);
    CheckLibav(avformat_find_stream_info(again.get(), nullptr), path);
    const PacketPtr one = NewPacket();
    long count = 0;
    while (av_read_frame(again.get(), one.get()) >= 0) {
        StopIfInterrupted();
        if (one->stream_index == stream)
            ++count;
        av_packet_unref(one.get());
    }
    return count;
}

void Reader::SetTarget(const PictureFormat& target, double aspect) {
    scaler.emplace(target, aspect, Scan() != Zan::kProgressive, turn);
    convertedPosition = -1;
}

void Reader::Advance() {
    std::swap(current, next);
    ++position;
    hasNext = Decode(*next);
}

Zan::Image& Reader::FrameAt(long index) {
    while (position < index && hasNext)
        Advance();
    if (convertedPosition != position) {
        converted = &scaler->Convert(*current);
        convertedPosition = position;
    }
    return *converted;
}

}  // namespace tool
