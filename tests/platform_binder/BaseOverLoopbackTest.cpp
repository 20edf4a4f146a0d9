// The base operations sent by BpHwBase and served by BnHwBase, through the
// loopback transport (full wire image) and directly over the local stub.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/Loopback.h>
#include <hwbinder/Parcel.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

using ::android::BAD_TYPE;
using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::UNKNOWN_TRANSACTION;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
namespace host = ::android::hardware::host;

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
    Parcel data;
    Parcel reply;
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
    Parcel data;
    Parcel reply;
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

}  // namespace
