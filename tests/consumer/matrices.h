#pragma once

/// Passes matrices, and objects that hold them, to the libraries and back. A program whose compiler uses
/// wider registers than the libraries' must agree with them on where matrices lie.
/// @throws std::logic_error  naming what did not come through
void checkMatrices();
