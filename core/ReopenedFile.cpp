#include "core/ReopenedFile.h"

#include <utility>

namespace Core
{
ReopenedFile::ReopenedFile(std::shared_ptr<const ByteFolder> folder, std::string file)
    : mFolder(std::move(folder)), mFile(std::move(file)), mSource(mFolder->open(mFile))
{
}

ReopenedFile::~ReopenedFile() = default;

std::string ReopenedFile::name() const
{
    return mFolder->nameOf(mFile);
}

std::shared_ptr<const ByteSource> ReopenedFile::opened() const
{
    {
        const std::scoped_lock lock(mMutex);
        if (mSource)
        {
            return mSource;
        }
    }
    std::shared_ptr<const ByteSource> source = mFolder->open(mFile);  // without the lock: it can take long
    const std::scoped_lock lock(mMutex);
    if (!mSource)
    {
        mSource = std::move(source);
    }
    return mSource;
}

/// Only what failed: another thread may have opened the file anew already.
void ReopenedFile::close(const std::shared_ptr<const ByteSource>& source) const noexcept
{
    const std::scoped_lock lock(mMutex);
    if (mSource == source)
    {
        mSource.reset();
    }
}
}  // namespace Core
