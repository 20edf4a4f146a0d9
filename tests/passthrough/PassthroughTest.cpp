// Calls through the in-process wrappers: oneway operations queued on another
// thread, the queue's limit, synchronous results delivered any number of
// times, interface arguments wrapped in turn, and the wrapper's own
// instrumentation and base operations; and the lookup that loads the
// package's implementation library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/Static.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <future>

#include "EventRecorder.h"
#include "Gate.h"
#include "TestNames.h"
#include "TraceCapture.h"

namespace zuv_test {
namespace {

using ::testing::NiceMock;
using Callback = NiceMock<fp::MockZuvExtendedFingerprintCallback>;

constexpr const char* kQueueFull = "Passthrough oneway function queue exceeds maximum size.";
constexpr const char* kCannotWrap = "Cannot wrap passthrough interface.";
const std::string kServices = "vendor.zuv.hardware.fingerprint@1.0::IDaxAndroidServices::";

// Records what reaches it and on which thread; setTimer(kHold) waits at the
// gate so that later calls pile up behind it.
struct QueueServices : fp::MockDaxAndroidServices {
    static constexpr uint32_t kHold = 0xFFFFFFFFu;

    Return<void> setTimer(uint32_t value) override {
        if (value == kHold) gate.arriveAndWait();
        record("timer " + std::to_string(value));
        return Void();
    }
    Return<void> setWakelock(int8_t a, int8_t b) override {
        record("wakelock " + std::to_string(a) + " " + std::to_string(b));
        return Void();
    }
    Return<void> notifySyspropsChanged() override {
        record("sysprops");
        return Void();
    }

    void record(const std::string& call) {
        std::lock_guard<std::mutex> lock(mutex);
        calls.push_back(call);
        threads.push_back(std::this_thread::get_id());
        changed.notify_all();
    }
    bool waitForCalls(size_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30),
                                [&] { return calls.size() >= count; });
    }
    std::vector<std::string> takeCalls() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }

    Gate gate;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> calls;
    std::vector<std::thread::id> threads;
};

class PassthroughTest : public ::testing::Test {
  protected:
    void SetUp() override { takeTraceMarkers(); }
    void TearDown() override { setHalTracing(false); }
};

TEST_F(PassthroughTest, OnewayCallsReturnAtOnceAndRunInOrderOnTheQueue) {
    EventRecorder recorder;
    setHalTracing(true);
    sp<QueueServices> impl = new NiceMock<QueueServices>;
    sp<fp::IDaxAndroidServices> wrapper = new fp::BsDaxAndroidServices(impl);

    ASSERT_TRUE(wrapper->setTimer(QueueServices::kHold).isOk());
    ASSERT_TRUE(wrapper->setWakelock(-1, 127).isOk());
    ASSERT_TRUE(impl->gate.arrived());
    // Both calls are back while the first is still held in the implementation.
    EXPECT_TRUE(impl->takeCalls().empty());
    auto events = recorder.events();
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(8, events[0].event);
    EXPECT_EQ(kServices + "setTimer", events[0].where);
    EXPECT_EQ(1u, events[0].argCount);
    EXPECT_EQ(2u, events[1].argCount);
    EXPECT_EQ(std::this_thread::get_id(), events[1].thread);
    // Sections begin on the caller's thread; nothing has ended them yet.
    EXPECT_EQ((std::vector<TraceMarker>{
                      traceBegin("HIDL::IDaxAndroidServices::setTimer::passthrough"),
                      traceBegin("HIDL::IDaxAndroidServices::setWakelock::passthrough")}),
              takeTraceMarkers());

    impl->gate.open();
    ASSERT_TRUE(recorder.waitFor(4));
    EXPECT_EQ((std::vector<std::string>{"timer 4294967295", "wakelock -1 127"}), impl->takeCalls());
    events = recorder.events();
    for (size_t i = 2; i < 4; ++i) {
        EXPECT_EQ(9, events[i].event);
        EXPECT_EQ(0u, events[i].argCount);
        EXPECT_NE(std::this_thread::get_id(), events[i].thread);
        EXPECT_NE(std::this_thread::get_id(), impl->threads[i - 2]);
    }
    EXPECT_EQ((std::vector<TraceMarker>{traceEnd(), traceEnd()}), takeTraceMarkers());
}

