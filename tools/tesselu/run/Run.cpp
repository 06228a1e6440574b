#include "run/Run.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <thread>

#include "Errors.h"
#include "media/ContactSheet.h"
#include "media/FileNames.h"
#include "media/Reader.h"
#include "media/Samples.h"
#include "media/Writer.h"
#include "run/Console.h"
#include "run/Effect.h"
#include "run/Overwriting.h"
#include "run/ProgressBar.h"
#include "run/Queue.h"
#include "run/RunOptions.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

constexpr FrameSize kSizeWithoutInputs = {1280, 720};

/// What an output picture shows of one input, field by field.
using Fields = std::array<SharedPicture, 2>;

struct InputStage {
    InputStage(const std::string& path, const InputOptions& options) : reader(path, options) {}

    Reader reader;
    std::optional<Queue<Fields>> queue;
    std::atomic<double> busy = 0;  ///< seconds by the clock that it did not wait for room
};

/// What the threads of a run share. It lives as long as the last of them.
struct Pipeline {
    std::vector<std::unique_ptr<InputStage>> inputs;
    PictureFormat format, made;  ///< of the run; of its output
    long first = 0;
    std::optional<long> whole;  ///< pictures of the whole run
    std::optional<long> last;
    bool endsWithInputs = false;  ///< the run ends where an input of unknown length does

    std::unique_ptr<Writer> writer;
    std::optional<ContactSheet> sheet;
    std::optional<Queue<SharedPicture>> finished;
    double encoding = 0;

    std::mutex lock;
    std::exception_ptr fault;

    /// A stage cannot go on: the first one to say so is heard.
    void Fail(std::exception_ptr what) {
        {
            const std::lock_guard guard(lock);
            if (!fault) {
                fault = std::move(what);
            }
        }
        for (const auto& input : inputs) {
            input->queue->Abandon();
        }
        finished->Abandon();
    }
    void ThrowFault() {
        const std::lock_guard guard(lock);
        if (fault) {
            std::rethrow_exception(fault);
        }
    }
    int FieldsPerPicture() const { return format.IsInterlaced() ? 2 : 1; }
};

void ReadInput(const std::shared_ptr<Pipeline>& run, InputStage& input) {
    try {
        const double start = WallClock::Now();
        for (long picture = run->first; !run->last || picture <= *run->last; ++picture) {
            if (run->endsWithInputs && input.reader.EndsBefore(picture)) {
                break;
            }
            Fields fields;
            for (int field = 0; field < run->FieldsPerPicture(); ++field) {
                fields[static_cast<std::size_t>(field)] = input.reader.PictureAt(picture, field);
            }
            input.busy = WallClock::Now() - start - input.queue->SecondsPushing();
            if (!input.queue->Push(std::move(fields))) {
                return;
            }
        }
        input.queue->Close();
    } catch (...) {
        run->Fail(std::current_exception());
    }
}

void WriteOutput(const std::shared_ptr<Pipeline>& run) {
    try {
        const double start = WallClock::Now();
        while (const auto picture = run->finished->Pop()) {
            run->writer->Write(**picture);
            if (run->sheet) {
                run->sheet->Look(**picture);
            }
        }
        {
            const std::lock_guard guard(run->lock);
            if (run->fault) {
                return;
            }
        }
        run->writer->Finish();
        if (run->sheet) {
            run->sheet->Finish();
        }
        run->encoding = WallClock::Now() - start - run->finished->SecondsPopping();
    } catch (...) {
        run->Fail(std::current_exception());
    }
}

/// A side of the picture as 4:2:2 and fields need it.
unsigned Even(unsigned side) {
    return side & ~1U;
}

