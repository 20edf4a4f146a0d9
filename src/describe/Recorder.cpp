// The call recorder: with ZUV_HIDL_RECORD=FILE set, every call this process
// makes through a proxy or serves through a stub of the package's interfaces
// becomes one JSON line in FILE (the format `zuv_hidl replay` reads).
//
// Each line is written with one write(2) on an O_APPEND descriptor by the
// thread whose call ended, without a lock: the kernel keeps lines whole, a
// slow disk delays only the call writing, and SIGKILL loses at most the
// calls in progress.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <fcntl.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Log.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/TraceExport.h>
#include <hidl_host/UniqueFd.h>
#include <hidl_host/frame/CallObserver.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/IPCThreadState.h>
#include <time.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "StatusNames.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {
namespace {

using ::android::wp;
using ::android::hardware::IBinder;
using ::android::hardware::IInterface;
using ::android::hardware::Status;
using ::android::hardware::frame::ObservedOperation;

constexpr const char* kRecordEnvVar = "ZUV_HIDL_RECORD";

int64_t monotonicNs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

using status_names::exceptionName;
using status_names::transportStatusName;

// An object as the recording knows it: a local object by its address; an
// object behind a proxy by its transport and handle, which every proxy of it
// shares, however many the process makes.
struct ObjectKey {
    const void* where = nullptr;
    uint64_t handle = UINT64_MAX;  // UINT64_MAX for a local object
    bool operator==(const ObjectKey& o) const { return where == o.where && handle == o.handle; }
};
struct ObjectKeyHash {
    size_t operator()(const ObjectKey& k) const {
        return std::hash<const void*>()(k.where) ^ (std::hash<uint64_t>()(k.handle) << 1);
    }
};

ObjectKey keyOf(IBinder* binder) {
    if (binder == nullptr) return {};
    // A stub of this process, or a loopback proxy of one, stands for the
    // local object it serves.
    ::android::sp<IBinder> local = binder;
    if (::android::hardware::host::isLoopbackProxy(local))
        local = ::android::hardware::host::loopbackTargetOf(local);
    if (local != nullptr && local->localBinder() != nullptr &&
        local->checkSubclass(IBase::descriptor)) {
        return {static_cast<::android::hidl::base::V1_0::BnHwBase*>(local.get())->getImpl().get()};
    }
    if (::android::hardware::BpHwBinder* remote = binder->remoteBinder())
        return {remote->transport().get(), remote->handle()};
    return {binder};
}

ObjectKey keyOf(IBase* object) {
    if (object == nullptr) return {};
    if (object->isRemote())
        return keyOf(::android::hardware::getOrCreateCachedBinder(object).get());
    return {object};
}

// One call between its begin and its end.
struct Pending {
    uint64_t seq = 0;
    int64_t startNs = 0;
    bool server = false;
    const InterfaceOps* iface = nullptr;
    const Operation* op = nullptr;
    ObjectKey key;  // the object's entry in the table
    std::string object;
    std::string instance;
    json args;
    uint64_t inside = 0;  // none
    json result;
};

class Recorder;

// Tells the recorder of the death of a proxy's object it recorded.
class DeathWatch : public IBinder::DeathRecipient {
  public:
    explicit DeathWatch(Recorder* recorder) : mRecorder(recorder) {}
    void binderDied(const wp<IBinder>& who) override;

  private:
    Recorder* const mRecorder;
};

class Recorder final : public ::android::hardware::frame::CallObserver {
  public:
    Recorder(::android::hardware::host::UniqueFd fd, std::string path)
        : mFd(std::move(fd)), mPath(std::move(path)) {
        mWatch = new DeathWatch(this);
        json header = {{"format", "zuv-hidl-recording"},
                       {"version", 1},
                       {"pid", static_cast<int64_t>(getpid())},
                       {"program", ::android::hardware::host::programName()},
                       {"start_ns", monotonicNs()}};
        writeLine(header);
    }

    void* clientBegin(const ObservedOperation& o, IInterface* proxy,
                      const void* const* args) override {
        if (mFailed.load(std::memory_order_relaxed)) return nullptr;
        const ::android::sp<IBinder> binder = IInterface::asBinder(proxy);
        auto pending = start(o, keyOf(binder.get()), false);
        if (pending == nullptr) return nullptr;
        const ObjectRef ref = objectRef(pending->key, nullptr, pending->iface->name);
        pending->object = ref.name;
        pending->instance = ref.instance;
        pending->args = pending->op->argsToJson(args, namer());
        if (!tServing.empty()) pending->inside = tServing.back();
        if (ref.firstSeen && binder != nullptr && binder->remoteBinder() != nullptr)
            (void)binder->linkToDeath(mWatch);
        // Calls served while this one waits on its callee are inside it.
        const pid_t callee = ::android::hardware::host::socketBinderPid(binder);
        if (!o.oneway && callee > 0) {
            std::lock_guard<std::mutex> lock(mLock);
            mWaiting.emplace(pending->seq, callee);
        }
        return pending.release();
    }

