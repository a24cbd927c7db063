// A chassis file of a running chassis makes the same chassis again.

#include "files/chassis_export.h"
#include "model/led.h"
#include "switch_test.h"

#include <iomanip>
#include <iterator>
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

const std::string some_texts[] = {"",           "plain",           "it's \"so\" \\",   "Fenêtre ☃",
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
        for (uint32_t slot = 1; slot <= slots; ++slot) {
            if (unit("module", "slot", slot)) {
                module();
            }
        }
        for (uint32_t bay = 1; bay <= supplies; ++bay) {
            if (unit("power-supply", "bay", bay)) {
                maybe(2, "output = 400");
            }
        }
        for (uint32_t bay = 1; bay <= trays; ++bay) {
            if (unit("fan-tray", "bay", bay)) {
                maybe(2, "fans = 2\npower = 30");
            }
        }
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

    /// @return whether there is one
    bool unit(const char* entry, const char* place, uint32_t number)
    {
        if (dice_.one_in(6)) {
            return false;
        }
        text_ << "[[" << entry << "]]\n" << place << " = " << number << "\n";
        entity();
        sensors();
        maybe(8, "pulled = true");
        return true;
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

class Export : public SwitchTest {
protected:
    /// Does one of the things that happen to a switch, which may refuse it.
    void change(Dice& dice)
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        const auto& [place, holder] = dice.pick(chassis.places());
        const uint32_t unit = holder.unit_index;
        const uint32_t index = dice.one_in(2) ? unit : dice.pick(chassis.entities()).first;
        const double value = (static_cast<int>(dice.below(2000)) - 1000) / 10.0;
        try {
            switch (dice.below(20)) {
            case 0:
            case 1:
                return label(index, dice.pick(some_texts));
            case 2:
                return chassis.set_failed(index, true);
            case 3:
                return chassis.set_failed(index, false);
            case 4:
                return chassis.pull(index);
            case 5:
                return chassis.insert(place);
            case 6:
                return chassis.insert(
                    place,
                    sim::load_unit(chassis.file(), place,
                                   dice.pick(std::vector{"card", "brain", "supply", "tray"})));
            case 7:
                return chassis.plug_unknown(place);
            case 8:
                return chassis.switch_over(0);
            case 9:
                return chassis.act(static_cast<sim::RedundancyAction>(dice.below(4)));
            case 10:
                return chassis.set_redundancy_mode(
                    static_cast<sim::RedundancyMode>(1 + dice.below(3)));
            case 11:
                return set_led(dice.one_in(4) ? 1 : unit, 1 + dice.below(2), dice);
            case 12:
                return chassis.set_reading(index, value);
            case 13:
                return chassis.set_threshold_notification(index, 1, dice.one_in(2));
            case 14:
                return chassis.unplug(index);
            case 15:
                return chassis.plug(
                    index, dice.one_in(2) ? std::optional(sim::load_transceiver(
                                                chassis.file(), chassis.entities().at(index), "sr"))
                                          : std::nullopt);
            case 16:
                return chassis.set_transceiver_reading(
                    index, dice.below(5),
                    dice.one_in(3) ? sim::no_light
                                   : (static_cast<int>(dice.below(400)) - 200) / 10.0);
            case 17:
                return set_fault(dice);
            case 18:
                return set_scalars(dice);
            default:
                write(unit, dice);
            }
        } catch (const std::exception&) { // such as a refusal
        }
    }

    static void label(uint32_t index, const std::string& text)
    {
        Bytes bytes = row(1026, index);
        std::ranges::copy(text + std::string(1, '\0'), &bytes.at(2351));
        request(1026, 3, bytes);
    }

    static void set_led(uint32_t index, uint32_t led, Dice& dice)
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        if (find_led(chassis, index, led)) {
            sim::set_led(chassis, index, led, static_cast<int32_t>(dice.below(8)) - 1);
        }
    }

    static void set_fault(Dice& dice)
    {
        const auto* kind = &dice.pick(
            std::vector{sim::fault_kinds, sim::fault_kinds + 1, sim::fault_kinds + 3})[0];
        sim::chassis_in_place()->set_fault(
            {.request = dice.pick(sim::request_names).key,
             .operation = dice.one_in(2) ? std::nullopt : std::optional(1),
             .kind = kind,
             .amount = kind->most == 0 ? 0 : 1 + dice.below(9),
             .left = dice.one_in(2) ? std::nullopt : std::optional(1 + dice.below(3))});
    }

    static void set_scalars(Dice& dice)
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        chassis.settings().max_default_in_line_power = static_cast<int32_t>(dice.below(12501));
        chassis.settings().status_notifications = dice.one_in(2);
        chassis.settings().type_code = 19 + dice.below(2) * 4;
        chassis.set_supervisor_state(static_cast<int32_t>(dice.below(5)) - 2);
    }

    /// Switches a unit, or its power.
    static void write(uint32_t index, Dice& dice)
    {
        const uint32_t opcode = dice.one_in(2) ? 1028 : 1029;
        Bytes bytes = row(opcode, index);
        if (!bytes.empty()) {
            put_word(bytes, 4, 1 + dice.below(4));
            request(opcode, 3, bytes);
        }
    }

    /// All that the platform manager and the port manager answer, but times: when a module's status
    /// changed and when it went into service, when a sensor was measured, when the inventory
    /// changed.
    static std::map<std::string, Bytes> everything()
    {
        std::map<std::string, Bytes> all;
        std::string faults;
        for (const sim::Fault& fault : sim::chassis_in_place()->faults()) {
            faults += std::string(fault.request) + " " +
                      std::to_string(fault.operation.value_or(0)) + std::string(fault.kind->key) +
                      std::to_string(fault.amount) + " " + std::to_string(fault.left.value_or(0));
        }
        all["faults"] = Bytes(faults.begin(), faults.end());
        sim::chassis_in_place()->faults().clear(); // they would strike
        for (const auto& [opcode, size] : tables) {
            add_table(all, opcode, size);
        }
        for (const uint32_t opcode : {1030U, 1040U, 1042U}) {
            all[std::to_string(opcode)] = request(opcode, 1, {}).block;
        }
        for (const auto& [index, entity] : sim::chassis_in_place()->entities()) {
            if (entity.port) {
                all["port " + std::to_string(index)] = port(entity.port->if_index);
            }
        }
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

    static Bytes port(uint32_t if_index)
    {
        Bytes all;
        const auto take = [&](void* block, size_t size) {
            const auto* bytes = static_cast<const uint8_t*>(block);
            all.insert(all.end(), bytes, bytes + (block == nullptr ? 0 : size));
            std::free(block);
        };
        uint32_t one = 1;
        void* block = nullptr;
        void* auxiliary = nullptr;
        pm_cmi_get_port_config(39, 1, 1, &if_index, &one, &block, 5);
        take(block, 212);
        pm_cmi_get_fcot_info(39, 1, 1, &if_index, &one, &block, 5);
        take(block, 471);
        uint32_t lanes = 0;
        pm_get_sfp_diag_info(39, if_index, &block, &auxiliary, &lanes);
        take(block, lanes * 172UL);
        take(auxiliary, 0);
        return all;
    }

    /// The same again once all that was taken out is back in, and has started.
    std::map<std::string, Bytes> everything_back_in()
    {
        sim::Chassis& chassis = *sim::chassis_in_place();
        for (const auto& [index, place] : chassis.places()) {
            const sim::Entity* unit = chassis.find(place.unit_index);
            if (unit != nullptr && unit->replaceable && chassis.find_unit(unit->index) == nullptr) {
                chassis.pull(unit->index);
            }
            if (place.pulled && chassis.find(place.unit_index) == nullptr) {
                chassis.insert(index);
            }
        }
        std::vector<uint32_t> cages;
        for (const auto& [index, entity] : chassis.entities()) {
            if (entity.port && entity.port->unplugged) {
                cages.push_back(index);
            }
        }
        for (const uint32_t index : cages) {
            chassis.plug(index);
        }
        events(std::chrono::seconds(10));
        return everything();
    }

    void load(const std::string& text)
    {
        const ChassisFile other(text);
        try {
            sim::place_chassis(sim::load_chassis(other.path, [this] { return now; }));
        } catch (const sim::FileError& error) {
            FAIL() << error.what() << "\n" << text;
        }
    }
};

