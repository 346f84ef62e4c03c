#include "core/MemorySource.h"

#include "core/fnv1a.h"

#include <cstring>
#include <utility>

namespace Core
{
MemorySource::MemorySource(std::string name, std::shared_ptr<const std::string> bytes)
    : mName(std::move(name)), mBytes(std::move(bytes))
{
}

SourceIdentity MemorySource::identity() const
{
    const std::uint64_t hash = fnv1a(std::as_bytes(std::span(*mBytes)));
    return {mName, std::to_string(mBytes->size()) + "-" + std::to_string(hash)};
}

bool MemorySource::read(std::span<const ByteRange> ranges, const std::stop_token& stopToken) const
{
    if (stopToken.stop_requested())
    {
        return false;
    }
    for (const auto& [offset, out] : ranges)
    {
        checkPossible(offset, out.size());
        if (offset > mBytes->size() || out.size() > mBytes->size() - offset)
        {
            failRead(offset, out.size(), "the file ends after " + std::to_string(mBytes->size()) + " bytes");
        }
        if (!out.empty())
        {
            std::memcpy(out.data(), mBytes->data() + offset, out.size());
        }
    }
    return true;
}
}  // namespace Core
