#ifndef TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H
#define TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H

#include <TesselU/foundation/CPUcapabilities.h>

#include <array>
#include <cstddef>

namespace Zan {

/// The processing classes that keep a capability record of their own. The class's static `CPUinstructionSet`
/// is a reference to its entry.
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

/// Each record is detected by itself when the library is loaded, ahead of the host's own initialisers where
/// the platform knows an order. One that is asked before that still answers right.
extern std::array<CPUcapabilities, kCapabilityOwners> classCapabilities;

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_CLASSCAPABILITIES_H
