// The service manager as the daemon serves it: its stub over a fresh
// registry, called by untrusted processes. Each input is a sequence of
// operations (add, get, list, listByInterface, registerForNotifications,
// debugDump, getTransport, registerPassthroughClient, raw requests) made
// under made-up caller pids and uids through a transport that carries every
// request and reply through its wire image, with services and listeners that
// live here or behind loopback proxies that can die. The registry must answer
// every request with a reply that fits a transaction and decodes, and what
// it accepted must be found.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/Static.h>
#include <hidl_host/CallingIdentity.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/Transport.h>
#include <hwbinder/BpHwBinder.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "FuzzSupport.h"

using namespace zuv_fuzz;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::BnHwServiceManager;
using ::android::hidl::manager::V1_0::BpHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
using ::android::hidl::manager::V1_0::IServiceNotification;
namespace host = ::android::hardware::host;

namespace {

constexpr const char* kDescriptors[] = {
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint",
        "vendor.zuv.test@1.0::ITest",
        "android.hidl.manager@1.0::IServiceManager",
        "android.hidl.base@1.0::IBase",
};
constexpr size_t kOperations = 48;

// The callers: this process (which the registry trusts as its own), two
// that do not exist and one that does but is not us.
pid_t callerPid(uint8_t choice) {
    switch (choice % 4) {
        case 0:
            return getpid();
        case 1:
            return 1;
        case 2:
            return 0x3ffffff0;
        default:
            return 0x3ffffff1;
    }
}

// A service whose interface chain the input decides.
struct FuzzService : IBase {
    explicit FuzzService(std::vector<std::string> chain) : mChain(std::move(chain)) {}
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        std::vector<hidl_string> chain(mChain.begin(), mChain.end());
        cb(hidl_vec<hidl_string>(chain));
        return Void();
    }
    // Always IBase's, so that the base stub carries it whatever the chain.
    Return<void> interfaceDescriptor(interfaceDescriptor_cb cb) override {
        cb(IBase::descriptor);
        return Void();
    }
    const std::vector<std::string> mChain;
};

struct Listener : IServiceNotification {
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name, bool) override {
        ZUV_FUZZ_CHECK(fqName.size() > 0);
        touch(name.c_str(), name.size());
        return Void();
    }
};

// Carries each request through the wire to the stub as a process of the
// chosen identity, and the reply back. A reply that cannot cross (too large,
// say) is a fault of the registry: it must fail with a status instead.
class FuzzTransport : public host::Transport {
  public:
    FuzzTransport(sp<IBinder> stub, TableTranslator* translator)
        : mStub(std::move(stub)), mTranslator(translator) {}

    void setCaller(pid_t pid, uid_t uid) {
        mPid = pid;
        mUid = uid;
    }

    status_t transact(uint64_t, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags) override {
        Parcel request;
        status_t err = throughWire(data, mTranslator, &request);
        if (err != OK) return err;
        Parcel served;
        bool replied = false;
        status_t carried = OK;
        {
            host::ScopedCallingIdentity caller(mPid, mUid);
            err = mStub->transact(code, request, &served, flags, [&](Parcel& given) {
                ZUV_FUZZ_CHECK(!replied);
                replied = true;
                if (reply != nullptr) carried = throughWire(given, mTranslator, reply);
            });
        }
        if ((flags & IBinder::FLAG_ONEWAY) != 0) return OK;
        if (!replied && err == OK && reply != nullptr)
            carried = throughWire(served, mTranslator, reply);
        ZUV_FUZZ_CHECK(carried == OK);
        return replied ? OK : err;
    }

  private:
    const sp<IBinder> mStub;
    TableTranslator* const mTranslator;
    pid_t mPid = 0;
    uid_t mUid = 0;
};

std::string pickName(ByteReader& in) {
    const uint8_t choice = in.u8();
    if (choice < 160) return "n" + std::to_string(choice % 8);
    if (choice < 200) return "";
    if (choice < 230) {
        // Long names, at the quotas' edges and past them.
        return std::string(static_cast<size_t>(in.u16()) % (96 * 1024), 'x');
    }
    auto bytes = in.bytes(300);
    return std::string(bytes.begin(), bytes.end());
}

std::string pickInterface(ByteReader& in) {
    const uint8_t choice = in.u8();
    if (choice < 200) return kDescriptors[choice % 4];
    return pickName(in);
}

struct World {
    std::vector<sp<IBase>> services;  // local, or loopback proxies that may die
    std::vector<sp<IServiceNotification>> listeners;
    std::vector<sp<IBinder>> binders;  // what the translator names

