#include <android/hidl/base/1.0/BpHwBase.h>
#include <cutils/trace.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/Parcel.h>
#include <hwbinder/ProcessState.h>

#include <string>
#include <utility>

#include "base/BaseWire.h"

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_binder_death_recipient;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::IInterface;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::details::HidlInstrumentor;
using ::android::hardware::details::InstrumentationEvent;

namespace {

enum class Shape { kOneway, kNoResult, kCallback };

// Reads the results out of a reply, hands them to the caller's callback and
// records their addresses for the exit event.
using ResultReader = std::function<status_t(const Parcel& reply, std::vector<void*>* results)>;

void report(HidlInstrumentor* instrumentor, InstrumentationEvent event, const char* method,
            std::vector<void*>* args) {
    for (const auto& callback : instrumentor->getInstrumentationCallbacks()) {
        callback(event, wire::kPackage, wire::kVersion, wire::kInterface, method, args);
    }
}

// One base operation sent over the proxy's binder: trace, entry event,
// request, transaction, status and results, exit event.
Return<void> clientCall(IInterface* self, HidlInstrumentor* instrumentor, const char* method,
                        uint32_t code, Shape shape, std::vector<void*> args,
                        const std::function<status_t(Parcel*)>& writeArgs,
                        const ResultReader& readResults) {
    const bool instrument = instrumentor->isInstrumentationEnabled();
    const std::string traceName =
            std::string("HIDL::") + wire::kInterface + "::" + method + "::client";
    atrace_begin(ATRACE_TAG_HAL, traceName.c_str());
    struct TraceEnd {
        ~TraceEnd() { atrace_end(ATRACE_TAG_HAL); }
    } traceEnd;

    if (instrument) {
        report(instrumentor, InstrumentationEvent::CLIENT_API_ENTRY, method, &args);
    }

    Status status;
    Parcel data;
    Parcel reply;
    status_t err = data.writeInterfaceToken(IBase::descriptor);
    if (err == OK && writeArgs) err = writeArgs(&data);
    if (err != OK) {
        status.setFromStatusT(err);
        return status;
    }

    const uint32_t flags = shape == Shape::kOneway ? IBinder::FLAG_ONEWAY : 0;
    std::vector<void*> results;
    IBinder::TransactCallback onReply;
    if (shape == Shape::kCallback) {
        // An error found inside the reply leaves the status OK and the
        // caller's callback uncalled, as on the platform.
        onReply = [&](Parcel& r) {
            if (::android::hardware::readFromParcel(&status, r) != OK || !status.isOk()) return;
            if (readResults(r, &results) != OK) return;
            if (instrument) {
                report(instrumentor, InstrumentationEvent::CLIENT_API_EXIT, method, &results);
            }
        };
    }
    {
        sp<IBinder> binder = IInterface::asBinder(self);
        if (binder == nullptr) {
            status.setFromStatusT(DEAD_OBJECT);
            return status;
        }
        err = binder->transact(code, data, &reply, flags, onReply);
    }
    if (err != OK) {
        status.setFromStatusT(err);
        return status;
    }
    switch (shape) {
        case Shape::kOneway:
            break;
        case Shape::kNoResult:
            err = ::android::hardware::readFromParcel(&status, reply);
            if (err != OK) {
                status.setFromStatusT(err);
                return status;
            }
            if (!status.isOk()) return status;
            break;
        case Shape::kCallback:
            return status;
    }
    if (instrument) {
        report(instrumentor, InstrumentationEvent::CLIENT_API_EXIT, method, &results);
    }
    return status;
}

}  // namespace

BpHwBase::BpHwBase(const sp<IBinder>& _hidl_impl)
    : BpInterface<IBase>(_hidl_impl), HidlInstrumentor(wire::kFqPackage, wire::kInterface) {}

Return<void> BpHwBase::_hidl_interfaceChain(IInterface* _hidl_this,
                                            HidlInstrumentor* _hidl_this_instrumentor,
                                            IBase::interfaceChain_cb _hidl_cb) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "interfaceChain", wire::kInterfaceChain,
                      Shape::kCallback, {}, nullptr,
                      [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                          const hidl_vec<hidl_string>* chain = nullptr;
                          status_t err = wire::readStringVec(reply, &chain);
                          if (err != OK) return err;
                          _hidl_cb(*chain);
                          results->push_back(const_cast<hidl_vec<hidl_string>*>(chain));
                          return OK;
                      });
}

Return<void> BpHwBase::_hidl_debug(IInterface* _hidl_this,
                                   HidlInstrumentor* _hidl_this_instrumentor, const hidl_handle& fd,
                                   const hidl_vec<hidl_string>& options) {
    return clientCall(
            _hidl_this, _hidl_this_instrumentor, "debug", wire::kDebug, Shape::kNoResult,
            {const_cast<hidl_handle*>(&fd), const_cast<hidl_vec<hidl_string>*>(&options)},
            [&](Parcel* data) -> status_t {
                status_t err = wire::writeHandle(fd, data);
                if (err != OK) return err;
                return wire::writeStringVec(options, data);
            },
            nullptr);
}

