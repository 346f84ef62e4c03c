#pragma once

#include "core/Export.h"

/// Defined where functions can be compiled for instructions that not every processor of the kind has.
#if defined(__x86_64__) && defined(__GNUC__)
#define TARNEL_X86_VARIANTS 1
#endif

namespace Core
{
/// Whether processor and system have these instructions; false where no function is compiled for them.
CORE_API bool hasAvx2() noexcept;
}  // namespace Core
