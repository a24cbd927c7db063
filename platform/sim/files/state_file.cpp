#include "files/state_file.h"

#include "files/toml_writer.h"
#include "model/ports.h"
#include "records/entity_record.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

std::string truth_text(bool value)
{
    return value ? "true" : "false";
}

/// The value of a name. A name that is none, by a hand in the file, is refused.
template <typename Value, size_t Count>
Value value_of(const Named<Value> (&names)[Count], const std::string& key)
{
    const auto* found = std::ranges::find(names, key, &Named<Value>::key);
    if (found == std::end(names)) {
        throw Refusal("there is no '" + key + "'");
    }
    return found->value;
}

constexpr Named<bool> truths[] = {{"true", true}, {"false", false}};

// Each of the following calls `visit` with every setting of something: its dotted key, its value,
// its usual value, and a function that sets it.

void visit_entity(Chassis& chassis, const Entity& entity, auto visit)
{
    const std::string start = "entity." + std::to_string(entity.index) + ".";
    for (const EntityText& text : entity_texts) {
        if (text.settable) {
            visit(start + std::string(text.key), entity.*text.text, "", [&](const auto& value) {
                const TextChange change{text.text, value.substr(0, text.capacity)};
                chassis.write(entity.index, {&change, 1});
            });
        }
    }
    if (entity.sensor) {
        uint32_t number = 0;
        for (const SensorThreshold& threshold : entity.sensor->thresholds) {
            ++number;
            visit(start + "notify-" + std::to_string(number), truth_text(threshold.notifies),
                  "true", [&](const auto& value) {
                      chassis.set_threshold_notification(entity.index, number,
                                                         value_of(truths, value));
                  });
        }
    }
}

void visit_unit(Chassis& chassis, const Unit& unit, auto visit)
{
    const std::string start = "entity." + std::to_string(unit.index) + ".";
    visit(start + "admin-status", std::string(key_of(admin_statuses, unit.admin_status)), "on",
          [&](const auto& value) {
              chassis.set_admin_status(unit.index, value_of(admin_statuses, value));
          });
    visit(start + "power-admin-status",
          std::string(key_of(power_admin_statuses, unit.power_admin_status)), "on",
          [&](const auto& value) {
              chassis.set_power_admin_status(unit.index, value_of(power_admin_statuses, value));
          });
}

void visit_interface(Chassis& chassis, const Port& port, auto visit)
{
    const InterfaceSettings& settings = port.interface.settings;
    const std::string start = "interface." + std::to_string(port.if_index) + ".";
    const auto with = [&](auto change) {
        return [&chassis, &port, change](const std::string& value) {
            InterfaceSettings changed = port.interface.settings;
            change(changed, value);
            chassis.configure_interface(port.if_index, changed);
        };
    };
    visit(start + "alias", settings.alias, "", with([](auto& changed, const auto& value) {
              changed.alias = value.substr(0, max_link_alias);
          }));
    visit(start + "admin-status", std::string(key_of(link_admins, settings.admin)), "up",
          with([](auto& changed, const auto& value) {
              changed.admin = value_of(link_admins, value);
          }));
    visit(
        start + "notifications", truth_text(settings.notifies), "true",
        with([](auto& changed, const auto& value) { changed.notifies = value_of(truths, value); }));
}

void visit_switch(Chassis& chassis, auto visit)
{
    SwitchSettings& settings = chassis.settings();
    for (const SystemText& text : system_texts) {
        visit("system." + std::string(text.key), settings.system.*text.text, "",
              [&](const auto& value) {
                  settings.system.*text.text = value.substr(0, text.capacity);
              });
    }
    visit("switch.redundancy-mode",
          std::string(key_of(redundancy_modes, chassis.redundancy_mode())), "",
          [&](const auto& value) { chassis.start_under(value_of(redundancy_modes, value)); });
    visit("switch.max-default-in-line-power", std::to_string(settings.max_default_in_line_power),
          "", [&](const auto& value) {
              const int watts = std::stoi(value);
              if (watts < 0 || watts > max_in_line_power) {
                  throw Refusal(value + " mW are not possible");
              }
              settings.max_default_in_line_power = watts;
          });
    visit("switch.status-notifications", truth_text(settings.status_notifications), "true",
          [&](const auto& value) { settings.status_notifications = value_of(truths, value); });
}

void visit_all(Chassis& chassis, auto visit)
{
    visit_switch(chassis, visit);
    visit_interface(chassis, *chassis.management().port, visit);
    for (const auto& [index, unit] : chassis.units()) {
        visit_unit(chassis, unit, visit);
    }
    for (const auto& [index, entity] : chassis.entities()) {
        visit_entity(chassis, entity, visit);
        if (entity.port) {
            visit_interface(chassis, *entity.port, visit);
        }
    }
}

