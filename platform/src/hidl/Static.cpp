#include <hidl/Static.h>

namespace android {
namespace hardware {
namespace details {

// Never destroyed: interface libraries erase their entries from their own
// unload functions, which may run after this library's static destructors at exit.
BnConstructorMap& getBnConstructorMap() {
    static BnConstructorMap* map = new BnConstructorMap();
    return *map;
}

BsConstructorMap& getBsConstructorMap() {
    static BsConstructorMap* map = new BsConstructorMap();
    return *map;
}

}  // namespace details
}  // namespace hardware
}  // namespace android
