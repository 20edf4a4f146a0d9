// Writes a small starting corpus for each fuzzer: seed_corpus <dir> creates
// <dir>/<fuzzer>/seed-N. The inputs are well-formed examples made with the
// library itself, so the fuzzers start from deep inside the parsers.
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <sys/stat.h>

#include <cstdio>
#include <map>
#include <string>

#include "FuzzSupport.h"
#include "socket/Connection.h"

using namespace zuv_fuzz;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Status;
namespace sock = ::android::hardware::host::socket;

namespace {

std::string gRoot;

void save(const std::string& fuzzer, const std::vector<uint8_t>& bytes) {
    static std::map<std::string, int> counts;
    const std::string dir = gRoot + "/" + fuzzer;
    ::mkdir(dir.c_str(), 0755);
    const std::string path = dir + "/seed-" + std::to_string(counts[fuzzer]++);
    FILE* f = fopen(path.c_str(), "wb");
    if (f == nullptr) {
        perror(path.c_str());
        exit(1);
    }
    fwrite(bytes.data(), 1, bytes.size(), f);
    fclose(f);
}

WireImage flatten(const Parcel& p, BinderTranslator* translator) {
    WireImage image;
    if (WireImageCodec::flatten(p, translator, &image) != OK) {
        fprintf(stderr, "flatten failed\n");
        exit(1);
    }
    return image;
}

// Sample parcels shaped like the package's requests.
std::vector<Parcel*> sampleParcels(const sp<IBinder>& binder, native_handle_t* nh) {
    static const hidl_string kKey("sensor.mode");
    static const hidl_vec<uint8_t> kBytes{1, 2, 3, 4, 5};
    static const hidl_vec<hidl_string> kNames{"left", "right"};
    std::vector<Parcel*> out;
    size_t h, child;

    auto* p = new Parcel;  // a string argument after a scalar
    p->writeInt32(7);
    p->writeBuffer(&kKey, sizeof(kKey), &h);
    writeEmbeddedToParcel(kKey, p, h, 0);
    out.push_back(p);

    p = new Parcel;  // a byte vector
    p->writeBuffer(&kBytes, sizeof(kBytes), &h);
    p->writeEmbeddedBuffer(kBytes.data(), kBytes.size(), &child, h, 0);
    out.push_back(p);

    p = new Parcel;  // a vector of strings: three levels of buffers
    p->writeBuffer(&kNames, sizeof(kNames), &h);
    p->writeEmbeddedBuffer(kNames.data(), kNames.size() * sizeof(hidl_string), &child, h, 0);
    for (size_t i = 0; i < kNames.size(); ++i) {
        writeEmbeddedToParcel(kNames[i], p, child, i * sizeof(hidl_string));
    }
    out.push_back(p);

    p = new Parcel;  // binders, null and not
    p->writeStrongBinder(nullptr);
    p->writeStrongBinder(binder);
    p->writeUint64(42);
    out.push_back(p);

    p = new Parcel;  // a native handle with its fd array
    p->writeNativeHandleNoDup(nh);
    out.push_back(p);

    out.push_back(new Parcel);  // empty
    return out;
}

void wireImageSeeds(const std::vector<Parcel*>& parcels, BinderTranslator* translator) {
    uint8_t pattern = 0;
    for (const Parcel* p : parcels) {
        std::vector<uint8_t> bytes{pattern++};
        const auto image = flatten(*p, translator).bytes;
        bytes.insert(bytes.end(), image.begin(), image.end());
        save("wire_image_fuzzer", bytes);
    }
}

void stubSeeds() {
    // target, code, then items: each interface's codes with a few arguments.
    const uint8_t counts[] = {59, 9, 5};
    for (uint8_t target = 0; target < 3; ++target) {
        for (uint8_t code = 1; code <= counts[target]; ++code) {
            ByteWriter w;
            w.u8(target).u8(code);
            switch (code % 4) {
                case 0:
                    w.u8(kString).u8(0).bytes("name");
                    break;
                case 1:
                    w.u8(kInt32).u32(code).u8(kString).u8(0).bytes("value");
                    break;
                case 2:
                    w.u8(kBinder).u8(1).u8(kInt32).u32(1);
                    break;
                default:
                    w.u8(kByteVec).u8(0).bytes("\x01\x02\x03").u8(kInt8).u8(1);
                    break;
            }
            save("stub_dispatch_fuzzer", w.data());
        }
    }
    ByteWriter base;  // a base operation: interfaceChain
    base.u8(0).u8(200);
    save("stub_dispatch_fuzzer", base.data());
}

void proxySeeds() {
    // call, reply shape, then the reply's items after the status.
    for (uint8_t call = 0; call < 34; ++call) {
        ByteWriter w;
        w.u8(call).u8(0);
        switch (call % 3) {
            case 0:
                w.u8(kString).u8(0).bytes("result");
                break;
            case 1:
                w.u8(kInt32).u32(call).u8(kByteVec).u8(0).bytes("\x05\x06");
                break;
            default:
                w.u8(kBuffer).bytes(std::string(48, '\x01'));
                break;
        }
        save("proxy_reply_fuzzer", w.data());
    }
}

void messageSeeds(const std::vector<Parcel*>& parcels, BinderTranslator* translator) {
    uint64_t seq = 1;
    for (const Parcel* p : parcels) {
        const auto image = flatten(*p, translator);
        std::vector<sock::BinderRef> table;
        if (p->objectsCount() != 0 && p == parcels[3]) table.push_back({sock::kSenderNode, 0, 5});
        sock::MessageHeader header{};
        header.magic = sock::kMessageMagic;
        header.kind = seq % 2 == 1 ? sock::kTransact : sock::kReply;
        header.seq = seq++;
        header.code = 3;
        header.fdCount = static_cast<uint16_t>(image.fds.size());
        header.tableCount = static_cast<uint32_t>(table.size());
        header.payloadSize =
                static_cast<uint32_t>(table.size() * sizeof(sock::BinderRef) + image.bytes.size());
        ByteWriter w;
        w.u8(static_cast<uint8_t>(image.fds.size())).put(header);
        for (const auto& ref : table) w.put(ref);
        w.raw(image.bytes.data(), image.bytes.size());
        // A release message after it: two messages in one stream.
        sock::MessageHeader release{};
        release.magic = sock::kMessageMagic;
        release.kind = sock::kRelease;
        release.node = 5;
        release.code = 1;
        w.put(release);
        save("message_fuzzer", w.data());
    }
}

void statusSeeds() {
    const Status statuses[] = {
            Status::ok(),
            Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, "bad argument"),
            Status::fromExceptionCode(Status::EX_NULL_POINTER),
            Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "\xe2\x82\xac state"),
    };
    for (const Status& s : statuses) {
        Parcel p;
        writeToParcel(s, &p);
        p.writeString16(::android::String16("after"));
        std::vector<uint8_t> bytes{0};
        bytes.insert(bytes.end(), p.data(), p.data() + p.dataSize());
        save("status_fuzzer", bytes);
    }
}

