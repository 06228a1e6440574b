#ifndef TESSELU_SRC_OVERLAY_OVERLAYRENDERINFO_H
#define TESSELU_SRC_OVERLAY_OVERLAYRENDERINFO_H

#include <cstdint>

#include "overlay/FormatHeader.h"

namespace Zan {

/// Which lines of the result `COverlay::Render` shall make.
class COverlayRenderInfo {
public:
    static constexpr std::uint32_t kFrameCall = 0, kFieldCall = 1;
    static constexpr std::uint32_t kUpper = 0, kLower = 1, kBoth = 2;

    COverlayRenderInfo(std::uint32_t field, std::uint32_t which, std::uint32_t swapped,
                       const FormatHeader& result) noexcept
        : isField(field), whichField(which), fieldsSwapped(swapped), header(result) {}

    // In the order of their slots.
    virtual ~COverlayRenderInfo() = default;
    virtual std::uint32_t GetIsField() const noexcept { return isField; }
    virtual std::uint32_t GetWhichField() const noexcept { return whichField; }
    virtual bool IsFrame() const noexcept { return isField == kFrameCall; }
    virtual bool IsBothFields() const noexcept { return isField == kFieldCall && whichField == kBoth; }
    virtual bool IsUpperField() const noexcept { return isField == kFieldCall && whichField == kUpper; }
    virtual std::uint32_t GetFieldsSwapped() const noexcept { return fieldsSwapped; }
    virtual void CopyHeader(FormatHeader& to) const noexcept { to = header; }

private:
    std::uint32_t isField;
    std::uint32_t whichField;
    std::uint32_t fieldsSwapped;
    FormatHeader header;
};

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYRENDERINFO_H
