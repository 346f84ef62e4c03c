#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/oneLine.h"
#include <render/gpu/Adapter.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
void run()
{
    const std::vector<Render::Adapter> adapters = Render::adapters();
    const std::string choice = Render::adapterChoice();
    const std::optional<std::size_t> chosen = Render::findAdapter(adapters, choice.empty() ? "0" : choice);
    for (std::size_t i = 0; i < adapters.size(); ++i)
    {
        const Render::Adapter& adapter = adapters[i];
        std::string line = (chosen == i ? "* " : "  ") + std::to_string(i) + "  " + oneLine(adapter.name);
        if (!adapter.driver.empty())
        {
            line += "; driver " + oneLine(adapter.driver);
        }
        writeOutput(line + (adapter.isSoftware ? "; in software\n" : "\n"));
    }
    flushOutput();
    for (const std::string& trouble : Render::adapterTroubles())
    {
        printNote(trouble);
    }
    if (!chosen)
    {
        throw std::runtime_error("TARNEL_ADAPTER is \"" + choice + "\", which fits none of these adapters");
    }
}
}  // namespace

void addDevicesCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand(
        "devices",
        "Prints what can draw, with its driver; a star marks what --adapter and TARNEL_ADAPTER choose"
    );
    verb->footer(
        "Examples:\n  tarnel devices\n  tarnel render picture.png --cloud out/sample --adapter llvmpipe"
    );
    verb->callback([] { run(); });
}
}  // namespace Cli
