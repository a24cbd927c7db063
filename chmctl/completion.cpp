#include "completion.h"

#include "output.h"
#include "switch_client.h"

#include <algorithm>

using nlohmann::json;

// Readline replaces the second argument. The command fails where a file is to be named.
const char* const bash_completion = R"(_chmctl() {
    local words
    words=$("$1" complete -- "${COMP_LINE:0:COMP_POINT}" "$2" 2>/dev/null) || compopt -o default
    [[ -z $words ]] || mapfile -t COMPREPLY <<<"$words"
}
complete -F _chmctl chmctl
)";

namespace {

using Words = std::vector<std::string>;

/// A command line up to the cursor.
struct Line {
    Words words = {""};      ///< without their quoting; the first one is the command itself
    std::string start{};     ///< of the last word, which is to be completed and not in `words`
    char quote = '\0';       ///< the one that is open at the end
    size_t kept = 0;         ///< bytes of `start` before what a completion replaces
    bool redirected = false; ///< the last word is the file of a redirection
};

constexpr std::string_view specials_in_quotes = "\\\"$`";

bool in(std::string_view characters, char c)
{
    return characters.find(c) != std::string_view::npos;
}

Line read_line(const std::string& line, size_t replaced)
{
    Line read;
    bool in_word = false;
    for (size_t i = 0; i < line.size(); ++i) {
        std::string& word = read.words.back();
        if (i + replaced == line.size()) {
            read.kept = word.size();
        }
        const char c = line[i];
        const char next = i + 1 < line.size() ? line[i + 1] : '\0';
        const bool open = read.quote != '\0';
        const bool escapes = c == '\\' && (read.quote == '\0' ||
                                           (read.quote == '"' && in(specials_in_quotes, next)));
        const bool ends_word = !open && in(" \t<>", c);
        if (escapes && next != '\0') {
            word += next;
            ++i;
        } else if (open ? c == read.quote : in("'\"", c)) {
            read.quote = open ? '\0' : c;
        } else if (ends_word && (read.redirected || in("<>", c))) {
            word.clear(); // a file, or the number of a descriptor
            read.redirected = in("<>", c) || !in_word;
        } else if (ends_word && in_word) {
            read.words.emplace_back();
        } else if (!ends_word && !escapes) {
            word += c;
        }
        in_word = !ends_word;
    }
    read.start = std::move(read.words.back());
    read.words.pop_back();
    if (replaced == 0) {
        read.kept = read.start.size();
    }
    return read;
}

/// A text as a shell reads it back, within a quote that is open.
std::string quoted(const std::string& text, char quote)
{
    if (quote == '\'') {
        return CLI::detail::find_and_replace(text, "'", R"('\'')");
    }
    const std::string_view special =
        quote == '"' ? specials_in_quotes : " \t\"'\\$`&|;<>()*?[]#~!{}";
    std::string result;
    for (const char c : text) {
        result.append(in(special, c) ? 1 : 0, '\\');
        result += c;
    }
    return result;
}

/// Sets the options as the words do, and runs nothing. @return the command that they give
CLI::App& parse(CLI::App& app, Words words)
{
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        command->final_callback(nullptr);
    }
    std::ranges::reverse(words); // as the parser takes them
    try {
        app.parse(std::move(words));
    } catch (const CLI::Error&) {
        // Most lines are not complete.
    }
    const auto given = app.get_subcommands();
    return given.empty() ? app : *given.front();
}

/// The option of a name that takes a value, or null.
const CLI::Option* option_named(const CLI::App& command, const std::string& name)
{
    const CLI::Option* option = nullptr;
    for (const CLI::App* app = &command; app != nullptr && option == nullptr;
         app = app->get_parent()) {
        option = name.starts_with("--") ? app->get_option_no_throw(name) : nullptr;
    }
    return option != nullptr && option->get_expected_max() > 0 ? option : nullptr;
}

