#pragma once

#include <Eigen/Core>

/// Matrices of a fixed size stand in the interface of the libraries, aligned to 16 bytes whatever a host's compiler may use.
/// The target Tarnel::Math says so to CMake; a host that is built in another way has to define
/// EIGEN_MAX_STATIC_ALIGN_BYTES=16 for all its sources.
static_assert(
    EIGEN_MAX_STATIC_ALIGN_BYTES == 16,
    "Eigen's matrices would be laid out in another way than the Tarnel libraries have them: define "
    "EIGEN_MAX_STATIC_ALIGN_BYTES=16"
);
