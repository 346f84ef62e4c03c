#include "fuzz/FuzzFolder.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/targets.h"
#include "fuzz/walkOctree.h"

namespace Fuzz
{
void octree(std::string_view input)
{
    static const FuzzFolder folder;
    const auto files = filesOf<3>(input);
    folder.write("metadata.json", files[0].value_or(""));
    folder.write("hierarchy.bin", files[1].value_or(""));
    folder.write("octree.bin", files[2].value_or(""));
    walkOctree(PoTree::FileSystemLocation(folder.path()));
}
}  // namespace Fuzz