    void* serverBegin(const ObservedOperation& o, IBase* object, const void* const* args) override {
        if (mFailed.load(std::memory_order_relaxed)) return nullptr;
        auto pending = start(o, keyOf(object), true);
        if (pending == nullptr) return nullptr;
        const ObjectRef ref = objectRef(pending->key, object, pending->iface->name);
        pending->object = ref.name;
        pending->instance = ref.instance;
        pending->args = pending->op->argsToJson(args, namer());
        const pid_t caller = ::android::hardware::IPCThreadState::self()->getCallingPid();
        {
            std::lock_guard<std::mutex> lock(mLock);
            for (const auto& [seq, pid] : mWaiting) {  // oldest first
                if (pid == caller) {
                    pending->inside = seq;
                    break;
                }
            }
        }
        tServing.push_back(pending->seq);
        return pending.release();
    }

    void result(void* token, const void* value) override {
        auto* pending = static_cast<Pending*>(token);
        if (pending->op->resultToJson) pending->result = pending->op->resultToJson(value);
    }

    void end(void* token, const Status& status) override {
        std::unique_ptr<Pending> pending(static_cast<Pending*>(token));
        const int64_t endNs = monotonicNs();
        if (pending->server) {
            // Served calls nest on a thread, so this one is the innermost.
            if (!tServing.empty() && tServing.back() == pending->seq) tServing.pop_back();
        } else {
            std::lock_guard<std::mutex> lock(mLock);
            mWaiting.erase(pending->seq);
        }
        json line = {{"event", "call"},
                     {"seq", pending->seq},
                     {"time_ns", pending->startNs},
                     {"duration_ns", endNs - pending->startNs},
                     {"pid", static_cast<int64_t>(getpid())},
                     {"side", pending->server ? "server" : "client"},
                     {"interface", pending->iface->name}};
        if (!pending->instance.empty()) line["instance"] = pending->instance;
        line["object"] = pending->object;
        line["operation"] = pending->op->name;
        line["args"] = std::move(pending->args);
        if (status.isOk()) {
            line["status"] = "OK";
            if (!pending->result.is_null()) {
                const std::string& name = pending->op->result.name;
                line["result"] = json{{name.empty() ? "result" : name, pending->result}};
            }
        } else if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED) {
            line["status"] = transportStatusName(status.transactionError());
        } else {
            line["status"] = exceptionName(status.exceptionCode());
            line["message"] = status.exceptionMessage();
        }
        if (pending->inside != 0) line["inside"] = pending->inside;
        writeLine(line);
        if (!pending->server && status.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
            status.transactionError() == ::android::DEAD_OBJECT)
            died(pending->key);
    }

    void serviceFound(const std::string& instance, IBase* object) override {
        if (object == nullptr) return;
        const ObjectKey key = keyOf(object);
        std::lock_guard<std::mutex> lock(mLock);
        mInstances[key] = instance;
    }

    void serviceRegistered(const std::string& instance, IBase* object) override {
        if (object == nullptr) return;
        const ObjectKey key = keyOf(object);
        std::lock_guard<std::mutex> lock(mLock);
        mInstances[key] = instance;
    }

    // The object behind `key` died: one death line, the first time.
    void died(const ObjectKey& key) {
        json line;
        {
            std::lock_guard<std::mutex> lock(mLock);
            auto it = mObjects.find(key);
            if (it == mObjects.end() || it->second.deathWritten) return;
            it->second.deathWritten = true;
            line = {{"event", "death"},          {"seq", mSeq.fetch_add(1) + 1},
                    {"time_ns", monotonicNs()},  {"pid", static_cast<int64_t>(getpid())},
                    {"object", it->second.name}, {"interface", it->second.interface}};
            if (!it->second.instance.empty()) line["instance"] = it->second.instance;
        }
        writeLine(line);
    }

  private:
    struct Entry {
        std::string name;  // IZuvExtendedFingerprint#1
        std::string interface;
        std::string instance;
        // For a local object: whether the entry is still this object's and
        // not a dead one's at the same address.
        wp<IBase> local;
        bool deathWritten = false;
    };
    struct ObjectRef {
        std::string name;
        std::string instance;
        bool firstSeen = false;
    };