using Settings = std::map<std::string, std::string>;

/// Reads settings out of nested tables.
void flatten(const TomlReader& reader, const toml::table& table, const std::string& start,
             Settings& settings)
{
    for (const auto& [key, node] : table) {
        const std::string path = start + std::string(key.str());
        const toml::table* inner = node.as_table();
        if (inner != nullptr && !inner->contains("hex")) {
            flatten(reader, *inner, path + ".", settings);
        } else {
            settings[path] = reader.bytes(node, path);
        }
    }
}

/// The table for a dotted key, made on the way, and the last part of the key.
std::pair<toml::table*, std::string> table_for(toml::table& root, const std::string& path)
{
    toml::table* table = &root;
    size_t start = 0;
    for (size_t dot = 0; (dot = path.find('.', start)) != std::string::npos; start = dot + 1) {
        table =
            table->insert(path.substr(start, dot - start), toml::table{}).first->second.as_table();
    }
    return {table, path.substr(start)};
}

[[noreturn]] void fail_to_write(const std::string& path)
{
    throw std::system_error(errno, std::generic_category(), "cannot write the state to " + path);
}

void write_whole(int descriptor, std::string_view content, const std::string& path)
{
    while (!content.empty()) {
        const ssize_t count = write(descriptor, content.data(), content.size());
        if (count < 0 && errno != EINTR) {
            fail_to_write(path);
        }
        content.remove_prefix(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
    if (fsync(descriptor) != 0) {
        fail_to_write(path);
    }
}

/// Exchanges a file for another one with new content, complete on the disk before it appears.
void replace_file(const std::string& path, std::string_view content)
{
    const std::string fresh = path + ".new";
    const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        fail_to_write(path);
    }
    try {
        write_whole(descriptor, content, path);
    } catch (...) {
        close(descriptor);
        throw;
    }
    close(descriptor);
    if (rename(fresh.c_str(), path.c_str()) != 0) {
        fail_to_write(path);
    }
}

} // namespace

StateFile::StateFile(std::string path, Chassis& chassis)
    : path_(std::move(path)), chassis_serial_(chassis.entities().at(chassis_index).serial)
{
    visit_all(chassis, [&](const std::string& key, const std::string& value,
                           const std::string& usual, auto /*set*/) {
        if (value != usual) {
            usual_[key] = value;
        }
    });
    // Switches without a state file count the seconds since 1970: a switch that has one now keeps
    // ahead of them.
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch());
    engine_boots_ = static_cast<uint32_t>(now.count());
    if (std::filesystem::exists(path_)) {
        apply(chassis);
    }
}

void StateFile::apply(Chassis& chassis)
{
    const TomlReader reader(path_);
    settings_ = reader.read_all([&] {
        Settings settings;
        flatten(reader, reader.root(), "", settings);
        return settings;
    });
    const std::string serial = std::exchange(settings_["chassis"], "");
    if (serial != chassis_serial_) {
        throw FileError(path_ + ": this is the state of the chassis with serial number '" + serial +
                        "', not of '" + chassis_serial_ + "'; it is neither used nor changed");
    }
    try {
        const auto last = static_cast<uint32_t>(std::stoul(settings_["engine-boots"]));
        engine_boots_ = std::max(engine_boots_, last + 1);
    } catch (const std::exception&) {
        throw FileError(path_ + ": 'engine-boots' is not a number");
    }
    settings_.erase("chassis");
    settings_.erase("engine-boots");
    visit_all(chassis, [&](const std::string& key, const std::string& /*value*/,
                           const std::string& /*usual*/, auto set) {
        const auto found = settings_.find(key);
        if (found == settings_.end()) {
            return;
        }
        try {
            set(found->second);
        } catch (const std::exception& error) {
            throw FileError(path_ + ": '" + key + "' does not fit the chassis: " + error.what());
        }
    });
}

void StateFile::save(Chassis& chassis)
{
    visit_all(chassis, [&](const std::string& key, const std::string& value,
                           const std::string& usual, auto /*set*/) {
        const auto own = usual_.find(key);
        if (value != (own == usual_.end() ? usual : own->second)) {
            settings_[key] = value;
        } else {
            settings_.erase(key);
        }
    });
    std::string now = content();
    if (now != written_) {
        replace_file(path_, now);
        written_ = std::move(now);
    }
}

std::string StateFile::content() const
{
    toml::table root;
    put(root, "chassis", chassis_serial_);
    put(root, "engine-boots", std::to_string(engine_boots_));
    for (const auto& [path, value] : settings_) {
        const auto [table, key] = table_for(root, path);
        put(*table, key, value);
    }
    return "# What operators have written to a lab switch, which keeps it here.\n" +
           formatted(root);
}

} // namespace sim
