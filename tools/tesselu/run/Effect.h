#ifndef TESSELU_TOOLS_RUN_EFFECT_H
#define TESSELU_TOOLS_RUN_EFFECT_H

#include <span>

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

/// What a command does to pictures: one function from the pictures of its inputs to a picture. The
/// constructor looks at the options and throws `UsageError`.
class Effect {
public:
    virtual ~Effect() = default;

    /// The pictures that the effect takes of an input, and those that it makes, where they are not packed
    /// 4:2:2: the format of the run with other samples. Asked once each, in this order, before `Prepare`.
    virtual PictureFormat InputFormat(const Reader& input, const PictureFormat& run) {
        static_cast<void>(input);
        return run;
    }
    virtual PictureFormat OutputFormat(const PictureFormat& run) { return run; }

    /// Interlaced pictures come whole, and not field by field.
    virtual bool TakesWholePictures() const { return false; }
    /// How long a run of stills alone is.
    virtual long PicturesOfStills() const { return 50; }
    /// Time spent on other threads, beside that of the one that calls `Make`.
    virtual double SecondsElsewhere() const { return 0; }

    /// Called once, when the format of the run is settled.
    virtual void Prepare(const PictureFormat& format) { static_cast<void>(format); }

    /// Makes one field of a picture, or a whole one, out of the same of every input. All views are of one
    /// size; inputs are shared and must not be written to.
    virtual void Make(std::span<Zan::ImageView> inputs, Zan::ImageView& output, const Moment& moment) = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_EFFECT_H
