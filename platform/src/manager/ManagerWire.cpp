#include "manager/ManagerWire.h"

#include <cutils/trace.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/ProcessState.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace wire {

using ::android::hardware::hidl_binder_death_recipient;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::IInterface;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::details::HidlInstrumentor;
using ::android::hardware::details::InstrumentationEvent;
using ::android::hidl::base::V1_0::IBase;
using Info = IServiceManager::InstanceDebugInfo;

// The record travels as one flat element of the array; these offsets are
// what both sides agree on.
static_assert(offsetof(Info, interfaceName) == 0, "interfaceName at 0");
static_assert(offsetof(Info, instanceName) == 16, "instanceName at 16");
static_assert(offsetof(Info, pid) == 32, "pid at 32");
static_assert(offsetof(Info, clientPids) == 40, "clientPids at 40");
static_assert(offsetof(Info, arch) == 56, "arch at 56");
static_assert(sizeof(Info) == 64, "InstanceDebugInfo is 64 bytes");

status_t writeDebugInfoVec(const hidl_vec<Info>& vec, Parcel* parcel) {
    size_t parentHandle = 0;
    status_t err = parcel->writeBuffer(&vec, sizeof(vec), &parentHandle);
    if (err != OK) return err;
    size_t childHandle = 0;
    err = parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(Info), &childHandle,
                                      parentHandle, hidl_vec<Info>::kOffsetOfBuffer);
    if (err != OK) return err;
    for (size_t i = 0; i < vec.size(); ++i) {
        const size_t base = i * sizeof(Info);
        err = ::android::hardware::writeEmbeddedToParcel(vec[i].interfaceName, parcel, childHandle,
                                                         base + offsetof(Info, interfaceName));
        if (err != OK) return err;
        err = ::android::hardware::writeEmbeddedToParcel(vec[i].instanceName, parcel, childHandle,
                                                         base + offsetof(Info, instanceName));
        if (err != OK) return err;
        size_t pidsHandle = 0;
        err = parcel->writeEmbeddedBuffer(
                vec[i].clientPids.data(), vec[i].clientPids.size() * sizeof(int32_t), &pidsHandle,
                childHandle,
                base + offsetof(Info, clientPids) + hidl_vec<int32_t>::kOffsetOfBuffer);
        if (err != OK) return err;
    }
    return OK;
}

status_t readDebugInfoVec(const Parcel& parcel, const hidl_vec<Info>** out) {
    size_t parentHandle = 0;
    const void* raw = nullptr;
    status_t err = parcel.readBuffer(sizeof(hidl_vec<Info>), &parentHandle, &raw);
    if (err != OK) return err;
    const auto* vec = static_cast<const hidl_vec<Info>*>(raw);
    size_t childHandle = 0;
    const void* elements = nullptr;
    err = parcel.readNullableEmbeddedBuffer(vec->size() * sizeof(Info), &childHandle, parentHandle,
                                            hidl_vec<Info>::kOffsetOfBuffer, &elements);
    if (err != OK) return err;
    if (elements == nullptr && vec->size() != 0) return BAD_VALUE;
    for (size_t i = 0; i < vec->size(); ++i) {
        const Info& info = (*vec)[i];
        const size_t base = i * sizeof(Info);
        err = ::android::hardware::readEmbeddedFromParcel(info.interfaceName, parcel, childHandle,
                                                          base + offsetof(Info, interfaceName));
        if (err != OK) return err;
        err = ::android::hardware::readEmbeddedFromParcel(info.instanceName, parcel, childHandle,
                                                          base + offsetof(Info, instanceName));
        if (err != OK) return err;
        size_t pidsHandle = 0;
        const void* pids = nullptr;
        err = parcel.readNullableEmbeddedBuffer(
                info.clientPids.size() * sizeof(int32_t), &pidsHandle, childHandle,
                base + offsetof(Info, clientPids) + hidl_vec<int32_t>::kOffsetOfBuffer, &pids);
        if (err != OK) return err;
        if (pids == nullptr && info.clientPids.size() != 0) return BAD_VALUE;
    }
    *out = vec;
    return OK;
}

namespace {

void report(HidlInstrumentor* instrumentor, InstrumentationEvent event, const char* interface,
            const char* method, std::vector<void*>* args) {
    for (const auto& callback : instrumentor->getInstrumentationCallbacks()) {
        callback(event, kPackage, kVersion, interface, method, args);
    }
}

}  // namespace

