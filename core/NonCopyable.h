#pragma once

#include "core/Export.h"

namespace Core
{
/// Base of classes whose objects can be neither copied nor assigned.
class CORE_API NonCopyable
{
public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;

protected:
    NonCopyable() = default;
    ~NonCopyable() = default;
};
}  // namespace Core
