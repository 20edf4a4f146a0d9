// Shared pieces of the frame tests: a binder that records what a proxy sends
// and answers with a scripted reply, and the loopback wiring of a proxy to a
// stub. Interface arguments travel as the stubs the library registers when it
// loads.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>

#include <functional>
#include <memory>
#include <vector>

#include "TestNames.h"

namespace zuv_test {

// Keeps binders found in a recorded request by index, so the copy can be
// rebuilt without a transport.
class IndexTranslator : public ::android::hardware::host::BinderTranslator {
  public:
    status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) override {
        mBinders.push_back(binder);
        *type = BINDER_TYPE_HANDLE;
        *ref = mBinders.size() - 1;
        return OK;
    }
    status_t unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) override {
        if (ref >= mBinders.size()) return ::android::BAD_VALUE;
        *out = mBinders[ref];
        return OK;
    }

  private:
    std::vector<sp<IBinder>> mBinders;
};

// Copies a parcel into fresh memory through the wire image, as a transport
// would, so that nothing in the copy points at the writer's buffers.
inline std::unique_ptr<Parcel> copyThroughImage(const Parcel& parcel) {
    auto translator = std::make_shared<IndexTranslator>();
    ::android::hardware::host::WireImage image;
    auto copy = std::make_unique<Parcel>();
    if (::android::hardware::host::WireImageCodec::flatten(parcel, translator.get(), &image) !=
                OK ||
        ::android::hardware::host::WireImageCodec::rebuild(
                image.bytes.data(), image.bytes.size(), {}, translator.get(), copy.get()) != OK) {
        return nullptr;
    }
    return copy;
}

// Stands where a remote service would be: records each transaction and
// answers through a script.
class RecordingBinder : public BHwBinder {
  public:
    struct Transaction {
        uint32_t code;
        uint32_t flags;
        std::unique_ptr<Parcel> request;
    };
    // Fills the reply and returns the transport result; `deliver` hands the
    // reply to the proxy's reply callback, as a transport does.
    using Responder = std::function<status_t(Parcel* reply, const std::function<void()>& deliver)>;

    explicit RecordingBinder(Responder responder = nullptr) : mResponder(std::move(responder)) {}

    std::vector<Transaction> transactions;

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override {
        transactions.push_back({code, flags, copyThroughImage(data)});
        if (!mResponder) return OK;
        return mResponder(reply, [&] {
            if (callback) callback(*reply);
        });
    }

  private:
    Responder mResponder;
};

// A reply holding an OK status followed by whatever `fill` writes.
inline RecordingBinder::Responder replyOk(std::function<void(Parcel*)> fill = nullptr) {
    return [fill](Parcel* reply, const std::function<void()>& deliver) {
        ::android::hardware::writeToParcel(::android::hardware::Status::ok(), reply);
        if (fill) fill(reply);
        deliver();
        return OK;
    };
}

// A proxy of impl whose calls reach a stub through the loopback transport,
// so requests and replies cross the wire image.
template <typename Stub, typename Proxy, typename IType>
sp<IType> loopbackProxy(const sp<IType>& impl, sp<IBinder>* stubOut = nullptr) {
    sp<BHwBinder> stub = new Stub(impl);
    if (stubOut != nullptr) *stubOut = stub;
    return new Proxy(::android::hardware::host::loopbackProxyFor(stub));
}

}  // namespace zuv_test
