// A small interface with its own proxy and stub, for the cast, lookup and
// binder tests: one two-way operation, "twice", code 1.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/Parcel.h>

namespace zuvtest {

using ::android::sp;
using ::android::status_t;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;

struct BpTestFoo;

struct ITestFoo : IBase {
    static constexpr const char* descriptor = "zuv.test.binder@1.0::ITestFoo";

    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb(hidl_vec<hidl_string>{descriptor, IBase::descriptor});
        return Void();
    }
    Return<void> interfaceDescriptor(interfaceDescriptor_cb cb) override {
        cb(descriptor);
        return Void();
    }

    virtual Return<int32_t> twice(int32_t value) = 0;

    static Return<sp<ITestFoo>> castFrom(const sp<IBase>& parent, bool emitError = false);
};

struct TestFoo : ITestFoo {
    Return<int32_t> twice(int32_t value) override { return 2 * value; }
};

struct BpTestFoo : ::android::hardware::BpInterface<ITestFoo>,
                   ::android::hardware::details::HidlInstrumentor {
    explicit BpTestFoo(const sp<IBinder>& remote)
        : BpInterface<ITestFoo>(remote), HidlInstrumentor("zuv.test.binder@1.0", "ITestFoo") {}

    bool isRemote() const override { return true; }

    Return<void> interfaceChain(interfaceChain_cb cb) override {
        return ::android::hidl::base::V1_0::BpHwBase::_hidl_interfaceChain(this, this, cb);
    }
    Return<void> interfaceDescriptor(interfaceDescriptor_cb cb) override {
        return ::android::hidl::base::V1_0::BpHwBase::_hidl_interfaceDescriptor(this, this, cb);
    }
    Return<void> ping() override {
        return ::android::hidl::base::V1_0::BpHwBase::_hidl_ping(this, this);
    }

    Return<int32_t> twice(int32_t value) override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(ITestFoo::descriptor);
        data.writeInt32(value);
        status_t err = asBinder(this)->transact(1, data, &reply);
        Status status;
        if (err == ::android::OK) err = readFromParcel(&status, reply);
        if (err != ::android::OK) return Status::fromStatusT(err);
        if (!status.isOk()) return status;
        int32_t result = 0;
        err = reply.readInt32(&result);
        if (err != ::android::OK) return Status::fromStatusT(err);
        return result;
    }
};

struct BnTestFoo : ::android::hidl::base::V1_0::BnHwBase {
    explicit BnTestFoo(const sp<ITestFoo>& impl)
        : BnHwBase(impl, "zuv.test.binder@1.0", "ITestFoo"), mImpl(impl) {}

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback cb) override {
        if (code != 1) return BnHwBase::onTransact(code, data, reply, flags, cb);
        if (!data.enforceInterface(ITestFoo::descriptor)) return ::android::BAD_TYPE;
        int32_t value = 0;
        status_t err = data.readInt32(&value);
        if (err != ::android::OK) return err;
        int32_t result = mImpl->twice(value);
        writeToParcel(Status::ok(), reply);
        reply->writeInt32(result);
        cb(*reply);
        return ::android::OK;
    }

    sp<ITestFoo> mImpl;
};

inline Return<sp<ITestFoo>> ITestFoo::castFrom(const sp<IBase>& parent, bool emitError) {
    return ::android::hardware::details::castInterface<ITestFoo, IBase, BpTestFoo>(
            parent, descriptor, emitError);
}

// An object of the base interface only.
struct BareBase : IBase {};

}  // namespace zuvtest
