#include "apps/cli/adapterOption.h"

#include <render/gpu/Adapter.h>

#include <string>

namespace Cli
{
void addAdapterOption(CLI::App& verb)
{
    verb.add_option_function<std::string>(
            "--adapter",
            [](const std::string& choice) { Render::setAdapter(choice); },
            "What draws: a number or a part of a name that 'tarnel devices' prints (default: the environment "
            "variable TARNEL_ADAPTER, else the first)"
    )
        ->type_name("TEXT");
}
}  // namespace Cli
