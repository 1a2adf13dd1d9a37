#pragma once
// A benchmark runs on a private bus of its own, never the operator's session:
// started by hand, it starts itself again under dbus-run-session with the
// bus configuration given, and only that second run goes on.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

// Returns 0 in the run on the private bus; otherwise it does not return unless
// dbus-run-session could not be started (1, said on stderr as `name`).
inline int runOnPrivateBus(int argc, char** argv, const char* busConfig, const char* name)
{
    const char* const marker = "ZENTOR_BENCH_ON_PRIVATE_BUS";
    const char* set = std::getenv(marker);
    if (set && *set)
        return 0;
    setenv(marker, "1", 1);
    std::string config = std::string("--config-file=") + busConfig;
    std::vector<char*> args{const_cast<char*>("dbus-run-session"), config.data(), const_cast<char*>("--")};
    for (int i = 0; i < argc; ++i)
        args.push_back(argv[i]);
    args.push_back(nullptr);
    execvp("dbus-run-session", args.data());
    std::fprintf(stderr, "%s: cannot start dbus-run-session: ", name);
    std::perror(nullptr);
    return 1;
}
