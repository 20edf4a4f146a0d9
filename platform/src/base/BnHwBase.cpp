#define LOG_TAG "android.hidl.base@1.0::BnHwBase"

#include <android/hidl/base/1.0/BnHwBase.h>
#include <cutils/trace.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>

#include <string>
#include <utility>
#include <vector>

#include "base/BaseWire.h"

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;
using ::android::hardware::details::InstrumentationEvent;

namespace {

// Trace and instrumentation of one served base operation.
class ServerCall {
  public:
    ServerCall(BnHwBase* stub, const char* method)
        : mMethod(method),
          mInstrument(stub->isInstrumentationEnabled()),
          mCallbacks(stub->getInstrumentationCallbacks()) {}

    void enter(std::vector<void*> args) {
        const std::string traceName =
                std::string("HIDL::") + wire::kInterface + "::" + mMethod + "::server";
        atrace_begin(ATRACE_TAG_HAL, traceName.c_str());
        report(InstrumentationEvent::SERVER_API_ENTRY, &args);
    }

    void exit(std::vector<void*> results) {
        atrace_end(ATRACE_TAG_HAL);
        report(InstrumentationEvent::SERVER_API_EXIT, &results);
    }

  private:
    void report(InstrumentationEvent event, std::vector<void*>* args) {
        if (!mInstrument) return;
        for (const auto& callback : mCallbacks) {
            callback(event, wire::kPackage, wire::kVersion, wire::kInterface, mMethod, args);
        }
    }

    const char* mMethod;
    const bool mInstrument;
    const std::vector<::android::hardware::details::InstrumentationCallback> mCallbacks;
};

// Handlers whose results go back through the reply callback: the stub hands
// the reply over from inside the implementation's callback.
template <typename Invoke>
status_t serveWithCallback(BnHwBase* stub, const char* method, Parcel* reply,
                           const ::android::hardware::IBinder::TransactCallback& cb,
                           Invoke invoke) {
    ServerCall call(stub, method);
    call.enter({});
    bool called = false;
    status_t err = OK;
    // writeResults(reply, results) writes the results and collects their
    // addresses; it runs inside the implementation's callback.
    auto deliver = [&](const std::function<status_t(Parcel*, std::vector<void*>*)>& writeResults) {
        if (called) {
            LOG_ALWAYS_FATAL("%s: _hidl_cb called a second time, but must be called once.", method);
        }
        called = true;
        ::android::hardware::writeToParcel(Status::ok(), reply);
        std::vector<void*> results;
        err = writeResults(reply, &results);
        call.exit(std::move(results));
        if (err == OK && cb) cb(*reply);
    };
    Return<void> ret = invoke(deliver);
    ret.assertOk();
    if (!called) {
        LOG_ALWAYS_FATAL("%s: _hidl_cb not called, but must be called once.", method);
    }
    return err;
}

// Handlers with nothing but the status to answer.
template <typename Invoke>
status_t serveNoResult(BnHwBase* stub, const char* method, std::vector<void*> args, Parcel* reply,
                       Invoke invoke) {
    ServerCall call(stub, method);
    call.enter(std::move(args));
    Return<void> ret = invoke();
    call.exit({});
    ret.assertOk();
    return ::android::hardware::writeToParcel(Status::ok(), reply);
}

}  // namespace

BnHwBase::BnHwBase(const sp<IBase>& _hidl_impl)
    : BnHwBase(_hidl_impl, wire::kFqPackage, wire::kInterface) {}

BnHwBase::BnHwBase(const sp<IBase>& _hidl_impl, const std::string& HidlInstrumentor_package,
                   const std::string& HidlInstrumentor_interface)
    : HidlInstrumentor(HidlInstrumentor_package, HidlInstrumentor_interface),
      _hidl_mImpl(_hidl_impl) {
    auto prio = ::android::hardware::getMinSchedulerPolicy(_hidl_impl);
    mSchedPolicy = prio.sched_policy;
    mSchedPriority = prio.sched_priority;
    setRequestingSid(::android::hardware::getRequestingSid(_hidl_impl));
}

BnHwBase::~BnHwBase() = default;

bool BnHwBase::checkSubclass(const void* subclassID) const {
    return subclassID == IBase::descriptor;
}

Return<void> BnHwBase::ping() {
    return Void();
}

Return<void> BnHwBase::getDebugInfo(IBase::getDebugInfo_cb _hidl_cb) {
    DebugInfo info = {};
    info.pid = ::android::hardware::details::getPidIfSharable();
    info.ptr = ::android::hardware::details::debuggable() ? reinterpret_cast<uint64_t>(this) : 0;
    info.arch = DebugInfo::Architecture::IS_64BIT;
    _hidl_cb(info);
    return Void();
}

status_t BnHwBase::_hidl_interfaceChain(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                        Parcel* _hidl_reply, TransactCallback _hidl_cb) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    sp<IBase> impl = _hidl_this->getImpl();
    return serveWithCallback(
            _hidl_this, "interfaceChain", _hidl_reply, _hidl_cb, [&](auto& deliver) {
                return impl->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
                    deliver([&](Parcel* reply, std::vector<void*>* out) -> status_t {
                        out->push_back(const_cast<hidl_vec<hidl_string>*>(&chain));
                        return wire::writeStringVec(chain, reply);
                    });
                });
            });
}

