// A request from an untrusted client, as a server stub receives it after the
// transport rebuilt it: the interface token (usually right), then arbitrary
// typed items. The implementations answer every operation trivially, so the
// stub's reading, its calls and its reply writing are what is exercised. A
// reply is carried through its wire image inside the callback, where a
// transport would send it.
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprint.h"
#include "FakeExtendedFingerprintCallback.h"
#include "FuzzSupport.h"

using namespace zuv_fuzz;
namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

namespace {

// The base operations' codes, which every stub also answers.
constexpr uint32_t kBaseCodes[] = {0x0f43484e, 0x0f444247, 0x0f445343, 0x0f485348,
                                   0x0f494e54, 0x0f504e47, 0x0f524546, 0x0f535953};

struct Stubs {
    sp<IBinder> fingerprint =
            new fp::BnHwZuvExtendedFingerprint(new zuv_test::FakeExtendedFingerprint);
    sp<IBinder> callback = new fp::BnHwZuvExtendedFingerprintCallback(
            new zuv_test::FakeExtendedFingerprintCallback);
    sp<IBinder> services = new fp::BnHwDaxAndroidServices(new zuv_test::FakeDaxAndroidServices);
    sp<IBinder> plain = new BHwBinder;
};

Stubs& stubs() {
    static Stubs* s = new Stubs;  // lives as long as the process
    return *s;
}

uint32_t pickCode(ByteReader& in) {
    const uint8_t choice = in.u8();
    if (choice < 200) return choice % 64;  // the interfaces' own codes and a little past them
    if (choice < 240) return kBaseCodes[choice % 8];
    return in.u32();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader in(data, size);
    Stubs& s = stubs();
    const uint8_t target = in.u8();
    sp<IBinder> stub;
    const char* descriptor;
    switch (target % 3) {
        case 0:
            stub = s.fingerprint;
            descriptor = fp::IZuvExtendedFingerprint::descriptor;
            break;
        case 1:
            stub = s.callback;
            descriptor = fp::IZuvExtendedFingerprintCallback::descriptor;
            break;
        default:
            stub = s.services;
            descriptor = fp::IDaxAndroidServices::descriptor;
            break;
    }
    const uint32_t code = pickCode(in);
    const uint32_t flags = (target & 0x80) != 0 ? IBinder::FLAG_ONEWAY : 0;

    TableTranslator translator({s.callback, s.services, s.plain, s.fingerprint});
    Parcel request;
    {
        ParcelBuilder builder(translator.known());
        if ((target & 0x40) == 0) {
            request.writeInterfaceToken(descriptor);
        } else {
            auto token = in.bytes(80);
            token.push_back(0);
            request.writeCString(reinterpret_cast<const char*>(token.data()));
        }
        builder.build(in, &request);
        Parcel received;
        if (throughWire(request, &translator, &received) != OK) return 0;
        request.freeData();

        int replies = 0;
        Parcel reply;
        stub->transact(code, received, &reply, flags, [&](Parcel& r) {
            ++replies;
            // The reply leaves while the implementation's values are alive.
            Parcel sent;
            const status_t err = throughWire(r, &translator, &sent);
            ZUV_FUZZ_CHECK(err == OK);
            ::android::hardware::Status status;
            ZUV_FUZZ_CHECK(readFromParcel(&status, sent) == OK);
        });
        ZUV_FUZZ_CHECK(replies <= 1);
    }
    return 0;
}
