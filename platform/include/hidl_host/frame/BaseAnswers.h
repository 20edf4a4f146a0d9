// The default answers of the base operations, for IBase itself and for every
// interface declared over it: they differ only in the interface's own
// descriptor and hash, which come first in the chains.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace android {
namespace hardware {
namespace frame {

using InterfaceHash = std::array<uint8_t, 32>;
using ::android::hidl::base::V1_0::IBase;

// Hashes are published as 64 hex digits, byte 0 first; parsing them at
// compile time keeps the source comparable with the published text. A bad
// digit fails the build.
constexpr uint8_t hexNibble(char c) {
    if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
    throw std::invalid_argument("interface hash digit");
}

constexpr InterfaceHash hashFromHex(const char (&hex)[65]) {
    InterfaceHash hash{};
    for (size_t i = 0; i < hash.size(); ++i) {
        hash[i] = static_cast<uint8_t>(hexNibble(hex[2 * i]) << 4 | hexNibble(hex[2 * i + 1]));
    }
    return hash;
}

// Hash of android.hidl.base@1.0::IBase; every hash chain ends with it.
inline constexpr InterfaceHash kBaseInterfaceHash =
        hashFromHex("ec7fd79ed02dfa85bc499426adae3ebe23ef0524f3cd6957139324b83b18ca4c");

// Own descriptor, then the base interface's (once, for IBase itself).
Return<void> reportInterfaceChain(const char* descriptor, const IBase::interfaceChain_cb& cb);
Return<void> reportInterfaceDescriptor(const char* descriptor,
                                       const IBase::interfaceDescriptor_cb& cb);
// Own hash, then the base interface's (once, for IBase itself).
Return<void> reportHashChain(const InterfaceHash& ownHash, const IBase::getHashChain_cb& cb);
// A local object knows no pid or address to report.
Return<void> reportLocalDebugInfo(const IBase::getDebugInfo_cb& cb);
Return<void> reportSyspropsChanged();
// A local object is never told of its own death, so linking and unlinking
// record nothing; they only say whether there was a recipient.
Return<bool> acceptRecipient(const ::android::sp<hidl_death_recipient>& recipient);

}  // namespace frame
}  // namespace hardware
}  // namespace android
