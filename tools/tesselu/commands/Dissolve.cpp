#include <TesselU/composite/ZanCompositor.h>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "run/Effect.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

class Dissolve : public Effect {
public:
    explicit Dissolve(const Arguments& arguments) : style(StyleOf(arguments)) {}

    void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) override {
        const Zan::Long32 status =
            compositor.CrossDissolve(inputs[0], inputs[1], output, 1 - moment.Position(), style);
        if (status != Zan::kStatusOk) {
            throw Failure("dissolve: the library returned status " + std::to_string(status));
        }
    }

private:
    Zan::ProcessingStyleEnum style;
    Zan::ZanCompositor compositor;
};

}  // namespace

const Command kDissolveCommand = {
    .name = "dissolve",
    .summary = "dissolve from one clip or picture to another",
    .description =
        "Mixes A and B, frame by frame or field by field, from A alone to B alone over the whole length of "
        "the "
        "run. The first clip gives the output its size, rate and scan; B is cropped about its centre to the "
        "shape of A.",
    .inputs = {{"A", "clip, picture or sequence to start from; - is standard input"},
               {"B", "clip, picture or sequence to end with"}},
    .examples = {{"tesselu dissolve a.mp4 b.mp4 -o out.mkv", "over the length of the shorter clip"},
                 {"tesselu dissolve a.png b.png -o out-%04d.png --length 25", "between two pictures"}},
    .needsLength = true,
    .makeEffect = [](const Arguments& arguments) -> std::unique_ptr<Effect> {
        return std::make_unique<Dissolve>(arguments);
    },
};

}  // namespace tool
