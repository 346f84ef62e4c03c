#pragma once

/// Marks what TarnelCore.dll exports. The build of the library itself defines TARNEL_CORE_BUILD.
#if !defined(_WIN32)
#define CORE_API __attribute__((visibility("default")))
#elif defined(TARNEL_CORE_BUILD)
#define CORE_API __declspec(dllexport)
#else
#define CORE_API __declspec(dllimport)
#endif
