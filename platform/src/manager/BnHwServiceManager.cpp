#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BnHwServiceNotification.h>
#include <android/hidl/manager/1.0/BpHwServiceNotification.h>
#include <hidl/HidlBinderSupport.h>

#include <vector>

#include "base/BaseWire.h"
#include "manager/ManagerWire.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
using Transport = IServiceManager::Transport;
using InstanceDebugInfo = IServiceManager::InstanceDebugInfo;
namespace base_wire = ::android::hidl::base::V1_0::wire;

namespace {

status_t readStrings(const Parcel& data, std::initializer_list<const hidl_string**> out) {
    for (const hidl_string** s : out) {
        status_t err = base_wire::readString(data, s);
        if (err != OK) return err;
    }
    return OK;
}

// A failed implementation call travels back as its status; anything else
// gets the OK status followed by whatever writeResults adds.
template <typename T>
status_t replyWith(const Return<T>& ret, Parcel* reply,
                   const std::function<status_t(Parcel*)>& writeResults) {
    if (!ret.isOk()) return ::android::hardware::writeToParcel(ret.getStatus(), reply);
    status_t err = ::android::hardware::writeToParcel(Status::ok(), reply);
    if (err == OK && writeResults) err = writeResults(reply);
    return err;
}

sp<IBase> baseFromBinder(const sp<IBinder>& binder) {
    return ::android::hardware::fromBinder<IBase, BpHwBase, BnHwBase>(binder);
}

}  // namespace

BnHwServiceManager::BnHwServiceManager(const sp<IServiceManager>& _hidl_impl)
    : BnHwBase(_hidl_impl, wire::kFqPackage, wire::kServiceManager), _hidl_mImpl(_hidl_impl) {}