    std::unique_ptr<Pending> start(const ObservedOperation& o, const ObjectKey& key, bool server) {
        const InterfaceOps* iface = findInterface(o.descriptor);
        if (iface == nullptr || o.code == 0 || o.code > iface->operations.size()) return nullptr;
        auto pending = std::make_unique<Pending>();
        pending->seq = mSeq.fetch_add(1) + 1;
        pending->startNs = monotonicNs();
        pending->server = server;
        pending->iface = iface;
        pending->op = &iface->operations[o.code - 1];
        pending->key = key;
        return pending;
    }

    ObjectNamer namer() {
        return [this](IBase* object, const std::string& interface) -> json {
            if (object == nullptr) return nullptr;
            const ObjectKey key = keyOf(object);
            return {{"object",
                     objectRef(key, object->isRemote() ? nullptr : object, interface).name}};
        };
    }

    // The reference of the object at `key`, given one on first sight.
    ObjectRef objectRef(const ObjectKey& key, IBase* local, const std::string& interface) {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mObjects.find(key);
        if (it != mObjects.end()) {
            const bool same = key.handle != UINT64_MAX || it->second.local.promote() != nullptr;
            if (same) return {it->second.name, it->second.instance, false};
            mObjects.erase(it);
        }
        Entry e;
        e.name = interface + "#" + std::to_string(++mObjectCount[interface]);
        e.interface = interface;
        auto known = mInstances.find(key);
        if (known != mInstances.end()) e.instance = known->second;
        if (local != nullptr) e.local = local;
        ObjectRef ref{e.name, e.instance, true};
        mObjects.emplace(key, std::move(e));
        return ref;
    }

    // One write per line; the first failure is told once and ends the
    // recording.
    void writeLine(const json& line) {
        if (mFailed.load(std::memory_order_relaxed)) return;
        const std::string text = line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
        size_t done = 0;
        while (done < text.size()) {
            const ssize_t n = ::write(mFd.get(), text.data() + done, text.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                const int err = n < 0 ? errno : ENOSPC;
                if (!mFailed.exchange(true)) {
                    ::android::hardware::host::logf(
                            ::android::hardware::host::LogLevel::Error,
                            "%s: cannot write the call recording %s: %s; calls are no "
                            "longer recorded (free space or choose another %s)\n",
                            ::android::hardware::host::programName().c_str(), mPath.c_str(),
                            std::strerror(err), kRecordEnvVar);
                }
                return;
            }
            done += static_cast<size_t>(n);
        }
    }

    const ::android::hardware::host::UniqueFd mFd;
    const std::string mPath;
    std::atomic<bool> mFailed{false};
    std::atomic<uint64_t> mSeq{0};
    ::android::sp<DeathWatch> mWatch;

    std::mutex mLock;  // guards the tables below
    std::unordered_map<ObjectKey, Entry, ObjectKeyHash> mObjects;
    std::unordered_map<std::string, uint64_t> mObjectCount;
    std::unordered_map<ObjectKey, std::string, ObjectKeyHash> mInstances;
    std::map<uint64_t, pid_t> mWaiting;  // client calls in progress by seq: the callee's pid

    // The seqs of the calls this thread is serving, innermost last.
    static thread_local std::vector<uint64_t> tServing;
};

thread_local std::vector<uint64_t> Recorder::tServing;

void DeathWatch::binderDied(const wp<IBinder>& who) {
    mRecorder->died(keyOf(who.unsafe_get()));
}

// FILE with %p replaced by the pid.
std::string expandPath(const std::string& pattern) {
    std::string out;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%' && i + 1 < pattern.size() && pattern[i + 1] == 'p') {
            out += std::to_string(getpid());
            ++i;
        } else {
            out += pattern[i];
        }
    }
    return out;
}

// Installed once per process, at load time; lives as long as the process,
// since calls in progress may use it until the end.
bool installFromEnvironment() {
    const char* value = std::getenv(kRecordEnvVar);
    if (value == nullptr || value[0] == '\0') return false;
    const std::string pattern = value;
    // One file per process only with %p; otherwise the programs this one
    // starts would write into the same file.
    if (pattern.find("%p") == std::string::npos) unsetenv(kRecordEnvVar);
    const std::string path = expandPath(pattern);
    ::android::hardware::host::UniqueFd fd(
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644));
    if (!fd) {
        ::android::hardware::host::logf(
                ::android::hardware::host::LogLevel::Error,
                "%s: cannot open the call recording %s (from %s): %s; calls are not "
                "recorded (choose a writable path)\n",
                ::android::hardware::host::programName().c_str(), path.c_str(), kRecordEnvVar,
                std::strerror(errno));
        return false;
    }
    ::android::hardware::frame::setCallObserver(new Recorder(std::move(fd), path));
    return true;
}

[[maybe_unused]] const bool gInstalled = installFromEnvironment();

}  // namespace
}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
