#ifndef TESSELU_TOOLS_RUN_PIPELINE_H
#define TESSELU_TOOLS_RUN_PIPELINE_H

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/ContactSheet.h"
#include "media/Reader.h"
#include "media/Writer.h"
#include "run/Effect.h"
#include "run/Queue.h"

// What the threads of a run do and share: inputs are read and outputs written while the library works.

namespace tool {

/// What an output picture shows of one input, field by field.
using Fields = std::array<SharedPicture, 2>;
/// One of each output.
using Made = std::vector<SharedPicture>;

struct Pipeline;

struct InputStage {
    InputStage(std::string newPath, const InputOptions& newOptions)
        : path(std::move(newPath)), options(newOptions), reader(std::make_unique<Reader>(path, options)) {}

    void SetTarget(const PictureFormat& newTarget, double newAspect);
    /// What is read of it, with the surroundings of what is made.
    long First(const Pipeline& run) const;
    std::optional<long> Last(const Pipeline& run) const;
    /// As that of the reader. An input with a period begins anew when it ends.
    SharedPicture PictureAt(long picture, int field);

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
    void Fail(std::exception_ptr what);
    void ThrowFault();
    int FieldsPerPicture() const { return format.IsInterlaced() ? 2 : 1; }
};

/// The thread of an input, and that of the outputs.
void ReadInput(const std::shared_ptr<Pipeline>& run, InputStage& input);
void WriteOutput(const std::shared_ptr<Pipeline>& run);

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

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_PIPELINE_H