TEST_F(PassthroughTest, FullQueueRefusesCallsUntilItDrains) {
    sp<QueueServices> impl = new NiceMock<QueueServices>;
    sp<fp::IDaxAndroidServices> wrapper = new fp::BsDaxAndroidServices(impl);
    ASSERT_TRUE(wrapper->setTimer(QueueServices::kHold).isOk());
    ASSERT_TRUE(impl->gate.arrived());
    for (uint32_t i = 0; i < 3000; ++i) ASSERT_TRUE(wrapper->setTimer(i).isOk()) << i;

    auto refused = wrapper->setTimer(7777);
    ASSERT_FALSE(refused.isOk());
    EXPECT_EQ(Status::EX_TRANSACTION_FAILED, refused.getStatus().exceptionCode());
    EXPECT_STREQ(kQueueFull, refused.getStatus().exceptionMessage());
    // The inherited oneway operation shares the queue.
    auto syspropsRefused = wrapper->notifySyspropsChanged();
    EXPECT_FALSE(syspropsRefused.isOk());

    impl->gate.open();
    ASSERT_TRUE(impl->waitForCalls(3001));
    ASSERT_TRUE(wrapper->setTimer(8888).isOk());
    ASSERT_TRUE(impl->waitForCalls(3002));
    auto calls = impl->takeCalls();
    ASSERT_EQ(3002u, calls.size());
    // In the order pushed, the refused one nowhere.
    for (uint32_t i = 0; i < 3000; ++i) ASSERT_EQ("timer " + std::to_string(i), calls[i + 1]);
    EXPECT_EQ("timer 8888", calls.back());
}

// Delivers `deliveries` results through the callback.
struct DeliveringFingerprint : fp::MockZuvExtendedFingerprint {
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb cb) override {
        for (int i = 0; i < deliveries; ++i) cb(std::string(key) + std::to_string(i));
        return Void();
    }
    int deliveries = 1;
};

TEST_F(PassthroughTest, EachDeliveryIsReportedBeforeTheCallerSeesIt) {
    EventRecorder recorder;
    setHalTracing(true);
    sp<DeliveringFingerprint> impl = new NiceMock<DeliveringFingerprint>;
    sp<fp::IZuvExtendedFingerprint> wrapper = new fp::BsZuvExtendedFingerprint(impl);
    std::vector<std::string> seen;
    auto callback = [&](const hidl_string& value) {
        seen.push_back(std::string(value) + " after " + std::to_string(recorder.events().size()));
    };

    impl->deliveries = 0;
    ASSERT_TRUE(wrapper->getConfigValue("k", callback).isOk());
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ((std::vector<int>{8}), recorder.numbers());
    EXPECT_EQ((std::vector<TraceMarker>{
                      traceBegin("HIDL::IZuvExtendedFingerprint::getConfigValue::passthrough")}),
              takeTraceMarkers());

    impl->deliveries = 2;
    ASSERT_TRUE(wrapper->getConfigValue("k", callback).isOk());
    EXPECT_EQ((std::vector<std::string>{"k0 after 3", "k1 after 4"}), seen);
    auto events = recorder.events();
    ASSERT_EQ(4u, events.size());
    EXPECT_EQ(9, events[2].event);
    EXPECT_EQ(1u, events[2].argCount);
    EXPECT_EQ(9, events[3].event);
    EXPECT_EQ((std::vector<TraceMarker>{
                      traceBegin("HIDL::IZuvExtendedFingerprint::getConfigValue::passthrough"),
                      traceEnd(), traceEnd()}),
              takeTraceMarkers());
}

