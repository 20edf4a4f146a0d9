// Wire details of the service manager's two interfaces, shared by their
// proxies and stubs. Only this project's processes speak this protocol, so
// the codes are our own: the operations in declaration order, from 1.
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace wire {

enum : uint32_t {
    kGet = 1,
    kAdd = 2,
    kGetTransport = 3,
    kList = 4,
    kListByInterface = 5,
    kRegisterForNotifications = 6,
    kDebugDump = 7,
    kRegisterPassthroughClient = 8,
};

enum : uint32_t {
    kOnRegistration = 1,
};

constexpr const char* kPackage = "android.hidl.manager";
constexpr const char* kVersion = "1.0";
constexpr const char* kFqPackage = "android.hidl.manager@1.0";
constexpr const char* kServiceManager = "IServiceManager";
constexpr const char* kServiceNotification = "IServiceNotification";

// A vector of InstanceDebugInfo: the vector, its element array, then per
// element its two strings and its vector of client pids.
::android::status_t writeDebugInfoVec(
        const ::android::hardware::hidl_vec<IServiceManager::InstanceDebugInfo>& vec,
        ::android::hardware::Parcel* parcel);
// On success *out points into the parcel.
::android::status_t readDebugInfoVec(
        const ::android::hardware::Parcel& parcel,
        const ::android::hardware::hidl_vec<IServiceManager::InstanceDebugInfo>** out);

// What one proxy call needs to know about its operation.
struct Call {
    const char* descriptor;  // the interface token
    const char* interface;   // short name for traces and instrumentation
    const char* method;
    uint32_t code;
    bool oneway;
};

// Sends one operation over self's binder: trace, entry event, token and
// arguments, transaction, reply status, results, exit event. readResults
// runs only for an OK reply and reads what follows the status; what it reads
// is valid only while it runs.
::android::hardware::Return<void> clientCall(
        ::android::hardware::IInterface* self,
        ::android::hardware::details::HidlInstrumentor* instrumentor, const Call& call,
        std::vector<void*> args,
        const std::function<::android::status_t(::android::hardware::Parcel*)>& writeArgs,
        const std::function<::android::status_t(const ::android::hardware::Parcel&,
                                                std::vector<void*>*)>& readResults);

// The death-recipient bookkeeping of a proxy, as BpHwBase keeps it: the
// wrapper stays in the list even when the remote link fails; unlinking
// removes the most recent registration of the recipient.
bool linkToDeath(
        ::android::hidl::base::V1_0::IBase* proxy, ::android::hardware::IBinder* remote,
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie,
        std::mutex* lock,
        std::vector<::android::sp<::android::hardware::hidl_binder_death_recipient>>* recipients);
bool unlinkToDeath(
        ::android::hardware::IBinder* remote,
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, std::mutex* lock,
        std::vector<::android::sp<::android::hardware::hidl_binder_death_recipient>>* recipients);
void dropDeathRecipients(
        std::mutex* lock,
        std::vector<::android::sp<::android::hardware::hidl_binder_death_recipient>>* recipients);

// Trace and instrumentation of one served operation.
class ServerCall {
  public:
    ServerCall(::android::hardware::details::HidlInstrumentor* stub, const char* interface,
               const char* method, std::vector<void*> args);
    ~ServerCall();
    void results(std::vector<void*> results);

  private:
    ::android::hardware::details::HidlInstrumentor* mStub;
    const char* mInterface;
    const char* mMethod;
    bool mExited = false;
};

}  // namespace wire
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
