#include "completion.h"

#include "model/fault.h"
#include "output.h"
#include "switch_client.h"
#include "verb.h"

#include <algorithm>

using nlohmann::json;

const char* const bash_completion = R"(_chmctl() {
    local IFS=$'\n' word
    COMPREPLY=()
    for word in $("${COMP_WORDS[0]}" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null); do
        COMPREPLY+=("$word")
    done
}
complete -o default -F _chmctl chmctl
)";

namespace {

/// A word as typed so far, its quoting taken away.
std::string unquoted(std::string word)
{
    std::erase_if(word, [](char c) { return c == '"' || c == '\'' || c == '\\'; });
    return word;
}

/// A word as a shell reads it back.
std::string quoted(const std::string& word)
{
    std::string text;
    for (const char c : word) {
        if (std::string_view(" \t\"'\\$`&|;<>()*?[]#~!{}").find(c) != std::string_view::npos) {
            text += '\\';
        }
        text += c;
    }
    return text;
}

std::vector<std::string> entity_names(const std::function<std::string()>& find)
{
    std::vector<std::string> names;
    try {
        for (const json& entity : ask_switch(find(), {{"verb", "inventory"}})) {
            names.push_back(text_of(entity, "name"));
        }
    } catch (const std::exception&) {
        names.clear(); // no completions
    }
    return names;
}

/// The values that an argument may have, from the check that its help shows, or the entities.
std::vector<std::string> values_of(const CLI::Option& option,
                                   const std::function<std::string()>& find)
{
    const std::string name = option.get_name();
    if (name == "ENTITY" || name == "UNIT" || name == "PLACE" || name == "PORT") {
        return entity_names(find);
    }
    if (name == "REQUEST") {
        return keys_of(sim::request_names);
    }
    if (name == "FIELD") {
        return settable_fields();
    }
    const std::string type = option.get_type_name();
    const size_t start = type.find('{');
    const size_t end = type.find('}');
    std::vector<std::string> values;
    if (start != std::string::npos && end != std::string::npos) {
        values = CLI::detail::split(type.substr(start + 1, end - start - 1), ',');
    }
    return values;
}

const CLI::App* verb_named(const CLI::App& app, const std::string& word)
{
    const auto found =
        app.get_subcommands([&](const CLI::App* one) { return one->check_name(word); });
    return found.empty() ? nullptr : found.front();
}

const CLI::Option* option_named(const CLI::App& app, const std::string& word)
{
    return word.starts_with("--") ? app.get_option_no_throw(word) : nullptr;
}

} // namespace

std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words,
                                     std::function<std::string()> find)
{
    const CLI::App* command = &app;
    const CLI::Option* awaited = nullptr; // the option whose value comes next
    size_t positional = 0;
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        const CLI::Option* option = option_named(*command, words[i]);
        option = option == nullptr ? option_named(app, words[i]) : option;
        if (awaited != nullptr) {
            if (awaited->get_name() == "--socket") {
                find = [socket = unquoted(words[i])] { return socket; };
            } else if (awaited->get_name() == "--port") {
                find = [port = words[i]] {
                    return running_switch(static_cast<uint32_t>(std::stoul(port)));
                };
            }
            awaited = nullptr;
        } else if (option != nullptr) {
            awaited = option->get_expected_max() > 0 ? option : nullptr;
        } else if (const CLI::App* verb = verb_named(*command, words[i]); verb != nullptr) {
            command = verb;
        } else {
            ++positional;
        }
    }
    const std::string start = words.empty() ? "" : unquoted(words.back());
    const auto verbs = command->get_subcommands([](const CLI::App*) { return true; });
    std::vector<std::string> all;
    if (awaited != nullptr) {
        all = values_of(*awaited, find);
    } else if (start.starts_with("-")) {
        for (const CLI::App* one : {command, &app}) {
            for (const CLI::Option* option : one->get_options()) {
                all.push_back(option->get_positional() ? "" : option->get_name());
            }
        }
    } else if (!verbs.empty()) {
        for (const CLI::App* one : verbs) {
            all.push_back(one->get_group().empty() ? "" : one->get_name());
        }
    } else {
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional() && positional-- == 0) {
                all = values_of(*option, find);
                break;
            }
        }
    }
    std::erase_if(all,
                  [&](const std::string& one) { return one.empty() || !one.starts_with(start); });
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    std::ranges::transform(all, all.begin(), quoted);
    return all;
}
