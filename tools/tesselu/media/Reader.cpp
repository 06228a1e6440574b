#include "media/Reader.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "Errors.h"
#include "media/Samples.h"
#include "run/Console.h"

namespace tool {
namespace {

Zan::ScanStyleEnum ScanOf(const AVFrame& frame) {
    if (frame.interlaced_frame == 0) {
        return Zan::kProgressive;
    }
    return frame.top_field_first != 0 ? Zan::kUpperFieldFirst : Zan::kLowerFieldFirst;
}

}  // namespace

Reader::Reader(std::string newPath, const InputOptions& newOptions)
    : path(std::move(newPath)), options(newOptions), decoder(path, options) {
    if (!Next(current)) {
        throw Failure(path + ": holds no picture that can be decoded");
    }
    origin = current.time;
    turn = TurnOf(*current.frame, decoder.Stream());
    hasAlpha = ShowsAlpha(*current.frame);
    if (Width() > kLargestSide || Height() > kLargestSide) {
        throw Failure(path + ": larger than " + std::to_string(kLargestSide) + " pixels or lines");
    }
    hasNext = Next(next);
    isStill = !hasNext;
    timing.rate = decoder.Rate();
    if (options.rawSamples) {
        timing.scan = options.rawScan;
        return;
    }
    // Some clips begin with a frame that is progressive by chance.
    if (!isStill) {
        timing.scan = ScanOf(*current.frame);
        if (timing.scan == Zan::kProgressive) {
            timing.scan = ScanOf(*next.frame);
        }
    }
}

unsigned Reader::Width() const noexcept {
    return static_cast<unsigned>(SwapsSides(turn) ? current.frame->height : current.frame->width);
}

unsigned Reader::Height() const noexcept {
    return static_cast<unsigned>(SwapsSides(turn) ? current.frame->width : current.frame->height);
}

AVRational Reader::PixelAspect() const noexcept {
    const AVRational aspect = PixelAspectOf(*current.frame);
    return SwapsSides(turn) ? av_inv_q(aspect) : aspect;
}

double Reader::Aspect() const noexcept {
    return av_q2d(PixelAspect()) * Width() / Height();
}

LumaWeights Reader::Weights() const noexcept {
    const AVColorSpace space = ColourSpaceOf(*current.frame);
    return space == AVCOL_SPC_BT709 || space == AVCOL_SPC_BT2020_NCL ? LumaWeights::kBt709
                                                                     : LumaWeights::kBt601;
}

std::optional<Zan::ConverterFormat> Reader::Samples(const PictureFormat& run) const {
    if (options.rawSamples) {
        return options.rawSamples;
    }
    if (turn != Turn::kNone) {
        return std::nullopt;
    }
    const Zan::ConverterFormat samples = SamplesOf(*current.frame, run.IsInterlaced());
    // Two progressive frames cannot share a picture whose chroma belongs to fields.
    if (samples == Zan::kFmtPlanar420Interlaced && timing.scan == Zan::kProgressive) {
        return Zan::kFmtPlanar422;
    }
    return samples;
}

LumaWeights Reader::WeightsOfSamples() const noexcept {
    if (options.rawSamples) {
        const AVColorSpace usual = UsualColourSpace(current.frame->width, current.frame->height);
        return usual == AVCOL_SPC_BT709 ? LumaWeights::kBt709 : LumaWeights::kBt601;
    }
    return ColourSpaceOf(*current.frame) == AVCOL_SPC_BT2020_NCL ? LumaWeights::kBt2020 : Weights();
}

void Reader::SetTarget(const PictureFormat& target, double aspect) {
    SourceTiming source = timing;
    timeline.emplace(target, source);
    FieldUse fields = timeline->Fields();
    // Lines that are turned are no fields any more.
    if (timing.scan != Zan::kProgressive && turn != Turn::kNone && fields != FieldUse::kDeinterlaceFields) {
        fields = target.IsInterlaced() ? FieldUse::kDeinterlaceFields : FieldUse::kDeinterlace;
        source.scan = Zan::kProgressive;
        source.rate = fields == FieldUse::kDeinterlace ? timing.rate : av_mul_q(timing.rate, {2, 1});
        timeline.emplace(target, source);
    }
    scaler.emplace(target, aspect, turn);
    if (options.rawSamples) {
        scaler->TakeBytes();
    }
    pool.emplace(target);
    converted.reset();
    if (fields == FieldUse::kFrames || fields == FieldUse::kFieldLater || isStill) {
        return;
    }
    deinterlacer.emplace(fields == FieldUse::kDeinterlaceFields, options.threads);
    // The frames that were looked at already go through the filter, too.
    deinterlacer->Send(current.frame.get(), current.time);
    if (hasNext) {
        deinterlacer->Send(next.frame.get(), next.time);
    }
    if (Next(current)) {
        hasNext = Next(next);
    }
}

std::optional<long> Reader::Pictures() const {
    if (!decoder.End()) {
        return std::nullopt;
    }
    return timeline->Pictures(*decoder.End() - origin);
}

bool Reader::Next(TimedFrame& into) {
    if (!deinterlacer) {
        if (!decoderEnded && decoder.Next(*into.frame, into.time)) {
            return true;
        }
        decoderEnded = true;
        return false;
    }
    const FramePtr decoded = NewFrame();
    while (!deinterlacer->Receive(*into.frame, into.time)) {
        if (decoderEnded) {
            return false;
        }
        double time = 0;
        if (decoder.Next(*decoded, time)) {
            deinterlacer->Send(decoded.get(), time);
        } else {
            decoderEnded = true;
            deinterlacer->Send(nullptr, 0);
        }
    }
    return true;
}

void Reader::LookAtRate() {
    if (saidRate || deinterlacer) {
        return;
    }
    const double nominal = 1 / av_q2d(timing.rate);
    const double here = next.time - current.time;
    // Stamps in milliseconds, or of two fields and three in turn, are no change of the rate.
    if (std::abs(here - nominal) <= 0.6 * nominal + 0.001) {
        return;
    }
    saidRate = true;
    char text[96];
    std::snprintf(text, sizeof text, "a frame of %.0f ms among those of %.1f ms", here * 1e3, nominal * 1e3);
    console::Note(path + ": its rate changes (" + text + "); frames are picked by their time stamps");
}

void Reader::Advance() {
    LookAtRate();
    std::swap(current, next);
    converted.reset();
    hasNext = Next(next);
}

double Reader::EndSeconds() const {
    double duration = 1 / av_q2d(timing.rate);
    if (deinterlacer) {
        duration /= deinterlacer->FramesPerFrame();
    } else if (current.frame->pkt_duration > 0) {
        duration = static_cast<double>(current.frame->pkt_duration) * av_q2d(decoder.Stream().time_base);
    }
    return current.time - origin + duration;
}

bool Reader::EndsBefore(long picture) {
    if (isStill) {
        return false;
    }
    const double reach = origin + timeline->Reach(picture, 0);
    while (hasNext && next.time <= reach) {
        Advance();
    }
    return !hasNext && picture >= timeline->Pictures(EndSeconds());
}

SharedPicture Reader::PictureAt(long picture, int field) {
    if (!isStill) {
        const double reach = origin + timeline->Reach(picture, field);
        while (hasNext && next.time <= reach) {
            Advance();
        }
        if (!hasNext && !saidEnd && picture >= timeline->Pictures(EndSeconds())) {
            saidEnd = true;
            console::Note(path + ": ends after " + std::to_string(timeline->Pictures(EndSeconds())) +
                          " frames of the output; its last frame stays");
        }
    }
    if (!converted) {
        SharedPicture fresh = pool->Take();
        scaler->Convert(*current.frame, *fresh);
        converted = std::move(fresh);
    }
    return converted;
}

}  // namespace tool
