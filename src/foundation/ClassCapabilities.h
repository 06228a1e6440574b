#ifndef TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H
#define TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H

#include <TesselU/foundation/CPUcapabilities.h>

#include <cstddef>

namespace Zan {

/// The processing classes that keep a capability record of their own. Each record is detected by itself when
/// the library is loaded; the class's static `CPUinstructionSet` is a reference to its entry.
enum CapabilityOwner : std::size_t {
    kOwnerAlignedMemoryBuffer,
    kOwnerZanCompositor,
    kOwnerChromaKeyerYUV,
    kOwnerColorAdjustment,
    kOwnerColorSpaceConverter,
    kOwnerColorSpaceConverterMT,
    kOwnerDeepDefocus,
    kOwnerDeepDefocusMT,
    kOwnerHistogram,
    kOwnerImage,
    kOwnerInvertLUT,
    kOwnerKeyerRGB,
    kOwnerLinearKeyer,
    kOwnerLookUpTable,
    kOwnerLumaKeyer,
    kOwnerOperations3D,
    kOwnerPosterize,
    kOwnerPosterizeLUT,
    kOwnerTransform3D,
    kCapabilityOwners
};

extern CPUcapabilities classCapabilities[kCapabilityOwners];

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H
