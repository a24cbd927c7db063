#include "help.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

constexpr size_t help_width = 80;
constexpr size_t help_indent = 20; ///< of what explains an option, an argument or a verb

/// A text in lines of at most a width, unless one word is longer.
std::string wrapped(const std::string& text, size_t width)
{
    std::istringstream words(text);
    std::string lines;
    size_t room = 0;
    for (std::string word; words >> word; room -= word.size()) {
        if (word.size() < room) {
            lines += ' ';
            --room;
        } else {
            lines += lines.empty() ? "" : "\n";
            room = std::max(width, word.size());
        }
        lines += word;
    }
    return lines;
}

/// An error of the parser's, and what a person reads instead.
struct Wording {
    const char* pattern;
    const char* plain;
};

constexpr Wording wordings[] = {
    {R"((.*): Value (.*) not in range .* to \d{300}.*)", "$1: '$2' is not a positive number"},
    {R"((.*): Value (.*) not in range (\d+(?:\.\d*[1-9])?)\.?0* to (\d+(?:\.\d*[1-9])?)\.?0*)",
     "$1: '$2' is not a number from $3 to $4"},
    {R"((.*): (.*) not in \{(.*)\})", "$1: '$2' is none of $3"},
    {R"((.*): (.*) unit not recognized\. Allowed values: \{(.*)\})",
     "$1: '$2' is neither a number nor a unit; units are $3"},
    {R"(Could not convert: (.*) = (.*))", "$1 does not take '$2'"},
    {R"((.*): 1 required .* missing)", "$1 needs a value"},
    {R"((.*): At Most 1 required but received .*)", "$1 is given more than once"},
    {R"((.*) excludes (.*))", "$1 and $2 exclude each other"},
    {R"(The following arguments? (?:was|were) not expected: (.*))", "not expected: $1"},
};

} // namespace

std::string plain_error(const CLI::ParseError& error)
{
    std::string text = error.what();
    constexpr size_t most = 1000; // patterns need stack for each character
    if (text.size() > most) {
        return text;
    }
    for (const Wording& wording : wordings) {
        const std::regex pattern(wording.pattern);
        if (std::regex_match(text, pattern)) {
            return std::regex_replace(text, pattern, wording.plain);
        }
    }
    return text;
}

NarrowHelp::NarrowHelp()
{
    column_width(help_indent);
    label("SUBCOMMAND", "VERB");
}

std::string NarrowHelp::make_description(const CLI::App* app) const
{
    return wrapped(Formatter::make_description(app), help_width) + "\n";
}

std::string NarrowHelp::make_option_desc(const CLI::Option* option) const
{
    return wrapped(Formatter::make_option_desc(option), help_width - help_indent);
}

std::string NarrowHelp::make_subcommand(const CLI::App* command) const
{
    std::ostringstream line;
    CLI::detail::format_help(line, command->get_display_name(true),
                             wrapped(command->get_description(), help_width - help_indent),
                             help_indent);
    return line.str();
}
