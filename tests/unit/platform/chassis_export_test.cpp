// A chassis file of a running chassis makes the same chassis again.

#include "files/chassis_export.h"
#include "switch_test.h"

#include <iomanip>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>

namespace {

/// Chance, the same in every run.
class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}

    uint32_t below(uint32_t count) { return static_cast<uint32_t>(engine_() % count); }
    bool one_in(uint32_t count) { return below(count) == 0; }

    template <typename Choices>
    const auto& pick(const Choices& choices)
    {
        return *std::next(std::begin(choices), below(static_cast<uint32_t>(std::size(choices))));
    }

private:
    std::mt19937 engine_;
};

const std::string some_texts[] = {"",           "plain",           R"(it's "so" \)",   "Fenêtre ☃",
                                  "\t1\n2\r\n", "\n'''\"\"\"\x7f", "\x01\x1b\xc2\x85", "\xff\xc3",
                                  "Module 1 ",  " sensor 1"};

/// A text as a chassis file gives it.
std::string quoted(const std::string& text)
{
    std::ostringstream hex;
    for (const char byte : text) {
        hex << std::hex << std::setw(2) << std::setfill('0')
            << static_cast<int>(static_cast<unsigned char>(byte));
    }
    return "{ hex = \"" + hex.str() + "\" }";
}

/// Lines of a chassis file: a table of random things that the switch has.
class RandomFile {
public:
    explicit RandomFile(Dice& dice) : dice_(dice) {}

    std::string text()
    {
        const uint32_t slots = 1 + dice_.below(4);
        const uint32_t supplies = dice_.below(4);
        const uint32_t trays = dice_.below(3);
        text_ << "[chassis]\nslots = " << slots << "\npower-supply-bays = " << supplies
              << "\nfan-tray-bays = " << trays << "\nstart-seconds = " << dice_.below(4)
              << "\ntype-code = " << dice_.pick(std::vector{0, 19, 39}) << "\n";
        maybe(2, "redundancy-mode = \"spare-half\"");
        entity();
        sensors();
        text_ << "[types.card]\npower = 100\nports = 3\ntransceivers = [{ ports = \"2\" }]\n";
        sensors();
        text_ << "[types.brain]\nrole = \"supervisor\"\n[types.supply]\noutput = 300\n"
              << "[types.tray]\nfans = 2\n[transceivers.sr]\nmodel = \"SR\"\nlanes = 2\n"
              << "receive-power = { held = \"none\", low-alarm = -18.4 }\n";
        units("module", "slot", slots, [this] { module(); });
        units("power-supply", "bay", supplies, [this] { maybe(2, "output = 400"); });
        units("fan-tray", "bay", trays, [this] { maybe(2, "fans = 2\npower = 30"); });
        return text_.str();
    }

    /// One of the entities described anew.
    std::string entity_entry(uint32_t index)
    {
        text_.str("");
        text_ << "[[entity]]\nindex = " << index << "\n";
        entity();
        return text_.str();
    }

private:
    void maybe(uint32_t chance, const std::string& line)
    {
        if (dice_.one_in(chance)) {
            text_ << line << "\n";
        }
    }

    void entity()
    {
        for (const char* key : {"name", "description", "serial", "manufacturer", "model", "alias",
                                "asset-id", "second-serial", "hardware-revision"}) {
            maybe(6, key + (" = " + quoted(dice_.pick(some_texts))));
        }
        maybe(6, "vendor-type = " + std::to_string(dice_.below(UINT32_MAX)));
        maybe(6, "replaceable = false");
        maybe(12, "failed = true");
    }

    void sensors()
    {
        text_ << "sensors = [";
        for (uint32_t number = dice_.below(3); number > 0; --number) {
            text_ << "{ kind = \"" << dice_.pick(sim::sensor_kinds).key << "\"";
            text_ << (dice_.one_in(2) ? ", name = " + quoted(dice_.pick(some_texts)) : "");
            text_ << (dice_.one_in(2) ? ", precision = 2, scale = \"milli\"" : "");
            text_ << (dice_.one_in(3) ? ", low = -7.25, failed = true" : "");
            text_ << (dice_.one_in(3) ? ", held = 40.1, last = 3" : "");
            text_ << ", thresholds = [{ value = 12.06, relation = \"<\" }, "
                  << "{ value = 40, severity = \"major\", notify = false }] },";
        }
        text_ << "]\n";
    }

    /// Units in most of so many slots or bays, each with what its type has besides.
    template <typename More>
    void units(const char* entry, const char* place, uint32_t count, More more)
    {
        for (uint32_t number = 1; number <= count; ++number) {
            if (dice_.one_in(6)) {
                continue;
            }
            text_ << "[[" << entry << "]]\n" << place << " = " << number << "\n";
            entity();
            sensors();
            maybe(8, "pulled = true");
            more();
        }
    }

