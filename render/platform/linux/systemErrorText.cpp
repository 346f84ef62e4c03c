#include "render/platform/systemErrorText.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Render
{
namespace
{
struct KnownResult
{
    std::uint32_t result;
    std::string_view text;
};

/// Results of Direct3D, DXGI and COM. There is no system to ask for their texts here.
constexpr std::array kKnownResults{
    KnownResult{0x00000000U, "Success."},
    KnownResult{0x80004001U, "Not implemented."},
    KnownResult{0x80004002U, "No such interface supported."},
    KnownResult{0x80004003U, "Invalid pointer."},
    KnownResult{0x80004004U, "Operation aborted."},
    KnownResult{0x80004005U, "Call failed."},
    KnownResult{0x8000FFFFU, "Unexpected failure."},
    KnownResult{0x80070002U, "File not found."},
    KnownResult{0x80070005U, "Access denied."},
    KnownResult{0x8007000EU, "Out of memory."},
    KnownResult{0x80070057U, "Invalid parameter."},
    KnownResult{0x887A0001U, "Invalid call."},
    KnownResult{0x887A0002U, "Object not found."},
    KnownResult{0x887A0004U, "Not supported by the device or its driver."},
    KnownResult{0x887A0005U, "The device was removed."},
    KnownResult{0x887A0006U, "The device hung."},
    KnownResult{0x887A0007U, "The device was reset."},
    KnownResult{0x887A000AU, "The device is still drawing."},
    KnownResult{0x887A0020U, "Internal error of the driver."},
};
}  // namespace

std::string systemErrorText(std::int32_t result)
{
    const auto known =
        std::ranges::find(kKnownResults, static_cast<std::uint32_t>(result), &KnownResult::result);
    return known == kKnownResults.end() ? std::string{} : std::string(known->text);
}
}  // namespace Render
