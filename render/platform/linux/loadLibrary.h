#pragma once

namespace Render
{
/// Loads a shared library that lies beside the one or the program that this code is part of, or in the folder
/// "lib" next to that folder, else where the system looks for libraries. It is never unloaded.
///
/// Threads  any.
/// @param name  its SONAME
/// @param hint  what to do when it is missing, for the message
/// @throws std::runtime_error  one line with the name, the system's reason and the hint
void* loadLibrary(const char* name, const char* hint);

/// The address of what a loaded library calls `name`; null when it has none.
void* findSymbol(void* library, const char* name);

/// The same for a function.
template <class Function>
Function findFunction(void* library, const char* name)
{
    return reinterpret_cast<Function>(findSymbol(library, name));
}
}  // namespace Render
