// BpHwBase and BnHwBase: the base operations through the loopback transport
// (full wire image) and directly over the local stub, death of the remote
// object, and instrumentation at each side of a call.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/Instrumentation.h>
#include <hidl_host/Loopback.h>
#include <hwbinder/BpHwBinder.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "TestNames.h"

namespace {

using ::android::BAD_TYPE;
using ::android::DEAD_OBJECT;
using ::android::UNKNOWN_TRANSACTION;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::details::InstrumentationEvent;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;

constexpr uint32_t kPing = 0x0f504e47;
constexpr uint32_t kSyspropsChanged = 0x0f535953;

// Records what reached the implementation.
struct RecordingBase : IBase {
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        hidl_vec<hidl_string> chain{"zuv.test@1.0::IRecording", IBase::descriptor};
        sentChars = chain[0].c_str();
        cb(chain);
        return Void();
    }
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override {
        debugOptions.assign(options.begin(), options.end());
        if (fd.getNativeHandle() != nullptr && fd->numFds == 1) {
            struct stat st {};
            if (fstat(fd->data[0], &st) == 0) debugInode = st.st_ino;
            debugFd = fd->data[0];
        }
        return Void();
    }
    Return<void> setHALInstrumentation() override {
        ++halInstrumentationCalls;
        return Void();
    }
    Return<void> notifySyspropsChanged() override {
        ++syspropsCalls;
        return Void();
    }

    const char* sentChars = nullptr;
    std::vector<std::string> debugOptions;
    ino_t debugInode = 0;
    int debugFd = -1;
    std::atomic<int> halInstrumentationCalls{0};
    std::atomic<int> syspropsCalls{0};
};

class BaseOverLoopback : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        impl = new RecordingBase();
        stub = new BnHwBase(impl);
        // true: through the wire image; false: straight to the local stub.
        binder = GetParam() ? host::toLoopback(stub) : sp<IBinder>(stub);
        proxy = new BpHwBase(binder);
    }

    sp<RecordingBase> impl;
    sp<BnHwBase> stub;
    sp<IBinder> binder;
    sp<BpHwBase> proxy;
};

TEST_P(BaseOverLoopback, IdentityOperationsComeBackFromTheImplementation) {
    std::vector<std::string> chain;
    const char* receivedChars = nullptr;
    ASSERT_TRUE(proxy->interfaceChain([&](const hidl_vec<hidl_string>& c) {
                         for (const auto& s : c) chain.push_back(s);
                         receivedChars = c[0].c_str();
                     }).isOk());
    EXPECT_EQ(chain, (std::vector<std::string>{"zuv.test@1.0::IRecording", IBase::descriptor}));
    if (GetParam()) {
        // The reply was rebuilt in fresh memory, not pointed at the sender's.
        EXPECT_NE(receivedChars, impl->sentChars);
    }

    size_t hashes = 0;
    ASSERT_TRUE(proxy->getHashChain([&](const auto& h) { hashes = h.size(); }).isOk());
    EXPECT_EQ(hashes, 1u);
    EXPECT_TRUE(proxy->ping().isOk());
    EXPECT_TRUE(proxy->isRemote());
}

TEST_P(BaseOverLoopback, OnewayAndArgumentOperationsReachTheImplementation) {
    EXPECT_TRUE(proxy->notifySyspropsChanged().isOk());
    EXPECT_TRUE(proxy->setHALInstrumentation().isOk());
    EXPECT_EQ(impl->syspropsCalls, 1);
    EXPECT_EQ(impl->halInstrumentationCalls, 1);

    int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = fd;
    struct stat st {};
    ASSERT_EQ(fstat(fd, &st), 0);
    ASSERT_TRUE(proxy->debug(hidl_handle(handle), hidl_vec<hidl_string>{"--all", ""}).isOk());
    EXPECT_EQ(impl->debugOptions, (std::vector<std::string>{"--all", ""}));
    EXPECT_EQ(impl->debugInode, st.st_ino);
    if (GetParam()) {
        // The target got its own descriptor for the same file.
        EXPECT_NE(impl->debugFd, fd);
    }
    native_handle_close(handle);
    native_handle_delete(handle);
}

TEST_P(BaseOverLoopback, UnknownCodesAndForeignTokensAreRefused) {
    Parcel data, reply;
    data.writeInterfaceToken(IBase::descriptor);
    EXPECT_EQ(binder->transact(0x0f000000, data, &reply), UNKNOWN_TRANSACTION);
    EXPECT_EQ(binder->transact(1, data, &reply), UNKNOWN_TRANSACTION);

    Parcel foreign;
    foreign.writeInterfaceToken("zuv.test@1.0::IOther");
    EXPECT_EQ(binder->transact(kPing, foreign, &reply), BAD_TYPE);
    EXPECT_EQ(binder->transact(kSyspropsChanged, foreign, &reply, IBinder::FLAG_ONEWAY),
              GetParam() ? OK : BAD_TYPE);  // a oneway caller learns nothing
    EXPECT_EQ(impl->syspropsCalls, 0);

    // A request cut short in its arguments fails without reaching the
    // implementation.
    Parcel shortDebug;
    shortDebug.writeInterfaceToken(IBase::descriptor);
    EXPECT_NE(binder->transact(0x0f444247, shortDebug, &reply), OK);
    EXPECT_TRUE(impl->debugOptions.empty());
}

INSTANTIATE_TEST_SUITE_P(Roads, BaseOverLoopback, ::testing::Values(true, false),
                         [](const ::testing::TestParamInfo<bool>& road) {
                             return road.param ? "Loopback" : "Direct";
                         });

