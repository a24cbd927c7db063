/// Chassis files: whatever is in one is either refused by a line of it or makes a switch whose
/// tables can be walked.
#include "files/chassis_file.h"
#include "libraries/event_queue.h"
#include "libraries/platform_manager.h"
#include "switch_tables.h"

#include <cassert>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int file = memfd_create("chassis", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    assert(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    try {
        sim::place_chassis(sim::load_chassis(path));
    } catch (const sim::FileError& error) {
        assert(std::string(error.what()).starts_with(path + ":"));
        return 0;
    }
    sim::deliver_events();
    walk_all_tables();
    return 0;
}
