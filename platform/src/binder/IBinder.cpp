#include <hwbinder/IBinder.h>

namespace android {
namespace hardware {

IBinder::IBinder() : RefBase() {}

IBinder::~IBinder() = default;

bool IBinder::checkSubclass(const void* /*subclassID*/) const {
    return false;
}

BHwBinder* IBinder::localBinder() {
    return nullptr;
}

BpHwBinder* IBinder::remoteBinder() {
    return nullptr;
}

}  // namespace hardware
}  // namespace android