// Operation sequences of registry_fuzzer: a kind byte (operation, caller),
// then the operation's choices, as the fuzzer reads them.
uint8_t registryOp(int op, int caller) {
    for (int b = 0; b < 128; ++b) {
        if (b % 10 == op && (b >> 4) % 4 == caller) return static_cast<uint8_t>(b);
    }
    return static_cast<uint8_t>(op);
}

void registrySeeds() {
    enum { kAdd, kGet, kList, kListBy, kNotify, kDump, kTransport, kPassthrough, kKill };
    ByteWriter w;
    w.u8(0);  // no policy
    // Every fingerprint instance, by another pid's new listener.
    w.u8(registryOp(kNotify, 1)).u8(0).u8(170).u8(0).u8(0);
    w.u8(registryOp(kAdd, 0)).u8(0).u8(0).u8(2).u8(0).u8(3).u8(0);  // n0, local, this pid
    w.u8(registryOp(kAdd, 2)).u8(1).u8(0).u8(2).u8(1).u8(3).u8(1);  // n1, remote
    w.u8(registryOp(kAdd, 3)).u8(1).u8(100).u8(1);                  // n1 again, another pid
    w.u8(registryOp(kList, 1)).u8(registryOp(kListBy, 1)).u8(1);
    w.u8(registryOp(kDump, 2)).u8(registryOp(kGet, 3)).u8(1).u8(1);
    w.u8(registryOp(kKill, 0)).u8(0).u8(registryOp(kList, 0));
    w.u8(registryOp(kTransport, 1)).u8(0).u8(0).u8(registryOp(kPassthrough, 2)).u8(1).u8(2);
    save("registry_fuzzer", w.data());

    // Long names and interfaces from several pids, then the listings.
    ByteWriter floods;
    floods.u8(1);  // with a policy
    for (int i = 0; i < 40; ++i) {
        const auto length = static_cast<uint16_t>(1500 * i);
        if (i % 3 == 2) {
            floods.u8(registryOp(kNotify, i % 4)).u8(210).u8(200).u16(length).u8(0).u8(0).u8(0);
        } else {
            floods.u8(registryOp(kAdd, i % 4)).u8(200).u16(length).u8(0).u8(1).u8(1);
            floods.u8(static_cast<uint8_t>(i & 1));
        }
    }
    floods.u8(registryOp(kDump, 1)).u8(registryOp(kList, 2));
    save("registry_fuzzer", floods.data());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s <corpus dir>\n", argv[0]);
        return 2;
    }
    gRoot = argv[1];
    ::mkdir(gRoot.c_str(), 0755);

    sp<IBinder> binder = new BHwBinder;
    TableTranslator translator({binder});
    native_handle_t* nh = native_handle_create(1, 1);
    nh->data[0] = 0;  // stdin: any open descriptor does
    nh->data[1] = 99;
    const std::vector<Parcel*> parcels = sampleParcels(binder, nh);

    wireImageSeeds(parcels, &translator);
    stubSeeds();
    proxySeeds();
    messageSeeds(parcels, &translator);
    statusSeeds();
    registrySeeds();
    // service_fuzzer: getConfigValue of the first dictionary word; zuv_hidl
    // corpus makes richer seeds from recordings.
    save("service_fuzzer", {0, 55, 0});

    for (Parcel* p : parcels) delete p;
    native_handle_delete(nh);
    return 0;
}
