#include "support/PrivateRoot.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
const fs::path newRoot = "/mnt";

void write(const char *file, const std::string &text)
{
    std::ofstream(file) << text;
}

// An ordinary user may have mounts inside a user namespace, and stays in it who he is.
bool leaveSharedMounts()
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (user != 0) {
        write("/proc/self/setgroups", "deny");
        write("/proc/self/uid_map", std::to_string(user) + ' ' + std::to_string(user) + " 1");
        write("/proc/self/gid_map", std::to_string(group) + ' ' + std::to_string(group) + " 1");
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool show(const fs::path &entry)
{
    const fs::path shown = newRoot / entry.filename();
    if (fs::is_symlink(entry)) {
        fs::copy_symlink(entry, shown);
        return true;
    }
    if (fs::is_directory(entry))
        fs::create_directory(shown);
    else
        std::ofstream(shown).close();
    return ::mount(entry.c_str(), shown.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}
// Inside a user namespace they let its owner pass every mode of his own files.
bool dropCapabilities()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    return ::syscall(SYS_capset, &header, none) == 0;
}
} // namespace

bool enterPrivateRoot()
{
    const fs::path here = fs::current_path();
    if (!leaveSharedMounts() || ::mount("none", newRoot.c_str(), "tmpfs", 0, "mode=0755") != 0)
        return false;
    for (const auto &entry : fs::directory_iterator("/")) {
        if (entry.path() != newRoot && entry.path() != "/Applications" && !show(entry.path()))
            return false;
    }
    return ::mkdir((newRoot / "Applications").c_str(), 0755) == 0 && ::chroot(newRoot.c_str()) == 0
        && ::chdir(here.c_str()) == 0 && (::geteuid() == 0 || dropCapabilities());
}
