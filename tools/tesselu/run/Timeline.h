#ifndef TESSELU_TOOLS_RUN_TIMELINE_H
#define TESSELU_TOOLS_RUN_TIMELINE_H

#include "media/Picture.h"

namespace tool {

/// What of a source decides when its frames are due.
struct SourceTiming {
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    AVRational rate{25, 1};  ///< frames a second, nominally
};

/// How the fields of an interlaced source come into the output.
enum class FieldUse {
    kFrames,       ///< a progressive source, or fields that keep their lines and their order in time
    kFieldLater,   ///< fields that keep their lines; the output starts one field later, with the other one
    kDeinterlace,  ///< a picture is made of every frame first
    kDeinterlaceFields  ///< a picture is made of every field first
};

/// Which frame of a source stands behind a field of the output, by the time stamps of both. All times are in
/// seconds from the start of the run, and from the first frame of the source.
class Timeline {
public:
    Timeline(const PictureFormat& output, const SourceTiming& source);

    FieldUse Fields() const noexcept { return fields; }

    /// When `field` (0 the first in time, 1 the second) of an output picture is shown.
    double TimeOf(long picture, int field) const noexcept;

    /// The frame behind a field is the last one whose time stamp is not above this. That is the time of the
    /// field and up to half a frame more, so that stamps that are rounded or shiver choose the same frame.
    double Reach(long picture, int field) const noexcept;

    /// Whole output pictures in so many seconds of the source, at least 1.
    long Pictures(double seconds) const noexcept;

private:
    double pictureDuration;
    int fieldsPerPicture;
    double offset = 0;
    double tolerance = 0;
    FieldUse fields = FieldUse::kFrames;
};

/// The rate of an output with this scan out of a source: interlaced video shows two progressive frames in the
/// fields of one picture when there are as many as fields are shown usually, else one.
AVRational OutputRate(const SourceTiming& source, Zan::ScanStyleEnum output);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_TIMELINE_H
