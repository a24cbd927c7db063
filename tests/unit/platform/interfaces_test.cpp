// Interfaces, their counters, and the file with what operators write.

#include "files/state_file.h"
#include "model/ports.h"
#include "switch_test.h"

#include <csignal>
#include <filesystem>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <system_error>

namespace {

class Interfaces : public SwitchTest {
protected:
    static sim::Chassis& chassis() { return *sim::chassis_in_place(); }

    static constexpr uint32_t port_2_1 = 0x1a010000;

    void change(auto change)
    {
        sim::InterfaceSettings settings = find_port(chassis(), port_2_1)->port->interface.settings;
        change(settings);
        chassis().configure_interface(port_2_1, settings);
    }

    /// Octets, packets, errors and discards received so far.
    std::string received()
    {
        const sim::Interface& interface = find_port(chassis(), port_2_1)->port->interface;
        const sim::Counters counters = interface.in.at(now, interface.settings.in);
        return std::to_string(counters.octets) + " " + std::to_string(counters.packets) + " " +
               std::to_string(counters.errors) + " " + std::to_string(counters.discards);
    }

    std::string received_after(double seconds)
    {
        now += std::chrono::duration_cast<sim::Clock::duration>(
            std::chrono::duration<double>(seconds));
        return received();
    }
};

TEST_F(Interfaces, CountTheirLoadWhileTheyAreUp)
{
    EXPECT_EQ(received_after(10), "0 0 0 0");
    change([](auto& settings) { settings.in = {8e9, 1000, 2, 0.5}; });
    EXPECT_EQ(received_after(0.5), "500000000 500000 1 0");
    change([](auto& settings) { settings.in = {800, 50, 0, 10}; });
    EXPECT_EQ(received(), "500000000 500000 1 0");
    EXPECT_EQ(received_after(1), "500000100 500002 1 10");
    outcome("write 1029 1002 4 2");
    EXPECT_EQ(received_after(100), "500000100 500002 1 10");
    outcome("write 1029 1002 4 1");
    EXPECT_EQ(received_after(2), "500000300 500006 1 30");
    change([](auto& settings) { settings.admin = sim::LinkAdmin::down; });
    EXPECT_EQ(received_after(2), "500000300 500006 1 30");
    // Years at the highest rate neither wrap nor go back.
    change([](auto& settings) {
        settings.admin = sim::LinkAdmin::up;
        settings.in = {1e10, 64};
    });
    EXPECT_EQ(received_after(1e8), "125000000500000300 1953125000500006 1 30");
    EXPECT_THROW(change([](auto& settings) { settings.in.bits_per_second = 1.1e10; }),
                 sim::Refusal);
    EXPECT_THROW(chassis().configure_interface(0x1a010001, {}), std::out_of_range);
}

/// Runs an action in a child that is killed where it enters or leaves its n-th system call.
/// @return whether it came so far
template <typename Action>
bool killed_at(int stop, Action action)
{
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(2); // where that is forbidden; it would stop for ever
        }
        std::raise(SIGSTOP);
        action();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < stop && WIFSTOPPED(status); ++i) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    const bool stopped = WIFSTOPPED(status);
    if (stopped) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    EXPECT_TRUE(stopped || status == 0) << status;
    return stopped;
}

std::string content_of(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Interfaces, AreRememberedAsBeforeOrAsAfterAKill)
{
    const ChassisFile file("");
    std::remove(file.path.c_str());
    const auto set_alias = [&](const std::string& alias) {
        change([&](auto& settings) { settings.alias = alias; });
    };
    sim::StateFile state(file.path, chassis());
    set_alias("old");
    state.save(chassis());
    const std::string old = content_of(file.path);
    const auto write_new = [&] {
        set_alias("new");
        state.save(chassis());
    };
    std::map<std::string, int> found;
    bool killed = true;
    for (int stop = 1; killed; ++stop) {
        std::ofstream(file.path) << old;
        killed = killed_at(stop, write_new);
        sim::Chassis next = sim::load_chassis(box, [this] { return now; });
        const sim::StateFile read(file.path, next);
        ++found[find_port(next, port_2_1)->port->interface.settings.alias];
    }
    EXPECT_EQ(found.size(), 2U);
    EXPECT_GT(found["old"], 8); // open, write, fsync and close, entered and left
    EXPECT_GT(found["new"], 0);
    std::remove((file.path + ".new").c_str());
}

TEST_F(Interfaces, AreRememberedWithWhatTheChassisLacks)
{
    const std::string start = "chassis = \"S1\"\nengine-boots = \"7\"\n";
    const std::string foreign = "\n[entity.1004]\nalias = \"of an empty slot\"\n";
    const ChassisFile file(start + foreign);
    sim::StateFile state(file.path, chassis());
    EXPECT_GT(state.engine_boots(), 7U);
    refusal("write 1032 21717 24 2 1");
    state.save(chassis());
    const std::string content = content_of(file.path);
    EXPECT_NE(content.find("of an empty slot"), std::string::npos);
    EXPECT_NE(content.find("notify-1 = \"false\""), std::string::npos) << content;
    // A file that cannot be replaced stays, and is replaced when that works again.
    const std::string obstacle = file.path + ".new";
    std::filesystem::create_directory(obstacle);
    change([](auto& settings) { settings.alias = "later"; });
    EXPECT_THROW(state.save(chassis()), std::system_error);
    EXPECT_EQ(content_of(file.path), content);
    std::filesystem::remove(obstacle);
    state.save(chassis());
    EXPECT_NE(content_of(file.path).find("later"), std::string::npos);

    const std::string unknown = start + "[switch]\nredundancy-mode = \"some\"";
    for (const std::string& wrong : {std::string(), std::string("chassis = \"S2\""),
                                     std::string("chassis = \"S1\""), unknown, start + "[["}) {
        const ChassisFile damaged(wrong);
        EXPECT_THROW(sim::StateFile(damaged.path, chassis()), sim::FileError) << wrong;
        EXPECT_EQ(content_of(damaged.path), wrong);
    }
}

} // namespace
