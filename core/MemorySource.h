#pragma once

#include "core/ByteSource.h"
#include "core/Export.h"

#include <memory>
#include <string>

namespace Core
{
/// Bytes that are in memory already.
class CORE_API MemorySource final : public ByteSource
{
public:
    /// @param name   for messages
    /// @param bytes  shared, so that several sources need no copies; not null
    MemorySource(std::string name, std::shared_ptr<const std::string> bytes);

    std::string name() const override { return mName; }

    std::uint64_t size() const noexcept override { return mBytes->size(); }

    /// The version is a hash of the bytes.
    SourceIdentity identity() const override;

    [[nodiscard]] bool read(std::span<const ByteRange> ranges, const std::stop_token& stopToken)
        const override;

private:
    std::string mName;
    std::shared_ptr<const std::string> mBytes;
};
}  // namespace Core
