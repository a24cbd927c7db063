#include "state_directory.h"

#include "control/state_path.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Makes a directory, unless this user has it.
std::string made(std::string path)
{
    mkdir(path.c_str(), 0700);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        status.st_uid != geteuid()) {
        throw std::runtime_error(path + " belongs to another user, or cannot be made");
    }
    return path;
}

/// Opens and locks a file; none if another process has locked it. Throws std::runtime_error.
sim::Descriptor locked(const std::string& path)
{
    sim::Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (file.get() < 0) {
        throw std::runtime_error(path + ": " + std::strerror(errno));
    }
    return flock(file.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(file) : sim::Descriptor(-1);
}

} // namespace

StateDirectory::StateDirectory(uint32_t port)
    : path_(made(sim::state_path(port))), lock_(locked(file("lock")))
{
    if (!is_held()) {
        throw std::runtime_error("a lab switch already runs on port " + std::to_string(port) +
                                 "; choose others with --port");
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
        if (entry.path().filename() != "lock") {
            fs::remove_all(entry.path());
        }
    }
}

/// The directory is renamed first, so that a concurrent start finds all of it or nothing.
StateDirectory::~StateDirectory()
{
    std::error_code ignored;
    if (is_held()) {
        const std::string old = path_ + "." + std::to_string(getpid());
        fs::rename(path_, old, ignored);
        fs::remove_all(old, ignored);
    }
}

bool StateDirectory::is_held() const
{
    struct stat own {};
    struct stat found {};
    return lock_.get() >= 0 && fstat(lock_.get(), &own) == 0 &&
           stat(file("lock").c_str(), &found) == 0 && own.st_dev == found.st_dev &&
           own.st_ino == found.st_ino;
}
