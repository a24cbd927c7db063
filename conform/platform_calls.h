/// The platform libraries under examination, and every call into them.
#pragma once

#include "platform.h"

#include <atomic>
#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace conform {

/// Every function of a platform, but dbgout, whose arguments vary.
#define PLATFORM_FUNCTIONS(DO)                                                                     \
    DO(cmi_req_resp)                                                                               \
    DO(ipcx_payload_get)                                                                           \
    DO(register_for_notification)                                                                  \
    DO(unregister_for_notification)                                                                \
    DO(get_snmp_username)                                                                          \
    DO(get_snmp_sessionid)                                                                         \
    DO(get_snmp_user_uptime)                                                                       \
    DO(log_snmp_error)                                                                             \
    DO(build_varbind)                                                                              \
    DO(send_connUnitStatusChange_notif)                                                            \
    DO(snmp_heartbeat_send)                                                                        \
    DO(__memcpy_to_buf)                                                                            \
    DO(__strcpy_to_buf)                                                                            \
    DO(rcode_format)                                                                               \
    DO(rcode2str)                                                                                  \
    DO(if_index_get_slot)                                                                          \
    DO(if_index_get_port)                                                                          \
    DO(if_index_get_type)                                                                          \
    DO(if_index_phy_ethernet_init)                                                                 \
    DO(sprintf_if_index)                                                                           \
    DO(pdb_get_chassis_type)                                                                       \
    DO(pdb_get_mod_info)                                                                           \
    DO(pm_cmi_get_port_config)                                                                     \
    DO(pm_get_next_port_fcot_info_with_ddm)                                                        \
    DO(pm_cmi_get_fcot_info)                                                                       \
    DO(pm_get_sfp_diag_info)                                                                       \
    DO(pc_sfp_get_vendor_info)                                                                     \
    DO(hactl_swover_reason_get)                                                                    \
    DO(hactl_supstate_get)                                                                         \
    DO(evlog_hist_event_subtype_check)                                                             \
    DO(evlog_hist_event)                                                                           \
    DO(evlog_chk_int)

/// A call of what the platform does not define.
struct MissingSymbol : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Durations of the calls, by function; of cmi_req_resp, by request.
using CallTimes = std::map<std::string, std::vector<std::chrono::microseconds>>;
CallTimes& call_times();

/// Notes a call before it is made, for the report of a crash in it, and its duration after it.
class CallNote {
public:
    explicit CallNote(const char* function);
    CallNote(const CallNote&) = delete;
    CallNote& operator=(const CallNote&) = delete;
    CallNote(CallNote&&) = delete;
    CallNote& operator=(CallNote&&) = delete;
    ~CallNote();

    /// Whether a call into the platform is under way.
    static bool any() { return calls != 0; }

private:
    static inline int calls = 0;
    std::string name_;
    std::chrono::steady_clock::time_point start_;
};

/// Names the next calls: what they are to give, such as "led GETNEXT".
void name_calls(const std::string& name);

/// What a process and its parent see of the process's calls.
struct SharedCalls {
    std::atomic<uint32_t> count; ///< of calls begun
    char current[256];           ///< empty between calls
};
SharedCalls& shared_calls();

/// One function of the platform.
template <typename Signature>
struct Imported;
template <typename Result, typename... Parameters>
struct Imported<Result(Parameters...)> {
    const char* name;
    Result (*address)(Parameters...) = nullptr;

    Result operator()(Parameters... arguments) const
    {
        if (address == nullptr) {
            throw MissingSymbol(name);
        }
        const CallNote note(name);
        return address(arguments...);
    }
};

struct Platform {
// The switch's own names, underscores included.
// NOLINTBEGIN(*-reserved-identifier,bugprone-macro-parentheses)
#define MEMBER(function) Imported<decltype(::function)> function{#function};
    PLATFORM_FUNCTIONS(MEMBER)
// NOLINTEND(*-reserved-identifier,bugprone-macro-parentheses)
#undef MEMBER
    decltype(&::dbgout) dbgout = nullptr;
    uint32_t* ipcx_response_q = nullptr;
    const char** evlog_dbg_modname = nullptr;
};

/// The platform that load() has found, empty before it.
Platform& platform();

/// The queue of the responses, read for each request.
uint32_t response_queue();

/// What load() found.
struct Loaded {
    std::vector<std::string> missing; ///< symbols that no library defines
    std::vector<std::string> wrong;   ///< functions that should be variables, or the reverse
};

/// Opens libraries in the global scope, in their order, and finds the platform's symbols in it.
/// Throws std::runtime_error with the reason when a library cannot be opened.
Loaded load(const std::vector<std::string>& libraries);

/// Calls void NAME(void) of the libraries. Throws std::runtime_error when there is none.
void call_entry_point(const std::string& name);

} // namespace conform