    sp<IBase> service(ByteReader& in) {
        const bool fresh = in.u8() < 64;
        if (services.empty() || fresh) {
            std::vector<std::string> chain;
            const size_t length = in.u8() % 4;
            for (size_t i = 0; i < length; ++i) chain.push_back(pickInterface(in));
            sp<IBase> local = new FuzzService(std::move(chain));
            sp<IBase> made = local;
            if (in.u8() & 1) {
                // Behind a loopback proxy: a remote service whose death the registry watches.
                sp<IBinder> proxy =
                        host::toLoopback(::android::hardware::getOrCreateCachedBinder(local.get()));
                made = ::android::hardware::fromBinder<IBase, ::android::hidl::base::V1_0::BpHwBase,
                                                       BnHwBase>(proxy);
                binders.push_back(proxy);
            }
            if (made == nullptr) return nullptr;
            services.push_back(made);
            return made;
        }
        return services[in.u8() % services.size()];
    }

    sp<IServiceNotification> listener(ByteReader& in) {
        const bool fresh = in.u8() < 64;
        if (listeners.empty() || fresh) listeners.push_back(new Listener);
        return listeners[in.u8() % listeners.size()];
    }
};

void check(const Return<void>& ret) {
    if (!ret.isOk()) touch(ret.description().data(), ret.description().size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader in(data, size);
    // A fresh registry each time: what one input leaves must not steer the next.
    const bool withPolicy = (in.u8() & 1) != 0;
    host::AddPolicy policy;
    if (withPolicy) {
        policy = [](pid_t, uid_t uid, const std::string& fqName, const std::string& name) {
            return uid == 0 || fqName.find("test") == std::string::npos || name.rfind("n", 0) == 0
                           ? std::string()
                           : std::string("not allowed");
        };
    }
    sp<IServiceManager> registry = host::makeInProcessServiceManager(std::move(policy));
    sp<IBinder> stub = new BnHwServiceManager(registry);
    TableTranslator translator({stub});
    sp<FuzzTransport> transport = new FuzzTransport(stub, &translator);
    sp<IServiceManager> manager =
            new BpHwServiceManager(new ::android::hardware::BpHwBinder(transport, 1));
    World world;

    for (size_t op = 0; op < kOperations && !in.empty(); ++op) {
        const uint8_t kind = in.u8();
        transport->setCaller(callerPid(kind >> 4), (kind & 0x80) != 0 ? 0 : 1000 + (kind >> 6));
        switch (kind % 10) {
            case 0: {
                const std::string name = pickName(in);
                sp<IBase> service = world.service(in);
                if (service == nullptr) break;
                std::string head;
                check(service->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
                    if (chain.size() > 0) head = chain[0];
                }));
                Return<bool> added = manager->add(name, service);
                // What was accepted is found at once under its most derived interface.
                if (added.isOk() && added && !head.empty() && head != IBase::descriptor) {
                    Return<sp<IBase>> got = manager->get(head, name);
                    ZUV_FUZZ_CHECK(got.isOk());
                    ZUV_FUZZ_CHECK(static_cast<sp<IBase>>(got) != nullptr);
                }
                break;
            }
            case 1: {
                const std::string fqName = pickInterface(in);
                Return<sp<IBase>> got = manager->get(fqName, pickName(in));
                (void)got.isOk();
                break;
            }
            case 2:
                check(manager->list([](const hidl_vec<hidl_string>& names) {
                    for (size_t i = 0; i < names.size(); ++i) ZUV_FUZZ_CHECK(names[i].size() > 0);
                }));
                break;
            case 3:
                check(manager->listByInterface(pickInterface(in),
                                               [](const hidl_vec<hidl_string>& names) {
                                                   touch(names.data(), names.size());
                                               }));
                break;
            case 4: {
                const std::string fqName = pickInterface(in);
                const std::string name = pickName(in);
                Return<bool> registered =
                        manager->registerForNotifications(fqName, name, world.listener(in));
                (void)registered.isOk();
                break;
            }
            case 5:
                check(manager->debugDump([](const auto& infos) {
                    for (size_t i = 0; i < infos.size(); ++i) {
                        touch(infos[i].interfaceName.c_str(), infos[i].interfaceName.size());
                    }
                }));
                break;
            case 6: {
                const std::string fqName = pickInterface(in);
                Return<IServiceManager::Transport> t = manager->getTransport(fqName, pickName(in));
                (void)t.isOk();
                break;
            }
            case 7: {
                const std::string fqName = pickInterface(in);
                check(manager->registerPassthroughClient(fqName, pickName(in)));
                break;
            }
            case 8:
                // The death of a remote service or listener's process.
                if (!world.binders.empty()) {
                    host::killLoopbackTarget(world.binders[in.u8() % world.binders.size()]);
                }
                break;
            default: {
                // A request of arbitrary items to any code.
                Parcel request;
                ParcelBuilder builder(translator.known());
                if (in.u8() & 1) request.writeInterfaceToken(IServiceManager::descriptor);
                builder.build(in, &request, 8);
                Parcel reply;
                (void)transport->transact(1, in.u8() % 12, request, &reply, 0);
                break;
            }
        }
    }
    return 0;
}
