// What a call shows to tracing and instrumentation on both sides: the events
// in order with the addresses of the arguments and results, and trace markers
// switched on mid-call. Objects made while instrumentation is off report
// nothing (BaseOverLoopback's Instrumentation cases). The markers' names and nesting are checked
// through the preloaded atrace shim in TraceProcessTest.
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>

#include <tuple>

#include "EventRecorder.h"
#include "FrameTestSupport.h"
#include "TraceCapture.h"

namespace zuv_test {
namespace {

struct ConfigFingerprint : fp::MockZuvExtendedFingerprint {
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb cb) override {
        cb(std::string(key) + "!");
        return Void();
    }
    Return<int32_t> cancel() override {
        if (switchTracingOn) setHalTracing(true);
        return 1;
    }
    bool switchTracingOn = false;
};

class ObservabilityTest : public ::testing::Test {
  protected:
    void SetUp() override {
        impl = new ::testing::NiceMock<ConfigFingerprint>;
        proxy = loopbackProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(
                sp<fp::IZuvExtendedFingerprint>(impl));
        takeTraceMarkers();
    }
    void TearDown() override { setHalTracing(false); }

    // The values are strings for getConfigValue and int32 for cancel.
    EventRecorder recorder{[](const std::string& method, void* arg) {
        return method == "cancel" ? std::to_string(*static_cast<int32_t*>(arg))
                                  : std::string(*static_cast<hidl_string*>(arg));
    }};
    sp<ConfigFingerprint> impl;
    sp<fp::IZuvExtendedFingerprint> proxy;
};

const char* kWhere = "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint::";

TEST_F(ObservabilityTest, EventsOfBothSidesInOrderWithArgumentsThenResults) {
    std::string value;
    ASSERT_TRUE(proxy->getConfigValue("mode", [&](const hidl_string& v) { value = v; }).isOk());
    EXPECT_EQ("mode!", value);
    ASSERT_EQ(1, static_cast<int32_t>(proxy->cancel()));
    const std::string config = std::string(kWhere) + "getConfigValue";
    const std::string cancel = std::string(kWhere) + "cancel";
    using Event = std::tuple<int, std::string, std::vector<std::string>>;
    std::vector<Event> events;
    for (const auto& e : recorder.events()) events.emplace_back(e.event, e.where, e.values);
    EXPECT_EQ((std::vector<Event>{{2, config, {"mode"}},
                                  {0, config, {"mode"}},
                                  {1, config, {"mode!"}},
                                  {3, config, {"mode!"}},
                                  {2, cancel, {}},
                                  {0, cancel, {}},
                                  {1, cancel, {"1"}},
                                  {3, cancel, {"1"}}}),
              events);
}

TEST_F(ObservabilityTest, TracingSwitchedOnMidCallEndsWithoutBegin) {
    setHalTracing(false);
    impl->switchTracingOn = true;
    ASSERT_EQ(1, static_cast<int32_t>(proxy->cancel()));
    EXPECT_EQ((std::vector<TraceMarker>{traceEnd(), traceEnd()}), takeTraceMarkers());
}

}  // namespace
}  // namespace zuv_test
