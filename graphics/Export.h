#pragma once

/// Marks what TarnelGraphics.dll exports. The build of the library itself defines TARNEL_GRAPHICS_BUILD.
#if !defined(_WIN32)
#define GRAPHICS_API __attribute__((visibility("default")))
#elif defined(TARNEL_GRAPHICS_BUILD)
#define GRAPHICS_API __declspec(dllexport)
#else
#define GRAPHICS_API __declspec(dllimport)
#endif
