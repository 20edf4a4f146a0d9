// Real processes for the multiprocess tests: started with pipes to their
// stdin and stdout, read line by line with deadlines, and always stopped
// (SIGTERM, then SIGKILL) and reaped when the test ends, however it ends.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <hidl_host/UniqueFd.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZUV_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZUV_SANITIZED 1
#endif
#endif

namespace zuv_mp {

using ::android::hardware::host::UniqueFd;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// A bound on resident memory (kB) a test asserts. Under a sanitizer, freed
// memory waits in quarantine (256 MiB at most) and every allocation has
// shadow memory, so resident memory says little of the code's own use: the
// bound holds there only with that much slack, and the default build checks it.
// Likewise a bound on time or CPU: a sanitizer makes the code several times
// slower, the thread sanitizer most.
#ifdef ZUV_SANITIZED
constexpr long kSanitizerSlackKb = 320 * 1024;
constexpr long kSanitizerSlowdown = 5;
#else
constexpr long kSanitizerSlackKb = 0;
constexpr long kSanitizerSlowdown = 1;
#endif
template <typename T>
T timeBound(T t) {
    return t * kSanitizerSlowdown;
}
inline long memoryBoundKb(long kb) {
    return kb + kSanitizerSlackKb;
}

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Generous: the suite must hold on a loaded two-core machine.
constexpr auto kLineTimeout = 30s;
constexpr auto kStopTimeout = 10s;

// A private directory, removed with everything in it at the end.
class TempDir {
  public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zuv-mp.XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) mPath = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        if (!mPath.empty()) std::filesystem::remove_all(mPath, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

class Process {
  public:
    using Env = std::map<std::string, std::string>;

    // Null when the program could not be started. stderrPath, when given,
    // receives the program's stderr.
    static std::unique_ptr<Process> start(const std::vector<std::string>& argv, const Env& env,
                                          const std::string& stderrPath = "") {
        int inEnds[2], outEnds[2];
        if (pipe2(inEnds, O_CLOEXEC) != 0) return nullptr;
        UniqueFd childIn(inEnds[0]), in(inEnds[1]);
        if (pipe2(outEnds, O_CLOEXEC) != 0) return nullptr;
        UniqueFd out(outEnds[0]), childOut(outEnds[1]);
        std::vector<std::string> envStrings;
        for (char** e = environ; *e != nullptr; ++e) {
            std::string entry = *e;
            if (env.count(entry.substr(0, entry.find('='))) == 0) envStrings.push_back(entry);
        }
        for (const auto& [key, value] : env) envStrings.push_back(key + "=" + value);
        std::vector<char*> envp, args;
        for (auto& s : envStrings) envp.push_back(s.data());
        envp.push_back(nullptr);
        std::vector<std::string> argvCopy = argv;
        for (auto& s : argvCopy) args.push_back(s.data());
        args.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, childIn.get(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, childOut.get(), STDOUT_FILENO);
        if (!stderrPath.empty()) {
            posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, stderrPath.c_str(),
                                             O_WRONLY | O_CREAT | O_APPEND, 0600);
        }
        pid_t pid = -1;
        int err = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        if (err != 0) return nullptr;
        return std::unique_ptr<Process>(new Process(pid, std::move(in), std::move(out)));
    }

    ~Process() { stop(); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return mPid; }

    bool send(const std::string& line) {
        std::string data = line + "\n";
        return mIn.valid() &&
               write(mIn.get(), data.data(), data.size()) == static_cast<ssize_t>(data.size());
    }

    // The first unread line starting with prefix (earlier lines that do not
    // match stay for later calls); nullopt on timeout or end of output.
    std::optional<std::string> line(const std::string& prefix,
                                    std::chrono::milliseconds timeout = kLineTimeout) {
        const auto deadline = Clock::now() + timeout;
        while (true) {
            for (auto it = mLines.begin(); it != mLines.end(); ++it) {
                if (it->compare(0, prefix.size(), prefix) == 0) {
                    std::string found = *it;
                    mLines.erase(it);
                    return found;
                }
            }
            if (!readMore(deadline)) return std::nullopt;
        }
    }

    // Sends a command and returns its answer line.
    std::optional<std::string> ask(const std::string& command, const std::string& answerPrefix) {
        if (!send(command)) return std::nullopt;
        return line(answerPrefix);
    }

    // Every line up to (not including) the first one equal to end.
    std::optional<std::vector<std::string>> linesUntil(const std::string& end) {
        std::vector<std::string> out;
        while (true) {
            auto l = line("");
            if (!l) return std::nullopt;
            if (*l == end) return out;
            out.push_back(*l);
        }
    }

    void signal(int sig) {
        if (!mReaped) ::kill(mPid, sig);
    }

    // The exit status as waitpid reports it, or nullopt while it runs on.
    std::optional<int> waitExit(std::chrono::milliseconds timeout) {
        const auto deadline = Clock::now() + timeout;
        while (!mReaped) {
            int status = 0;
            pid_t r = waitpid(mPid, &status, WNOHANG);
            if (r == mPid) {
                mReaped = true;
                mStatus = status;
                break;
            }
            if (Clock::now() >= deadline) return std::nullopt;
            usleep(10 * 1000);
        }
        return mStatus;
    }

    // The code of a process that exited within timeout; -1 while it runs on
    // or when a signal ended it.
    int exitCode(std::chrono::milliseconds timeout = kLineTimeout) {
        const auto status = waitExit(timeout);
        return status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
    }

    void stop() {
        if (mReaped) return;
        signal(SIGTERM);
        if (!waitExit(kStopTimeout)) {
            signal(SIGKILL);
            waitExit(kStopTimeout);
        }
    }

  private:
    Process(pid_t pid, UniqueFd in, UniqueFd out)
        : mPid(pid), mIn(std::move(in)), mOut(std::move(out)) {}

    bool readMore(Clock::time_point deadline) {
        while (true) {
            auto left =
                    std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return false;
            pollfd pfd{mOut.get(), POLLIN, 0};
            int r = poll(&pfd, 1, static_cast<int>(left.count()));
            if (r < 0 && errno == EINTR) continue;
            if (r <= 0) return false;
            char buffer[4096];
            ssize_t n = read(mOut.get(), buffer, sizeof(buffer));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            mPartial.append(buffer, static_cast<size_t>(n));
            bool complete = false;
            for (size_t nl; (nl = mPartial.find('\n')) != std::string::npos;) {
                mLines.push_back(mPartial.substr(0, nl));
                mPartial.erase(0, nl + 1);
                complete = true;
            }
            if (complete) return true;
        }
    }

    const pid_t mPid;
    UniqueFd mIn;
    const UniqueFd mOut;
    bool mReaped = false;
    int mStatus = 0;
    std::string mPartial;
    std::deque<std::string> mLines;
};

// Polls until pred holds, at most for timeout; answers whether it held.
template <typename Pred>
bool eventually(Pred pred, std::chrono::milliseconds timeout = kLineTimeout,
                std::chrono::milliseconds every = 2ms) {
    for (const auto end = Clock::now() + timeout; Clock::now() < end;) {
        if (pred()) return true;
        std::this_thread::sleep_for(every);
    }
    return pred();
}

inline std::string fileText(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A program run to its end.
struct Outcome {
    pid_t pid = -1;
    int exitCode = -1;               // -1 unless it exited
    std::vector<std::string> lines;  // stdout
    std::string err;
    std::string text() const {
        std::string s;
        for (const std::string& l : lines) s += l + "\n";
        return s;
    }
};

// A test whose processes share a private runtime directory.
class ProcessTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_FALSE(mDir.path().empty()); }

