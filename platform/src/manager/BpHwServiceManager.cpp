#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/ProcessState.h>

#include <utility>

#include "base/BaseWire.h"
#include "manager/ManagerWire.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
namespace base_wire = ::android::hidl::base::V1_0::wire;

namespace {

wire::Call call(const char* method, uint32_t code) {
    return {IServiceManager::descriptor, wire::kServiceManager, method, code, false};
}

status_t writeStrings(Parcel* data, std::initializer_list<const hidl_string*> strings) {
    for (const hidl_string* s : strings) {
        status_t err = base_wire::writeString(*s, data);
        if (err != OK) return err;
    }
    return OK;
}

template <typename T>
Return<T> withValue(Return<void> ret, T value) {
    if (!ret.isOk()) return ret.getStatus();
    return value;
}

}  // namespace

BpHwServiceManager::BpHwServiceManager(const sp<IBinder>& _hidl_impl)
    : details::BpHwManagerBase<IServiceManager>(_hidl_impl, wire::kFqPackage,
                                                wire::kServiceManager) {}

Return<sp<IBase>> BpHwServiceManager::get(const hidl_string& fqName, const hidl_string& name) {
    sp<IBase> service;
    Return<void> ret = wire::clientCall(
            this, this, call("get", wire::kGet),
            {const_cast<hidl_string*>(&fqName), const_cast<hidl_string*>(&name)},
            [&](Parcel* data) {
                return writeStrings(data, {&fqName, &name});
            },
            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                sp<IBinder> binder;
                status_t err = reply.readNullableStrongBinder(&binder);
                if (err != OK) return err;
                service = ::android::hardware::fromBinder<IBase, BpHwBase, BnHwBase>(binder);
                results->push_back(&service);
                return OK;
            });
    return withValue(std::move(ret), service);
}

Return<bool> BpHwServiceManager::add(const hidl_string& name, const sp<IBase>& service) {
    bool accepted = false;
    Return<void> ret = wire::clientCall(
            this, this, call("add", wire::kAdd),
            {const_cast<hidl_string*>(&name), const_cast<sp<IBase>*>(&service)},
            [&](Parcel* data) -> status_t {
                status_t err = base_wire::writeString(name, data);
                if (err != OK || service == nullptr) {
                    return err != OK ? err : data->writeStrongBinder(nullptr);
                }
                // A local service is exported here: its stub is what the
                // manager's process will call.
                sp<IBinder> binder = getOrCreateCachedBinder(service.get());
                if (binder == nullptr) return UNKNOWN_ERROR;
                return data->writeStrongBinder(binder);
            },
            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                status_t err = reply.readBool(&accepted);
                results->push_back(&accepted);
                return err;
            });
    return withValue(std::move(ret), accepted);
}

Return<IServiceManager::Transport> BpHwServiceManager::getTransport(const hidl_string& fqName,
                                                                    const hidl_string& name) {
    Transport transport = Transport::EMPTY;
    Return<void> ret = wire::clientCall(
            this, this, call("getTransport", wire::kGetTransport),
            {const_cast<hidl_string*>(&fqName), const_cast<hidl_string*>(&name)},
            [&](Parcel* data) {
                return writeStrings(data, {&fqName, &name});
            },
            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                uint8_t value = 0;
                status_t err = reply.readUint8(&value);
                if (err != OK) return err;
                if (value > static_cast<uint8_t>(Transport::PASSTHROUGH)) return BAD_VALUE;
                transport = static_cast<Transport>(value);
                results->push_back(&transport);
                return OK;
            });
    return withValue(std::move(ret), transport);
}

Return<void> BpHwServiceManager::list(list_cb _hidl_cb) {
    return wire::clientCall(this, this, call("list", wire::kList), {}, nullptr,
                            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                                const hidl_vec<hidl_string>* names = nullptr;
                                status_t err = base_wire::readStringVec(reply, &names);
                                if (err != OK) return err;
                                _hidl_cb(*names);
                                results->push_back(const_cast<hidl_vec<hidl_string>*>(names));
                                return OK;
                            });
}

Return<void> BpHwServiceManager::listByInterface(const hidl_string& fqName,
                                                 listByInterface_cb _hidl_cb) {
    return wire::clientCall(
            this, this, call("listByInterface", wire::kListByInterface),
            {const_cast<hidl_string*>(&fqName)},
            [&](Parcel* data) { return base_wire::writeString(fqName, data); },
            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                const hidl_vec<hidl_string>* names = nullptr;
                status_t err = base_wire::readStringVec(reply, &names);
                if (err != OK) return err;
                _hidl_cb(*names);
                results->push_back(const_cast<hidl_vec<hidl_string>*>(names));
                return OK;
            });
}

Return<bool> BpHwServiceManager::registerForNotifications(
        const hidl_string& fqName, const hidl_string& name,
        const sp<IServiceNotification>& callback) {
    bool accepted = false;
    if (callback != nullptr) {
        // The manager calls the listener back: this process must serve.
        ::android::hardware::ProcessState::self()->startThreadPool();
    }
    Return<void> ret = wire::clientCall(
            this, this, call("registerForNotifications", wire::kRegisterForNotifications),
            {const_cast<hidl_string*>(&fqName), const_cast<hidl_string*>(&name),
             const_cast<sp<IServiceNotification>*>(&callback)},
            [&](Parcel* data) -> status_t {
                status_t err = writeStrings(data, {&fqName, &name});
                if (err != OK) return err;
                if (callback == nullptr) return data->writeStrongBinder(nullptr);
                sp<IBinder> binder = getOrCreateCachedBinder(callback.get());
                if (binder == nullptr) return UNKNOWN_ERROR;
                return data->writeStrongBinder(binder);
            },
            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                status_t err = reply.readBool(&accepted);
                results->push_back(&accepted);
                return err;
            });
    return withValue(std::move(ret), accepted);
}

Return<void> BpHwServiceManager::debugDump(debugDump_cb _hidl_cb) {
    return wire::clientCall(this, this, call("debugDump", wire::kDebugDump), {}, nullptr,
                            [&](const Parcel& reply, std::vector<void*>* results) -> status_t {
                                const hidl_vec<InstanceDebugInfo>* infos = nullptr;
                                status_t err = wire::readDebugInfoVec(reply, &infos);
                                if (err != OK) return err;
                                _hidl_cb(*infos);
                                results->push_back(const_cast<hidl_vec<InstanceDebugInfo>*>(infos));
                                return OK;
                            });
}

Return<void> BpHwServiceManager::registerPassthroughClient(const hidl_string& fqName,
                                                           const hidl_string& name) {
    return wire::clientCall(
            this, this, call("registerPassthroughClient", wire::kRegisterPassthroughClient),
            {const_cast<hidl_string*>(&fqName), const_cast<hidl_string*>(&name)},
            [&](Parcel* data) {
                return writeStrings(data, {&fqName, &name});
            },
            nullptr);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
