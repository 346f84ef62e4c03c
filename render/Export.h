#pragma once

#include "render/platform/visibility.h"

/// Marks what the shared library TarnelRender exports. The build of the library itself defines
/// TARNEL_RENDER_BUILD; tests that link its objects statically define TARNEL_RENDER_STATIC.
#if defined(TARNEL_RENDER_BUILD)
#define RENDER_API RENDER_EXPORT
#elif defined(TARNEL_RENDER_STATIC)
#define RENDER_API
#else
#define RENDER_API RENDER_IMPORT
#endif
