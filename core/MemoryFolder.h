#pragma once

#include "core/ByteFolder.h"
#include "core/Export.h"

#include <functional>
#include <map>

namespace Core
{
/// Files that are in memory already.
///
/// Threads  as its base says, once the files are in.
class CORE_API MemoryFolder final : public ByteFolder
{
public:
    /// @param name  for messages; not a path
    explicit MemoryFolder(std::string name);

    /// Puts a file in, or another one in its place; sources that were opened before keep their bytes.
    void set(std::string file, std::string bytes);

    std::string name() const override { return mName; }

    std::string nameOf(std::string_view file) const override;

    std::string title() const override { return mName; }

    std::unique_ptr<const ByteSource> open(std::string_view file, const std::stop_token& stopToken = {})
        const override;
    bool contains(std::string_view file) const override;
    bool mayHaveFolder(std::string_view folder) const override;

private:
    std::string mName;
    std::map<std::string, std::shared_ptr<const std::string>, std::less<>> mFiles;
};
}  // namespace Core
