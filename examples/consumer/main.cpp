// Round-trips a hidl_string and a hidl_vec<uint8_t> through a parcel rebuilt
// from its wire image, using only the installed package. Exits 0 on success.
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Parcel.h>
#include <utils/String16.h>

#include <cstdio>

using namespace android;
using namespace android::hardware;

int main() {
    const hidl_string name("consumer");
    const hidl_vec<uint8_t> payload{1, 2, 3, 250};

    Parcel out;
    size_t nameHandle, payloadHandle, dataHandle;
    // A String16 links libutils directly, so its location must come along too.
    if (out.writeString16(String16("tag")) != OK ||
        out.writeBuffer(&name, sizeof(name), &nameHandle) != OK ||
        writeEmbeddedToParcel(name, &out, nameHandle, 0) != OK ||
        out.writeBuffer(&payload, sizeof(payload), &payloadHandle) != OK ||
        out.writeEmbeddedBuffer(payload.data(), payload.size(), &dataHandle, payloadHandle, 0) !=
                OK) {
        std::fprintf(stderr, "write failed\n");
        return 1;
    }

    host::WireImage image;
    Parcel in;
    if (host::WireImageCodec::flatten(out, nullptr, &image) != OK ||
        host::WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &in) !=
                OK) {
        std::fprintf(stderr, "image round trip failed\n");
        return 1;
    }

    String16 tag;
    const void* ptr = nullptr;
    const void* data = nullptr;
    if (in.readString16(&tag) != OK || tag != String16("tag") ||
        in.readBuffer(sizeof(hidl_string), &nameHandle, &ptr) != OK) {
        std::fprintf(stderr, "read failed\n");
        return 1;
    }
    const auto* gotName = static_cast<const hidl_string*>(ptr);
    if (readEmbeddedFromParcel(*gotName, in, nameHandle, 0) != OK ||
        in.readBuffer(sizeof(hidl_vec<uint8_t>), &payloadHandle, &ptr) != OK) {
        std::fprintf(stderr, "read failed\n");
        return 1;
    }
    const auto* gotPayload = static_cast<const hidl_vec<uint8_t>*>(ptr);
    if (in.readNullableEmbeddedBuffer(gotPayload->size(), &dataHandle, payloadHandle, 0, &data) !=
                OK ||
        *gotName != name || *gotPayload != payload) {
        std::fprintf(stderr, "values differ\n");
        return 1;
    }
    std::printf("consumer: round trip OK (%s, %zu bytes)\n", gotName->c_str(), gotPayload->size());
    return 0;
}
