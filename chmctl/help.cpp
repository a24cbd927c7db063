#include "help.h"

#include <algorithm>
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

} // namespace

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
