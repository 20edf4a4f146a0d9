// Writes a string and a byte vector into a parcel the way an interface proxy
// does, carries the parcel through its wire image as a transport would, and
// reads both back from the rebuilt parcel.
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Parcel.h>

#include <cstdio>

using android::OK;
using android::status_t;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Parcel;
using android::hardware::host::WireImage;
using android::hardware::host::WireImageCodec;

namespace {

status_t writeArguments(Parcel* parcel, const hidl_string& key, const hidl_vec<uint8_t>& value) {
    size_t keyHandle;
    status_t err = parcel->writeBuffer(&key, sizeof(key), &keyHandle);
    if (err == OK) err = android::hardware::writeEmbeddedToParcel(key, parcel, keyHandle, 0);
    size_t valueHandle, dataHandle;
    if (err == OK) err = parcel->writeBuffer(&value, sizeof(value), &valueHandle);
    if (err == OK) {
        err = parcel->writeEmbeddedBuffer(value.data(), value.size(), &dataHandle, valueHandle, 0);
    }
    return err;
}

status_t readArguments(const Parcel& parcel, const hidl_string** key,
                       const hidl_vec<uint8_t>** value) {
    size_t handle;
    const void* ptr;
    status_t err = parcel.readBuffer(sizeof(hidl_string), &handle, &ptr);
    if (err != OK) return err;
    *key = static_cast<const hidl_string*>(ptr);
    err = android::hardware::readEmbeddedFromParcel(**key, parcel, handle, 0);
    if (err != OK) return err;
    err = parcel.readBuffer(sizeof(hidl_vec<uint8_t>), &handle, &ptr);
    if (err != OK) return err;
    *value = static_cast<const hidl_vec<uint8_t>*>(ptr);
    size_t dataHandle;
    const void* data;
    return parcel.readNullableEmbeddedBuffer((*value)->size(), &dataHandle, handle, 0, &data);
}

}  // namespace

int main() {
    const hidl_string key("sensor.calibration");
    const hidl_vec<uint8_t> value{0x5a, 0x01, 0x02, 0x03, 0xff};

    Parcel request;
    if (writeArguments(&request, key, value) != OK) {
        std::fprintf(stderr, "writing the parcel failed\n");
        return 1;
    }
    std::printf("wrote %zu bytes of data with %zu objects\n", request.dataSize(),
                request.objectsCount());

    WireImage image;
    status_t err = WireImageCodec::flatten(request, nullptr, &image);
    if (err != OK) {
        std::fprintf(stderr, "flatten failed: %d\n", err);
        return 1;
    }
    std::printf("wire image: %zu bytes\n", image.bytes.size());

    Parcel received;
    err = WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &received);
    if (err != OK) {
        std::fprintf(stderr, "rebuild failed: %d\n", err);
        return 1;
    }

    const hidl_string* gotKey = nullptr;
    const hidl_vec<uint8_t>* gotValue = nullptr;
    err = readArguments(received, &gotKey, &gotValue);
    if (err != OK) {
        std::fprintf(stderr, "reading the rebuilt parcel failed: %d\n", err);
        return 1;
    }
    std::printf("read string \"%s\" (%zu bytes)\n", gotKey->c_str(), gotKey->size());
    std::printf("read %zu bytes:", gotValue->size());
    for (uint8_t b : *gotValue) std::printf(" %02x", b);
    std::printf("\n");

    const bool same = *gotKey == key && *gotValue == value && gotKey->c_str() != key.c_str();
    std::printf("%s\n", same ? "round trip OK (fresh memory, same values)" : "MISMATCH");
    return same ? 0 : 1;
}