    void module()
    {
        maybe(2, "role = \"supervisor\"");
        maybe(6, dice_.one_in(2) ? "admin-status = \"off\"" : "admin-status = \"standby\"");
        maybe(6, "power-admin-status = \"on-until-failure\"");
        maybe(6, "starting = true\nstarts = 3");
        maybe(2, "power = 250");
        if (dice_.one_in(2)) {
            text_ << "ports = 4\nelectrical = \"4\"\ntransceivers = [{ ports = \"1,3\", type = "
                     "\"sr\" }, { ports = \"2\", alias = "
                  << quoted(dice_.pick(some_texts))
                  << ", diagnostics = \"external\", temperature = { low = 0.1, high = 65.7 }"
                  << (dice_.one_in(2) ? ", unplugged = true" : "") << " }]\n";
        }
    }

    Dice& dice_;
    std::ostringstream text_;
};

/// What happens to a switch, which may refuse it; see Export::change() for the words in capitals.
const std::string happenings[] = {
    "fail UNIT",
    "fail ENTITY",
    "repair UNIT",
    "repair ENTITY",
    "pull UNIT",
    "insert PLACE",
    R"(insert PLACE, "type": "TYPE")",
    R"(insert PLACE, "unknown": true)",
    R"(switchover 0, "reason": 0)",
    R"(set 1, "field": "supervisor-state", "value": FEW)",
    R"(set 1, "field": "type-code", "value": 23)",
    R"(set UNIT, "field": "status-led", "value": FEW)",
    R"(set 1001, "field": "role-led", "value": "auto")",
    R"(set 1, "field": "status-led", "value": 0)",
    R"(set ENTITY, "field": "reading", "value": VALUE)",
    "pull ENTITY",
    "insert ENTITY",
    R"(insert ENTITY, "type": "sr")",
    R"(set ENTITY, "field": "QUANTITY", "value": VALUE)",
    R"(set ENTITY, "field": "receive-power", "value": "none")",
    R"(inject-fault 0, "request": "REQUEST", "effect": "fail", "amount": FEW, "count": FEW)",
    R"(inject-fault 0, "request": "REQUEST", "effect": "nothing", "operation": "get")",
    "write 1027 1 4 FEW",
    "write 1028 UNIT 4 FEW",
    "write 1029 UNIT 4 FEW",
    "write 1032 ENTITY 24 FEW 1",
};

class Export : public SwitchTest {
protected:
    static void change(Dice& dice)
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        const auto& [place, holder] = dice.pick(chassis.places());
        const uint32_t entity = dice.pick(chassis.entities()).first;
        const std::pair<std::string, std::string> choices[] = {
            {"UNIT", std::to_string(holder.unit_index)},
            {"PLACE", std::to_string(place)},
            {"ENTITY", std::to_string(entity)},
            {"TYPE", dice.pick(std::vector{"card", "brain", "supply", "tray"})},
            {"QUANTITY", std::string(dice.pick(sim::quantities).key)},
            {"REQUEST", std::string(dice.pick(sim::request_names).key)},
            {"VALUE", std::to_string((static_cast<int>(dice.below(400)) - 200) / 10.0)},
            {"FEW", std::to_string(1 + dice.below(4))}};
        std::string command = dice.pick(happenings);
        for (const auto& [word, choice] : choices) {
            for (size_t at = 0; (at = command.find(word)) != std::string::npos;) {
                command.replace(at, word.size(), choice);
            }
        }
        refusal(command);

