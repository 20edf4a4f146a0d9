#include "registry/PassthroughLoader.h"

#include <android/hidl/base/1.0/IBase.h>
#include <dlfcn.h>
#include <hidl_host/Log.h>
#include <hidl_host/ServiceRegistry.h>
#include <unistd.h>

#include <mutex>
#include <optional>

#include "registry/HostSettings.h"

namespace android {
namespace hardware {

using ::android::hidl::base::V1_0::IBase;

namespace {

std::mutex gPathMutex;
std::optional<std::string> gPathOverride;

std::vector<std::string> splitPath(const std::string& list) {
    std::vector<std::string> dirs;
    size_t start = 0;
    while (start <= list.size()) {
        size_t end = list.find(':', start);
        if (end == std::string::npos) end = list.size();
        if (end > start) dirs.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return dirs;
}

// "<directory of libhidlbase>/hw", so that an installed tree and a build tree
// both find their implementations without configuration.
std::string defaultSearchPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&defaultSearchPath), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    std::string self = info.dli_fname;
    size_t slash = self.rfind('/');
    std::string dir = slash == std::string::npos ? std::string(".") : self.substr(0, slash);
    return dir + "/hw";
}

using FetchFunction = IBase* (*)(const char* instance);

}  // namespace

namespace host {

void setPassthroughSearchPath(const std::string& colonSeparated) {
    std::lock_guard<std::mutex> lock(gPathMutex);
    gPathOverride = colonSeparated;
}

void resetPassthroughSearchPath() {
    std::lock_guard<std::mutex> lock(gPathMutex);
    gPathOverride.reset();
}

std::vector<std::string> getPassthroughSearchPath() {
    {
        std::lock_guard<std::mutex> lock(gPathMutex);
        if (gPathOverride) return splitPath(*gPathOverride);
    }
    if (const char* env = getenv(kPassthroughPathEnvVar)) return splitPath(env);
    return splitPath(defaultSearchPath());
}

}  // namespace host

namespace details {

std::string passthroughLibraryName(const std::string& descriptor) {
    size_t sep = descriptor.find("::");
    if (sep == std::string::npos || sep == 0) return {};
    std::string package = descriptor.substr(0, sep);
    std::string iface = descriptor.substr(sep + 2);
    // A path separator would let a descriptor name a file outside the search path.
    if (iface.empty() || package.find('@') == std::string::npos ||
        package.find('/') != std::string::npos || iface.find('/') != std::string::npos) {
        return {};
    }
    return package + "-impl.so";
}

static std::string interfaceName(const std::string& descriptor) {
    size_t sep = descriptor.find("::");
    return sep == std::string::npos ? std::string() : descriptor.substr(sep + 2);
}

bool hasPassthroughLibrary(const std::string& descriptor) {
    std::string lib = passthroughLibraryName(descriptor);
    if (lib.empty()) return false;
    for (const std::string& dir : host::getPassthroughSearchPath()) {
        if (access((dir + "/" + lib).c_str(), R_OK) == 0) return true;
    }
    return false;
}

sp<IBase> fetchPassthroughService(const std::string& descriptor, const std::string& instance) {
    std::string lib = passthroughLibraryName(descriptor);
    if (lib.empty()) {
        ZUV_LOG_DEBUG("hidl-registry: passthrough: '%s' is not a descriptor", descriptor.c_str());
        return nullptr;
    }
    const std::string symbol = "HIDL_FETCH_" + interfaceName(descriptor);

    for (const std::string& dir : host::getPassthroughSearchPath()) {
        const std::string path = dir + "/" + lib;
        if (access(path.c_str(), F_OK) != 0) continue;
        void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            ZUV_LOG_DEBUG("hidl-registry: passthrough: cannot load %s: %s", path.c_str(),
                          dlerror());
            continue;
        }
        auto fetch = reinterpret_cast<FetchFunction>(dlsym(handle, symbol.c_str()));
        if (fetch == nullptr) {
            ZUV_LOG_DEBUG("hidl-registry: passthrough: %s has no %s", path.c_str(), symbol.c_str());
            dlclose(handle);
            continue;
        }
        // The object's code lives in the library, so the handle is never closed.
        sp<IBase> service = fetch(instance.c_str());
        if (service == nullptr) {
            ZUV_LOG_DEBUG("hidl-registry: passthrough: %s(\"%s\") in %s returned null",
                          symbol.c_str(), instance.c_str(), path.c_str());
            continue;
        }
        ZUV_LOG_DEBUG("hidl-registry: passthrough: %s/%s from %s", descriptor.c_str(),
                      instance.c_str(), path.c_str());
        return service;
    }
    ZUV_LOG_DEBUG("hidl-registry: passthrough: no %s for %s/%s", lib.c_str(), descriptor.c_str(),
                  instance.c_str());
    return nullptr;
}

}  // namespace details
}  // namespace hardware
}  // namespace android
