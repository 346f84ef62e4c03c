#pragma once

#include "core/ByteSource.h"
#include "core/Export.h"
#include "core/NonCopyable.h"

#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

namespace Core
{
/// How much of a file is going to be read.
enum class Extent
{
    Parts,  ///< here and there
    Whole,  ///< from its beginning to its end
};

/// The files that belong together as one data set, wherever they lie. Files are named within it: UTF-8, steps
/// separated by "/", such as "ept-data/0-0-0-0.laz".
///
/// Threads  all operations from any threads at once.
class CORE_API ByteFolder : private NonCopyable
{
public:
    virtual ~ByteFolder();

    /// The path or address for messages, without anything secret.
    virtual std::string name() const = 0;

    /// The same of a file in it, whether it is there or not.
    virtual std::string nameOf(std::string_view file) const = 0;

    /// What tells it from others: the name, where that has nothing left out.
    virtual std::string identity() const;

    /// What the folder alone is called: the last step of its name.
    virtual std::string title() const = 0;

    /// Opens a file.
    /// @return null when a stop was requested
    /// @throws std::runtime_error  naming the file when it is not there or cannot be opened
    virtual std::unique_ptr<const ByteSource> open(
        std::string_view file, const std::stop_token& stopToken = {}
    ) const = 0;

    /// Opens a file of which is known how much will be read. A folder for which every access takes time then
    /// needs fewer; for others it is open(). It returns and throws what that does.
    virtual std::unique_ptr<const ByteSource> openFor(
        Extent extent, std::string_view file, const std::stop_token& stopToken = {}
    ) const;

    /// Says that a file will soon be opened for this. A folder for which every access takes time gets what that
    /// needs on its way, as far as it has room; others do nothing. Does not wait, and does not fail: the opening
    /// will.
    /// @return false while the opening would wait for what is on its way; then this can be said again to ask
    virtual bool expect(Extent extent, std::string_view file, Turn turn = Turn::Behind) const noexcept;

    /// Takes that back.
    virtual void forget(std::string_view file) const noexcept;

    /// True when there is something of that name.
    /// @throws std::runtime_error  when that cannot be told
    virtual bool contains(std::string_view file) const = 0;

    /// False when it is known that no file's name begins with these steps. Some places know of files alone.
    virtual bool mayHaveFolder(std::string_view folder) const = 0;

protected:
    ByteFolder() = default;
};
}  // namespace Core
