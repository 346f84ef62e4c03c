#include "core/processorFeatures.h"

namespace Core
{
bool hasAvx2() noexcept
{
#ifdef TARNEL_X86_VARIANTS
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}
}  // namespace Core
