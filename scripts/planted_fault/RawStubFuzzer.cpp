// The comparison: raw bytes to the stub, as the project's stub_dispatch_fuzzer
// feeds them (an interface token, a code, then arbitrary parcel items).
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>

#include "FuzzSupport.h"
#include "Planted.h"

using namespace zuv_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static sp<IBinder> stub = new BnHwZuvExtendedFingerprint(new Planted);  // state kept, as there
    ByteReader in(data, size);
    const uint32_t code = in.u8() % 64;
    TableTranslator translator({});
    Parcel request;
    ParcelBuilder builder(translator.known());
    request.writeInterfaceToken(IZuvExtendedFingerprint::descriptor);
    builder.build(in, &request);
    Parcel received;
    if (throughWire(request, &translator, &received) != OK) return 0;
    Parcel reply;
    stub->transact(code, received, &reply, 0, [](Parcel&) {});
    return 0;
}
