#include "foundation/ClassCapabilities.h"

namespace Zan {

CPUcapabilities classCapabilities[kCapabilityOwners];

}  // namespace Zan