    std::string runtimeDir() const { return mDir.path() + "/run"; }
    // What every process of the test gets (mEnv and the runtime directory),
    // with extra on top.
    Process::Env env(const Process::Env& extra = {}) const {
        Process::Env e = mEnv;
        e["ZUV_HIDL_RUNTIME_DIR"] = runtimeDir();
        for (const auto& [key, value] : extra) e[key] = value;
        return e;
    }

    // Started with its "ready" line (kept in *ready), or null and failed.
    std::unique_ptr<Process> started(const std::vector<std::string>& argv,
                                     const Process::Env& extra = {},
                                     const std::string& stderrPath = "",
                                     std::string* ready = nullptr) {
        auto p = Process::start(argv, env(extra), stderrPath);
        auto line = p ? p->line("ready") : std::nullopt;
        if (!line) {
            ADD_FAILURE() << argv[0] << " " << (argv.size() > 1 ? argv[1] : "")
                          << " never got ready";
            return nullptr;
        }
        if (ready != nullptr) *ready = *line;
        return p;
    }

#ifdef ZUV_SERVICEMANAGER_PATH
    // The daemon, its stderr in managerLog().
    std::unique_ptr<Process> manager(std::vector<std::string> args = {},
                                     const Process::Env& extra = {}) {
        args.insert(args.begin(), ZUV_SERVICEMANAGER_PATH);
        return started(args, extra, managerLog());
    }
    std::string managerLog() const {
        return mDir.path() + "/manager.log";
    }
#endif
#ifdef ZUV_TEST_PEER_PATH
    std::unique_ptr<Process> peer(const Process::Env& extra = {}, const std::string& log = "") {
        return started({ZUV_TEST_PEER_PATH}, extra, log);
    }
#endif

    Outcome run(const std::vector<std::string>& argv, const Process::Env& extra = {}) {
        const std::string errPath = mDir.path() + "/stderr" + std::to_string(++mRuns);
        Outcome out;
        auto p = Process::start(argv, env(extra), errPath);
        if (p == nullptr) {
            ADD_FAILURE() << "cannot start " << argv[0];
            return out;
        }
        out.pid = p->pid();
        while (auto l = p->line("")) out.lines.push_back(*l);
        out.exitCode = p->exitCode();
        out.err = fileText(errPath);
        return out;
    }

#ifdef ZUV_HIDL_PATH
    Outcome hidl(std::vector<std::string> args) {
        args.insert(args.begin(), ZUV_HIDL_PATH);
        return run(args);
    }
#endif

    TempDir mDir;  // declared first: outlives every process of the test
    Process::Env mEnv;
    int mRuns = 0;
};

}  // namespace zuv_mp
