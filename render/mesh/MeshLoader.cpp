#include "render/mesh/MeshLoader.h"

namespace Render
{
MeshLoader::~MeshLoader() = default;
}  // namespace Render
