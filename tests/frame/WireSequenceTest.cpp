// The exact items a proxy writes into a request and a stub writes into a
// reply: order, encoding, buffer sizes, parent handles and offsets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "FrameTestSupport.h"
#include "TestNames.h"

namespace zuv_test {
namespace {

using ::testing::NiceMock;
using Callback = NiceMock<fp::MockZuvExtendedFingerprintCallback>;

// One object of a parcel as the wire sees it: its type and, for buffers,
// length, parent (-1 for none) and offset in the parent.
using WireObject = std::tuple<uint32_t, size_t, int64_t, size_t>;

WireObject buffer(size_t length) {
    return {BINDER_TYPE_PTR, length, -1, 0};
}
WireObject child(size_t length, int64_t parent, size_t offset) {
    return {BINDER_TYPE_PTR, length, parent, offset};
}

std::vector<WireObject> objectsOf(const Parcel& parcel) {
    std::vector<WireObject> out;
    for (size_t i = 0; i < parcel.objectsCount(); ++i) {
        const uint8_t* at = parcel.data() + parcel.objects()[i];
        binder_buffer_object b{};
        std::memcpy(&b.hdr, at, sizeof(b.hdr));
        if (b.hdr.type != BINDER_TYPE_PTR) {
            out.emplace_back(b.hdr.type, 0, -1, 0);
            continue;
        }
        std::memcpy(&b, at, sizeof(b));
        const bool hasParent = (b.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0;
        out.emplace_back(BINDER_TYPE_PTR, b.length, hasParent ? static_cast<int64_t>(b.parent) : -1,
                         hasParent ? b.parent_offset : 0);
    }
    return out;
}

// Sits between a proxy and a stub and keeps a copy of each request and reply.
class TapBinder : public BHwBinder {
  public:
    explicit TapBinder(const sp<IBinder>& target) : mTarget(target) {}

    std::unique_ptr<Parcel> request;
    std::unique_ptr<Parcel> reply;
    uint32_t flags = 0;

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* replyParcel, uint32_t f,
                        TransactCallback callback) override {
        request = copyThroughImage(data);
        flags = f;
        bool delivered = false;
        status_t err = mTarget->transact(code, data, replyParcel, f, [&](Parcel& r) {
            delivered = true;
            reply = copyThroughImage(r);
            r.setDataPosition(0);
            if (callback) callback(r);
        });
        if (!delivered) reply = copyThroughImage(*replyParcel);
        return err;
    }

  private:
    sp<IBinder> mTarget;
};

template <typename Stub, typename Proxy, typename IType>
sp<IType> tappedProxy(const sp<IType>& impl, sp<TapBinder>* tap) {
    *tap = new TapBinder(new Stub(impl));
    return new Proxy(*tap);
}

// Reads past the interface token; fails the test when it is not `expected`.
void expectToken(const Parcel& parcel, const char* expected) {
    parcel.setDataPosition(0);
    EXPECT_TRUE(parcel.enforceInterface(expected));
}

// Reads past a reply's OK status.
void expectOkStatus(const Parcel& parcel) {
    parcel.setDataPosition(0);
    int32_t exception = -1;
    ASSERT_EQ(OK, parcel.readInt32(&exception));
    EXPECT_EQ(0, exception);
}

std::string readStringItem(const Parcel& parcel) {
    size_t handle = 0;
    const void* header = nullptr;
    if (parcel.readBuffer(16, &handle, &header) != OK) return "<no header>";
    const auto* s = static_cast<const hidl_string*>(header);
    if (::android::hardware::readEmbeddedFromParcel(*s, parcel, handle, 0) != OK) {
        return "<no data>";
    }
    return std::string(s->c_str(), s->size());
}

struct MatchRecorder : NiceMock<fp::MockZuvExtendedFingerprint> {
    MatchRecorder() {
        ON_CALL(*this, match).WillByDefault([](auto&&...) { return Return<int32_t>(5); });
    }
};

TEST(WireSequenceTest, MatchRequestItemsInDeclarationOrder) {
    sp<TapBinder> tap;
    auto proxy = tappedProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(
            sp<fp::IZuvExtendedFingerprint>(new MatchRecorder), &tap);
    sp<fp::IZuvExtendedFingerprintCallback> callback = new Callback;
    ASSERT_EQ(5, static_cast<int32_t>(
                         proxy->match(callback, -3, "left", hidl_vec<uint8_t>(), "", 0x7fffffff)));
    ASSERT_NE(nullptr, tap->request);
    EXPECT_EQ(0u, tap->flags);

    const Parcel& req = *tap->request;
    // Handles count every object, binders included.
    std::vector<WireObject> objects = objectsOf(req);
    ASSERT_EQ(7u, objects.size());
    EXPECT_THAT(std::get<0>(objects[0]), ::testing::AnyOf(BINDER_TYPE_BINDER, BINDER_TYPE_HANDLE));
    objects.erase(objects.begin());
    EXPECT_THAT(objects, ::testing::ElementsAre(buffer(16), child(5, 1, 0), buffer(16),
                                                child(0, 3, 0), buffer(16), child(1, 5, 0)));

    expectToken(req, fp::IZuvExtendedFingerprint::descriptor);
    sp<IBinder> binder;
    ASSERT_EQ(OK, req.readNullableStrongBinder(&binder));
    EXPECT_NE(nullptr, binder);
    int32_t i32 = 0;
    ASSERT_EQ(OK, req.readInt32(&i32));
    EXPECT_EQ(-3, i32);
    EXPECT_EQ("left", readStringItem(req));
    size_t handle = 0;
    const void* header = nullptr;
    ASSERT_EQ(OK, req.readBuffer(16, &handle, &header));
    size_t childHandle = 0;
    const void* data = nullptr;
    ASSERT_EQ(OK, req.readNullableEmbeddedBuffer(0, &childHandle, handle, 0, &data));
    EXPECT_EQ("", readStringItem(req));
    ASSERT_EQ(OK, req.readInt32(&i32));
    EXPECT_EQ(0x7fffffff, i32);
    EXPECT_EQ(req.dataSize(), req.dataPosition());

    // The reply: status, then the int32.
    expectOkStatus(*tap->reply);
    ASSERT_EQ(OK, tap->reply->readInt32(&i32));
    EXPECT_EQ(5, i32);
}

TEST(WireSequenceTest, OnewayOperationSendsFlagOneAndSignedBytes) {
    sp<RecordingBinder> remote = new RecordingBinder;
    sp<fp::IDaxAndroidServices> proxy = new fp::BpHwDaxAndroidServices(remote);
    ASSERT_TRUE(proxy->setWakelock(-1, 127).isOk());
    EXPECT_FALSE(proxy->checkRequestingAppType().isOk());  // no reply at all
    ASSERT_EQ(2u, remote->transactions.size());
    EXPECT_EQ(2u, remote->transactions[0].code);
    EXPECT_EQ(1u, remote->transactions[0].flags);
    EXPECT_EQ(3u, remote->transactions[1].code);
    EXPECT_EQ(0u, remote->transactions[1].flags);
    const Parcel& req = *remote->transactions[0].request;
    expectToken(req, fp::IDaxAndroidServices::descriptor);
    int8_t a = 0, b = 0;
    ASSERT_EQ(OK, req.readInt8(&a));
    ASSERT_EQ(OK, req.readInt8(&b));
    EXPECT_EQ(-1, a);
    EXPECT_EQ(127, b);
}

}  // namespace
}  // namespace zuv_test
