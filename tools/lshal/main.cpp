// zuv_lshal: the short form of `zuv_hidl list`, with the options it has
// always had.
#include <hidl_host/SocketTransport.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>

#include "List.h"

int main(int argc, char** argv) {
    CLI::App app{
            "zuv_lshal: the services the service manager of a runtime directory knows; the same "
            "as `zuv_hidl list`.\n"
            "Exit status: 0 listed, 1 no zuv_hwservicemanager serves the directory or a ping "
            "failed, 2 usage."};
    std::string runtimeDir;
    bool ping = false, debug = false, json = false;
    app.add_option("--runtime-dir", runtimeDir,
                   std::string("ask the service manager serving DIR (default: $") +
                           ::android::hardware::host::kRuntimeDirEnvVar +
                           ", else the transport's default)");
    app.add_flag("--ping", ping, "ping each service; exit 1 when one does not answer");
    app.add_flag("--debug", debug, "show each service's interface chain and debug info");
    app.add_flag("--json", json, "one JSON array instead of the table");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    if (!runtimeDir.empty())
        setenv(::android::hardware::host::kRuntimeDirEnvVar, runtimeDir.c_str(), 1);
    return zuv_hidl::runList("zuv_lshal", ping, debug, json);
}
