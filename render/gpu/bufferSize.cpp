#include "render/gpu/bufferSize.h"

#include <algorithm>
#include <stdexcept>

namespace Render
{
std::uint32_t bufferSize(std::size_t count, std::size_t stride, const std::string& what)
{
    const std::uint64_t elements = std::max<std::uint64_t>(count, 1);
    if (elements > kLargestBuffer / stride)
    {
        throw std::invalid_argument(
            what + " needs a buffer of more than the " + std::to_string(kLargestBuffer) +
            " bytes that Direct3D allows: at most " + std::to_string(kLargestBuffer / stride) + " of " +
            std::to_string(stride) + " bytes"
        );
    }
    return static_cast<std::uint32_t>(elements * stride);
}
}  // namespace Render