// Keeps the interface argument it is given.
struct ArgumentKeeper : fp::MockZuvExtendedFingerprint {
    Return<int32_t> match(const sp<fp::IZuvExtendedFingerprintCallback>& cb, int32_t,
                          const hidl_string&, const hidl_vec<uint8_t>&, const hidl_string&,
                          int32_t) override {
        return keep(cb, 35);
    }
    Return<int32_t> startCapture(const sp<fp::IZuvExtendedFingerprintCallback>& cb,
                                 int32_t value) override {
        return keep(cb, value);
    }
    int32_t keep(const sp<fp::IZuvExtendedFingerprintCallback>& cb, int32_t result) {
        callback = cb;
        ++calls;
        return result;
    }
    sp<fp::IZuvExtendedFingerprintCallback> callback;
    int calls = 0;
};

// Null passes as null and a remote object as itself; a local object is
// wrapped, so that its calls are reported as passthrough calls.
TEST_F(PassthroughTest, InterfaceArgumentsNullRemoteAndLocal) {
    sp<ArgumentKeeper> impl = new NiceMock<ArgumentKeeper>;
    sp<fp::IZuvExtendedFingerprint> wrapper = new fp::BsZuvExtendedFingerprint(impl);

    EXPECT_EQ(35, static_cast<int32_t>(wrapper->match(nullptr, 1, "", {}, "", 2)));
    EXPECT_EQ(nullptr, impl->callback);

    sp<Callback> local = new Callback;
    EXPECT_CALL(*local, onError(-3));
    sp<fp::IZuvExtendedFingerprintCallback> proxy =
            new fp::BpHwZuvExtendedFingerprintCallback(::android::hardware::host::loopbackProxyFor(
                    new fp::BnHwZuvExtendedFingerprintCallback(local)));
    EXPECT_EQ(42, static_cast<int32_t>(wrapper->startCapture(proxy, 42)));
    EXPECT_EQ(proxy.get(), impl->callback.get());

    EXPECT_EQ(52, static_cast<int32_t>(wrapper->startCapture(local, 52)));
    auto* wrapped = dynamic_cast<fp::BsZuvExtendedFingerprintCallback*>(impl->callback.get());
    ASSERT_NE(nullptr, wrapped);
    EXPECT_EQ(local.get(), wrapped->getImpl().get());
    ASSERT_TRUE(impl->callback->onError(-3).isOk());
}

// Takes the wrapper constructor of an interface out of the map for a scope,
// so that its objects cannot be wrapped.
class WithoutWrapperConstructor {
  public:
    explicit WithoutWrapperConstructor(std::string descriptor)
        : mDescriptor(std::move(descriptor)), mSaved(map().get(mDescriptor, nullptr)) {
        map().erase(mDescriptor);
    }
    ~WithoutWrapperConstructor() { map().set(std::move(mDescriptor), std::move(mSaved)); }
    bool hadOne() const { return static_cast<bool>(mSaved); }

  private:
    static ::android::hardware::details::BsConstructorMap& map() {
        return ::android::hardware::details::getBsConstructorMap();
    }
    std::string mDescriptor;
    std::function<sp<::android::hidl::base::V1_0::IBase>(void*)> mSaved;
};

TEST_F(PassthroughTest, UnwrappableArgumentFailsBeforeTheImplementation) {
    WithoutWrapperConstructor without(fp::IZuvExtendedFingerprintCallback::descriptor);
    ASSERT_TRUE(without.hadOne());
    EventRecorder recorder;
    setHalTracing(true);
    sp<ArgumentKeeper> impl = new NiceMock<ArgumentKeeper>;
    sp<fp::IZuvExtendedFingerprint> wrapper = new fp::BsZuvExtendedFingerprint(impl);
    auto ret = wrapper->match(new Callback, 1, "a", {}, "b", 2);
    ASSERT_FALSE(ret.isOk());
    EXPECT_EQ(Status::EX_TRANSACTION_FAILED, ret.getStatus().exceptionCode());
    EXPECT_STREQ(kCannotWrap, ret.getStatus().exceptionMessage());
    EXPECT_EQ(0, impl->calls);
    // Entered, never left.
    EXPECT_EQ((std::vector<int>{8}), recorder.numbers());
    EXPECT_EQ((std::vector<TraceMarker>{
                      traceBegin("HIDL::IZuvExtendedFingerprint::match::passthrough")}),
              takeTraceMarkers());
}

