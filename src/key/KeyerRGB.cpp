#include <TesselU/key/KeyerRGB.h>

#include "foundation/ClassCapabilities.h"

namespace Zan {

constinit CPUcapabilities& KeyerRGB::CPUinstructionSet = classCapabilities[kOwnerKeyerRGB];

}  // namespace Zan
