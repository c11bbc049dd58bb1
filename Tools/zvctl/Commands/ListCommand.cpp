#include "AdapterQuery.h"
#include "AdapterView.h"
#include "Command.h"
#include "Library.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace
{

struct ListOptions
{
    std::string Filter = "ZV_ALL";
    std::string Patterns;
    bool Json = false;
};

void List(const ListOptions& options)
{
    const auto adapters = AdapterQuery(options.Filter, options.Patterns).Run(*SessionManager());
    fmt::print("{}", options.Json ? AdapterJson(adapters) : AdapterTable(adapters));
}

std::string CheckFilter(const std::string& text)
{
    return text.size() < ZV_FILTER_TEXT_SIZE ? "" : fmt::format("at most {} characters", ZV_FILTER_TEXT_SIZE - 1);
}

} // namespace

Command AddListCommand(CLI::App& app)
{
    const auto options = std::make_shared<ListOptions>();
    CLI::App* const list = app.add_subcommand("list", "List the adapters that pass a filter");
    list->add_option("--filter", options->Filter,
                     "ZV_ALL, ZV_USB, ZV_SDIO, ZV_PCIE, or driver service names in lower case")
        ->capture_default_str()
        ->check(CLI::Validator(CheckFilter, ""));
    list->add_option("--instance", options->Patterns,
                     "Only adapters whose device instance ID contains one of these texts, separated by ';'");
    list->add_flag("--json", options->Json, "Print a JSON array with every field of each record");
    return {list, [options] { List(*options); }};
}
