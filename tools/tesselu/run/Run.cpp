#include "run/Run.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

#include "Errors.h"
#include "media/FileNames.h"
#include "media/Samples.h"
#include "run/Console.h"
#include "run/Figures.h"
#include "run/Overwriting.h"
#include "run/Pipeline.h"
#include "run/ProgressBar.h"
#include "run/RunOptions.h"
#include "run/Stopwatch.h"

namespace tool {
namespace {

constexpr FrameSize kSizeWithoutInputs = {1280, 720};

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
