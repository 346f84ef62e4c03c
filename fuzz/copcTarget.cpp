#include "fuzz/FuzzFolder.h"
#include "fuzz/targets.h"
#include "fuzz/walkOctree.h"

namespace Fuzz
{
void copc(std::string_view input)
{
    static const FuzzFolder folder;
    folder.write("x.copc.laz", input);
    walkOctree(Octree::Location::fromPath(folder.path() / "x.copc.laz"));
}
}  // namespace Fuzz
