#pragma once

/// Marks what TarnelMath.dll exports. The build of the library itself defines TARNEL_MATH_BUILD.
#if !defined(_WIN32)
#define MATH_API __attribute__((visibility("default")))
#elif defined(TARNEL_MATH_BUILD)
#define MATH_API __declspec(dllexport)
#else
#define MATH_API __declspec(dllimport)
#endif
