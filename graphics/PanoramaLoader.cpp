#include "graphics/PanoramaLoader.h"

namespace Graphics
{
PanoramaLoader::~PanoramaLoader() = default;
}  // namespace Graphics
