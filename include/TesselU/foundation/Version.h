#ifndef TESSELU_FOUNDATION_VERSION_H
#define TESSELU_FOUNDATION_VERSION_H

#include <TesselU/foundation/Export.h>

/// The version that a program is compiled against.
#define TESSELU_VERSION "0.1.0"

namespace Zan {

/// The version of the library that is loaded.
TESSELU_API const char* Version() noexcept;

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_VERSION_H
