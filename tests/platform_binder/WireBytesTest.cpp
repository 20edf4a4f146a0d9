// The bytes every base, manager and package operation puts on the wire,
// request and reply, against fixed inputs and answers: order, encoding,
// buffer sizes, parents and offsets of every item. The expectation is
// checked in, so any change to the marshalling shows here. To record it anew:
//   ZUV_RECORD_WIRE_BYTES=<path of wire_bytes.json> ./platform_binder_tests
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BnHwServiceNotification.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceNotification.h>
#include <gtest/gtest.h>
#include <hidl_host/WireImage.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "OperationSamples.h"

namespace {

using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::DebugInfo;
using namespace ::android::hidl::manager::V1_0;  // NOLINT: the manager's classes
using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;  // NOLINT

// Binders become their order of appearance in the parcel.
class CountingTranslator : public host::BinderTranslator {
  public:
    status_t flattenBinder(const sp<IBinder>&, uint32_t* type, uint64_t* ref) override {
        *type = BINDER_TYPE_HANDLE;
        *ref = ++mCount;
        return OK;
    }
    status_t unflattenBinder(uint32_t, uint64_t, sp<IBinder>*) override {
        return ::android::INVALID_OPERATION;
    }

  private:
    uint64_t mCount = 0;
};

// The wire image in hex, with the pointer slots a child buffer is fixed up
// into zeroed: they hold the writer's addresses, which no reader sees.
std::string wireHex(const Parcel& parcel) {
    CountingTranslator translator;
    host::WireImage image;
    if (host::WireImageCodec::flatten(parcel, &translator, &image) != OK) return "<unflattenable>";
    std::vector<uint8_t>& bytes = image.bytes;
    uint64_t sizes[3];  // data, offsets, buffers; after the magic and fd count
    std::memcpy(sizes, bytes.data() + 8, sizeof(sizes));
    const size_t data = 32;
    const size_t offsets = data + ((sizes[0] + 7) & ~size_t{7});
    size_t nextBuffer = offsets + sizes[1];
    std::map<uint64_t, size_t> bufferAt;  // object index -> image position
    for (uint64_t i = 0; i < sizes[1] / 8; ++i) {
        uint64_t at = 0;
        std::memcpy(&at, bytes.data() + offsets + i * 8, 8);
        binder_buffer_object obj;
        std::memcpy(&obj, bytes.data() + data + at, sizeof(obj.hdr));
        if (obj.hdr.type != BINDER_TYPE_PTR) continue;
        std::memcpy(&obj, bytes.data() + data + at, sizeof(obj));
        if ((obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0 && bufferAt.count(obj.parent) != 0) {
            std::memset(bytes.data() + bufferAt[obj.parent] + obj.parent_offset, 0, 8);
        }
        if (obj.buffer != 0) {
            bufferAt[i] = nextBuffer;
            nextBuffer += (obj.length + 7) & ~uint64_t{7};
        }
    }
    static const char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (uint8_t b : bytes) {
        hex += kDigits[b >> 4];
        hex += kDigits[b & 15];
    }
    return hex;
}

// Between a proxy and a stub: records each request and the reply that
// travels back (none for oneway calls).
class Tap : public BHwBinder {
  public:
    explicit Tap(const sp<IBinder>& target) : mTarget(target) {}
    nlohmann::json last;

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override {
        last = {{"code", code}, {"request", wireHex(data)}};
        const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
        if (oneway) last["oneway"] = true;
        bool delivered = false;
        status_t err = mTarget->transact(code, data, reply, flags, [&](Parcel& r) {
            delivered = true;
            if (!oneway) last["reply"] = wireHex(r);
            r.setDataPosition(0);
            if (callback) callback(r);
        });
        if (!delivered && !oneway) last["reply"] = wireHex(*reply);
        return err;
    }

  private:
    sp<IBinder> mTarget;
};

struct FixedBase : IBase {};

// The stub's own answer, fixed: the real one holds a pid and an address.
struct FixedBaseStub : BnHwBase {
    using BnHwBase::BnHwBase;
    Return<void> getDebugInfo(IBase::getDebugInfo_cb cb) override {
        DebugInfo info{};
        info.pid = 1234;
        info.ptr = 0x1122334455667788u;
        info.arch = DebugInfo::Architecture::IS_64BIT;
        cb(info);
        return Void();
    }
};

struct FixedListener : IServiceNotification {
    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        return Void();
    }
};

// Services travel as binders, so they are objects the platform has a stub for.
struct FixedManager : IServiceManager {
    Return<sp<IBase>> get(const hidl_string&, const hidl_string&) override {
        return sp<IBase>(new FixedListener);
    }
    Return<bool> add(const hidl_string&, const sp<IBase>&) override { return true; }
    Return<Transport> getTransport(const hidl_string&, const hidl_string&) override {
        return Transport::HWBINDER;
    }
    Return<void> list(list_cb cb) override {
        cb({"a@1.0::IA/default", "b@2.1::IB/x"});
        return Void();
    }
    Return<void> listByInterface(const hidl_string&, listByInterface_cb cb) override {
        cb({"default"});
        return Void();
    }
    Return<bool> registerForNotifications(const hidl_string&, const hidl_string&,
                                          const sp<IServiceNotification>&) override {
        return false;
    }
    Return<void> debugDump(debugDump_cb cb) override {
        InstanceDebugInfo one;
        one.interfaceName = "a@1.0::IA";
        one.instanceName = "default";
        one.pid = 77;
        one.clientPids = hidl_vec<int32_t>{5, 6};
        one.arch = DebugInfo::Architecture::IS_64BIT;
        InstanceDebugInfo two;
        two.interfaceName = "b@2.1::IB";
        two.instanceName = "x";
        cb({one, two});
        return Void();
    }
    Return<void> registerPassthroughClient(const hidl_string&, const hidl_string&) override {
        return Void();
    }
};

nlohmann::json recordAll() {
    nlohmann::json all;
    sp<Tap> tap;
    // Records what the call just made put on the wire under name.
    auto keep = [&](const std::string& name, bool ok) {
        EXPECT_TRUE(ok) << name;
        all[name] = tap->last;
    };
    auto ignore = [](const auto&) {};
    tap = new Tap(new FixedBaseStub(new FixedBase));
    sp<IBase> base = new BpHwBase(tap);
    keep("IBase::interfaceChain", base->interfaceChain(ignore).isOk());
    keep("IBase::debug", base->debug(hidl_handle(), {"--opt", ""}).isOk());
    keep("IBase::interfaceDescriptor", base->interfaceDescriptor(ignore).isOk());
    keep("IBase::getHashChain", base->getHashChain(ignore).isOk());
    keep("IBase::setHALInstrumentation", base->setHALInstrumentation().isOk());
    keep("IBase::ping", base->ping().isOk());
    keep("IBase::getDebugInfo", base->getDebugInfo(ignore).isOk());
    keep("IBase::notifySyspropsChanged", base->notifySyspropsChanged().isOk());
    tap = new Tap(new BnHwServiceManager(new FixedManager));
    sp<IServiceManager> manager = new BpHwServiceManager(tap);
    keep("IServiceManager::get", manager->get("a@1.0::IA", "default").isOk());
    keep("IServiceManager::add", manager->add("default", new FixedListener).isOk());
    keep("IServiceManager::add(null)", manager->add("", nullptr).isOk());
    keep("IServiceManager::getTransport", manager->getTransport("a@1.0::IA", "default").isOk());
    keep("IServiceManager::list", manager->list(ignore).isOk());
    keep("IServiceManager::listByInterface", manager->listByInterface("a@1.0::IA", ignore).isOk());
    keep("IServiceManager::registerForNotifications",
         manager->registerForNotifications("a@1.0::IA", "", new FixedListener).isOk());
    keep("IServiceManager::debugDump", manager->debugDump(ignore).isOk());
    keep("IServiceManager::registerPassthroughClient",
         manager->registerPassthroughClient("a@1.0::IA", "default").isOk());
    // Base operations of a manager's proxy use the base interface's codes.
    keep("IServiceManager::interfaceChain", manager->interfaceChain(ignore).isOk());
    tap = new Tap(new BnHwServiceNotification(new FixedListener));
    sp<IServiceNotification> listener = new BpHwServiceNotification(tap);
    keep("IServiceNotification::onRegistration",
         listener->onRegistration("a@1.0::IA", "default", true).isOk());
    keep("IServiceNotification::getHashChain", listener->getHashChain([](const auto&) {}).isOk());
    // Every operation of the package, with sample values, to the interface's own stub.
    for (const InterfaceOps& iface : allInterfaces()) {
        for (const Operation& op : iface.operations) {
            const auto route = [&](const sp<BHwBinder>& stub) { return tap = new Tap(stub); };
            json args, byName;
            zuv_test::sampleArgs(op, false, &args, &byName);
            const json result =
                    op.result.type.empty() ? json() : zuv_test::sample(op.result.type, false);
            keep(iface.name + "::" + op.name,
                 op.invoke(zuv_test::standInProxy(iface, result, route), args, nullptr).ok);
        }
    }
    return all;
}

TEST(WireBytesTest, BaseAndManagerOperationsKeepTheirBytes) {
    const nlohmann::json actual = recordAll();
    if (const char* path = std::getenv("ZUV_RECORD_WIRE_BYTES")) {
        std::ofstream(path) << actual.dump(2) << "\n";
        GTEST_SKIP() << "recorded into " << path;
    }
    std::ifstream in(ZUV_WIRE_BYTES_FILE);
    ASSERT_TRUE(in) << ZUV_WIRE_BYTES_FILE;
    const nlohmann::json expected = nlohmann::json::parse(in);
    for (const auto& [operation, bytes] : expected.items()) {
        EXPECT_EQ(bytes, actual.value(operation, nlohmann::json())) << operation;
    }
    EXPECT_EQ(expected.size(), actual.size());
}

}  // namespace
