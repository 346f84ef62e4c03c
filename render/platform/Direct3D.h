#pragma once

/// The one place that includes the Windows and Direct3D headers, cleaned of the macros that hurt.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOGDI
#define NOGDI  // ERROR, OPAQUE and TRANSPARENT would be macros
#endif

#include <windows.h>
//
#include <d3d11.h>

// Structures of ours have fields of these names; later system headers still use the upper-case ones.
#undef near
#undef far
#undef NEAR
#undef FAR
#define NEAR
#define FAR
