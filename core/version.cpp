#include "core/version.h"

namespace Tarnel
{
std::string_view version() noexcept
{
    return TARNEL_VERSION;
}
}  // namespace Tarnel