TEST(LocalBinder, ReplyIsReadFromItsStartAndDeathLinksAreRefused) {
    struct Writer : ::android::hardware::BHwBinder {
        status_t onTransact(uint32_t, const Parcel&, Parcel* reply, uint32_t,
                            TransactCallback cb) override {
            reply->writeInt32(5);
            reply->writeInt32(6);
            if (cb) cb(*reply);
            return OK;
        }
    };
    sp<Writer> writer = new Writer();
    Parcel data, reply;
    int32_t inCallback = 0;
    ASSERT_EQ(writer->transact(1, data, &reply, 0, [&](Parcel& r) { r.readInt32(&inCallback); }),
              OK);
    EXPECT_EQ(inCallback, 5);
    int32_t first = 0;
    ASSERT_EQ(reply.readInt32(&first), OK);
    EXPECT_EQ(first, 5);

    struct Recipient : IBinder::DeathRecipient {
        void binderDied(const ::android::wp<IBinder>&) override {}
    };
    EXPECT_EQ(writer->linkToDeath(new Recipient()), ::android::INVALID_OPERATION);
}

// Death of a remote object: recipients registered through the proxy, removed,
// and told once when the loopback target is killed.
struct Recorder : hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        cookies.push_back(cookie);
        whos.push_back(who.promote());
    }
    std::vector<uint64_t> cookies;
    std::vector<sp<IBase>> whos;
};

class Death : public ::testing::Test {
  protected:
    void SetUp() override {
        stub = new BnHwBase(new IBase());
        proxy = new BpHwBase(host::toLoopback(stub));
    }
    sp<BnHwBase> stub;
    sp<BpHwBase> proxy;
};

TEST_F(Death, RecipientsAreToldOnceWithTheirCookieUnlessUnlinked) {
    sp<Recorder> first = new Recorder(), second = new Recorder(), removed = new Recorder();
    EXPECT_TRUE(proxy->linkToDeath(first, 7));
    EXPECT_TRUE(proxy->linkToDeath(first, 6));
    EXPECT_TRUE(proxy->linkToDeath(second, 8));
    EXPECT_TRUE(proxy->linkToDeath(removed, 3));
    // Unlinking removes only the most recent registration of a recipient.
    EXPECT_TRUE(proxy->unlinkToDeath(removed));
    EXPECT_FALSE(proxy->unlinkToDeath(removed));
    EXPECT_TRUE(proxy->unlinkToDeath(first));
    EXPECT_FALSE(proxy->unlinkToDeath(nullptr));
    EXPECT_TRUE(proxy->ping().isOk());

    EXPECT_TRUE(host::killLoopbackTarget(stub));
    EXPECT_TRUE(host::killLoopbackTarget(stub));  // a second death tells nobody again
    EXPECT_EQ(first->cookies, std::vector<uint64_t>{7});
    EXPECT_EQ(second->cookies, std::vector<uint64_t>{8});
    EXPECT_TRUE(removed->cookies.empty());
    ASSERT_EQ(first->whos.size(), 1u);
    EXPECT_EQ(first->whos[0].get(), static_cast<IBase*>(proxy.get()));

    EXPECT_TRUE(proxy->ping().isDeadObject());
    EXPECT_FALSE(proxy->linkToDeath(first, 9));
    EXPECT_EQ(first->cookies.size(), 1u);
}

TEST_F(Death, KillingReleasesTheTargetAndDroppedRecipientsAreNotTold) {
    wp<BnHwBase> weakStub = stub;
    sp<IBinder> binder = proxy->remoteStrong();
    sp<Recorder> recipient = new Recorder();
    EXPECT_TRUE(proxy->linkToDeath(recipient, 5));
    EXPECT_TRUE(proxy->linkToDeath(new Recorder(), 1));  // dropped by its owner
    proxy.clear();                                       // drops its wrappers; the binder lives on
    stub.clear();
    ASSERT_NE(weakStub.promote(), nullptr);  // the proxy holds its target

    EXPECT_TRUE(host::killLoopbackTarget(binder));
    EXPECT_TRUE(recipient->cookies.empty());
    EXPECT_EQ(weakStub.promote(), nullptr);
    EXPECT_EQ(host::loopbackTargetOf(binder), nullptr);
    EXPECT_FALSE(binder->remoteBinder()->isBinderAlive());

    // The same target asked for again after its death stays dead.
    sp<BnHwBase> other = new BnHwBase(new IBase());
    host::killLoopbackTarget(other);
    sp<IBinder> again = host::loopbackProxyFor(other);
    EXPECT_EQ(again->transact(1, ::android::hardware::Parcel(), nullptr), DEAD_OBJECT);
}

// Instrumentation callbacks: registered from code or switched on by the
// environment, called in registration order at each side of a call.
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
    sp<BnHwBase> stub = new BnHwBase(new IBase());
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
    sp<BnHwBase> stub = new BnHwBase(new IBase());
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
    auto exitWithSetting = [] {
        sp<BpHwBase> proxy = new BpHwBase(host::toLoopback(new BnHwBase(new IBase())));
        std::exit(proxy->isInstrumentationEnabled() ? 0 : 1);
    };
    for (int on : {1, 0}) {
        setenv(host::kInstrumentationEnvVar, on ? "1" : "0", 1);
        EXPECT_EXIT(exitWithSetting(), ::testing::ExitedWithCode(on ? 0 : 1), "") << on;
    }
    unsetenv(host::kInstrumentationEnvVar);
}

}  // namespace
