/// Walks agents on this machine and prints the times.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/types.h>

namespace {

using Oid = std::vector<oid>;

double seconds_of(clockid_t clock)
{
    timespec time = {};
    if (clock_gettime(clock, &time) != 0) {
        throw std::runtime_error("an agent has gone");
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

using Response = std::unique_ptr<netsnmp_pdu, decltype(&snmp_free_pdu)>;

/// An agent under measurement.
struct Agent {
    std::shared_ptr<void> session;
    clockid_t cpu = 0; ///< its processor time

    /// @param place PORT:PID
    explicit Agent(const std::string& place)
    {
        const size_t colon = place.find(':');
        std::string peer = "127.0.0.1:" + place.substr(0, colon);
        std::string community = "public";
        netsnmp_session wanted = {};
        snmp_sess_init(&wanted);
        wanted.version = SNMP_VERSION_2c;
        wanted.peername = peer.data();
        wanted.community = reinterpret_cast<u_char*>(community.data());
        wanted.community_len = community.size();
        wanted.retries = 0;
        wanted.timeout = 120L * 1000000;
        session = {snmp_sess_open(&wanted), [](void* open) { snmp_sess_close(open); }};
        if (!session || clock_getcpuclockid(std::stoi(place.substr(colon + 1)), &cpu) != 0) {
            throw std::runtime_error("no agent at " + place);
        }
    }

    /// GETNEXT for no repetitions, else GETBULK.
    Response ask_after(const Oid& name, long repetitions) const
    {
        netsnmp_pdu* request =
            snmp_pdu_create(repetitions > 0 ? SNMP_MSG_GETBULK : SNMP_MSG_GETNEXT);
        if (repetitions > 0) {
            request->non_repeaters = 0;
            request->max_repetitions = repetitions;
        }
        snmp_add_null_var(request, name.data(), name.size());
        netsnmp_pdu* response = nullptr;
        if (snmp_sess_synch_response(session.get(), request, &response) != STAT_SUCCESS ||
            response->errstat != SNMP_ERR_NOERROR) {
            throw std::runtime_error("an agent does not answer");
        }
        return {response, snmp_free_pdu};
    }
};

/// The result of a walk, times in seconds.
struct Walk {
    long requests = 0;
    long varbinds = 0; ///< below the root
    double first = 0;  ///< answer
    double longest = 0;
};

/// Visits every instance below a root.
template <typename Visit>
Walk walk(const Agent& agent, const Oid& root, long repetitions, Visit visit)
{
    Walk taken;
    Oid name = root;
    for (bool inside = true; inside;) {
        const double start = seconds_of(CLOCK_MONOTONIC);
        const Response response = agent.ask_after(name, repetitions);
        const double wait = seconds_of(CLOCK_MONOTONIC) - start;
        taken.first = taken.requests == 0 ? wait : taken.first;
        taken.longest = std::max(taken.longest, wait);
        ++taken.requests;
        for (auto* var = response->variables; var != nullptr && inside; var = var->next_variable) {
            inside =
                var->type != SNMP_ENDOFMIBVIEW &&
                netsnmp_oid_is_subtree(root.data(), root.size(), var->name, var->name_length) == 0;
            if (inside) {
                ++taken.varbinds;
                name.assign(var->name, var->name + var->name_length);
                visit(*var);
            }
        }
    }
    return taken;
}

template <typename Number>
void print_numbers(const Number* numbers, size_t count)
{
    printf("%zu ", count);
    std::for_each_n(numbers, count, [](Number number) { printf("%lu ", oid{number}); });
}

/// Prints the instances of a table, for the modules that serve from memory.
void dump(const Agent& agent, const Oid& entry)
{
    walk(agent, entry, 50, [&](const netsnmp_variable_list& var) {
        const oid* column = var.name + entry.size();
        print_numbers(entry.data(), entry.size());
        printf("%lu ", *column);
        print_numbers(column + 1, var.name_length - entry.size() - 1);
        printf("%u ", var.type);
        print_numbers(var.val.string, var.val_len);
        puts("");
    });
}

void measure(const Agent& agent, size_t number, const Oid& root, long repetitions)
{
    const double start = seconds_of(CLOCK_MONOTONIC);
    const double client_cpu = seconds_of(CLOCK_PROCESS_CPUTIME_ID);
    const double agent_cpu = seconds_of(agent.cpu);
    const Walk taken = walk(agent, root, repetitions, [](const netsnmp_variable_list&) {});
    printf("%zu %ld %ld %ld %.6f %.6f %.6f %.6f %.6f\n", number, repetitions, taken.requests,
           taken.varbinds, taken.first, taken.longest, seconds_of(CLOCK_MONOTONIC) - start,
           seconds_of(agent.cpu) - agent_cpu, seconds_of(CLOCK_PROCESS_CPUTIME_ID) - client_cpu);
}

} // namespace

int main(int argc, char** argv)
try {
    CLI::App app("Walks agents on this machine in turn. Prints for each walk: number of the agent, "
                 "repetitions, requests, varbinds; seconds to the first answer, of the longest "
                 "answer, of the walk, and of the agent's and the client's processor time in it.");
    std::string root_text;
    std::vector<std::string> places;
    std::vector<long> repetitions = {0};
    bool dumps = false;
    long rounds = 1;
    app.add_option("root", root_text, "OID below which to walk")->required();
    app.add_option("--agent", places, "PORT:PID of an agent")->required();
    app.add_option("--repetitions", repetitions, "max-repetitions of GETBULK; 0 for GETNEXT");
    app.add_option("--rounds", rounds, "walks of each agent with each number of repetitions");
    app.add_flag("--dump", dumps, "print the instances of a table's entry instead");
    CLI11_PARSE(app, argc, argv);

    init_snmp("walk");
    Oid root(MAX_OID_LEN);
    size_t length = root.size();
    if (read_objid(root_text.c_str(), root.data(), &length) == 0) {
        throw std::runtime_error("not an OID: " + root_text);
    }
    root.resize(length);
    const std::vector<Agent> agents(places.begin(), places.end());
    if (dumps) {
        dump(agents.front(), root);
        return 0;
    }
    for (long round = 0; round < rounds; ++round) {
        for (const long number : repetitions) {
            for (size_t i = 0; i < agents.size(); ++i) {
                measure(agents[i], i, root, number);
            }
        }
    }
    return 0;
} catch (const std::exception& error) {
    fprintf(stderr, "walk: %s\n", error.what());
    return 1;
}