status_t BnHwBase::_hidl_debug(BnHwBase* _hidl_this, const Parcel& _hidl_data, Parcel* _hidl_reply,
                               TransactCallback /*_hidl_cb*/) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    const hidl_handle* fd = nullptr;
    const hidl_vec<hidl_string>* options = nullptr;
    status_t err = wire::readHandle(_hidl_data, &fd);
    if (err != OK) return err;
    err = wire::readStringVec(_hidl_data, &options);
    if (err != OK) return err;
    sp<IBase> impl = _hidl_this->getImpl();
    return serveNoResult(
            _hidl_this, "debug",
            {const_cast<hidl_handle*>(fd), const_cast<hidl_vec<hidl_string>*>(options)},
            _hidl_reply, [&] { return impl->debug(*fd, *options); });
}

status_t BnHwBase::_hidl_interfaceDescriptor(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, TransactCallback _hidl_cb) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    sp<IBase> impl = _hidl_this->getImpl();
    return serveWithCallback(_hidl_this, "interfaceDescriptor", _hidl_reply, _hidl_cb,
                             [&](auto& deliver) {
                                 return impl->interfaceDescriptor([&](const hidl_string& name) {
                                     deliver([&](Parcel* reply, std::vector<void*>* out) -> status_t {
                                         out->push_back(const_cast<hidl_string*>(&name));
                                         return wire::writeString(name, reply);
                                     });
                                 });
                             });
}

status_t BnHwBase::_hidl_getHashChain(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                      Parcel* _hidl_reply, TransactCallback _hidl_cb) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    sp<IBase> impl = _hidl_this->getImpl();
    return serveWithCallback(_hidl_this, "getHashChain", _hidl_reply, _hidl_cb, [&](auto& deliver) {
        return impl->getHashChain([&](const hidl_vec<hidl_array<uint8_t, 32>>& chain) {
            deliver([&](Parcel* reply, std::vector<void*>* out) -> status_t {
                out->push_back(const_cast<hidl_vec<hidl_array<uint8_t, 32>>*>(&chain));
                return wire::writeHashVec(chain, reply);
            });
        });
    });
}

status_t BnHwBase::_hidl_setHALInstrumentation(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback /*_hidl_cb*/) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    // The stub picks up the process's current settings as well.
    _hidl_this->configureInstrumentation(false);
    sp<IBase> impl = _hidl_this->getImpl();
    return serveNoResult(_hidl_this, "setHALInstrumentation", {}, _hidl_reply,
                         [&] { return impl->setHALInstrumentation(); });
}

status_t BnHwBase::_hidl_ping(BnHwBase* _hidl_this, const Parcel& _hidl_data, Parcel* _hidl_reply,
                              TransactCallback /*_hidl_cb*/) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    return serveNoResult(_hidl_this, "ping", {}, _hidl_reply, [&] { return _hidl_this->ping(); });
}

status_t BnHwBase::_hidl_getDebugInfo(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                      Parcel* _hidl_reply, TransactCallback _hidl_cb) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    return serveWithCallback(_hidl_this, "getDebugInfo", _hidl_reply, _hidl_cb, [&](auto& deliver) {
        return _hidl_this->getDebugInfo([&](const DebugInfo& info) {
            deliver([&](Parcel* reply, std::vector<void*>* out) -> status_t {
                out->push_back(const_cast<DebugInfo*>(&info));
                size_t handle = 0;
                return reply->writeBuffer(&info, sizeof(info), &handle);
            });
        });
    });
}

status_t BnHwBase::_hidl_notifySyspropsChanged(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback /*_hidl_cb*/) {
    if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;
    sp<IBase> impl = _hidl_this->getImpl();
    return serveNoResult(_hidl_this, "notifySyspropsChanged", {}, _hidl_reply,
                         [&] { return impl->notifySyspropsChanged(); });
}

status_t BnHwBase::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data, Parcel* _hidl_reply,
                              uint32_t /*_hidl_flags*/, TransactCallback _hidl_cb) {
    switch (_hidl_code) {
        case wire::kInterfaceChain:
            return _hidl_interfaceChain(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kDebug:
            return _hidl_debug(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kInterfaceDescriptor:
            return _hidl_interfaceDescriptor(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kGetHashChain:
            return _hidl_getHashChain(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kSetHALInstrumentation:
            return _hidl_setHALInstrumentation(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kPing:
            return _hidl_ping(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kGetDebugInfo:
            return _hidl_getDebugInfo(this, _hidl_data, _hidl_reply, _hidl_cb);
        case wire::kNotifySyspropsChanged:
            return _hidl_notifySyspropsChanged(this, _hidl_data, _hidl_reply, _hidl_cb);
        default:
            return UNKNOWN_TRANSACTION;
    }
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
