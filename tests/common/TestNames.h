// The names nearly every test spells: the platform's pointers, status codes,
// parcel and binder, the HIDL value types, and the package's namespace as fp.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>

#include <chrono>

namespace vendor::zuv::hardware::fingerprint::V1_0 {}
namespace android::hardware::host {}

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::wp;
using ::android::hardware::BHwBinder;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;
namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;
namespace host = ::android::hardware::host;
using namespace std::chrono_literals;
