// Shared pieces of the frame tests: a binder that answers a proxy with a
// scripted reply, and the loopback wiring of a proxy to a stub. Interface
// arguments travel as the stubs the library registers when it loads.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>

#include <functional>

#include "TestNames.h"

namespace zuv_test {

// Stands where a remote service would be and answers through a script.
class ScriptedBinder : public BHwBinder {
  public:
    // Fills the reply and returns the transport result; `deliver` hands the
    // reply to the proxy's reply callback, as a transport does.
    using Responder = std::function<status_t(Parcel* reply, const std::function<void()>& deliver)>;

    explicit ScriptedBinder(Responder responder) : mResponder(std::move(responder)) {}

  protected:
    status_t onTransact(uint32_t, const Parcel&, Parcel* reply, uint32_t,
                        TransactCallback callback) override {
        return mResponder(reply, [&] {
            if (callback) callback(*reply);
        });
    }

  private:
    Responder mResponder;
};

// A reply holding an OK status followed by whatever `fill` writes.
inline ScriptedBinder::Responder replyOk(std::function<void(Parcel*)> fill = nullptr) {
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
