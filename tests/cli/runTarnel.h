#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What one run of the command line tool left behind.
struct TarnelRun
{
    int exitCode = -1;
    std::string output;  ///< standard output
    std::string errors;  ///< standard error
};

/// Runs the tarnel program that lies beside this test program and waits for it.
/// @param arguments  in UTF-8
TarnelRun runTarnel(const std::vector<std::string>& arguments);

/// The path of a folder of tests/data.
std::string dataSet(const std::string& name);

/// The path in UTF-8, as an argument.
std::string text(const std::filesystem::path& path);
