#include "switch_test.h"

namespace {

/// All that is wrong in a chassis file, without the file's name.
std::string error_in(const std::string& text)
{
    const ChassisFile file(text);
    try {
        sim::load_chassis(file.path);
    } catch (const sim::FileError& error) {
        std::string what = error.what();
        EXPECT_EQ(what.find(file.path + ":"), 0U) << what;
        for (size_t at = 0; (at = what.find(file.path + ":")) != std::string::npos;) {
            what.erase(at, file.path.size() + 1);
        }
        return what;
    }
    return "nothing";
}

/// What follows a [chassis] table of three lines, with a semicolon for the end of each line, and
/// what is wrong in it.
const char* const bad = R"(
[box] -> 4: unknown key 'box'
name = 7 -> 4: 'name' is not a string
serial = "123456789012345678901234567890123" -> 4: 'serial' has 33 bytes, more than 32
alias = "a\u0000b" -> 4: 'alias' contains a NUL
replaceable = 1 -> 4: 'replaceable' is not true or false
fan-tray-bays = 17 -> 4: 'fan-tray-bays' is 17, not within 0 to 16
[[module]];ports = 1 -> 4: [[module]] has no 'slot'
[[module]];slot = 0 -> 5: 'slot' is 0, not within 1 to 18
[[module]];slot = [1, 3] -> 5: the chassis has no slot 3; see its 'slots'
[[module]];slot = 1;[[module]];slot = 1 -> 7: slot 1 holds another module
[[module]];slot = 1;type = "card" -> 6: there is no [types.card]
[types.psu];ports = 1;[[power-supply]];bay = 1;type = "psu" -> 5: unknown key 'ports'
sensors = [{ kind = 7 }] -> 4: 'kind' is none of 'temperature', 'voltage', 'ac-voltage', 'current', 'power', 'frequency', 'humidity', 'fan-speed'
sensors = [{ low = 46 }] -> 4: 'low' is 46, above 'high', which is 45
sensors = [{ high = nan }] -> 4: 'high' is nan, not within -1e+09 to 1e+09
sensors = [{ scale = "milli", precision = 5 }] -> 4: 'low' is 35, not within -10 to 10
sensors = [{ thresholds = [{ notify = true }] }] -> 4: there is no 'value'
[[fan-tray]];bay = [1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1] -> 5: more than 16 values of 'bay'
sensors = [{ thresholds = [{ value = 1 }, { value = 2.5 }, { value = 3 }, { value = 4 }, { value = 5 }] }] -> 4: more than 4 thresholds
[[module]];slot = 1;electrical = "1-" -> 6: 'electrical' is not a list of ports such as "1-8,10"
[[module]];slot = 1;ports = 4;transceivers = [{ ports = "2, 4-5" }] -> 7: 'ports' lists 4-5, not within 1-4
[[module]];slot = 1;ports = 2;transceivers = [{ ports = "1" }, { ports = "1-2" }] -> 7: port 1 holds another transceiver
[[module]];slot = 1;ports = 2;transceivers = [{ ports = "1", type = "sr" }] -> 7: there is no [transceivers.sr]
[transceivers.sr];voltage = { high-alarm = 3.4 } -> 5: 'high-warning' is 3.465, above 'high-alarm', which is 3.4
[transceivers.sr];voltage = "none" -> 5: 'voltage' is not a table
serial = "12345678901234567890123456789012";[[module]];slot = 1 -> 4: 'serial' is too long: that of Module 1, which derives from it, has 37 bytes, more than 32
[[entity]];index = 1;serial = "12345678901234567890123456789012";[[module]];slot = 1 -> 6: 'serial' is too long: that of Module 1, which derives from it, has 37 bytes, more than 32
manufacturer = "12345678901234567890123456789012";[[module]];slot = 1;ports = 1;transceivers = [{ ports = "1" }] -> 4: 'manufacturer' is too long: that of the transceiver in Ethernet1/1, which derives from it, has 32 bytes, more than 31
[types.card];power = "much" -> 5: 'power' is not an integer
[types.card];ports = 1;output = 1 -> 4: no module, power supply or fan tray may have all of these keys
[types.card];slot = 1 -> 5: unknown key 'slot'
[[module]];slot = 1;ports = 2;electrical = "1," -> 7: 'electrical' is not a list of ports such as "1-8,10"
[[module]];slot = 1;ports = 2;electrical = "99999999999" -> 7: 'electrical' is not a list of ports such as "1-8,10"
name = { hex = "6" } -> 4: 'hex' is not pairs of hexadecimal digits such as "c3a4"
[[entity]];index = 1001 -> 4: there is no entity 1001
[[entity]];index = 1;[[entity]];index = 1 -> 7: another [[entity]] has the index 1
[[unrecognized]];place = 103 -> 5: there is no slot or bay 103
[[module]];slot = 1;[[unrecognized]];place = 101 -> 7: Slot 1 is not empty
[[module]];slot = 1;role = "supervisor";[supervisors];in-charge = 2 -> 8: slot 2 holds no supervisor in service
[[led]];entity = 1;led = 2;value = 1 -> 6: entity 1 has no LED 2
[[led]];entity = 1;led = 1;value = "pink" -> 7: 'value' is none of 'off', 'green', 'amber', 'red', 'blinking-green'
[[fault]];request = "led";effect = "short" -> 4: a fault 'short' has no 'amount'
[[fault]];request = "led";effect = "nothing";amount = 3 -> 7: 'nothing' takes no 'amount'
[[fault]];request = "next-port";effect = "short";amount = 1 -> 4: answers to 'next-port' come without a length: they cannot be short or long
)";

