#include <TesselU/foundation/Status.h>

#include <array>

namespace Zan {
namespace {

constexpr std::array<const char*, kExtendedStatusCount> kTexts = {
    "Catastrophic failure",
    "Not implemented",
    "Out of memory",
    "Invalid argument(s)",
    "No such interface supported",
    "Invalid pointer",
    "Invalid handle",
    "Operation aborted",
    "Unspecified error",
    "Access denied",
    "Version check failed",
    "Object not initialized",
    "Task not running",
    "Argument(s) out of range",
    "Duplicate entries not allowed",
    "Object not found",
    "Image not valid",
    "Could not send Message",
    "Too many Elements",
    "Thread creation failed",
    "Rendering cancelled",
    "Render subsystem failed",
    "Frame not available",
    "Object has already been initialized",
    "Semaphore creation failed",
    "Conversion failed",
    "Rendering an Algorithm failed",
    "Initialization failed",
    "Unknown Format",
    "Locking of memory failed",
    "Creation of page table failed",
    "format not supported",
    "Is Default, Nothing to do",
};
static_assert(kTexts.back() != nullptr, "a text is missing");

}  // namespace

const char* ExtendedStatusText(ULong32 status) noexcept {
    const ULong32 n = status >= kExtendedStatusBase ? status - kExtendedStatusBase : status;
    return n < kExtendedStatusCount ? kTexts[n] : nullptr;
}

}  // namespace Zan
