#include "octree/copc/treeKind.h"

#include "octree/copc/CopcHeader.h"
#include "octree/copc/CopcTree.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>

namespace Copc
{
namespace
{
bool endsWith(std::string_view file, std::string_view end)
{
    const auto isSame = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
    return file.size() > end.size() && std::ranges::equal(file.substr(file.size() - end.size()), end, isSame);
}

/// LAS files without octree too, so that those who open one are told what it lacks.
bool isOpenedBy(const Core::ByteFolder& files, std::string_view file)
{
    if (endsWith(file, ".laz") || endsWith(file, ".las"))
    {
        return true;
    }
    try
    {
        std::array<std::byte, 4> begin{};
        const auto source = files.contains(file) ? files.open(file) : nullptr;
        return source && source->size() >= begin.size() && source->readAt(0, begin) && isLas(begin);
    }
    catch (const std::runtime_error&)
    {
        return false;  // opening the data set reports the reason
    }
}
}  // namespace

const Octree::TreeKind& treeKind() noexcept
{
    static constexpr Octree::TreeKind kKind{
        Octree::Kind::Copc,
        "COPC",
        "",
        {},
        isOpenedBy,
        [](const Octree::Location& location) -> std::shared_ptr<const Octree::Tree>
        { return std::make_shared<CopcTree>(location); },
    };
    return kKind;
}
}  // namespace Copc
