#include "switch_test.h"

#include <stdexcept>
#include <tuple>

namespace {

/// What is wrong in a chassis file, without the file's name.
std::string error_in(const std::string& text)
{
    const ChassisFile file(text);
    try {
        sim::load_chassis(file.path);
    } catch (const sim::ChassisFileError& error) {
        const std::string what = error.what();
        EXPECT_EQ(what.find(file.path + ":"), 0U) << what;
        return what.substr(file.path.size() + 1);
    }
    return "nothing";
}

TEST(ChassisFile, NamesTheLineOfWhatIsWrong)
{
    const std::string chassis = "[chassis]\nslots = 2\npower-supply-bays = 1\n"; // 3 lines
    const std::string module = "[[module]]\nslot = 1\n";
    const std::string long_text(33, 'x');
    const std::string five_thresholds = "{ value = 1 }, { value = 2.5 }, { value = 3 }, "
                                        "{ value = 4 }, { value = 5 }";
    // clang-format off
    const std::pair<std::string, std::string> cases[] = {
        {"", "1: there is no [chassis] table"},
        {chassis + "[box]\n", "4: unknown key 'box'"},
        {chassis + "name = 7\n", "4: 'name' is not a string"},
        {chassis + "serial = \"" + long_text + "\"\n", "4: 'serial' has 33 bytes, more than 32"},
        {chassis + "alias = \"a\\u0000b\"\n", "4: 'alias' contains a NUL"},
        {chassis + "replaceable = 1\n", "4: 'replaceable' is not true or false"},
        {"[chassis]\nslots = 19\n", "2: 'slots' is 19, not within 0 to 18"},
        {"[chassis]\nslots = \"2\"\n", "2: 'slots' is not an integer"},
        {chassis + "[[module]]\nports = 1\n", "4: [[module]] has no 'slot'"},
        {chassis + "[[module]]\nslot = 0\n", "5: 'slot' is 0, not within 1 to 18"},
        {chassis + "[[module]]\nslot = [1, 3]\n", "5: the chassis has no slot 3; see its 'slots'"},
        {chassis + module + module, "7: slot 1 holds another module"},
        {chassis + module + "ports = 65\n", "6: 'ports' is 65, not within 0 to 64"},
        {chassis + module + "output = 1\n", "6: unknown key 'output'"},
        {chassis + module + "type = \"card\"\n", "6: there is no [types.card]"},
        {chassis + "[types.psu]\nports = 1\n[[power-supply]]\nbay = 1\ntype = \"psu\"\n",
         "5: unknown key 'ports'"},
        {chassis + module + "sensors = [{ name = \"a\" }, { limit = 1 }]\n",
         "6: unknown key 'limit'"},
        {chassis + "sensors = [{ kind = 7 }]\n",
         "4: 'kind' is none of 'temperature', 'voltage', 'ac-voltage', 'current', 'power', "
         "'frequency', 'humidity', 'fan-speed'"},
        {chassis + "sensors = [{ low = 46 }]\n", "4: 'low' is 46, above 'high', which is 45"},
        {chassis + "sensors = [{ high = nan }]\n", "4: 'high' is nan, not within -1e+09 to 1e+09"},
        {chassis + "sensors = [{ scale = \"milli\", precision = 5 }]\n",
         "4: 'low' is 35, not within -10 to 10"},
        {chassis + "sensors = [{ thresholds = [{ notify = true }] }]\n", "4: there is no 'value'"},
        {chassis + "sensors = [{ thresholds = [" + five_thresholds + "] }]\n",
         "4: more than 4 thresholds"},
        {chassis + module + "role = \"spare\"\n",
         "6: 'role' is none of 'supervisor', 'line-card'"},
        {chassis + module + "electrical = \"1-\"\n",
         "6: 'electrical' is not a list of ports such as \"1-8,10\""},
        {chassis + module + "ports = 4\ntransceivers = [{ ports = \"2, 4-5\" }]\n",
         "7: 'ports' lists 4-5, not within 1-4"},
        {chassis + module + "ports = 2\ntransceivers = [{ ports = \"1\" }, { ports = \"1-2\" }]\n",
         "7: port 1 holds another transceiver"},
        {chassis + module + "ports = 2\ntransceivers = [{ ports = \"1\", type = \"sr\" }]\n",
         "7: there is no [transceivers.sr]"},
        {chassis + "[transceivers.sr]\nvoltage = { high-alarm = 3.4 }\n",
         "5: 'high-warning' is 3.465, above 'high-alarm', which is 3.4"},
        {chassis + "[transceivers.sr]\nvoltage = \"none\"\n", "5: 'voltage' is not a table"},
        // The serial number that a module gets from the chassis's does not fit.
        {"[chassis]\nslots = 1\nserial = \"" + long_text.substr(1) + "\"\n" + module,
         "5: 'serial' has 37 bytes, more than 32"},
    };
    // clang-format on
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(error_in(text), error) << text;
    }
    EXPECT_EQ(error_in("[chassis]\nslots = = 1\n").find("2: "), 0U);
    EXPECT_THROW(sim::load_chassis("/nonexistent/chassis.toml"), sim::ChassisFileError);
}

TEST(ChassisFile, GivesEntriesTheirTypesKeysAndDefaults)
{
    const ChassisFile file(R"(
        module = [{ slot = [1, 3], type = "card", ports = 1, manufacturer = "Other" }]
        fan-tray = [{ bay = 2, fans = 16 }]
        [chassis]
        name = "Box"
        manufacturer = "Maker"
        serial = "S"
        slots = 3
        fan-tray-bays = 2
        [types.card]
        description = "Card"
        sensors = [{ name = "inlet", description = "Inlet temperature" }]
        ports = 2
    )");
    const sim::Chassis chassis = sim::load_chassis(file.path);
    using Fields = std::tuple<std::string, std::string, std::string, std::string, int32_t>;
    const std::pair<uint32_t, Fields> cases[] = {
        {1, {"Box", "Chassis", "Maker", "S", -1}},
        {103, {"Slot 3", "Slot", "Maker", "", 3}},
        {302, {"Fan tray bay 2", "Fan tray bay", "Maker", "", 5}},
        {1003, {"Module 3", "Card", "Other", "S-1003", 1}},
        {21781, {"Module 3 inlet", "Inlet temperature", "Maker", "", 1}},
        {4048, {"Fan 2/16", "Fan", "Maker", "", 16}},
        {303001, {"Ethernet3/1", "Ethernet port", "Maker", "", 1}},
    };
    for (const auto& [index, fields] : cases) {
        const sim::Entity* entity = chassis.find(index);
        ASSERT_NE(entity, nullptr) << index;
        EXPECT_EQ(fields, Fields(entity->name, entity->description, entity->manufacturer,
                                 entity->serial, entity->position));
    }
    EXPECT_EQ(chassis.find(303002), nullptr);
}

TEST(Chassis, HasNoRowAmongTheTransceiversSensorsAndNoneTwice)
{
    sim::Chassis chassis("test");
    for (const uint32_t index : {25812U, 287959U}) {
        chassis.add({.index = index});
        EXPECT_THROW(chassis.add({.index = index}), std::invalid_argument);
    }
    for (const uint32_t index : {25813U, 287957U, 287958U}) {
        EXPECT_THROW(chassis.add({.index = index}), std::invalid_argument) << index;
    }
}

} // namespace
