#pragma once

#include <cstdint>

#if !defined(_WIN32)
#define CORE_TESTS_MODULE_API __attribute__((visibility("default")))
#elif defined(CORE_TESTS_MODULE_BUILD)
#define CORE_TESTS_MODULE_API __declspec(dllexport)
#else
#define CORE_TESTS_MODULE_API __declspec(dllimport)
#endif

/// The id of a new Counted made inside the module.
CORE_TESTS_MODULE_API std::uint64_t idOfCountedMadeInModule();