PictureFormat FormatOf(const Command& command, const RunOptions& options, const Pipeline& run) {
    PictureFormat format;
    const Reader* a = run.inputs.empty() ? nullptr : &run.inputs[command.frameInput]->reader;
    const Reader* clip = nullptr;
    for (const auto& input : run.inputs) {
        if (clip == nullptr && !input->reader.IsStill()) {
            clip = &input->reader;
        }
    }

    const FrameSize size = options.size   ? *options.size
                           : a != nullptr ? FrameSize{Even(a->Width()), Even(a->Height())}
                                          : kSizeWithoutInputs;
    if (size.width < kSmallestSide || size.height < kSmallestSide) {
        throw UsageError(a->Path() + ": its " + std::to_string(a->Width()) + "x" +
                         std::to_string(a->Height()) + " pixels are less than " +
                         std::to_string(kSmallestSide) + "x" + std::to_string(kSmallestSide) +
                         "; --size gives the output another size");
    }
    format.width = size.width;
    format.height = size.height;
    if (clip != nullptr) {
        format.scan = options.scan.value_or(clip->Timing().scan);
        format.weights = clip->Weights();
        format.rate = OutputRate(clip->Timing(), format.scan);
    } else {
        format.scan = options.scan.value_or(Zan::kProgressive);
        format.rate = options.input.rate;
    }
    if (options.outputRate) {
        format.rate = *options.outputRate;
    }
    if (a != nullptr && options.size) {
        const double aspect = a->Aspect() * format.height / format.width;
        format.pixelAspect = std::abs(aspect - 1) < 0.01 ? AVRational{1, 1} : av_d2q(aspect, 255);
    } else if (a != nullptr) {
        format.pixelAspect = a->PixelAspect();
    }
    if (!options.out.ofSamples && HoldsAlpha(options.output, options.out)) {
        for (const auto& input : run.inputs) {
            format.hasAlpha = format.hasAlpha || input->reader.HasAlpha();
        }
    }
    return format;
}

/// Settles how many pictures there are, and which of them are made.
void FindPart(const Command& command, const RunOptions& options, long picturesOfStills, Pipeline& run) {
    bool isEndless = false, hasClip = false;
    run.whole = options.length;
    for (const auto& input : run.inputs) {
        const Reader& reader = input->reader;
        if (reader.IsStill()) {
            continue;
        }
        hasClip = true;
        const std::optional<long> pictures = reader.Pictures();
        if (!pictures) {
            isEndless = true;
        } else if (!options.length) {
            run.whole = std::min(run.whole.value_or(kMostPictures), *pictures);
        }
    }
    if (!hasClip && !run.whole) {
        run.whole = picturesOfStills;
    }
    if (!run.whole && (command.needsLength || !options.sheet.empty())) {
        throw UsageError("the length of the inputs is not known before they end; --length N tells it");
    }
    run.endsWithInputs = isEndless && !options.length && !command.needsLength;
    run.first = options.part.first;
    run.last = options.part.last;
    if (!run.whole) {
        return;
    }
    if (run.first >= *run.whole || (run.last && *run.last >= *run.whole)) {
        throw UsageError("--frames: the whole run has the frames 0-" + std::to_string(*run.whole - 1));
    }
    if (!run.last) {
        run.last = *run.whole - 1;
    }
}

/// Puts the first field of one picture and the second one of another together.
void Weave(const Zan::Image& first, const Zan::Image& second, Zan::ScanStyleEnum scan, Zan::Image& both) {
    for (Zan::ULong32 channel = 0; channel < both.GetNumberOfChannels(); ++channel) {
        if (channel != 0 && both.GetMemoryPointer(channel) == both.GetMemoryPointer(channel - 1)) {
            continue;  // the same plane
        }
        const std::size_t pitch = both.GetPitch(channel);
        const std::size_t lines = pitch != 0 ? both.GetMemorySize(channel) / pitch : 0;
        for (unsigned y = 0; y < lines; ++y) {
            const bool isUpper = y % 2 == 0;
            const Zan::Image& from = isUpper == (scan == Zan::kUpperFieldFirst) ? first : second;
            std::memcpy(Line(both, y, channel), Line(from, y, channel), pitch);
        }
    }
}

