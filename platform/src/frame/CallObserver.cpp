#include <hidl_host/frame/CallObserver.h>

namespace android {
namespace hardware {
namespace frame {

std::atomic<CallObserver*> gCallObserver{nullptr};

void setCallObserver(CallObserver* observer) {
    gCallObserver.store(observer, std::memory_order_release);
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
