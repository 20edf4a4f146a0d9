// Instrumentation callbacks: registered from code or switched on by the
// environment, called in registration order at each side of a call.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hidl_host/Instrumentation.h>
#include <hidl_host/Loopback.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

namespace {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::details::InstrumentationEvent;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
namespace host = ::android::hardware::host;

struct Bare : IBase {};

using Event = std::tuple<std::string, int, std::string, size_t>;  // who, event, where, args

class Instrumentation : public ::testing::Test {
  protected:
    void SetUp() override {
        host::clearInstrumentationCallbacks();
        host::setInstrumentationEnabled(true);
    }
    void TearDown() override {
        host::clearInstrumentationCallbacks();
        host::setInstrumentationEnabled(false);
    }

    host::InstrumentationCallbackId record(const std::string& who) {
        return host::addInstrumentationCallback(
                [this, who](const InstrumentationEvent event, const char* package,
                            const char* version, const char* interface, const char* method,
                            std::vector<void*>* args) {
                    events.emplace_back(
                            who, event,
                            std::string(package) + "@" + version + "::" + interface + "::" + method,
                            args->size());
                });
    }

    std::vector<Event> events;
};

TEST_F(Instrumentation, CallbacksRunInRegistrationOrderOnBothSides) {
    record("a");
    record("b");
    sp<BnHwBase> stub = new BnHwBase(new Bare());
    sp<BpHwBase> proxy = new BpHwBase(host::toLoopback(stub));
    ASSERT_TRUE(proxy->isInstrumentationEnabled());
    ASSERT_EQ(proxy->getInstrumentationCallbacks().size(), 2u);

    ASSERT_TRUE(proxy->interfaceChain([](const hidl_vec<hidl_string>&) {}).isOk());
    const std::string m = "android.hidl.base@1.0::IBase::interfaceChain";
    const std::vector<Event> expected = {
            {"a", InstrumentationEvent::CLIENT_API_ENTRY, m, 0},
            {"b", InstrumentationEvent::CLIENT_API_ENTRY, m, 0},
            {"a", InstrumentationEvent::SERVER_API_ENTRY, m, 0},
            {"b", InstrumentationEvent::SERVER_API_ENTRY, m, 0},
            {"a", InstrumentationEvent::SERVER_API_EXIT, m, 1},
            {"b", InstrumentationEvent::SERVER_API_EXIT, m, 1},
            {"a", InstrumentationEvent::CLIENT_API_EXIT, m, 1},
            {"b", InstrumentationEvent::CLIENT_API_EXIT, m, 1},
    };
    EXPECT_EQ(events, expected);

    // A oneway call reports its client exit with nothing in it.
    events.clear();
    ASSERT_TRUE(proxy->notifySyspropsChanged().isOk());
    ASSERT_EQ(events.size(), 8u);
    EXPECT_EQ(events.back(), (Event{"b", InstrumentationEvent::CLIENT_API_EXIT,
                                    "android.hidl.base@1.0::IBase::notifySyspropsChanged", 0}));
}

TEST_F(Instrumentation, ObjectsKeepTheSettingsTheyWereConfiguredWith) {
    const auto removed = record("gone");
    sp<BnHwBase> stub = new BnHwBase(new Bare());
    EXPECT_TRUE(host::removeInstrumentationCallback(removed));
    EXPECT_FALSE(host::removeInstrumentationCallback(removed));
    host::setInstrumentationEnabled(false);
    sp<BpHwBase> proxy = new BpHwBase(host::toLoopback(stub));
    EXPECT_TRUE(proxy->getInstrumentationCallbacks().empty());

    // The stub was configured earlier: still enabled, with the removed callback.
    ASSERT_TRUE(proxy->ping().isOk());
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(std::get<0>(events[0]), "gone");

    // setHALInstrumentation makes a service re-read the settings.
    events.clear();
    ASSERT_TRUE(proxy->setHALInstrumentation().isOk());
    ASSERT_TRUE(proxy->ping().isOk());
    EXPECT_TRUE(events.empty());
}

TEST(InstrumentationEnvironment, SwitchesAWholeProcessOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The child is a fresh process that reads the variable at first use.
    setenv(host::kInstrumentationEnvVar, "1", 1);
    EXPECT_EXIT(
            {
                sp<BpHwBase> proxy = new BpHwBase(host::toLoopback(new BnHwBase(new Bare())));
                std::exit(proxy->isInstrumentationEnabled() ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
    setenv(host::kInstrumentationEnvVar, "0", 1);
    EXPECT_EXIT(
            {
                sp<BpHwBase> proxy = new BpHwBase(host::toLoopback(new BnHwBase(new Bare())));
                std::exit(proxy->isInstrumentationEnabled() ? 0 : 1);
            },
            ::testing::ExitedWithCode(1), "");
    unsetenv(host::kInstrumentationEnvVar);
}

}  // namespace