// Base operations report under the base interface but trace as the wrapper;
// the inherited oneway one runs on the queue like any other.
TEST_F(PassthroughTest, BaseOperationsReportAsTheBaseInterfaceButTraceAsTheWrapper) {
    EventRecorder recorder;
    setHalTracing(true);
    sp<QueueServices> impl = new NiceMock<QueueServices>;
    sp<fp::IDaxAndroidServices> wrapper = new fp::BsDaxAndroidServices(impl);
    EXPECT_FALSE(wrapper->isRemote());
    ASSERT_TRUE(wrapper->ping().isOk());
    ASSERT_TRUE(wrapper->notifySyspropsChanged().isOk());
    ASSERT_TRUE(impl->waitForCalls(1));
    EXPECT_EQ(std::vector<std::string>{"sysprops"}, impl->takeCalls());
    EXPECT_NE(std::this_thread::get_id(), impl->threads[0]);
    ASSERT_TRUE(recorder.waitFor(4));

    const std::string base = "android.hidl.base@1.0::IBase::";
    std::vector<std::string> seen;
    for (const auto& e : recorder.events()) seen.push_back(std::to_string(e.event) + " " + e.where);
    EXPECT_EQ((std::vector<std::string>{"8 " + base + "ping", "9 " + base + "ping",
                                        "8 " + base + "notifySyspropsChanged",
                                        "9 " + base + "notifySyspropsChanged"}),
              seen);
    auto markers = takeTraceMarkers();
    ASSERT_EQ(4u, markers.size());
    EXPECT_EQ(traceBegin("HIDL::IDaxAndroidServices::ping::passthrough"), markers[0]);
    EXPECT_EQ(traceBegin("HIDL::IDaxAndroidServices::notifySyspropsChanged::passthrough"),
              markers[2]);
}

// Instrumentation off, only the sections remain. The tag is asked again at
// the end, so a call during which tracing went on ends a section it never
// began, as a binder call does.
struct TracingOnFingerprint : DeliveringFingerprint {
    Return<int32_t> cancel() override {
        setHalTracing(true);
        return 5;
    }
};

TEST_F(PassthroughTest, UninstrumentedCallsStillTrace) {
    sp<TracingOnFingerprint> impl = new NiceMock<TracingOnFingerprint>;
    sp<fp::IZuvExtendedFingerprint> wrapper = new fp::BsZuvExtendedFingerprint(impl);
    EXPECT_EQ(5, static_cast<int32_t>(wrapper->cancel()));
    EXPECT_EQ((std::vector<TraceMarker>{traceEnd()}), takeTraceMarkers());
    ASSERT_TRUE(wrapper->getConfigValue("k", [](const hidl_string&) {}).isOk());
    EXPECT_EQ((std::vector<TraceMarker>{
                      traceBegin("HIDL::IZuvExtendedFingerprint::getConfigValue::passthrough"),
                      traceEnd()}),
              takeTraceMarkers());
}

// The loader finds the package's implementation library. Its object is wrapped
// as any local object is (InterfaceArgumentsNullRemoteAndLocal).
TEST(StubLookupTest, GetStubLoadsTheImplementation) {
    host::setPassthroughSearchPath(ZUV_TEST_PASSTHROUGH_DIR);
    sp<fp::IDaxAndroidServices> services = fp::IDaxAndroidServices::getService("seven", true);
    host::resetPassthroughSearchPath();
    ASSERT_NE(nullptr, services);
    EXPECT_FALSE(services->isRemote());
    EXPECT_EQ(5, static_cast<int32_t>(services->checkRequestingAppType()));
}

}  // namespace
}  // namespace zuv_test
