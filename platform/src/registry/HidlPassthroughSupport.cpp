#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/Static.h>

#include <string>
#include <vector>

namespace android {
namespace hardware {
namespace details {

using ::android::hidl::base::V1_0::IBase;

sp<IBase> wrapPassthroughInternal(sp<IBase> iface) {
    if (iface == nullptr || iface->isRemote()) return iface;

    // Wrappers are the local objects that carry their own instrumentor;
    // wrapping one again would trace and queue every call twice.
    if (dynamic_cast<HidlInstrumentor*>(iface.get()) != nullptr) return iface;

    std::vector<std::string> chain;
    Return<void> ret = iface->interfaceChain([&](const hidl_vec<hidl_string>& descriptors) {
        for (size_t i = 0; i < descriptors.size(); ++i) chain.emplace_back(descriptors[i]);
    });
    if (!ret.isOk()) return nullptr;

    // The most derived interface whose library is loaded provides the wrapper,
    // so an object of an extension still gets its parent's wrapper.
    for (const std::string& descriptor : chain) {
        auto construct = getBsConstructorMap().get(descriptor, nullptr);
        if (construct) return construct(static_cast<void*>(iface.get()));
    }
    return nullptr;
}

}  // namespace details
}  // namespace hardware
}  // namespace android
