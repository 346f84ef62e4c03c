#include "tests/core/module/countedInModule.h"

#include "tests/core/module/Counted.h"

std::uint64_t idOfCountedMadeInModule()
{
    return Counted().id();
}
