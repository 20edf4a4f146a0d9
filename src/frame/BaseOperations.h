// Default answers of the inherited base operations. Every interface of the
// package answers them alike, differing only in its descriptor and hash, so
// each interface's overrides delegate here.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

using ::android::hidl::base::V1_0::IBase;

// Own descriptor, then the base interface's.
::android::hardware::Return<void> reportInterfaceChain(const char* descriptor,
                                                       const IBase::interfaceChain_cb& cb);
::android::hardware::Return<void> reportInterfaceDescriptor(
        const char* descriptor, const IBase::interfaceDescriptor_cb& cb);
// Own hash, then the base interface's.
::android::hardware::Return<void> reportHashChain(const InterfaceHash& ownHash,
                                                  const IBase::getHashChain_cb& cb);
// A local object knows no pid or address to report.
::android::hardware::Return<void> reportLocalDebugInfo(const IBase::getDebugInfo_cb& cb);
::android::hardware::Return<void> reportSyspropsChanged();
// A local object is never told of its own death, so linking and unlinking
// record nothing; they only say whether there was a recipient.
::android::hardware::Return<bool> acceptRecipient(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient);

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