Return<void> clientCall(
        IInterface* self, HidlInstrumentor* instrumentor, const Call& call, std::vector<void*> args,
        const std::function<status_t(Parcel*)>& writeArgs,
        const std::function<status_t(const Parcel&, std::vector<void*>*)>& readResults) {
    const bool instrument = instrumentor->isInstrumentationEnabled();
    const std::string traceName =
            std::string("HIDL::") + call.interface + "::" + call.method + "::client";
    atrace_begin(ATRACE_TAG_HAL, traceName.c_str());
    struct TraceEnd {
        ~TraceEnd() { atrace_end(ATRACE_TAG_HAL); }
    } traceEnd;
    if (instrument) {
        report(instrumentor, InstrumentationEvent::CLIENT_API_ENTRY, call.interface, call.method,
               &args);
    }

    Status status;
    Parcel data;
    Parcel reply;
    status_t err = data.writeInterfaceToken(call.descriptor);
    if (err == OK && writeArgs) err = writeArgs(&data);
    if (err != OK) {
        status.setFromStatusT(err);
        return status;
    }

    // The results are read inside the reply callback: only there are the
    // buffers of a reply from this process's own stub still alive.
    bool replied = false;
    status_t replyErr = OK;
    auto onReply = [&](const Parcel& r) {
        replied = true;
        replyErr = ::android::hardware::readFromParcel(&status, r);
        if (replyErr != OK || !status.isOk()) return;
        std::vector<void*> results;
        if (readResults) replyErr = readResults(r, &results);
        if (replyErr == OK && instrument) {
            report(instrumentor, InstrumentationEvent::CLIENT_API_EXIT, call.interface, call.method,
                   &results);
        }
    };
    {
        sp<IBinder> binder = IInterface::asBinder(self);
        if (binder == nullptr) {
            err = DEAD_OBJECT;
        } else if (call.oneway) {
            err = binder->transact(call.code, data, &reply, IBinder::FLAG_ONEWAY);
        } else {
            err = binder->transact(call.code, data, &reply, 0, [&](Parcel& r) { onReply(r); });
            // A transport that fills the reply without calling back.
            if (err == OK && !replied) onReply(reply);
        }
    }
    if (err == OK) err = replyErr;
    if (err != OK) {
        status.setFromStatusT(err);
        return status;
    }
    if (call.oneway && instrument) {
        std::vector<void*> none;
        report(instrumentor, InstrumentationEvent::CLIENT_API_EXIT, call.interface, call.method,
               &none);
    }
    return status;
}

bool linkToDeath(IBase* proxy, IBinder* remote, const sp<hidl_death_recipient>& recipient,
                 uint64_t cookie, std::mutex* lock,
                 std::vector<sp<hidl_binder_death_recipient>>* recipients) {
    // Death notices arrive on the pool's threads.
    ::android::hardware::ProcessState::self()->startThreadPool();
    sp<hidl_binder_death_recipient> wrapper =
            new hidl_binder_death_recipient(recipient, cookie, proxy);
    std::lock_guard<std::mutex> guard(*lock);
    recipients->push_back(wrapper);
    return remote->linkToDeath(wrapper, nullptr, 0) == OK;
}

bool unlinkToDeath(IBinder* remote, const sp<hidl_death_recipient>& recipient, std::mutex* lock,
                   std::vector<sp<hidl_binder_death_recipient>>* recipients) {
    std::lock_guard<std::mutex> guard(*lock);
    for (auto it = recipients->rbegin(); it != recipients->rend(); ++it) {
        if ((*it)->getRecipient() == recipient) {
            status_t status = remote->unlinkToDeath(*it, nullptr, 0, nullptr);
            recipients->erase(std::next(it).base());
            return status == OK;
        }
    }
    return false;
}

void dropDeathRecipients(std::mutex* lock,
                         std::vector<sp<hidl_binder_death_recipient>>* recipients) {
    std::vector<sp<hidl_binder_death_recipient>> dropped;
    {
        std::lock_guard<std::mutex> guard(*lock);
        dropped.swap(*recipients);
    }
}

ServerCall::ServerCall(HidlInstrumentor* stub, const char* interface, const char* method,
                       std::vector<void*> args)
    : mStub(stub), mInterface(interface), mMethod(method) {
    const std::string traceName = std::string("HIDL::") + interface + "::" + method + "::server";
    atrace_begin(ATRACE_TAG_HAL, traceName.c_str());
    if (mStub->isInstrumentationEnabled()) {
        report(mStub, InstrumentationEvent::SERVER_API_ENTRY, mInterface, mMethod, &args);
    }
}

ServerCall::~ServerCall() {
    if (!mExited) atrace_end(ATRACE_TAG_HAL);
}

void ServerCall::results(std::vector<void*> results) {
    if (mExited) return;
    mExited = true;
    atrace_end(ATRACE_TAG_HAL);
    if (mStub->isInstrumentationEnabled()) {
        report(mStub, InstrumentationEvent::SERVER_API_EXIT, mInterface, mMethod, &results);
    }
}

}  // namespace wire
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