TEST(ChassisFile, NamesTheLineOfWhatIsWrong)
{
    std::istringstream cases(bad);
    std::string line;
    std::getline(cases, line);
    while (std::getline(cases, line)) {
        const size_t arrow = line.find(" -> ");
        std::string text = line.substr(0, arrow) + "\n";
        std::ranges::replace(text, ';', '\n');
        EXPECT_EQ(error_in("[chassis]\nslots = 2\npower-supply-bays = 1\n" + text),
                  line.substr(arrow + 4));
    }
    EXPECT_EQ(error_in("[chassis]\nslots = 1\nsensors = [{}]\n"
                       "[[entity]]\nindex = 21589\nfailed = true"),
              "nothing");
    EXPECT_EQ(error_in(""), "1: the file has no 'chassis'");
    EXPECT_EQ(error_in("[chassis]\nslots = 3\nserail = 'x'\nstart-second = 1\n[[led]]\n"),
              "3: unknown key 'serail'; did you mean 'serial'?\n"
              "4: unknown key 'start-second'; did you mean 'start-seconds'?\n"
              "5: [[led]] has no 'entity'\n5: [[led]] has no 'led'\n5: [[led]] has no 'value'");
    EXPECT_EQ(error_in("[chassis]\nslots = 2\n[[module]]\nslot = 3\n[[module]]\nrole = 1\n"
                       "[[unrecognized]]\nplace = 7\n"),
              "4: the chassis has no slot 3; see its 'slots'\n5: [[module]] has no 'slot'\n"
              "6: 'role' is none of 'supervisor', 'line-card'\n8: there is no slot or bay 7");
    EXPECT_EQ(error_in("[chassis]\nslots = = 1\n").find("2: "), 0U);
    EXPECT_THROW(sim::load_chassis("/nonexistent/chassis.toml"), sim::FileError);
}