status_t BnHwServiceManager::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data,
                                        Parcel* _hidl_reply, uint32_t _hidl_flags,
                                        TransactCallback _hidl_cb) {
    if (_hidl_code < wire::kGet || _hidl_code > wire::kRegisterPassthroughClient) {
        return BnHwBase::onTransact(_hidl_code, _hidl_data, _hidl_reply, _hidl_flags, _hidl_cb);
    }
    if (!_hidl_data.enforceInterface(IServiceManager::descriptor)) return BAD_TYPE;

    const sp<IServiceManager> impl = _hidl_mImpl;
    const hidl_string* fqName = nullptr;
    const hidl_string* name = nullptr;
    status_t err = OK;
    // Hands the reply over while the results it points at are alive.
    auto deliver = [&] {
        if (err == OK && _hidl_cb) _hidl_cb(*_hidl_reply);
    };

    switch (_hidl_code) {
        case wire::kGet: {
            err = readStrings(_hidl_data, {&fqName, &name});
            if (err != OK) return err;
            wire::ServerCall call(
                    this, wire::kServiceManager, "get",
                    {const_cast<hidl_string*>(fqName), const_cast<hidl_string*>(name)});
            Return<sp<IBase>> ret = impl->get(*fqName, *name);
            sp<IBase> service = ret.isOk() ? static_cast<sp<IBase>>(ret) : nullptr;
            err = replyWith(ret, _hidl_reply, [&](Parcel* reply) -> status_t {
                if (service == nullptr) return reply->writeStrongBinder(nullptr);
                sp<IBinder> binder = getOrCreateCachedBinder(service.get());
                if (binder == nullptr) return UNKNOWN_ERROR;
                return reply->writeStrongBinder(binder);
            });
            call.results({&service});
            deliver();
            break;
        }
        case wire::kAdd: {
            err = base_wire::readString(_hidl_data, &name);
            sp<IBinder> binder;
            if (err == OK) err = _hidl_data.readNullableStrongBinder(&binder);
            if (err != OK) return err;
            sp<IBase> service = baseFromBinder(binder);
            wire::ServerCall call(this, wire::kServiceManager, "add",
                                  {const_cast<hidl_string*>(name), &service});
            Return<bool> ret = impl->add(*name, service);
            bool accepted = ret.isOk() && static_cast<bool>(ret);
            err = replyWith(ret, _hidl_reply, [&](Parcel* r) { return r->writeBool(accepted); });
            call.results({&accepted});
            deliver();
            break;
        }
        case wire::kGetTransport: {
            err = readStrings(_hidl_data, {&fqName, &name});
            if (err != OK) return err;
            wire::ServerCall call(
                    this, wire::kServiceManager, "getTransport",
                    {const_cast<hidl_string*>(fqName), const_cast<hidl_string*>(name)});
            Return<Transport> ret = impl->getTransport(*fqName, *name);
            Transport transport = ret.isOk() ? static_cast<Transport>(ret) : Transport::EMPTY;
            err = replyWith(ret, _hidl_reply, [&](Parcel* r) {
                return r->writeUint8(static_cast<uint8_t>(transport));
            });
            call.results({&transport});
            deliver();
            break;
        }
        case wire::kList:
        case wire::kListByInterface: {
            const bool all = _hidl_code == wire::kList;
            if (!all) {
                err = base_wire::readString(_hidl_data, &fqName);
                if (err != OK) return err;
            }
            wire::ServerCall call(this, wire::kServiceManager, all ? "list" : "listByInterface",
                                  all ? std::vector<void*>{}
                                      : std::vector<void*>{const_cast<hidl_string*>(fqName)});
            hidl_vec<hidl_string> names;
            auto keep = [&](const hidl_vec<hidl_string>& n) { names = n; };
            Return<void> ret = all ? impl->list(keep) : impl->listByInterface(*fqName, keep);
            err = replyWith(ret, _hidl_reply,
                            [&](Parcel* r) { return base_wire::writeStringVec(names, r); });
            call.results({&names});
            deliver();
            break;
        }
        case wire::kRegisterForNotifications: {
            err = readStrings(_hidl_data, {&fqName, &name});
            sp<IBinder> binder;
            if (err == OK) err = _hidl_data.readNullableStrongBinder(&binder);
            if (err != OK) return err;
            sp<IServiceNotification> callback =
                    ::android::hardware::fromBinder<IServiceNotification, BpHwServiceNotification,
                                                    BnHwServiceNotification>(binder);
            wire::ServerCall call(
                    this, wire::kServiceManager, "registerForNotifications",
                    {const_cast<hidl_string*>(fqName), const_cast<hidl_string*>(name), &callback});
            Return<bool> ret = impl->registerForNotifications(*fqName, *name, callback);
            bool accepted = ret.isOk() && static_cast<bool>(ret);
            err = replyWith(ret, _hidl_reply, [&](Parcel* r) { return r->writeBool(accepted); });
            call.results({&accepted});
            deliver();
            break;
        }
        case wire::kDebugDump: {
            wire::ServerCall call(this, wire::kServiceManager, "debugDump", {});
            hidl_vec<InstanceDebugInfo> infos;
            Return<void> ret =
                    impl->debugDump([&](const hidl_vec<InstanceDebugInfo>& i) { infos = i; });
            err = replyWith(ret, _hidl_reply,
                            [&](Parcel* r) { return wire::writeDebugInfoVec(infos, r); });
            call.results({&infos});
            deliver();
            break;
        }
        case wire::kRegisterPassthroughClient: {
            err = readStrings(_hidl_data, {&fqName, &name});
            if (err != OK) return err;
            wire::ServerCall call(
                    this, wire::kServiceManager, "registerPassthroughClient",
                    {const_cast<hidl_string*>(fqName), const_cast<hidl_string*>(name)});
            Return<void> ret = impl->registerPassthroughClient(*fqName, *name);
            err = replyWith(ret, _hidl_reply, nullptr);
            call.results({});
            deliver();
            break;
        }
    }
    return err;
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
