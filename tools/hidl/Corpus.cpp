// zuv_hidl corpus: the client calls of recordings as fuzzService inputs, so a
// recorded session seeds the fuzzer of an implementation.
#include <sys/stat.h>
#include <vendor/zuv/hardware/fingerprint/1.0/FuzzCalls.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "Recording.h"

namespace zuv_hidl {
namespace {

struct CorpusOptions {
    std::vector<std::string> files;
    std::string dir;
};

std::string stem(const std::string& path) {
    const size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot != 0) name.resize(dot);
    return name;
}

int corpus(const CorpusOptions& o) {
    if (::mkdir(o.dir.c_str(), 0755) != 0 && errno != EEXIST) {
        std::fprintf(stderr, "zuv_hidl corpus: cannot create %s: %s\n", o.dir.c_str(),
                     std::strerror(errno));
        return 2;
    }
    for (const std::string& file : o.files) {
        std::vector<::vendor::zuv::hardware::fingerprint::V1_0::fuzz::PlannedCall> calls;
        try {
            // The client's own calls; those made inside a call back are the
            // client answering, not asking.
            for (const RecordedEvent& e : readRecording(file).events)
                if (e.isCall && e.side == "client" && e.inside == 0)
                    calls.push_back({e.interface->name, e.operation->name, e.args});
        } catch (const RecordingError& e) {
            std::fprintf(stderr, "zuv_hidl corpus: %s\n", e.what());
            return 2;
        }
        const std::vector<uint8_t> input =
                ::vendor::zuv::hardware::fingerprint::V1_0::fuzz::encodeCalls(calls);
        const std::string out = o.dir + "/" + stem(file) + ".input";
        std::ofstream f(out, std::ios::binary | std::ios::trunc);
        f.write(reinterpret_cast<const char*>(input.data()),
                static_cast<std::streamsize>(input.size()));
        if (!f.flush()) {
            std::fprintf(stderr, "zuv_hidl corpus: cannot write %s: %s\n", out.c_str(),
                         std::strerror(errno));
            return 2;
        }
        const size_t used =
                std::min(calls.size(), ::vendor::zuv::hardware::fingerprint::V1_0::fuzz::kMaxCalls);
        std::printf("%s: %zu calls -> %s (%zu bytes)", file.c_str(), used, out.c_str(),
                    input.size());
        if (used < calls.size())
            std::printf(
                    "; the %zu calls after the first %zu are left out (an input makes at most %zu)",
                    calls.size() - used, used,
                    ::vendor::zuv::hardware::fingerprint::V1_0::fuzz::kMaxCalls);
        std::printf("\n");
    }
    return 0;
}

}  // namespace

Command addCorpusCommand(CLI::App& app) {
    auto options = std::make_shared<CorpusOptions>();
    CLI::App* cmd = app.add_subcommand(
            "corpus",
            "turn recordings into fuzzService inputs, one per recording, to seed a fuzzer");
    cmd->add_option("FILE", options->files, "recordings (JSON Lines)")
            ->required()
            ->check(CLI::ExistingFile);
    cmd->add_option("-o,--output", options->dir, "the corpus directory (made when missing)")
            ->required();
    cmd->footer(
            "Writes DIR/<recording name>.input. Exit status: 0, or 2 for usage or a bad "
            "recording.");
    return {cmd, [options] { return corpus(*options); }};
}

}  // namespace zuv_hidl
