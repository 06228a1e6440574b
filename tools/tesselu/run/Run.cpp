#include "run/Run.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <deque>
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
/// One of each output.
using Made = std::vector<SharedPicture>;

struct Pipeline;

struct InputStage {
    InputStage(std::string newPath, const InputOptions& newOptions)
        : path(std::move(newPath)), options(newOptions), reader(std::make_unique<Reader>(path, options)) {}

    void SetTarget(const PictureFormat& newTarget, double newAspect) {
        target = newTarget;
        aspect = newAspect;
        reader->SetTarget(target, aspect);
    }
    /// As that of the reader. An input with a period begins anew when it ends.
    /// What is read of it, with the surroundings of what is made.
    long First(const Pipeline& run) const;
    std::optional<long> Last(const Pipeline& run) const;
    SharedPicture PictureAt(long picture, int field) {
        if (!period) {
            return reader->PictureAt(picture, field);
        }
        const long now = picture / *period;
        if (turn.value_or(now) != now) {
            reader = std::make_unique<Reader>(path, options);
            SetTarget(target, aspect);
            reader->StayAtEnd();
        }
        turn = now;
        return reader->PictureAt(picture % *period, field);
    }

    std::string path;
    InputOptions options;
    std::unique_ptr<Reader> reader;
    PictureFormat target;
    double aspect = 1;
    Beyond beyond = Beyond::kNothing;
    Surroundings around;
    std::optional<long> period;  ///< pictures after which it begins anew
    std::optional<long> turn;    ///< the last picture was of
    std::optional<Queue<Fields>> queue;
    std::atomic<double> busy = 0;  ///< seconds by the clock that it did not wait for room
};

/// What the threads of a run share. It lives as long as the last of them.
struct Pipeline {
    std::vector<std::unique_ptr<InputStage>> inputs;
    PictureFormat format;             ///< of the run
    std::vector<PictureFormat> made;  ///< of its outputs
    long first = 0;
    std::optional<long> whole;  ///< pictures of the whole run
    std::optional<long> last;
    bool endsWithInputs = false;  ///< the run ends where an input of unknown length does

    std::vector<std::unique_ptr<Writer>> writers;
    std::optional<ContactSheet> sheet;
    std::optional<Queue<Made>> finished;
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

long InputStage::First(const Pipeline& run) const {
    return std::max(run.first - static_cast<long>(around.before), 0L);
}

std::optional<long> InputStage::Last(const Pipeline& run) const {
    if (!run.last) {
        return std::nullopt;
    }
    const long reach = *run.last + static_cast<long>(around.after);
    return run.whole ? std::min(reach, *run.whole - 1) : reach;
}

/// The pictures of one input that an effect sees at once.
class Window {
public:
    Window(InputStage& newInput, const Pipeline& run) : input(newInput), front(input.First(run)) {}

    /// Takes what `picture` needs from the queue, each through `change`. False if the input has ended before
    /// it.
    template <typename Change>
    bool Reach(long picture, const Change& change) {
        while (!hasEnded && Back() < picture + static_cast<long>(input.around.after)) {
            auto fields = input.queue->Pop();
            if (fields) {
                change(*fields);
                held.push_back(std::move(*fields));
            } else {
                hasEnded = true;
            }
        }
        while (front < picture - static_cast<long>(input.around.before) && !held.empty()) {
            held.pop_front();
            ++front;
        }
        return Back() >= picture;
    }
    /// The first or the last one beyond what is there.
    const Fields& At(long picture) const {
        return held[static_cast<std::size_t>(std::clamp(picture, front, Back()) - front)];
    }
    /// All that `Make` gets at `picture`.
    void AddViews(long picture, int field, Zan::WhichFieldEnum which,
                  std::vector<Zan::ImageView>& views) const {
        const long before = input.around.before, after = input.around.after;
        for (long each = picture - before; each <= picture + after; ++each) {
            views.push_back(Whole(*At(each)[static_cast<std::size_t>(field)], which));
        }
    }

private:
    long Back() const { return front + static_cast<long>(held.size()) - 1; }

