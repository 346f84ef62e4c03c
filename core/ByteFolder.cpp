#include "core/ByteFolder.h"

namespace Core
{
ByteFolder::~ByteFolder() = default;

std::string ByteFolder::identity() const
{
    return name();
}

std::unique_ptr<const ByteSource> ByteFolder::openFor(
    Extent, std::string_view file, const std::stop_token& stopToken
) const
{
    return open(file, stopToken);
}

bool ByteFolder::expect(Extent, std::string_view, Turn) const noexcept
{
    return true;
}

void ByteFolder::forget(std::string_view) const noexcept {}
}  // namespace Core
