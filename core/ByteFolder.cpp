#include "core/ByteFolder.h"

namespace Core
{
ByteFolder::~ByteFolder() = default;
}  // namespace Core
