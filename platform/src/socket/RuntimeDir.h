// Where the sockets live, and opening them: the runtime directory, the
// socket paths in it, listening, connecting and asking the kernel who is at
// the other end. Plain functions without state: any thread may call them.
#pragma once

#include <hidl_host/UniqueFd.h>
#include <sys/types.h>
#include <utils/Errors.h>

#include <string>

#include "socket/Deadline.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// Creates the runtime directory when missing and checks that only this user
// can enter it. PERMISSION_DENIED (with a logged message) otherwise.
status_t ensureRuntimeDirectory(const std::string& dir);

std::string processSocketPath(const std::string& dir, pid_t pid);
std::string contextSocketPath(const std::string& dir);

// A non-blocking listening socket bound at path (an old file there is
// replaced), or none with errno set.
UniqueFd listenAt(const std::string& path);

// Connects to path; on success fills in the server's pid and uid from the
// kernel. A server whose backlog is full is retried until the deadline
// (ETIMEDOUT). None, with errno set, on failure. The socket is non-blocking.
UniqueFd connectTo(const std::string& path, pid_t* pid, uid_t* uid, Deadline deadline);

// Removes the sockets of processes that no longer exist: a process killed
// has no chance to remove its own.
void sweepStaleSockets(const std::string& dir);

// Clears O_NONBLOCK; operations that must not wait then pass MSG_DONTWAIT.
void setBlocking(int fd);

// The kernel's word on who is at the other end of a connected socket.
bool peerCredentials(int fd, pid_t* pid, uid_t* uid);

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
