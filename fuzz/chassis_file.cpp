/// Chassis files: any content is either refused with an error or makes a switch whose tables can be
/// walked, and whose export loads too.
#include "files/chassis_file.h"
#include "files/chassis_export.h"
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
    const auto write = [](const void* text, size_t length) {
        assert(ftruncate(file, 0) == 0);
        assert(pwrite(file, text, length, 0) == static_cast<ssize_t>(length));
    };
    write(data, size);
    try {
        sim::place_chassis(sim::load_chassis(path));
    } catch (const sim::FileError& error) {
        assert(std::string(error.what()).starts_with(path + ":"));
        return 0;
    }
    sim::deliver_events();
    const std::string exported = sim::export_chassis(*sim::chassis_in_place());
    write(exported.data(), exported.size());
    sim::place_chassis(sim::load_chassis(path));
    walk_all_tables();
    return 0;
}