/// A few pictures wait before each stage, fewer when they are large.
std::size_t QueueLength(const PictureFormat& format) {
    constexpr std::size_t kBytes = 64U << 20;
    const std::size_t picture = std::size_t{2} * format.width * format.height;
    return std::clamp<std::size_t>(kBytes / picture, 1, 12);
}

struct Figures {
    long pictures = 0;
    double seconds = 0;   ///< of the whole run, by the clock
    double effect = 0;    ///< processor time in the library
    double toRgb = 0;     ///< the same, for outputs in RGB
    double decoding = 0;  ///< by the clock, of the slowest input
    double encoding = 0;
};

const char* NameOf(Zan::ScanStyleEnum scan) {
    return scan == Zan::kUpperFieldFirst ? "tff" : scan == Zan::kLowerFieldFirst ? "bff" : "progressive";
}

void PrintJson(std::FILE* to, const Command& command, const PictureFormat& format, const Figures& figures) {
    const double each = 1e3 / static_cast<double>(figures.pictures);
    std::fprintf(to,
                 "{\"command\":\"%s\",\"frames\":%ld,\"width\":%u,\"height\":%u,\"scan\":\"%s\","
                 "\"rate\":\"%d/%d\",\"alpha\":%s,\"seconds\":%.3f,\"library_ms\":%.4f,\"decode_ms\":%.4f,"
                 "\"encode_ms\":%.4f}\n",
                 command.name.c_str(), figures.pictures, format.width, format.height, NameOf(format.scan),
                 format.rate.num, format.rate.den, HasAlpha(format.Samples()) ? "true" : "false",
                 figures.seconds, (figures.effect + figures.toRgb) * each, figures.decoding * each,
                 figures.encoding * each);
}

void PrintSummary(std::FILE* to, const Command& command, const PictureFormat& format,
                  const Figures& figures) {
    const double each = 1e3 / static_cast<double>(figures.pictures);
    const double library = figures.effect + figures.toRgb, rate = av_q2d(format.rate);
    std::fprintf(to, "%ld frames of %ux%u%s at %.4g a second\n", figures.pictures, format.width,
                 format.height, format.IsInterlaced() ? "i" : "p", rate);
    std::fprintf(to, "library: %.3f ms of processor time a frame (%s %.3f", library * each,
                 command.name.c_str(), figures.effect * each);
    if (figures.toRgb > 0) {
        std::fprintf(to, ", conversion to RGB %.3f", figures.toRgb * each);
    }
    std::fprintf(to, "), %.0f times real time\n",
                 static_cast<double>(figures.pictures) / rate / std::max(library, 1e-9));
    std::fprintf(to, "beside it: decoding %.3f ms, encoding %.3f ms a frame; %.2f s in all\n",
                 figures.decoding * each, figures.encoding * each, figures.seconds);
}

}  // namespace

