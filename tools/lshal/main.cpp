// zuv_lshal: the short form of `zuv_hidl list`, with the options it has
// always had.
#include <hidl_host/SocketTransport.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "List.h"

namespace {

void usage(FILE* out) {
    std::fprintf(out,
                 "usage: zuv_lshal [--runtime-dir DIR] [--ping] [--debug] [--json]\n"
                 "  --runtime-dir DIR  ask the service manager serving DIR (default: $%s,\n"
                 "                     else the transport's default)\n"
                 "  --ping             ping each service; exit 1 when one does not answer\n"
                 "  --debug            show each service's interface chain and debug info\n"
                 "  --json             one JSON array instead of the table\n"
                 "Exits 1 when no zuv_hwservicemanager serves the directory.\n"
                 "The same as `zuv_hidl list`.\n",
                 ::android::hardware::host::kRuntimeDirEnvVar);
}

}  // namespace

int main(int argc, char** argv) {
    bool ping = false, debug = false, json = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--runtime-dir" && i + 1 < argc) {
            setenv(::android::hardware::host::kRuntimeDirEnvVar, argv[++i], 1);
        } else if (arg == "--ping") {
            ping = true;
        } else if (arg == "--debug") {
            debug = true;
        } else if (arg == "--json") {
            json = true;
        } else if (arg == "--help" || arg == "-h") {
            usage(stdout);
            return 0;
        } else {
            usage(stderr);
            return 2;
        }
    }
    return zuv_hidl::runList("zuv_lshal", ping, debug, json);
}
