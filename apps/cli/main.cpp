#include "apps/cli/ClosedPipe.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/errorText.h"
#include "apps/cli/remoteData.h"
#include <core/version.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace
{
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

int run(int count, const char* const* words)
{
    CLI::App app{"Looks at very large point clouds: facts, points, pictures."};
    app.name("tarnel");
    app.allow_windows_style_options(false);  // an argument that begins with a slash is a path
    app.set_version_flag("--version", "tarnel " + std::string(Tarnel::version()), "Prints the version");
    app.require_subcommand(0, 1);  // asked for below, where an unknown verb has got its own message
    app.footer(
        "Examples:\n"
        "  tarnel sample out/sample\n"
        "  tarnel info out/sample\n"
        "  tarnel render picture.png --cloud out/sample\n"
        "Run 'tarnel VERB --help' for the options of a verb."
    );

    Cli::addSampleCommand(app);
    Cli::addPanoTileCommand(app);
    Cli::addInfoCommand(app);
    Cli::addStatsCommand(app);
    Cli::addDumpCommand(app);
    Cli::addThumbnailCommand(app);
    Cli::addRenderCommand(app);
    Cli::addPickCommand(app);
    Cli::addExportVisibleCommand(app);
    Cli::addQueryCommand(app);
    Cli::addDevicesCommand(app);

    for (const char* const verb :
         {"info", "stats", "dump", "thumbnail", "render", "pick", "export-visible", "query"})
    {
        Cli::addRemoteOptions(*app.get_subcommand(verb));
    }

    try
    {
        const std::vector<std::string> arguments = Cli::commandLineArguments(count, words);
        // the parser takes its words from the back
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        if (app.get_subcommands().empty())
        {
            throw CLI::RequiredError("A verb");
        }
    }
    catch (const CLI::Success& request)  // --help or --version
    {
        return app.exit(request);
    }
    catch (const CLI::RuntimeError& result)  // a verb has said what it means
    {
        return result.get_exit_code();
    }
    catch (const CLI::ParseError& error)
    {
        Cli::printError(error.what() + std::string(" (see 'tarnel --help')"));
        return kExitUsage;
    }
    catch (const Cli::ClosedPipe&)
    {
        return Cli::ClosedPipe::kExitCode;
    }
    catch (const std::exception& error)
    {
        Cli::printError(Cli::errorText(error));
        return kExitFailure;
    }
    return 0;
}
}  // namespace

int main(int count, char** words)
try
{
    Cli::prepareConsole();
    return run(count, words);
}

catch (const std::exception&)
{
    return kExitFailure;  // for want of memory even to say so
}
