#include <android/hidl/base/1.0/BnHwBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/frame/BaseMethods.h>
#include <hidl_host/frame/ServerCall.h>

#include <string>
#include <utility>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hardware::frame::Server;
namespace m = base_methods;

namespace {

// ping and getDebugInfo are answered by the stub itself, which derived stubs
// may override; the frame calls them through this stand-in for the object.
struct StubAnswers : IBase {
    explicit StubAnswers(BnHwBase* stub) : mStub(stub) {}
    Return<void> ping() override { return mStub->ping(); }
    Return<void> getDebugInfo(getDebugInfo_cb cb) override { return mStub->getDebugInfo(cb); }
    BnHwBase* mStub;
};

}  // namespace

BnHwBase::BnHwBase(const sp<IBase>& _hidl_impl)
    : BnHwBase(_hidl_impl, "android.hidl.base@1.0", "IBase") {}

BnHwBase::BnHwBase(const sp<IBase>& _hidl_impl, const std::string& HidlInstrumentor_package,
                   const std::string& HidlInstrumentor_interface)
    : HidlInstrumentor(HidlInstrumentor_package, HidlInstrumentor_interface),
      _hidl_mImpl(_hidl_impl) {
    auto prio = ::android::hardware::getMinSchedulerPolicy(_hidl_impl);
    mSchedPolicy = prio.sched_policy;
    mSchedPriority = prio.sched_priority;
    setRequestingSid(::android::hardware::getRequestingSid(_hidl_impl));
}

BnHwBase::~BnHwBase() = default;

bool BnHwBase::checkSubclass(const void* subclassID) const {
    return subclassID == IBase::descriptor;
}

Return<void> BnHwBase::ping() {
    return Void();
}

Return<void> BnHwBase::getDebugInfo(IBase::getDebugInfo_cb _hidl_cb) {
    DebugInfo info = {};
    info.pid = ::android::hardware::details::getPidIfSharable();
    info.ptr = ::android::hardware::details::debuggable() ? reinterpret_cast<uint64_t>(this) : 0;
    info.arch = DebugInfo::Architecture::IS_64BIT;
    _hidl_cb(info);
    return Void();
}

// The stub's own answers and setHALInstrumentation's reconfiguration aside,
// every handler is the frame's.
#define ZUV_HANDLER(kind, code, name, names)                                                     \
    status_t BnHwBase::_hidl_##name(BnHwBase* _hidl_this, const Parcel& _hidl_data,              \
                                    Parcel* _hidl_reply, TransactCallback _hidl_cb) {            \
        if constexpr (code == m::ping::kCode || code == m::getDebugInfo::kCode) {                \
            /* Counted, since the frame may hold it by reference. */                             \
            const sp<StubAnswers> answers = new StubAnswers(_hidl_this);                         \
            return Server<m::name>::serveOn(answers.get(), _hidl_this, _hidl_data, _hidl_reply,  \
                                            std::move(_hidl_cb));                                \
        }                                                                                        \
        if constexpr (code == m::setHALInstrumentation::kCode) {                                 \
            if (!_hidl_data.enforceInterface(IBase::descriptor)) return BAD_TYPE;                \
            _hidl_this->configureInstrumentation(false);                                         \
            _hidl_data.setDataPosition(0);                                                       \
        }                                                                                        \
        return Server<m::name>::serve(_hidl_this, _hidl_data, _hidl_reply, std::move(_hidl_cb)); \
    }
ZUV_BASE_METHODS(ZUV_HANDLER)
#undef ZUV_HANDLER

status_t BnHwBase::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data, Parcel* _hidl_reply,
                              uint32_t /*_hidl_flags*/, TransactCallback _hidl_cb) {
    switch (_hidl_code) {
#define ZUV_CASE(kind, code, name, names) \
    case code:                            \
        return _hidl_##name(this, _hidl_data, _hidl_reply, std::move(_hidl_cb));
        ZUV_BASE_METHODS(ZUV_CASE)
#undef ZUV_CASE
        default:
            return UNKNOWN_TRANSACTION;
    }
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
