// Host-only: one process-wide observer of every call made through a proxy and
// served through a stub, with the typed arguments and result. The runtime
// knows no package; a package's library installs an observer that does (the
// call recorder of vendor.zuv.hardware.fingerprint@1.0 is one).
//
// Off, a call pays one atomic load and a branch at its start and a branch at
// each end; nothing is built or copied.
#pragma once

#include <hidl/Status.h>
#include <hidl_host/frame/Method.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl
namespace hardware {

class IInterface;

namespace frame {

struct ObservedOperation {
    const char* descriptor;  // the interface's descriptor
    uint32_t code;           // from 1, in the interface's order
    bool oneway;
};

// Called on the calling or serving thread, so an observer may keep
// per-thread state; it must be thread-safe and must not call through the
// objects it is shown.
class CallObserver {
  public:
    // args: the address of each argument in declaration order, without a
    // result callback. The returned token (null to ignore the call) comes
    // back in result() and end().
    virtual void* clientBegin(const ObservedOperation& op, IInterface* proxy,
                              const void* const* args) = 0;
    virtual void* serverBegin(const ObservedOperation& op,
                              ::android::hidl::base::V1_0::IBase* object,
                              const void* const* args) = 0;
    // The result, while it is valid: at most once per call, before end().
    virtual void result(void* token, const void* value) = 0;
    // The call is over: OK, a transport error or an exception.
    virtual void end(void* token, const Status& status) = 0;

    // A proxy got by getService(instance), or a local object registered as
    // instance.
    virtual void serviceFound(const std::string& instance,
                              ::android::hidl::base::V1_0::IBase* object) = 0;
    virtual void serviceRegistered(const std::string& instance,
                                   ::android::hidl::base::V1_0::IBase* object) = 0;

  protected:
    ~CallObserver() = default;
};

// Read through callObserver(); set through setCallObserver().
extern std::atomic<CallObserver*> gCallObserver;

// Installs the process's observer (null removes it). The observer must live
// as long as the process: calls in progress may still use the one replaced.
void setCallObserver(CallObserver* observer);

inline CallObserver* callObserver() {
    return gCallObserver.load(std::memory_order_acquire);
}

// The values a call hands over are of the operation's declared types.
template <typename Tuple, typename Indices, typename... Args>
struct ArgsMatch;
template <typename Tuple, size_t... I, typename... Args>
struct ArgsMatch<Tuple, std::index_sequence<I...>, Args...>
    : std::bool_constant<(std::is_same<std::decay_t<Args>, std::tuple_element_t<I, Tuple>>::value &&
                          ... && true)> {};
template <typename Op, typename... Args>
constexpr bool kArgsMatch = ArgsMatch<typename Op::Traits::ParamTuple,
                                      std::index_sequence_for<Args...>, Args...>::value;

// One call's observation; does nothing when no observer was installed as the
// call began.
class ObservedCall {
  public:
    ObservedCall() = default;
    ObservedCall(const ObservedCall&) = delete;
    ObservedCall& operator=(const ObservedCall&) = delete;

    ~ObservedCall() {
        // A way out that forgot to say how the call ended.
        if (mToken != nullptr)
            mObserver->end(mToken, Status::fromStatusT(::android::UNKNOWN_ERROR));
    }

    template <typename Op, typename... Args>
    void beginClient(IInterface* proxy, const Args&... args) {
        static_assert(kArgsMatch<Op, Args...>, "arguments of the declared types");
        mObserver = callObserver();
        if (mObserver == nullptr) return;
        const void* addresses[] = {static_cast<const void*>(&args)..., nullptr};
        mToken = mObserver->clientBegin(operation<Op>(), proxy, addresses);
    }
    template <typename Op, typename... Args>
    void beginServer(::android::hidl::base::V1_0::IBase* object, const Args&... args) {
        static_assert(kArgsMatch<Op, Args...>, "arguments of the declared types");
        mObserver = callObserver();
        if (mObserver == nullptr) return;
        const void* addresses[] = {static_cast<const void*>(&args)..., nullptr};
        mToken = mObserver->serverBegin(operation<Op>(), object, addresses);
    }
    template <typename T>
    void result(const T& value) {
        if (mToken != nullptr) mObserver->result(mToken, &value);
    }
    void end(const Status& status) {
        if (mToken != nullptr) mObserver->end(mToken, status);
        mToken = nullptr;
    }
    // The same with a served call's Return, read only when observed.
    template <typename T>
    void end(const Return<T>& ret) {
        if (mToken != nullptr) end(ret.isOk() ? Status::ok() : ret.getStatus());
    }

  private:
    template <typename Op>
    static ObservedOperation operation() {
        return {Op::Interface::descriptor, Op::kCode, Op::kShape == Shape::kOneway};
    }

    CallObserver* mObserver = nullptr;
    void* mToken = nullptr;
};

}  // namespace frame
}  // namespace hardware
}  // namespace android
