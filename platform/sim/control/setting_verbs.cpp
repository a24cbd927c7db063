// The verb that sets a field of an entity, whatever kind of entity it is.

#include "control/verb_arguments.h"
#include "model/led.h"
#include "model/power.h"
#include "model/sensor.h"
#include "model/transceiver.h"
#include "records/entity_record.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <sstream>

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view automatic = "auto"; ///< ends an override

/// A field that an entity has.
struct Setting {
    std::string_view field;
    std::string values; ///< the numbers or texts that it takes, for errors
    std::function<void(Chassis& chassis, const json& value)> set;
    std::vector<std::string_view> words{}; ///< that it takes besides
};

/// A value that a field does not take; the error then says which ones it takes.
struct InvalidValue {};

double number_of(const json& value)
{
    double number = NAN;
    if (value.is_number()) {
        number = value.get<double>();
    } else if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        const char* end = text.data() + text.size();
        if (const auto read = std::from_chars(text.data(), end, number);
            read.ec != std::errc() || read.ptr != end) {
            throw InvalidValue();
        }
    }
    if (!std::isfinite(number)) {
        throw InvalidValue();
    }
    return number;
}

template <typename Number>
Number whole_number_of(const json& value, int64_t least, int64_t most)
{
    const double number = number_of(value);
    if (number != std::trunc(number) || number < static_cast<double>(least) ||
        number > static_cast<double>(most)) {
        throw InvalidValue();
    }
    return static_cast<Number>(number);
}

/// What `read` makes of a value, nothing to end an override.
template <typename Read>
auto by_hand(const json& value, Read read) -> std::optional<decltype(read(value))>
{
    return value == automatic ? std::nullopt : std::optional(read(value));
}

std::string range(double least, double most, std::string_view unit = "")
{
    std::ostringstream text;
    text.precision(10);
    text << least << " to " << most << (unit.empty() ? "" : " ") << unit;
    return text.str();
}

void add_texts(std::vector<Setting>& settings, uint32_t index)
{
    for (const EntityText& text : entity_texts) {
        if (!chmctl_sets(text)) {
            continue;
        }
        settings.push_back({text.key,
                            "at most " + std::to_string(text.capacity) + " bytes, none of them NUL",
                            [&text, index](Chassis& chassis, const json& value) {
                                if (!value.is_string()) {
                                    throw InvalidValue();
                                }
                                const TextChange change{text.text, value.get<std::string>()};
                                if (change.value.size() > text.capacity ||
                                    change.value.find('\0') != std::string::npos) {
                                    throw InvalidValue();
                                }
                                chassis.write(index, {&change, 1});
                            }});
    }
}

void add_readings(std::vector<Setting>& settings, const Entity& entity)
{
    const uint32_t index = entity.index;
    if (entity.sensor) {
        const double most = most_reading(entity.sensor->scale, entity.sensor->precision);
        settings.push_back({"reading",
                            range(-most, most, entity.sensor->kind->unit),
                            [=](Chassis& chassis, const json& value) {
                                const auto reading = by_hand(value, number_of);
                                if (reading && std::abs(*reading) > most) {
                                    throw InvalidValue();
                                }
                                chassis.set_reading(index, reading);
                            },
                            {automatic}});
    }
    for (size_t i = 0; entity.port && i < quantities.size(); ++i) {
        settings.push_back({quantities[i].key, "a number of " + std::string(quantities[i].unit),
                            [=](Chassis& chassis, const json& value) {
                                chassis.set_transceiver_reading(
                                    index, i, by_hand(value, [](const json& reading) {
                                        return reading == no_light_key ? no_light
                                                                       : number_of(reading);
                                    }));
                            },
                            quantities[i].logarithmic ? std::vector{no_light_key, automatic}
                                                      : std::vector{automatic}});
    }
}

