#pragma once

#include "core/ByteFolder.h"
#include "core/ByteSource.h"
#include "core/Export.h"
#include "core/NonCopyable.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace Core
{
/// A file of a folder that is kept open, and opened anew after something was wrong with it: one that is mended
/// or replaced can be read again.
///
/// Threads  all operations from any threads at once.
class CORE_API ReopenedFile : private NonCopyable
{
public:
    /// Opens it.
    /// @param folder  not null
    /// @throws std::runtime_error  naming the file when that cannot be done
    ReopenedFile(std::shared_ptr<const ByteFolder> folder, std::string file);

    ~ReopenedFile();

    /// The file's name for messages.
    std::string name() const;

    /// Does something with the open file; what that throws has the file opened anew for the next time.
    /// @param action  called with a const ByteSource&, on several threads at once
    /// @return what the action returns
    /// @throws std::runtime_error  naming the file when it cannot be opened anew
    template <class Action>
    auto use(const Action& action) const
    {
        const std::shared_ptr<const ByteSource> source = opened();
        try
        {
            return action(*source);
        }
        catch (...)
        {
            close(source);
            throw;
        }
    }

    /// ByteSource::expect() and forget() of the open file; nothing while there is none.
    bool expect(std::uint64_t offset, std::size_t length, Turn turn = Turn::Behind) const noexcept;
    void forget(std::uint64_t offset, std::size_t length) const noexcept;

private:
    std::shared_ptr<const ByteSource> opened() const;
    std::shared_ptr<const ByteSource> current() const noexcept;
    void close(const std::shared_ptr<const ByteSource>& source) const noexcept;

    const std::shared_ptr<const ByteFolder> mFolder;
    const std::string mFile;
    mutable std::mutex mMutex;                          // guards mSource
    mutable std::shared_ptr<const ByteSource> mSource;  // absent after a failure
};
}  // namespace Core
