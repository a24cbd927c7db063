/// Help texts of commands.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// Help whose lines fit into a terminal of 80 columns.
class NarrowHelp : public CLI::Formatter {
public:
    NarrowHelp();
    std::string make_description(const CLI::App* app) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
};
