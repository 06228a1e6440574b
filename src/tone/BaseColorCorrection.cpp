#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/tone/BaseColorCorrection.h>

#include "tone/correction/Context.h"

namespace Zan::BaseCC {

Long32 BaseColorCorrection::Do(ImageView& source, ImageView& destination, const tagBASECOLORCORRINFO& info,
                               ProcessingStyleEnum) {
    return CorrectViews(CPUfeatures::Instance(), source, destination, info);
}

}  // namespace Zan::BaseCC
