#ifndef TESSELU_CONVERT_COLORSPACECONVERTERMT_H
#define TESSELU_CONVERT_COLORSPACECONVERTERMT_H

#include <TesselU/convert/ColorSpaceConverter.h>

namespace Zan {

/// Converts a picture on several threads, cut into as many strips of lines. The threads are started by the
/// constructor, each on a processor of its own as far as there are any, and sleep between pictures.
///
/// Settings are those of the converters of the workers. What the class has besides from `ColorSpaceConverter`
/// (`Shape`, `Unshape`, and `Do` on plain memory, which is called by the name of that class) is done by the
/// object itself, on the caller's thread and with its own settings. One object serves one thread at a time.
class TESSELU_API ColorSpaceConverterMT : public ColorSpaceConverter {
public:
    /// A worker for each physical processor.
    ColorSpaceConverterMT();
    /// 1 to 64 workers; 0 counts as 1, and more as 64. Where the system has no more threads, strips are
    /// converted on the caller's.
    explicit ColorSpaceConverterMT(ULong32 workers);
    ColorSpaceConverterMT(const ColorSpaceConverterMT&) = delete;
    ColorSpaceConverterMT& operator=(const ColorSpaceConverterMT&) = delete;
    /// Ends all threads.
    ~ColorSpaceConverterMT();

    /// Converts as `ColorSpaceConverter::Do` does, and returns when all strips are done.
    ///
    /// The lines of the lower of both regions are divided by the number of workers; what remains goes to the
    /// last one. Always all lines of the regions are converted: the views' fields do not count. A strip is a
    /// region of its own, which starts where the one above ends, also on an odd line. Chroma of half height
    /// then goes with other lines than in the picture as a whole, and a line of chroma that two strips share
    /// is that of the lower one. Source and destination may be one picture only where each line is made of
    /// itself alone.
    ///
    /// Returns the status of the first worker: strips differ in their lines only, so that what one refuses
    /// all refuse.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle, double* callMatrix,
              double* callOffset);

    void SetPlusFunction(ULong32 function) noexcept;
    void SetAlphaChannel(unsigned char value) noexcept;
    void SetMMXonlyStyle(bool only) noexcept;

    /// Of the first worker.
    void GetMatrixCoef(double* out) const noexcept;
    void GetOffset(double* out) const noexcept;

private:
    class Workers;

    static CPUcapabilities& CPUinstructionSet;

    void CreateNew(ULong32 workerCount);

    Workers* workers = nullptr;
};

}  // namespace Zan

#endif  // TESSELU_CONVERT_COLORSPACECONVERTERMT_H
