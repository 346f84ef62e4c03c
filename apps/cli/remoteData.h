#pragma once

#include <core/ByteFolder.h>
#include <core/http/HttpClient.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace Cli
{
/// Adds the options about web addresses to a verb that reads data sets.
void addRemoteOptions(CLI::App& verb);

/// What reads web addresses as those options say; one for the process.
/// @throws CLI::ParseError  for an option that makes no sense
std::shared_ptr<const Core::HttpClient> remoteClient();

/// The folder of a panorama, given by a path in UTF-8 or a web address.
std::shared_ptr<const Core::ByteFolder> dataFolder(const std::string& pathOrUrl);

/// For messages: without what is secret in a web address.
std::string shownName(const std::string& pathOrUrl);
}  // namespace Cli
