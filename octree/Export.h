#pragma once

/// Marks what TarnelOctree.dll exports. The build of the library itself defines TARNEL_OCTREE_BUILD.
#if !defined(_WIN32)
#define OCTREE_API __attribute__((visibility("default")))
#elif defined(TARNEL_OCTREE_BUILD)
#define OCTREE_API __declspec(dllexport)
#else
#define OCTREE_API __declspec(dllimport)
#endif