    InputStage& input;
    std::deque<Fields> held;
    long front;
    bool hasEnded = false;
};

void ReadInput(const std::shared_ptr<Pipeline>& run, InputStage& input) {
    try {
        const double start = WallClock::Now();
        const std::optional<long> last = input.Last(*run);
        for (long picture = input.First(*run); !last || picture <= *last; ++picture) {
            if (run->endsWithInputs && input.beyond == Beyond::kNothing &&
                input.reader->EndsBefore(picture)) {
                break;
            }
            Fields fields;
            for (int field = 0; field < run->FieldsPerPicture(); ++field) {
                fields[static_cast<std::size_t>(field)] = input.PictureAt(picture, field);
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
        while (const auto pictures = run->finished->Pop()) {
            for (std::size_t i = 0; i < pictures->size(); ++i) {
                run->writers[i]->Write(*(*pictures)[i]);
            }
            if (run->sheet) {
                run->sheet->Look(*pictures->front());
            }
        }
        {
            const std::lock_guard guard(run->lock);
            if (run->fault) {
                return;
            }
        }
        for (const auto& writer : run->writers) {
            writer->Finish();
        }
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
    const Reader* a = run.inputs.empty() ? nullptr : run.inputs[command.frameInput]->reader.get();
    const Reader* clip = nullptr;
    for (const auto& input : run.inputs) {
        if (clip == nullptr && !input->reader->IsStill()) {
            clip = input->reader.get();
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
            format.hasAlpha = format.hasAlpha || input->reader->HasAlpha();
        }
    }
    return format;
}

/// Settles how many pictures there are, and which of them are made.
void FindPart(const Command& command, const RunOptions& options, long picturesOfStills, Pipeline& run) {
    bool isEndless = false, hasClip = false;
    run.whole = options.length;
    const auto isClip = [](const auto& input) { return !input->reader->IsStill(); };
    const bool hasBound = std::any_of(run.inputs.begin(), run.inputs.end(), [&](const auto& input) {
        return isClip(input) && input->beyond == Beyond::kNothing;
    });
    for (const auto& input : run.inputs) {
        if (!isClip(input) || (hasBound && input->beyond != Beyond::kNothing)) {
            continue;
        }
        const Reader& reader = *input->reader;
        hasClip = true;
        const std::optional<long> pictures = reader.Pictures();
        if (!pictures) {
            isEndless = true;
        } else if (!options.length) {
            run.whole = !run.whole ? *pictures
                        : hasBound ? std::min(*run.whole, *pictures)
                                   : std::max(*run.whole, *pictures);
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

/// What clips show beyond their end is asked of the effect.
void FindBeyond(const Effect& effect, Pipeline& run) {
    for (std::size_t i = 0; i < run.inputs.size(); ++i) {
        InputStage& input = *run.inputs[i];
        input.beyond = effect.BeyondEndOf(i);
        if (input.beyond == Beyond::kNothing || input.reader->IsStill()) {
            continue;
        }
        input.reader->StayAtEnd();
        if (input.beyond == Beyond::kAgain) {
            input.period = input.reader->Pictures();
            if (!input.period) {
                throw UsageError("--loop: " + input.path + " can be read once only");
            }
        }
    }
}

OutputOptions OptionsOf(const SideOutput& side, const RunOptions& options) {
    OutputOptions own;
    own.option = side.option;
    own.threads = options.out.threads;
    own.first = options.out.first;
    return own;
}

void RefuseOverwriting(const RunOptions& options, const Effect& effect, const std::vector<SideOutput>& sides,
                       const Pipeline& run) {
    std::vector<NamedOutput> outputs = {
        {"-o", options.output, IsSequenceOutput(options.output, options.out)}};
    for (const SideOutput& side : sides) {
        outputs.push_back({side.option, side.path, IsSequenceOutput(side.path, OptionsOf(side, options))});
    }
    for (const auto& [option, path] : effect.Pictures()) {
        outputs.push_back({option, path});
    }
    if (!options.sheet.empty()) {
        outputs.push_back({"--sheet", options.sheet});
    }
    RefuseOverwritingInputs(options.inputs, outputs);
    RefuseOverwritingBySequence(options.inputs, outputs, run.first,
                                run.last.value_or(std::numeric_limits<long>::max()));
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

/// `found`: options, without a character that JSON would have escaped.
void PrintJson(std::FILE* to, const Command& command, const PictureFormat& format, const Figures& figures,
               const std::string& found) {
    const double each = 1e3 / static_cast<double>(figures.pictures);
    std::fprintf(to,
                 "{\"command\":\"%s\",\"frames\":%ld,\"width\":%u,\"height\":%u,\"scan\":\"%s\","
                 "\"rate\":\"%d/%d\",\"alpha\":%s,\"seconds\":%.3f,\"library_ms\":%.4f,\"decode_ms\":%.4f,"
                 "\"encode_ms\":%.4f%s%s%s}\n",
                 command.name.c_str(), figures.pictures, format.width, format.height, NameOf(format.scan),
                 format.rate.num, format.rate.den, HasAlpha(format.Samples()) ? "true" : "false",
                 figures.seconds, (figures.effect + figures.toRgb) * each, figures.decoding * each,
                 figures.encoding * each, found.empty() ? "" : ",\"options\":\"", found.c_str(),
                 found.empty() ? "" : "\"");
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
    std::vector<NamedOutput> named = {{"-o", options.output}};
    if (!options.sheet.empty()) {
        named.push_back({"--sheet", options.sheet});
    }
    RefuseOverwritingInputs(options.inputs, named);
    for (const std::string& path : options.inputs) {
        run->inputs.push_back(std::make_unique<InputStage>(path, options.input));
    }
    run->format = FormatOf(command, options, *run);
    const PictureFormat& format = run->format;
    const double aspect =
        run->inputs.empty() ? format.Aspect() : run->inputs[command.frameInput]->reader->Aspect();
    std::vector<Reader*> readers;
    for (const auto& input : run->inputs) {
        readers.push_back(input->reader.get());
    }
    effect->Meet(readers, format);
    std::vector<PictureFormat> taken;
    for (const auto& input : run->inputs) {
        taken.push_back(effect->InputFormat(*input->reader, format));
        const bool isOfTheRun = taken.back().width == format.width && taken.back().height == format.height &&
                                av_cmp_q(taken.back().pixelAspect, format.pixelAspect) == 0;
        input->SetTarget(taken.back(), isOfTheRun ? aspect : taken.back().Aspect());
    }
    FindBeyond(*effect, *run);
    if (!run->inputs.empty()) {
        run->inputs[0]->around = effect->PicturesAround();
    }
    run->made = {effect->OutputFormat(format)};
    const std::vector<SideOutput> sides = effect->SideOutputs(format);
    FindPart(command, options, effect->PicturesOfStills(), *run);
    RefuseOverwriting(options, *effect, sides, *run);

    effect->Prepare(format);
    effect->Look(readers);
    run->writers.push_back(OpenWriter(options.output, options.out, run->made[0]));
    for (const SideOutput& side : sides) {
        run->made.push_back(side.format);
        run->writers.push_back(OpenWriter(side.path, OptionsOf(side, options), side.format));
    }
    if (!options.sheet.empty()) {
        run->sheet.emplace(options.sheet, run->made[0], *run->last - run->first + 1);
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
        std::vector<PicturePool> pools(run->made.begin(), run->made.end());
        std::vector<PicturePool> woven(taken.begin(), taken.end());
        const bool byField = !effect->TakesWholePictures();
        Moment moment;
        moment.fields = byField ? run->FieldsPerPicture() : 1;
        moment.pictures = run->whole.value_or(0);
        std::vector<Window> windows;
        for (const auto& input : run->inputs) {
            windows.emplace_back(*input, *run);
        }
        std::vector<Zan::ImageView> views, outputs(pools.size());
        for (moment.picture = run->first; !run->last || moment.picture <= *run->last; ++moment.picture) {
            for (std::size_t i = 0; i < windows.size(); ++i) {
                const bool isThere = windows[i].Reach(moment.picture, [&](Fields& fields) {
                    if (!byField && format.IsInterlaced() && fields[0] != fields[1]) {
                        SharedPicture both = woven[i].Take();
                        Weave(*fields[0], *fields[1], format.scan, *both);
                        fields[0] = std::move(both);
                    }
                });
                if (!isThere) {
                    return;
                }
            }
            Made made;
            for (PicturePool& pool : pools) {
                made.push_back(pool.Take());
            }
            for (moment.field = 0; moment.field < moment.fields; ++moment.field) {
                const Zan::WhichFieldEnum which = moment.fields == 1  ? Zan::kFrame
                                                  : moment.field == 0 ? Zan::kFirstField
                                                                      : Zan::kSecondField;
                views.clear();
                for (const Window& window : windows) {
                    window.AddViews(moment.picture, moment.field, which, views);
                }
                for (std::size_t i = 0; i < outputs.size(); ++i) {
                    outputs[i] = Whole(*made[i], which);
                }
                const Stopwatch running(figures.effect);
                effect->MakeAll(views, outputs, moment);
            }
            if (!run->finished->Push(std::move(made))) {
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
    figures.toRgb = run->sheet ? run->sheet->LibrarySeconds() : 0;
    for (const auto& writer : run->writers) {
        figures.toRgb += writer->LibrarySeconds();
    }
    figures.seconds = WallClock::Now() - start;
    std::FILE* const to = options.output == kStandardStream ? stderr : stdout;
    const std::string found = effect->Found();
    if (options.isJson) {
        PrintJson(to, command, run->made[0], figures, found);
    } else if (!options.isQuiet) {
        if (!found.empty()) {
            std::fprintf(to, "%s\n", found.c_str());
        }
        PrintSummary(to, command, format, figures);
    }
}

}  // namespace tool
