// Small interfaces for the registry tests, shared with the passthrough test
// library that the loader tests open.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

#include <string>
#include <utility>

namespace vendor::zuv::test::V1_0 {

using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;

struct ITest : public IBase {
    static constexpr const char* kDescriptor = "vendor.zuv.test@1.0::ITest";

    // The instance name the object was made for.
    virtual std::string instance() const = 0;

    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({kDescriptor, IBase::descriptor});
        return Void();
    }
    Return<void> interfaceDescriptor(interfaceDescriptor_cb cb) override {
        cb(kDescriptor);
        return Void();
    }
};

class TestService : public ITest {
  public:
    explicit TestService(std::string instance) : mInstance(std::move(instance)) {}
    std::string instance() const override { return mInstance; }

  private:
    std::string mInstance;
};

}  // namespace vendor::zuv::test::V1_0
