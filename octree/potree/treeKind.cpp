#include "octree/potree/treeKind.h"

#include "octree/potree/FileLoader.h"
#include "octree/potree/PoTreeTree.h"

namespace PoTree
{
namespace
{
constexpr const char* kDescriptionFile = "metadata.json";
}

const Octree::TreeKind& treeKind() noexcept
{
    static constexpr Octree::TreeKind kKind{
        Octree::Kind::PoTree,
        "PoTree",
        kDescriptionFile,
        FileLoader::kFiles,
        [](const Core::ByteFolder&, std::string_view file) { return file == kDescriptionFile; },
        [](const Octree::Location& location) -> std::shared_ptr<const Octree::Tree>
        { return std::make_shared<PoTreeTree>(location); },
    };
    return kKind;
}
}  // namespace PoTree