const CLI::Option* next_positional(const CLI::App& command)
{
    const auto options = command.get_options(
        [](const CLI::Option* option) { return option->get_positional() && option->count() == 0; });
    return options.empty() ? nullptr : options.front();
}

Words verbs_of(const CLI::App& app)
{
    Words names;
    for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!one->get_group().empty()) { // else it is hidden
            names.push_back(one->get_name());
        }
    }
    return names;
}

/// The options that a command may still be given.
Words options_of(const CLI::App& command)
{
    Words names;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : app->get_options()) {
            if (!option->get_positional() && option->count() == 0) {
                names.push_back(option->get_name());
            }
        }
    }
    return names;
}

/// The values of an argument, from the check that its help shows or from the running switches.
Words values_of(const CLI::Option& option, const CommandRequest& request,
                const std::function<std::string()>& find)
{
    if (option.get_name() == "--switch" || option.get_name() == "--port") {
        Words running;
        for (const RunningSwitch& one : running_switches()) {
            running.push_back(option.get_name() == "--port" ? std::to_string(one.port) : one.name);
        }
        return running;
    }
    const std::string type = option.get_type_name();
    const size_t start = type.find('{');
    if (start != std::string::npos) {
        return CLI::detail::split(type.substr(start + 1, type.find('}') - start - 1), ',');
    }
    const auto key = request.keys.find(&option);
    if (key == request.keys.end()) {
        return {};
    }
    try {
        const json question = {
            {"verb", "choices"}, {"for", request.values}, {"argument", key->second}};
        constexpr std::chrono::seconds patience(1);
        auto values = ask_switch(find(), question, patience).get<Words>();
        std::ranges::transform(values, values.begin(), printable);
        return values;
    } catch (const std::exception&) {
        return {}; // a line that is to be completed is no place for an error
    }
}

/// Those of some words that complete a line, as far as they are new to it. @param prefix of each
Words finished(const Line& line, const std::string& prefix, const Words& all)
{
    Words found;
    for (const std::string& one : all) {
        std::string word = prefix;
        word += one;
        if (sim::is_same_name(word.substr(0, line.start.size()), line.start)) {
            found.push_back(quoted(word.substr(line.kept), line.quote));
        }
    }
    return found;
}

} // namespace

std::string shell_word(const std::string& text)
{
    if (!text.empty() && quoted(text, '\0') == text) {
        return text;
    }
    const char quote = in(text, '!') ? '\'' : '"'; // bash expands ! in double quotes too
    return quote + quoted(text, quote) + quote;
}

std::optional<std::vector<std::string>>
completions(CLI::App& app, const std::map<const CLI::App*, Arguments>& requests,
            const std::string& line, size_t replaced, const std::function<std::string()>& find)
{
    const Line read = read_line(line, replaced);
    if (read.redirected) {
        return std::nullopt;
    }
    Words words(read.words.begin() + (read.words.empty() ? 0 : 1), read.words.end());
    // An option and its value may be one word.
    const size_t equals = read.start.starts_with("--") ? read.start.find('=') : std::string::npos;
    const std::string prefix = equals == std::string::npos ? "" : read.start.substr(0, equals + 1);
    if (!prefix.empty()) {
        words.push_back(read.start.substr(0, equals));
    }

    const std::string last = words.empty() ? "" : words.back();
    CLI::App* command = &parse(app, {words.begin(), words.end() - (words.empty() ? 0 : 1)});
    const CLI::Option* awaited = option_named(*command, last);
    if (awaited == nullptr) {
        command = &parse(app, words);
        if (read.start.starts_with('-')) {
            return finished(read, "", options_of(*command));
        }
        if (command == &app) {
            return finished(read, "", verbs_of(app));
        }
        awaited = next_positional(*command);
    }
    if (awaited == nullptr) {
        return Words();
    }
    if (awaited->get_name() == "FILE" || awaited->get_name() == "--socket") {
        return std::nullopt;
    }
    const auto request = requests.find(command);
    return finished(
        read, prefix,
        values_of(*awaited, request == requests.end() ? CommandRequest{} : *request->second, find));
}
