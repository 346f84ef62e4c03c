#include "octree/entwine/treeKind.h"

#include "octree/entwine/EntwineTree.h"

namespace Entwine
{
namespace
{
constexpr const char* kDescriptionFile = "ept.json";
}

const Octree::TreeKind& treeKind() noexcept
{
    static constexpr Octree::TreeKind kKind{
        Octree::Kind::Entwine,
        "Entwine",
        kDescriptionFile,
        {},
        [](const Core::ByteFolder&, std::string_view file) { return file == kDescriptionFile; },
        [](const Octree::Location& location) -> std::shared_ptr<const Octree::Tree>
        { return std::make_shared<EntwineTree>(location); },
    };
    return kKind;
}
}  // namespace Entwine
