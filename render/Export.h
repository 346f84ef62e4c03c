#pragma once

/// Marks what TarnelRender.dll exports. The build of the library itself defines TARNEL_RENDER_BUILD; tests
/// that link its objects statically define TARNEL_RENDER_STATIC.
#if !defined(_WIN32)
#define RENDER_API __attribute__((visibility("default")))
#elif defined(TARNEL_RENDER_BUILD)
#define RENDER_API __declspec(dllexport)
#elif defined(TARNEL_RENDER_STATIC)
#define RENDER_API
#else
#define RENDER_API __declspec(dllimport)
#endif
