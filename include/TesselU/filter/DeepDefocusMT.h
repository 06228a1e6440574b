#ifndef TESSELU_FILTER_DEEPDEFOCUSMT_H
#define TESSELU_FILTER_DEEPDEFOCUSMT_H

#include <TesselU/filter/DeepDefocus.h>

namespace Zan {

/// Blurs a picture on several threads, cut into as many bands of rows. The threads are started by the
/// constructor, each on a processor of its own as far as there are any, and sleep between pictures. The bytes
/// are those of `DeepDefocus`, whatever their number.
///
/// What the object does by the name of its base class it does on the caller's thread, with 8 bits a sample.
/// One object serves one thread at a time.
class TESSELU_API DeepDefocusMT : public DeepDefocus {
public:
    /// A worker for each physical processor. `bits` are those of the workers.
    explicit DeepDefocusMT(ULong32 bits);
    /// 1 to 64 workers; 0 counts as 1, and more as 64. Where the system has no more threads, bands are
    /// filtered on the caller's.
    DeepDefocusMT(ULong32 workers, ULong32 bits);
    DeepDefocusMT(const DeepDefocusMT&) = delete;
    DeepDefocusMT& operator=(const DeepDefocusMT&) = delete;
    /// Ends all threads.
    ~DeepDefocusMT();

    /// Blurs as `DeepDefocus::Do` does, and returns when all bands are done.
    ///
    /// The rows to divide are `yEnd` - `yStart`, or those of the source image, whatever the view selects of
    /// it, if these are fewer. All workers get equally many, and the last one goes on to `yEnd`. Of a view of
    /// few rows, with a `yEnd` far beyond them, the first workers thus make more than the last.
    ///
    /// Returns the status of the first worker: bands differ in their rows only, so that what one refuses all
    /// refuse.
    Long32 Do(ImageView& source, ImageView& destination, double horizontalSize, double verticalSize,
              ULong32 xStart, ULong32 xEnd, ULong32 yStart, ULong32 yEnd, ProcessingStyleEnum style);

private:
    class Workers;

    static CPUcapabilities& CPUinstructionSet;

    void CreateNew(ULong32 workerCount, ULong32 bits);

    Workers* workers = nullptr;
};

}  // namespace Zan

#endif  // TESSELU_FILTER_DEEPDEFOCUSMT_H
