#ifndef TESSELU_KEY_KEYERRGB_H
#define TESSELU_KEY_KEYERRGB_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/Export.h>

namespace Zan {

/// The settings of a keyer for RGB, which has no operation of its own. Copies carry the setting along.
class TESSELU_API KeyerRGB {
public:
    /// Stored; nothing here depends on it.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

private:
    static CPUcapabilities& CPUinstructionSet;

    bool mmxOnly = false;
};

}  // namespace Zan

#endif  // TESSELU_KEY_KEYERRGB_H