void expect_same(const std::map<std::string, Bytes>& made, const std::map<std::string, Bytes>& was,
                 const std::string& file)
{
    for (const auto& [key, bytes] : was) {
        ASSERT_TRUE(made.contains(key)) << key << " is missing from\n" << file;
        const auto [one, other] = std::ranges::mismatch(made.at(key), bytes);
        ASSERT_EQ(made.at(key), bytes)
            << key << " differs from byte " << one - made.at(key).begin() << " on in\n"
            << file;
    }
    ASSERT_EQ(made.size(), was.size()) << file;
}

/// --gtest_repeat=N goes on with other chassis.
TEST_F(Export, MakesTheSameSwitchOfWhateverHappened)
{
    static uint32_t seed = 0;
    for (const uint32_t last = seed + 300; seed < last; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Dice dice(seed);
        RandomFile described(dice);
        std::string text = described.text();
        ASSERT_NO_FATAL_FAILURE(load(text));
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
        ASSERT_NO_THROW(sim::place_chassis(sim::load_chassis(source.path, [this] { return now; })));
        for (uint32_t changes = dice.below(30); changes > 0; --changes) {
            change(dice);
            events(std::chrono::seconds(dice.below(3)));
        }
        const std::string exported = sim::export_chassis(*sim::chassis_in_place());
        const auto time = now;
        const auto was = everything();
        const auto was_back_in = everything_back_in();
        now = time;
        ASSERT_NO_FATAL_FAILURE(load(exported));
        EXPECT_EQ(exported.find("99999"), std::string::npos) << exported;
        expect_same(everything(), was, text + "\n----\n" + exported);
        expect_same(everything_back_in(), was_back_in, text + "\n----\n" + exported);
        if (HasFatalFailure()) {
            return;
        }
    }
}

} // namespace
