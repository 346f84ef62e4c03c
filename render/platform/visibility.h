#pragma once

/// How a compiler is told what a shared library exports and what a program takes from one.
#if defined(_WIN32)
#define RENDER_EXPORT __declspec(dllexport)
#define RENDER_IMPORT __declspec(dllimport)
#else
#define RENDER_EXPORT __attribute__((visibility("default")))
#define RENDER_IMPORT __attribute__((visibility("default")))
#endif