/// A colour by its name, or the code of any other.
int32_t colour_of(const json& value)
{
    const auto* colour = std::ranges::find_if(
        led_colours, [&](const Named<LedColour>& one) { return value == one.key; });
    return colour == std::end(led_colours) ? whole_number_of<int32_t>(value, INT32_MIN, INT32_MAX)
                                           : static_cast<int32_t>(colour->value);
}

void add_leds(std::vector<Setting>& settings, const Chassis& chassis, uint32_t index)
{
    std::vector<std::string_view> words = keys_in(led_colours);
    words.push_back(automatic);
    for (const Named<uint32_t>& led : led_names) {
        if (find_led(chassis, index, led.value)) {
            settings.push_back({led.key, "a number",
                                [=](Chassis& changed, const json& value) {
                                    set_led(changed, index, led.value, by_hand(value, colour_of));
                                },
                                words});
        }
    }
}

void add_codes(std::vector<Setting>& settings)
{
    settings.push_back({"type-code", range(0, UINT32_MAX), [](Chassis& chassis, const json& value) {
                            chassis.settings().type_code =
                                whole_number_of<uint32_t>(value, 0, UINT32_MAX);
                        }});
    settings.push_back({"supervisor-state",
                        range(INT32_MIN, INT32_MAX),
                        [](Chassis& chassis, const json& value) {
                            chassis.set_supervisor_state(by_hand(value, [](const json& state) {
                                return whole_number_of<int32_t>(state, INT32_MIN, INT32_MAX);
                            }));
                        },
                        {automatic}});
}

/// The fields of an entity.
std::vector<Setting> settings_of(const Chassis& chassis, const Entity& entity)
{
    std::vector<Setting> settings;
    add_texts(settings, entity.index);
    add_readings(settings, entity);
    add_leds(settings, chassis, entity.index);
    const Unit* unit = chassis.find_unit(entity.index);
    if (unit != nullptr && unit->type == UnitType::power_supply) {
        settings.push_back({"output", range(0, max_watts, "W"),
                            [index = entity.index](Chassis& changed, const json& value) {
                                changed.set_output(index,
                                                   whole_number_of<uint32_t>(value, 0, max_watts));
                            }});
    }
    if (entity.index == chassis_index) {
        add_codes(settings);
    }
    return settings;
}

json set(const json& arguments)
{
    Chassis& chassis = the_chassis();
    const Entity& entity = chassis.entities().at(named_entity(arguments));
    const auto field = argument<std::string>(arguments, "field");
    const auto value = argument<json>(arguments, "value");
    const std::vector<Setting> settings = settings_of(chassis, entity);
    const auto setting = std::ranges::find(settings, field, &Setting::field);
    if (setting == settings.end()) {
        std::vector<std::string_view> fields;
        std::ranges::transform(settings, std::back_inserter(fields), &Setting::field);
        const std::string nearest = did_you_mean(field, fields);
        throw std::runtime_error(entity.name + " has no '" + field + "'" +
                                 (nearest.empty() ? "; it has " + listed(fields) : nearest));
    }
    try {
        setting->set(chassis, value);
    } catch (const InvalidValue&) {
        std::vector<std::string_view> all = setting->words;
        all.insert(all.begin(), setting->values);
        throw std::runtime_error("'" + field + "' takes " + listed(all));
    }
    return {{"index", entity.index}};
}

/// Entities, then the fields of the one given, then the words that the field given takes.
std::vector<std::string> choices_to_set(const json& arguments, std::string_view asked)
{
    if (asked == "entity") {
        return names_of_entities([](const Entity& /*any*/) { return true; });
    }
    const Chassis& chassis = the_chassis();
    std::vector<std::string> words;
    for (const Setting& one :
         settings_of(chassis, chassis.entities().at(named_entity(arguments)))) {
        if (asked == "field") {
            words.emplace_back(one.field);
        } else if (one.field == argument<std::string>(arguments, "field")) {
            words.assign(one.words.begin(), one.words.end());
        }
    }
    return words;
}

constexpr Verb setting_table[] = {{"set", set, choices_to_set}};

} // namespace

const std::span<const Verb> setting_verbs(setting_table);

} // namespace sim
