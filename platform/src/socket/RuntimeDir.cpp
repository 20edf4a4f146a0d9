#include "socket/RuntimeDir.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <hidl_host/Log.h>
#include <hidl_host/SocketTransport.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace android {
namespace hardware {
namespace host {

std::string runtimeDirectory() {
    const char* configured = getenv(kRuntimeDirEnvVar);
    if (configured != nullptr && configured[0] != '\0') return configured;
    const char* xdg = getenv("XDG_RUNTIME_DIR");
    if (xdg != nullptr && xdg[0] != '\0') return std::string(xdg) + "/zuv-hidl";
    return "/tmp/zuv-hidl-" + std::to_string(getuid());
}

namespace socket {

status_t ensureRuntimeDirectory(const std::string& dir) {
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        logf(LogLevel::Error,
             "hidl socket transport: cannot create the runtime directory %s: %s (its parent "
             "must exist; or set %s to a directory of your own)\n",
             dir.c_str(), strerror(errno), kRuntimeDirEnvVar);
        return PERMISSION_DENIED;
    }
    struct stat st;
    if (lstat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        logf(LogLevel::Error,
             "hidl socket transport: %s is not a directory; remove it or set %s to a "
             "directory of your own\n",
             dir.c_str(), kRuntimeDirEnvVar);
        return PERMISSION_DENIED;
    }
    // Anyone else who could enter could connect to (or replace) our sockets.
    if (st.st_uid != getuid() || (st.st_mode & 077) != 0) {
        logf(LogLevel::Error,
             "hidl socket transport: refusing %s: it must belong to uid %u with mode 0700 "
             "(owner %u, mode %03o); %s, or set %s to a directory of your own\n",
             dir.c_str(), static_cast<unsigned>(getuid()), static_cast<unsigned>(st.st_uid),
             static_cast<unsigned>(st.st_mode & 0777),
             st.st_uid == getuid() ? ("run chmod 700 " + dir).c_str() : "it is not yours",
             kRuntimeDirEnvVar);
        return PERMISSION_DENIED;
    }
    return OK;
}

std::string processSocketPath(const std::string& dir, pid_t pid) {
    return dir + "/p" + std::to_string(pid) + ".sock";
}

std::string contextSocketPath(const std::string& dir) {
    return dir + "/" + kContextObjectSocketName;
}

namespace {

bool makeAddress(const std::string& path, sockaddr_un* addr) {
    memset(addr, 0, sizeof(*addr));
    addr->sun_family = AF_UNIX;
    if (path.size() >= sizeof(addr->sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(addr->sun_path, path.c_str(), path.size() + 1);
    return true;
}

}  // namespace

UniqueFd listenAt(const std::string& path) {
    sockaddr_un addr;
    if (!makeAddress(path, &addr)) return UniqueFd();
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.valid()) return fd;
    unlink(path.c_str());
    if (bind(fd.get(), reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0 ||
        listen(fd.get(), 128) != 0) {
        return UniqueFd();  // closing keeps errno
    }
    return fd;
}

void sweepStaleSockets(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (dirent* e = readdir(d)) {
        int pid = 0;
        if (sscanf(e->d_name, "p%d.sock", &pid) != 1 || pid <= 0 || pid == getpid()) continue;
        if (e->d_name != "p" + std::to_string(pid) + ".sock") continue;
        if (kill(pid, 0) != 0 && errno == ESRCH) unlinkat(dirfd(d), e->d_name, 0);
    }
    closedir(d);
}

void setBlocking(int fd) {
    int flags = fcntl(fd, F_GETFL);
    if (flags >= 0) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
}

bool peerCredentials(int fd, pid_t* pid, uid_t* uid) {
    ucred cred{};
    socklen_t len = sizeof(cred);
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0 || len != sizeof(cred)) {
        return false;
    }
    *pid = cred.pid;
    *uid = cred.uid;
    return true;
}

UniqueFd connectTo(const std::string& path, pid_t* pid, uid_t* uid, Deadline deadline) {
    sockaddr_un addr;
    if (!makeAddress(path, &addr)) return UniqueFd();
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.valid()) return fd;
    // A full backlog answers EAGAIN at once; waiting in the kernel instead
    // would let a server that never accepts hold the caller forever.
    auto pause = std::chrono::microseconds(200);
    int err;
    for (;;) {
        err = connect(fd.get(), reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
        if (err == 0 || (errno != EINTR && errno != EAGAIN)) break;
        if (errno == EAGAIN) {
            if (deadline && Clock::now() + pause > *deadline) {
                errno = ETIMEDOUT;
                break;
            }
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(20000));
        }
    }
    if (err != 0 || !peerCredentials(fd.get(), pid, uid)) return UniqueFd();  // keeps errno
    return fd;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
