// Host-only: the binder transport between processes, over Unix domain
// sockets. Not part of the platform API; the package never includes this
// header.
//
// Every process that hands out a local object listens on its own socket in
// the runtime directory ("p<pid>.sock", opened on the first export). The
// service manager's process additionally serves the well-known context-object
// socket ("hwservicemanager.sock"), through which other processes find it.
//
// Environment variables:
//   ZUV_HIDL_RUNTIME_DIR  directory of the sockets (default
//                         "$XDG_RUNTIME_DIR/zuv-hidl", or "/tmp/zuv-hidl-<uid>"
//                         without XDG_RUNTIME_DIR). Created with mode 0700; a
//                         directory owned by another user or open to others is
//                         refused.
//
// Threads: incoming calls are served by the process's binder thread pool
// (configureRpcThreadpool, ProcessState::startThreadPool, joinRpcThreadpool,
// which makes the caller one of them), all waiting on one epoll set. A
// process that configured none gets one serving thread when it first needs
// one. What each peer may cost (connections, buffered bytes, queued oneway
// calls, descriptors and references per frame) is bounded; the limits and
// their ZUV_HIDL_MAX_* overrides are listed in the README.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace android {
namespace hardware {
namespace host {

constexpr const char* kRuntimeDirEnvVar = "ZUV_HIDL_RUNTIME_DIR";
constexpr const char* kContextObjectSocketName = "hwservicemanager.sock";

// The runtime directory as configured (not created, not checked).
std::string runtimeDirectory();

// Makes this process serve object as the context object (handle 0) on the
// well-known socket; any process of the same user may then call it. Fails
// (ALREADY_EXISTS) when another live process serves it; a socket left behind
// by a dead process is replaced. Fails with PERMISSION_DENIED when the
// runtime directory is unsafe, BAD_VALUE for a null object. With
// listeningFd, serves on that already listening socket instead (one handed
// over by socket activation); its file is then left to whoever made it.
status_t serveContextObject(const sp<BHwBinder>& object, int listeningFd = -1);

// A proxy to the context object of the well-known socket, or null when no
// process serves it. The proxy keeps a connection open so the server's death
// is noticed (its calls then fail with DEAD_OBJECT and recipients are told).
sp<IBinder> getContextObject();

// The deadline of every call this process makes to another process: the
// connect, the send and the wait for the reply. Zero (the default, as on a
// device) waits as long as the peer takes. A call past its deadline fails with
// TIMED_OUT and its connection is closed. ZUV_HIDL_CALL_TIMEOUT_MS sets the
// starting value; the service-manager daemon sets its own. A thread or a
// proxy may have its own (hidl_host/CallDeadline.h).
constexpr const char* kCallTimeoutEnvVar = "ZUV_HIDL_CALL_TIMEOUT_MS";
void setCallTimeout(std::chrono::milliseconds timeout);
std::chrono::milliseconds callTimeout();

// Stops serving: the thread pool's threads return (joinRpcThreadpool too),
// every connection closes, and this process's sockets (with the context
// object's socket and lock when it serves one) are removed. Proxies to other
// processes fail with DEAD_OBJECT afterwards. Safe to call more than once and
// from any thread but a serving one.
void shutdownTransport();

// The fast path: a two-way connection between two processes that both
// enable it carries its calls through a shared-memory mailbox per direction
// instead of the socket, and a waiting side spins briefly before it sleeps
// on a futex (ZUV_HIDL_FAST_PATH_SPIN_US, default 100, bounds the spin; it
// adapts below that). Frames with descriptors or above 16 KiB still travel
// over the socket, as do oneway calls. Off by default; ZUV_HIDL_FAST_PATH=1
// sets the starting value. Affects connections opened or offered afterwards.
constexpr const char* kFastPathEnvVar = "ZUV_HIDL_FAST_PATH";
constexpr const char* kFastPathSpinEnvVar = "ZUV_HIDL_FAST_PATH_SPIN_US";
void setFastPath(bool enabled);

// Whether binder is a proxy of this transport.
bool isSocketBinder(const sp<IBinder>& binder);

// The pid of the process serving the object behind a socket proxy; 0 for
// anything else.
pid_t socketBinderPid(const sp<IBinder>& binder);

// Test hooks: what the transport currently holds in this process.
struct SocketTransportStats {
    size_t exportedNodes = 0;    // local objects some peer may still call
    size_t grants = 0;           // (peer, node) pairs granted
    size_t proxies = 0;          // live proxies to other processes' objects
    size_t peers = 0;            // processes with a live connection record
    size_t openConnections = 0;  // sockets open, both directions
    size_t servingThreads = 0;   // threads currently serving connections
};
SocketTransportStats socketTransportStats();

}  // namespace host
}  // namespace hardware
}  // namespace android
