// A process asked to record its calls (ZUV_HIDL_RECORD) loads the recorder at
// load time. The recorder lives with the operation descriptions, next to this
// library, so the package library itself carries no JSON and costs nothing
// when nobody records.
#include <dlfcn.h>
#include <hidl_host/Log.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {
namespace {

constexpr const char* kDescribeLibrary = "libvendor.zuv.hardware.fingerprint@1.0-describe.so";

__attribute__((constructor)) void loadRecorder() {
    const char* file = std::getenv("ZUV_HIDL_RECORD");
    if (file == nullptr || file[0] == '\0') return;
    Dl_info self{};
    std::string path = kDescribeLibrary;
    if (dladdr(reinterpret_cast<void*>(&loadRecorder), &self) != 0 && self.dli_fname != nullptr) {
        const std::string own = self.dli_fname;
        const size_t slash = own.rfind('/');
        if (slash != std::string::npos) path = own.substr(0, slash + 1) + kDescribeLibrary;
    }
    // Its own initialiser installs the recorder; it stays for the process.
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_NODELETE) == nullptr &&
        dlopen(kDescribeLibrary, RTLD_NOW | RTLD_NODELETE) == nullptr) {
        ::android::hardware::host::logf(
                ::android::hardware::host::LogLevel::Error,
                "ZUV_HIDL_RECORD is set but calls are not recorded: %s (install %s next to "
                "the package library, or unset ZUV_HIDL_RECORD)\n",
                dlerror(), kDescribeLibrary);
    }
}

}  // namespace
}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
