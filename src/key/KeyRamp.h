#ifndef TESSELU_SRC_KEY_KEYRAMP_H
#define TESSELU_SRC_KEY_KEYRAMP_H

#include <TesselU/foundation/Types.h>

namespace Zan {

/// The table of a linear or luma keyer: 256 bytes of key, one for each sample.
using KeyRamp = unsigned char[256];

void SetToIdentity(KeyRamp& table) noexcept;

/// `LinearKeyer::Set` on a table.
Long32 SetRamp(KeyRamp& table, double center, double halfWidth, double softness, double level, double offset,
               bool invert) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_KEY_KEYRAMP_H
