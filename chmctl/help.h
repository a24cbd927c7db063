/// What commands print of their own use: help texts, and errors of the command line.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// An error of the command line in words for whoever typed it, not for the caller of the parser.
std::string plain_error(const CLI::ParseError& error);

/// Help whose lines fit into a terminal of 80 columns.
class NarrowHelp : public CLI::Formatter {
public:
    NarrowHelp();
    std::string make_description(const CLI::App* app) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
};
