// A bare service of a made-up interface for the registry and process tests:
// its chain is that interface and IBase, and publishable() lets it cross to
// other processes behind a base stub.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Static.h>

#include <string>
#include <utility>

namespace zuv_test {

// The made-up interface the tests publish most.
constexpr const char* kTestDescriptor = "vendor.zuv.test@1.0::ITest";

struct ChainedService : ::android::hidl::base::V1_0::IBase {
    using IBase = ::android::hidl::base::V1_0::IBase;
    // instance: the name the object was made for.
    explicit ChainedService(std::string chainHead, std::string instance = "")
        : mDescriptor(std::move(chainHead)), mInstance(std::move(instance)) {}
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({mDescriptor, IBase::descriptor});
        return ::android::hardware::Void();
    }
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb cb) override {
        cb(mDescriptor);
        return ::android::hardware::Void();
    }
    const std::string mDescriptor, mInstance;
};

// Objects of this descriptor get a base stub when handed to another process.
inline void publishable(const std::string& descriptor) {
    ::android::hardware::details::getBnConstructorMap().set(
            std::string(descriptor),
            [](void* iface) -> ::android::sp<::android::hardware::IBinder> {
                return new ::android::hidl::base::V1_0::BnHwBase(
                        static_cast<ChainedService::IBase*>(iface));
            });
}

}  // namespace zuv_test
