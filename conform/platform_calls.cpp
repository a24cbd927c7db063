#include "platform_calls.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>

namespace conform {
namespace {

std::string calls_name;

/// A symbol of the global scope, added to `loaded` when it is missing or of the wrong kind.
void* find(const char* name, unsigned char kind, Loaded& loaded)
{
    void* address = dlsym(RTLD_DEFAULT, name);
    if (address == nullptr) {
        loaded.missing.emplace_back(name);
        return nullptr;
    }
    Dl_info place{};
    void* entry = nullptr;
    dladdr1(address, &place, &entry, RTLD_DL_SYMENT);
    const auto* symbol = static_cast<const ElfW(Sym)*>(entry);
    if (symbol != nullptr && ELF64_ST_TYPE(symbol->st_info) != kind) {
        loaded.wrong.emplace_back(name);
        return nullptr;
    }
    return address;
}

} // namespace

CallTimes& call_times()
{
    static CallTimes times;
    return times;
}

void name_calls(const std::string& name)
{
    calls_name = name;
}

SharedCalls& shared_calls()
{
    static void* const pages = mmap(nullptr, sizeof(SharedCalls), PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *static_cast<SharedCalls*>(pages);
}

CallNote::CallNote(const char* function)
    : name_(calls_name.empty() ? function : std::string(function) + " " + calls_name)
{
    SharedCalls& shared = shared_calls();
    name_.resize(std::min(name_.size(), sizeof shared.current - 1));
    std::memcpy(shared.current, name_.c_str(), name_.size() + 1);
    ++shared.count;
    ++calls;
    start_ = std::chrono::steady_clock::now();
}

CallNote::~CallNote()
{
    using std::chrono::duration_cast, std::chrono::microseconds;
    call_times()[name_].push_back(
        duration_cast<microseconds>(std::chrono::steady_clock::now() - start_));
    --calls;
    *shared_calls().current = '\0';
}

Platform& platform()
{
    static Platform found;
    return found;
}

uint32_t response_queue()
{
    if (platform().ipcx_response_q == nullptr) {
        throw MissingSymbol("ipcx_response_q");
    }
    return *platform().ipcx_response_q;
}

Loaded load(const std::vector<std::string>& libraries)
{
    for (const std::string& library : libraries) {
        // A symbol that a library lacks is to be listed with all others, so none is bound now.
        if (dlopen(library.c_str(), RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    Loaded loaded;
    const auto resolve = [&](auto& target, const char* name, unsigned char kind) {
        target =
            reinterpret_cast<std::remove_reference_t<decltype(target)>>(find(name, kind, loaded));
    };
#define RESOLVE(function) resolve(platform().function.address, #function, STT_FUNC);
    PLATFORM_FUNCTIONS(RESOLVE)
#undef RESOLVE
    resolve(platform().dbgout, "dbgout", STT_FUNC);
    resolve(platform().ipcx_response_q, "ipcx_response_q", STT_OBJECT);
    resolve(platform().evlog_dbg_modname, "evlog_dbg_modname", STT_OBJECT);
    return loaded;
}

void call_entry_point(const std::string& name)
{
    auto* entry = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, name.c_str()));
    if (entry == nullptr) {
        throw std::runtime_error("no library defines " + name);
    }
    const CallNote note(name.c_str());
    entry();
}

} // namespace conform
