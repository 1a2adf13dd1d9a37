#pragma once
// Tests of read-only files and folders must see the permissions an operator
// sees. Run as root (the build machine, a container), the process may write
// any file whatever its mode; this takes those powers away from the test
// process and from every program it starts from now on (the service under
// test), so that a read-only file is read-only to them. Without root there
// is nothing to take.
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace testsupport {

// True when the process now obeys file permissions.
inline bool obeyFilePermissions() {
    if (::geteuid() != 0)
        return true;
    const int powers[] = {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER, CAP_LINUX_IMMUTABLE};
    // Out of the bounding set: programs started later cannot have them.
    for (int cap : powers)
        ::prctl(PR_CAPBSET_DROP, cap, 0, 0, 0);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    if (::syscall(SYS_capget, &header, data) != 0)
        return false;
    for (int cap : powers) {
        const unsigned bit = 1u << (cap % 32);
        data[cap / 32].effective &= ~bit;
        data[cap / 32].permitted &= ~bit;
        data[cap / 32].inheritable &= ~bit;
    }
    if (::syscall(SYS_capset, &header, data) != 0)
        return false;
    ::syscall(SYS_capget, &header, data);
    return (data[CAP_DAC_OVERRIDE / 32].effective & (1u << (CAP_DAC_OVERRIDE % 32))) == 0;
}

} // namespace testsupport
