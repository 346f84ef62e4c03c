#include "core/MemoryFolder.h"

#include "core/MemorySource.h"

#include <stdexcept>
#include <utility>

namespace Core
{
MemoryFolder::MemoryFolder(std::string name) : mName(std::move(name)) {}

void MemoryFolder::set(std::string file, std::string bytes)
{
    mFiles.insert_or_assign(std::move(file), std::make_shared<const std::string>(std::move(bytes)));
}

std::string MemoryFolder::nameOf(std::string_view file) const
{
    return mName + '/' + std::string(file);
}

std::unique_ptr<const ByteSource> MemoryFolder::open(std::string_view file, const std::stop_token& stopToken)
    const
{
    if (stopToken.stop_requested())
    {
        return nullptr;
    }
    const auto found = mFiles.find(file);
    if (found == mFiles.end())
    {
        throw std::runtime_error("Error: cannot open " + nameOf(file) + ": there is no such file");
    }
    return std::make_unique<const MemorySource>(nameOf(file), found->second);
}

bool MemoryFolder::contains(std::string_view file) const
{
    return mFiles.contains(file);
}

bool MemoryFolder::mayHaveFolder(std::string_view folder) const
{
    const std::string steps = std::string(folder) + '/';
    const auto found = mFiles.lower_bound(steps);
    return found != mFiles.end() && found->first.starts_with(steps);
}
}  // namespace Core