void RunCommand(const Command& command, const Arguments& arguments) {
    const double start = WallClock::Now();
    const RunOptions options(command, arguments);
    if (options.isQuiet) {
        console::BeQuiet();
    }
    const std::unique_ptr<Effect> effect = command.makeEffect(arguments);

    const auto run = std::make_shared<Pipeline>();
    RefuseOverwritingInputs(options.inputs, options.output, options.sheet);
    for (const std::string& path : options.inputs) {
        run->inputs.push_back(std::make_unique<InputStage>(path, options.input));
    }
    run->format = FormatOf(command, options, *run);
    const PictureFormat& format = run->format;
    const double aspect =
        run->inputs.empty() ? format.Aspect() : run->inputs[command.frameInput]->reader.Aspect();
    std::vector<PictureFormat> taken;
    for (const auto& input : run->inputs) {
        taken.push_back(effect->InputFormat(input->reader, format));
        input->reader.SetTarget(taken.back(), aspect);
    }
    run->made = effect->OutputFormat(format);
    FindPart(command, options, effect->PicturesOfStills(), *run);
    if (IsSequenceOutput(options.output, options.out)) {
        RefuseOverwritingBySequence(options.inputs, options.output, options.sheet, run->first,
                                    run->last.value_or(std::numeric_limits<long>::max()));
    }

    effect->Prepare(format);
    run->writer = OpenWriter(options.output, options.out, run->made);
    if (!options.sheet.empty()) {
        run->sheet.emplace(options.sheet, run->made, *run->last - run->first + 1);
    }

    const std::size_t length = QueueLength(format);
    run->finished.emplace(length);
    for (const auto& input : run->inputs) {
        input->queue.emplace(length);
    }
    for (const auto& input : run->inputs) {
        std::thread([run, stage = input.get()] { ReadInput(run, *stage); }).detach();
    }
    std::thread writing([run] { WriteOutput(run); });

    Figures figures;
    const auto make = [&] {
        ProgressBar progress(command.name,
                             run->last ? std::optional(*run->last - run->first + 1) : std::nullopt);
        PicturePool pool(run->made);
        std::vector<PicturePool> woven(taken.begin(), taken.end());
        const bool byField = !effect->TakesWholePictures();
        Moment moment;
        moment.fields = byField ? run->FieldsPerPicture() : 1;
        moment.pictures = run->whole.value_or(0);
        std::vector<Fields> pictures(run->inputs.size());
        std::vector<Zan::ImageView> views(run->inputs.size());
        for (moment.picture = run->first; !run->last || moment.picture <= *run->last; ++moment.picture) {
            for (std::size_t i = 0; i < pictures.size(); ++i) {
                auto fields = run->inputs[i]->queue->Pop();
                if (!fields) {
                    return;
                }
                pictures[i] = std::move(*fields);
                if (!byField && format.IsInterlaced() && pictures[i][0] != pictures[i][1]) {
                    SharedPicture both = woven[i].Take();
                    Weave(*pictures[i][0], *pictures[i][1], format.scan, *both);
                    pictures[i][0] = std::move(both);
                }
            }
            const SharedPicture made = pool.Take();
            for (moment.field = 0; moment.field < moment.fields; ++moment.field) {
                const Zan::WhichFieldEnum which = moment.fields == 1  ? Zan::kFrame
                                                  : moment.field == 0 ? Zan::kFirstField
                                                                      : Zan::kSecondField;
                for (std::size_t i = 0; i < pictures.size(); ++i) {
                    views[i] = Whole(*pictures[i][static_cast<std::size_t>(moment.field)], which);
                }
                Zan::ImageView out = Whole(*made, which);
                const Stopwatch running(figures.effect);
                effect->Make(views, out, moment);
            }
            if (!run->finished->Push(made)) {
                return;
            }
            ++figures.pictures;
            progress.Show(figures.pictures);
        }
    };
    try {
        make();
        run->ThrowFault();
        if (figures.pictures == 0) {
            throw Failure("the inputs hold no picture of the part that was asked for");
        }
    } catch (...) {
        writing.detach();
        throw;
    }
    run->finished->Close();
    writing.join();
    run->ThrowFault();

    for (const auto& input : run->inputs) {
        figures.decoding = std::max(figures.decoding, input->busy.load());
    }
    figures.effect += effect->SecondsElsewhere();
    figures.encoding = run->encoding;
    figures.toRgb = run->writer->LibrarySeconds() + (run->sheet ? run->sheet->LibrarySeconds() : 0);
    figures.seconds = WallClock::Now() - start;
    std::FILE* const to = options.output == kStandardStream ? stderr : stdout;
    if (options.isJson) {
        PrintJson(to, command, run->made, figures);
    } else if (!options.isQuiet) {
        PrintSummary(to, command, format, figures);
    }
}

}  // namespace tool
