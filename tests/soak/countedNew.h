#pragma once

#include <cstdint>

/// Bytes that operator new has given to the program and its libraries and that have not been given back;
/// where the program's operator new is that of all libraries.
std::uint64_t bytesOfNew();
