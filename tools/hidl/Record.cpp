// zuv_hidl record: runs a program with ZUV_HIDL_RECORD set, passes SIGINT and
// SIGTERM on to it, and exits as it did.
#include "Record.h"

#include <fcntl.h>
#include <hidl_host/UniqueFd.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zuv_hidl {
namespace {

constexpr int kUsage = 2;

volatile sig_atomic_t gChild = 0;

void forward(int sig) {
    if (gChild > 0) kill(static_cast<pid_t>(gChild), sig);
}

bool executable(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

// Where execvp would find program; empty when nowhere.
std::string locate(const std::string& program) {
    if (program.find('/') != std::string::npos) return executable(program) ? program : "";
    const char* path = std::getenv("PATH");
    std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= dirs.size()) {
        size_t end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        const std::string dir = end == start ? "." : dirs.substr(start, end - start);
        if (executable(dir + "/" + program)) return dir + "/" + program;
        start = end + 1;
    }
    return "";
}

int record(const std::string& file, std::vector<std::string> command) {
    if (command.empty()) {
        std::fprintf(stderr,
                     "zuv_hidl record: no program given (zuv_hidl record -o FILE -- "
                     "PROGRAM [ARGS...])\n");
        return kUsage;
    }
    if (locate(command.front()).empty()) {
        std::fprintf(stderr,
                     "zuv_hidl record: cannot run %s: no such executable (give its path, or put "
                     "its directory in PATH)\n",
                     command.front().c_str());
        return kUsage;
    }
    // With %p each process names its own file; without, the file is checked
    // (and emptied) here.
    if (file.find("%p") == std::string::npos) {
        const ::android::hardware::host::UniqueFd fd(
                open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        if (!fd) {
            std::fprintf(stderr, "zuv_hidl record: cannot write %s: %s (choose a writable path)\n",
                         file.c_str(), std::strerror(errno));
            return kUsage;
        }
    }

    // The child reports a failed exec through this pipe.
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        std::fprintf(stderr, "zuv_hidl record: pipe: %s\n", std::strerror(errno));
        return kUsage;
    }
    ::android::hardware::host::UniqueFd reportRead(ends[0]);
    ::android::hardware::host::UniqueFd reportWrite(ends[1]);
    std::vector<char*> argv;
    for (std::string& word : command) argv.push_back(word.data());
    argv.push_back(nullptr);

    struct sigaction sa {};
    sa.sa_handler = forward;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);

    const pid_t child = fork();
    if (child < 0) {
        std::fprintf(stderr, "zuv_hidl record: fork: %s\n", std::strerror(errno));
        return kUsage;
    }
    if (child == 0) {
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        setenv("ZUV_HIDL_RECORD", file.c_str(), 1);
        execvp(argv[0], argv.data());
        const int err = errno;
        (void)!write(reportWrite.get(), &err, sizeof err);
        _exit(127);
    }
    gChild = child;
    reportWrite.reset();
    int execErr = 0;
    ssize_t got;
    do {
        got = read(reportRead.get(), &execErr, sizeof execErr);
    } while (got < 0 && errno == EINTR);
    reportRead.reset();

    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            std::fprintf(stderr, "zuv_hidl record: waitpid: %s\n", std::strerror(errno));
            return kUsage;
        }
    }
    if (got == static_cast<ssize_t>(sizeof execErr)) {
        std::fprintf(stderr, "zuv_hidl record: cannot run %s: %s\n", command.front().c_str(),
                     std::strerror(execErr));
        return kUsage;
    }
    struct stat st {};
    if (file.find("%p") == std::string::npos && stat(file.c_str(), &st) == 0 && st.st_size == 0) {
        std::fprintf(stderr,
                     "zuv_hidl record: %s recorded nothing in %s: it does not load "
                     "vendor.zuv.hardware.fingerprint@1.0\n",
                     command.front().c_str(), file.c_str());
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return 1;
}

}  // namespace

void addRecordCommand(CLI::App& app, int argc, char** argv) {
    auto* cmd = app.add_subcommand(
            "record", "run a program with every call it makes and serves recorded as JSON lines");
    auto file = std::make_shared<std::string>();
    cmd->add_option("-o,--output", *file,
                    "the recording to write (%p becomes each recorded process's pid)")
            ->required();
    auto program = std::make_shared<std::string>();
    cmd->add_option("PROGRAM", *program, "the program to run (after --), then its arguments");
    // Everything after PROGRAM is its own.
    cmd->prefix_command();
    cmd->footer(
            "Exits with PROGRAM's status (128+N when signal N ended it), 2 when it cannot be "
            "run or FILE cannot be written.");
    cmd->callback([cmd, file, program, argc, argv] {
        // After a "--" ahead of PROGRAM the words are the program's exactly
        // as given.
        std::vector<std::string> words;
        int i = 1;
        while (i < argc && std::string(argv[i]) != "record") ++i;
        for (++i; i < argc; ++i) {
            const std::string w = argv[i];
            if (w == "--") {
                words.assign(argv + i + 1, argv + argc);
                std::exit(record(*file, words));
            }
            if (w == "-o" || w == "--output") {
                ++i;
            } else if (w.rfind("-o", 0) != 0 && w.rfind("--output=", 0) != 0) {
                break;  // PROGRAM
            }
        }
        if (!program->empty()) words.push_back(*program);
        for (const std::string& w : cmd->remaining()) words.push_back(w);
        std::exit(record(*file, words));
    });
}

}  // namespace zuv_hidl