/// A chassis file with what is wrong in a line as comments there.
const char* const all_wrong = R"(boxes = 1 # unknown key 'boxes'
[chassis]
slots = "two" # 'slots' is not an integer
sensors = [
    { name = 7, low = "cold", high = 3 }, # 'name' is not a string # 'low' is not a number
]
[types.card]
ports = "many" # 'ports' is not an integer
electrical = "1-8"
alias = 1 # 'alias' is not a string
[types.mixed] # no module, power supply or fan tray may have all of these keys
ports = 1
output = 1
[[module]]
slot = 1
type = "card"
[[module]]
slot = [2, 99] # 'slot' is 99, not within 1 to 18
type = "card"
transceivers = [{ ports = "9", lanes = 9 }] # 'lanes' is 9, not within 1 to 8
[[module]]
slot = 3
type = "crad" # there is no [types.crad]
electrical = "1"
power = -1 # 'power' is -1, not within 0 to 100000
[[module]]
slot = 4
type = "mixed"
sensors = [{}, { low = 2, high = 1 }] # 'low' is 2, above 'high', which is 1
[[fan-tray]] # [[fan-tray]] has no 'bay'
power-admin-status = "standby" # 'power-admin-status' is none of 'on', 'off', 'on-until-failure'
[[power-supply]]
bay = 1 # the chassis has no bay 1; see its 'power-supply-bays'
[[led]] # [[led]] has no 'led'
entity = 1001
value = "pink" # 'value' is none of 'off', 'green', 'amber', 'red', 'blinking-green'
[supervisors]
in-charge = 2
state = "good" # 'state' is not an integer
[[entity]]
index = 3001
vendor-type = "x" # 'vendor-type' is not an integer
)";

TEST(ChassisFile, ReportsEveryErrorOnceAndNoneThatFollowsFromAnother)
{
    std::istringstream lines(all_wrong);
    std::string expected;
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        for (size_t at = 0; (at = line.find(" # ", at)) != std::string::npos;) {
            at += 3;
            expected +=
                std::to_string(number) + ": " + line.substr(at, line.find(" # ", at) - at) + "\n";
        }
    }
    EXPECT_EQ(error_in(all_wrong) + "\n", expected);
}

TEST(ChassisFile, HasWhatFollowsFromANameFollowItInTheEnd)
{
    const ChassisFile file(R"(
[chassis]
slots = 1
manufacturer = "Maker"
serial = "S"
sensors = [{ name = "inlet" }]
[[module]]
slot = 1
sensors = [{}, {}]
[[entity]]
index = 1
name = "Box"
serial = "T"
[[entity]]
index = 1001
name = "Core"
manufacturer = ""
[[entity]]
index = 21654
name = { hex = "5072c3b662fF" }
)");
    const sim::Chassis chassis = sim::load_chassis(file.path);
    for (const auto& [index, expected] : {std::pair(21589U, "Box inlet, Maker, "),
                                          {21653U, "Core sensor 1, Maker, "},
                                          {21654U, "Pröb\xff, Maker, "},
                                          {1001U, "Core, , T-1001"}}) {
        const sim::Entity& entity = chassis.entities().at(index);
        EXPECT_EQ(entity.name + ", " + entity.manufacturer + ", " + entity.serial, expected);
    }
}

TEST(ChassisFile, ExhaustsNothingHoweverLongItIs)
{
    std::string parts = "a";
    for (int i = 0; i < 200'000; ++i) {
        parts += " .'a'";
    }
    const std::string complaint = "6: a key has more than 16 parts";
    // Dots in strings and in comments part nothing.
    const std::string dots(50, '.');
    const std::string start = "[chassis] # " + dots + "\nname = \"\\\"" + dots +
                              "\"\ndescription = '''" + dots + "\n'\n" + dots + "'''''\n";
    EXPECT_EQ(error_in(start + parts + " = 1"), complaint);
    EXPECT_EQ(error_in(start + "[[" + parts + "]]"), complaint);
    EXPECT_EQ(error_in(start + "slots = { " + parts + " = 1 }"), complaint);
    EXPECT_EQ(error_in(start + "slots.b.c.d.e.f.g.h.i.j.k.l.m.n.o.p = 1.5"),
              "6: 'slots' is not an integer");
    std::string ports = "1";
    for (int i = 0; i < 20'000; ++i) {
        ports += ",1";
    }
    EXPECT_EQ(error_in("[chassis]\nslots = 1\n[[module]]\nslot = 1\nports = 3\nelectrical = \"" +
                       ports + "\""),
              "nothing");
    EXPECT_EQ(error_in(std::string(5'000'000, '\n')), " has more than 4194304 bytes");
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