Return<void> BpHwBase::_hidl_interfaceDescriptor(IInterface* _hidl_this,
                                                 HidlInstrumentor* _hidl_this_instrumentor,
                                                 IBase::interfaceDescriptor_cb _hidl_cb) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "interfaceDescriptor",
                      wire::kInterfaceDescriptor, Shape::kCallback, {}, nullptr,
                      [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                          const hidl_string* name = nullptr;
                          status_t err = wire::readString(reply, &name);
                          if (err != OK) return err;
                          _hidl_cb(*name);
                          results->push_back(const_cast<hidl_string*>(name));
                          return OK;
                      });
}

Return<void> BpHwBase::_hidl_getHashChain(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          IBase::getHashChain_cb _hidl_cb) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "getHashChain", wire::kGetHashChain,
                      Shape::kCallback, {}, nullptr,
                      [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                          const hidl_vec<hidl_array<uint8_t, 32>>* chain = nullptr;
                          status_t err = wire::readHashVec(reply, &chain);
                          if (err != OK) return err;
                          _hidl_cb(*chain);
                          results->push_back(const_cast<hidl_vec<hidl_array<uint8_t, 32>>*>(chain));
                          return OK;
                      });
}

Return<void> BpHwBase::_hidl_setHALInstrumentation(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "setHALInstrumentation",
                      wire::kSetHALInstrumentation, Shape::kOneway, {}, nullptr, nullptr);
}

Return<void> BpHwBase::_hidl_ping(IInterface* _hidl_this,
                                  HidlInstrumentor* _hidl_this_instrumentor) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "ping", wire::kPing, Shape::kNoResult,
                      {}, nullptr, nullptr);
}

Return<void> BpHwBase::_hidl_getDebugInfo(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          IBase::getDebugInfo_cb _hidl_cb) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "getDebugInfo", wire::kGetDebugInfo,
                      Shape::kCallback, {}, nullptr,
                      [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                          size_t handle = 0;
                          const void* raw = nullptr;
                          status_t err = reply.readBuffer(sizeof(DebugInfo), &handle, &raw);
                          if (err != OK) return err;
                          const auto* info = static_cast<const DebugInfo*>(raw);
                          _hidl_cb(*info);
                          results->push_back(const_cast<DebugInfo*>(info));
                          return OK;
                      });
}

Return<void> BpHwBase::_hidl_notifySyspropsChanged(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor) {
    return clientCall(_hidl_this, _hidl_this_instrumentor, "notifySyspropsChanged",
                      wire::kNotifySyspropsChanged, Shape::kOneway, {}, nullptr, nullptr);
}

Return<void> BpHwBase::interfaceChain(interfaceChain_cb _hidl_cb) {
    return _hidl_interfaceChain(this, this, std::move(_hidl_cb));
}

Return<void> BpHwBase::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    return _hidl_debug(this, this, fd, options);
}

Return<void> BpHwBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return _hidl_interfaceDescriptor(this, this, std::move(_hidl_cb));
}

Return<void> BpHwBase::getHashChain(getHashChain_cb _hidl_cb) {
    return _hidl_getHashChain(this, this, std::move(_hidl_cb));
}

Return<void> BpHwBase::setHALInstrumentation() {
    return _hidl_setHALInstrumentation(this, this);
}

Return<void> BpHwBase::ping() {
    return _hidl_ping(this, this);
}

Return<void> BpHwBase::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return _hidl_getDebugInfo(this, this, std::move(_hidl_cb));
}

Return<void> BpHwBase::notifySyspropsChanged() {
    return _hidl_notifySyspropsChanged(this, this);
}

Return<bool> BpHwBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) {
    // Death notices arrive on the pool's threads.
    ::android::hardware::ProcessState::self()->startThreadPool();
    sp<hidl_binder_death_recipient> wrapper =
            new hidl_binder_death_recipient(recipient, cookie, this);
    std::lock_guard<std::mutex> lock(_hidl_mMutex);
    _hidl_mDeathRecipients.push_back(wrapper);
    return remote()->linkToDeath(wrapper, nullptr, 0) == OK;
}

Return<bool> BpHwBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    std::lock_guard<std::mutex> lock(_hidl_mMutex);
    for (auto it = _hidl_mDeathRecipients.rbegin(); it != _hidl_mDeathRecipients.rend(); ++it) {
        if ((*it)->getRecipient() == recipient) {
            status_t status = remote()->unlinkToDeath(*it, nullptr, 0, nullptr);
            _hidl_mDeathRecipients.erase(std::next(it).base());
            return status == OK;
        }
    }
    return false;
}

void BpHwBase::onLastStrongRef(const void* id) {
    {
        std::lock_guard<std::mutex> lock(_hidl_mMutex);
        while (!_hidl_mDeathRecipients.empty()) {
            _hidl_mDeathRecipients.pop_back();
        }
    }
    BpHwRefBase::onLastStrongRef(id);
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
