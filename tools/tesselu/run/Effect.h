#ifndef TESSELU_TOOLS_RUN_EFFECT_H
#define TESSELU_TOOLS_RUN_EFFECT_H

#include <span>
#include <string>
#include <vector>

#include "media/Picture.h"
#include "media/Reader.h"

namespace tool {

/// A place in a run. In interlaced video every field has its own.
struct Moment {
    long picture = 0;   ///< counted from the start of the whole run, whichever part of it is made
    int field = 0;      ///< 0 the first in time, 1 the second
    int fields = 1;     ///< of a picture
    long pictures = 0;  ///< of the whole run; 0 when that is not known

    /// The fields before this one, in the whole run.
    long Index() const noexcept { return picture * fields + field; }
    /// 0 for the first field of the run, 1 for the last one; the middle for a run of one.
    double Position() const noexcept {
        const long all = pictures * fields;
        return all > 1 ? static_cast<double>(Index()) / static_cast<double>(all - 1) : 0.5;
    }
};

/// An output of a run beside its own, named by an option.
struct SideOutput {
    std::string option;  ///< with its dashes
    std::string path;
    PictureFormat format;
};

/// What an input shows beyond its end.
enum class Beyond {
    kNothing,    ///< the run is no longer than the input
    kLastFrame,  ///< as stills do anyway
    kAgain       ///< it begins anew
};

/// So many pictures of the first input come with the one that is made, if they exist.
struct Surroundings {
    unsigned before = 0, after = 0;
};

/// What a command does to pictures: one function from the pictures of its inputs to a picture. The
/// constructor looks at the options and throws `UsageError`.
class Effect {
public:
    virtual ~Effect() = default;

    /// Called first: all inputs, and the format of the run.
    virtual void Meet(std::span<Reader* const> inputs, const PictureFormat& run) {
        static_cast<void>(inputs);
        static_cast<void>(run);
    }
    /// The pictures that the effect takes of an input, and those that it makes, where they are not packed
    /// 4:2:2: the format of the run with other samples or full chroma. Asked once each, in this order, before
    /// `Prepare`. Those of an input may also have a size and a pixel aspect of their own.
    virtual PictureFormat InputFormat(const Reader& input, const PictureFormat& run) {
        static_cast<void>(input);
        return run;
    }
    virtual PictureFormat OutputFormat(const PictureFormat& run) { return run; }
    /// Asked once, after these.
    virtual std::vector<SideOutput> SideOutputs(const PictureFormat& run) {
        static_cast<void>(run);
        return {};
    }
    /// Single pictures that the effect writes by itself, which must be no file of the run: option and path.
    virtual std::vector<std::pair<std::string, std::string>> Pictures() const { return {}; }

    /// In the place of the first input `Make` gets the pictures around it, the earliest first: fields of the
    /// same parity, and the first or last picture of the run again beyond its ends.
    virtual Surroundings PicturesAround() const { return {}; }
    /// Interlaced pictures come whole, and not field by field.
    virtual bool TakesWholePictures() const { return false; }
    /// Of the clips that do not end a run the longest one does if there are no others.
    virtual Beyond BeyondEndOf(std::size_t input) const {
        static_cast<void>(input);
        return Beyond::kNothing;
    }
    /// How long a run of stills alone is.
    virtual long PicturesOfStills() const { return 50; }
    /// Time spent on other threads, beside that of the one that calls `Make`.
    virtual double SecondsElsewhere() const { return 0; }

    /// Called once, when the format of the run is settled.
    virtual void Prepare(const PictureFormat& format) { static_cast<void>(format); }
    /// Called once, behind it. The first picture of each input may be asked for.
    virtual void Look(std::span<Reader* const> inputs) { static_cast<void>(inputs); }
    /// What was found out then, as options that say the same; empty: nothing.
    virtual std::string Found() const { return {}; }

    /// Makes one field of a picture, or a whole one, out of the same of every input. All views are of the
    /// size of the run, if the effect did not ask for another; inputs are shared and must not be written to.
    virtual void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) = 0;
    /// The same with all outputs, the side outputs behind that of the run. For effects that have some.
    virtual void MakeAll(std::span<Zan::ImageView> inputs, std::span<Zan::ImageView> outputs,
                         const Moment& moment) {
        Make(inputs, outputs[0], moment);
    }
};

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_EFFECT_H