        if (dice.one_in(4)) {
            configure_interface(dice, chassis, entity);
        }
        chassis.settings().max_default_in_line_power = static_cast<int32_t>(dice.below(12501));
        chassis.settings().status_notifications = dice.one_in(2);
        if (dice.one_in(8)) {
            Bytes action(32);
            action[20] = static_cast<uint8_t>(dice.below(4));
            request(1042, 3, action);
        }
        Bytes labelled = row(1026, entity);
        if (!labelled.empty() && dice.one_in(4)) {
            std::ranges::copy(dice.pick(some_texts) + std::string(1, '\0'), &labelled.at(2351));
            request(1026, 3, labelled);
        }
    }

    static void configure_interface(Dice& dice, sim::Chassis& chassis, uint32_t entity)
    {
        const sim::Entity* chosen = chassis.find(entity);
        const bool is_port = chosen != nullptr && chosen->port;
        const uint32_t if_index = (is_port ? *chosen : chassis.management()).port->if_index;
        sim::InterfaceSettings settings{.alias = dice.pick(some_texts).substr(0, 64),
                                        .admin = sim::LinkAdmin(1 + dice.below(2)),
                                        .notifies = dice.one_in(2)};
        settings.in.bits_per_second = dice.below(1000) / 7.0;
        settings.out.packet_size = 64 + dice.below(1000);
        settings.out.errors_per_second = dice.below(3);
        chassis.configure_interface(if_index, settings);
        chassis.settings().system.location = dice.pick(some_texts);
    }

    /// All that the platform manager answers, and what chmctl shows of transceivers, but times:
    /// when a module's status changed and when it went into service, when a sensor was measured,
    /// when the inventory changed.
    static std::map<std::string, Bytes> everything()
    {
        std::map<std::string, Bytes> all;
        std::string texts = sim::answer_request(R"({"verb": "transceivers"})");
        for (const sim::Fault& fault : sim::chassis_in_place()->faults()) {
            texts += std::string(fault.request) + " " +
                     std::to_string(fault.operation.value_or(0)) + std::string(fault.kind->key) +
                     std::to_string(fault.amount) + " " + std::to_string(fault.left.value_or(0));
        }
        auto interfaces = nlohmann::json::parse(sim::answer_request(R"({"verb": "interfaces"})"));
        for (auto& interface : interfaces["result"]) {
            for (const char* direction : {"in", "out"}) {
                interface[direction].erase("octets"); // and other counts, which start anew
                interface[direction].erase("packets");
                interface[direction].erase("errors");
                interface[direction].erase("discards");
            }
            texts += interface.dump();
        }
        texts += sim::chassis_in_place()->settings().system.location;
        all["transceivers, interfaces and faults"] = Bytes(texts.begin(), texts.end());
        sim::chassis_in_place()->faults().clear(); // they would strike
        for (const auto& [opcode, size] : tables) {
            add_table(all, opcode, size);
        }
        for (const uint32_t opcode : {1030U, 1040U, 1042U}) {
            all[std::to_string(opcode)] = request(opcode, 1, {}).block;
        }
        uint32_t code = 0;
        pdb_get_chassis_type(&code);
        all["type code"] = Bytes{static_cast<uint8_t>(code)};
        return all;
    }

    static void add_table(std::map<std::string, Bytes>& all, uint32_t opcode, size_t size)
    {
        for (Bytes key(size);;) {
            Answer answer = request(opcode, 2, key);
            if (answer.result == 1 && !answer.block.empty()) {
                answer = ask(opcode, 2, 287958); // beyond the transceivers' sensors
            }
            if (answer.result != 0) {
                return;
            }
            key = answer.block;
            if (opcode == 1029) {
                std::fill_n(&answer.block.at(16), 16, 0);
            } else if (opcode == 1031) {
                std::fill_n(&answer.block.at(24), 8, 0);
            }
            const bool two_indexes = opcode == 1032 || opcode == 3242;
            all[std::to_string(opcode) + " " + std::to_string(wire_word(key, 0)) +
                (two_indexes ? "." + std::to_string(wire_word(key, 4)) : "")] = answer.block;
        }
    }

    /// The same again once all that was taken out is back in, and has started.
    std::map<std::string, Bytes> everything_back_in()
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        for (const auto& [index, place] : chassis.places()) {
            if (chassis.find_unit(place.unit_index) == nullptr) {
                refusal("pull " + std::to_string(index)); // what the switch does not recognize
                refusal("insert " + std::to_string(index));
            }
        }
        for (const auto& [index, entity] : chassis.entities()) {
            refusal("insert " + std::to_string(index));
        }
        events(std::chrono::seconds(10));
        return everything();
    }

    void load(const ChassisFile& file)
    {
        ASSERT_NO_THROW(sim::place_chassis(sim::load_chassis(file.path, [this] { return now; })))
            << std::ifstream(file.path).rdbuf();
    }
};

void expect_same(const std::map<std::string, Bytes>& made, const std::map<std::string, Bytes>& was,
                 const std::string& file)
{
    const auto [one, other] = std::ranges::mismatch(made, was);
    ASSERT_TRUE(made == was) << (other == was.end() ? one : other)->first << " differs in\n"
                             << file;
}

/// --gtest_repeat=N goes on with other chassis.
TEST_F(Export, MakesTheSameSwitchOfWhateverHappened)
{
#ifdef __SANITIZE_ADDRESS__
    constexpr uint32_t seeds = 100; // ten times as slow
#else
    constexpr uint32_t seeds = 300;
#endif
    static uint32_t seed = 0;
    for (const uint32_t last = seed + seeds; seed < last; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Dice dice(seed);
        RandomFile described(dice);
        std::string text = described.text();
        ASSERT_NO_FATAL_FAILURE(load(ChassisFile(text)));
        std::map<uint32_t, std::string> entries;
        for (uint32_t count = dice.below(6); count > 0; --count) {
            const uint32_t index = dice.pick(sim::chassis_in_place()->entities()).first;
            entries[index] = described.entity_entry(index);
        }
        for (const auto& [index, entry] : entries) {
            text += entry;
        }
        // The file stays where it is: its types are for what is inserted.
        const ChassisFile source(text);
        ASSERT_NO_FATAL_FAILURE(load(source));
        for (uint32_t changes = dice.below(30); changes > 0; --changes) {
            change(dice);
            events(std::chrono::seconds(dice.below(3)));
        }
        const std::string exported = sim::export_chassis(*sim::chassis_in_place());
        const auto time = now;
        const auto was = everything();
        const auto was_back_in = everything_back_in();
        now = time;
        ASSERT_NO_FATAL_FAILURE(load(ChassisFile(exported)));
        EXPECT_EQ(exported.find("99999"), std::string::npos) << exported;
        const std::string files = std::string(text).append("----\n").append(exported);
        ASSERT_NO_FATAL_FAILURE(expect_same(everything(), was, files));
        ASSERT_NO_FATAL_FAILURE(expect_same(everything_back_in(), was_back_in, files));
    }
}

} // namespace
