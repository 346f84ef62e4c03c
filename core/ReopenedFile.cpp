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

std::shared_ptr<const ByteSource> ReopenedFile::current() const noexcept
{
    const std::scoped_lock lock(mMutex);
    return mSource;
}

bool ReopenedFile::expect(std::uint64_t offset, std::size_t length, Turn turn) const noexcept
{
    const std::shared_ptr<const ByteSource> source = current();
    return !source || source->expect(offset, length, turn);
}

void ReopenedFile::forget(std::uint64_t offset, std::size_t length) const noexcept
{
    if (const std::shared_ptr<const ByteSource> source = current())
    {
        source->forget(offset, length);
    }
}

std::shared_ptr<const ByteSource> ReopenedFile::opened() const
{
    if (std::shared_ptr<const ByteSource> source = current())
    {
        return source;
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
