// A peer's wire image, as the transports receive it: rebuild it, then read
// every object the way the package's readers do and the scalars around them.
// Whatever rebuilds must read back consistently and survive a second trip.
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

#include "FuzzSupport.h"

using namespace zuv_fuzz;
using ::android::hardware::hidl_string;

namespace {

std::vector<sp<IBinder>> knownBinders() {
    static const std::vector<sp<IBinder>> binders = {new BHwBinder, new BHwBinder};
    return binders;
}

// Every object through the read that matches it, as a reader that trusts the
// rebuild would do it; those reads must succeed.
void readObjects(const Parcel& p) {
    for (size_t i = 0; i < p.objectsCount(); ++i) {
        const size_t off = p.objects()[i];
        uint32_t type;
        memcpy(&type, p.data() + off, sizeof(type));
        p.setDataPosition(off);
        if (type == BINDER_TYPE_PTR) {
            binder_buffer_object obj;
            memcpy(&obj, p.data() + off, sizeof(obj));
            size_t handle;
            const void* buffer = nullptr;
            status_t err;
            if ((obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
                err = p.readNullableEmbeddedBuffer(obj.length, &handle, obj.parent,
                                                   obj.parent_offset, &buffer);
            } else {
                err = p.readNullableBuffer(obj.length, &handle, &buffer);
            }
            ZUV_FUZZ_CHECK(err == OK);
            ZUV_FUZZ_CHECK(handle == i);
            if (buffer != nullptr) touch(buffer, obj.length);
            // Buffers shaped like a string header: the package's string read.
            if (buffer != nullptr && obj.length == sizeof(hidl_string) &&
                (obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) == 0) {
                const auto* s = static_cast<const hidl_string*>(buffer);
                if (readEmbeddedFromParcel(*s, p, handle, 0) == OK)
                    touch(s->c_str(), s->size() + 1);
            }
            // And as a native handle, which may follow with its fd array.
            p.setDataPosition(off);
            const native_handle_t* nh = nullptr;
            if (p.readNullableNativeHandleNoDup(&nh) == OK && nh != nullptr) {
                touch(nh->data, sizeof(int) * static_cast<size_t>(nh->numFds + nh->numInts));
            }
        } else if (type == BINDER_TYPE_BINDER || type == BINDER_TYPE_HANDLE) {
            sp<IBinder> binder;
            ZUV_FUZZ_CHECK(p.readNullableStrongBinder(&binder) == OK);
        }
    }
}

// Scalars and strings from the start, until the data runs out or an object
// is in the way; each read either fails or moves forward.
void readScalars(const Parcel& p, uint8_t pattern) {
    p.setDataPosition(0);
    for (int n = 0; n < 64; ++n) {
        const size_t before = p.dataPosition();
        status_t err = OK;
        switch ((pattern + n) % 8) {
            case 0: {
                int32_t v;
                err = p.readInt32(&v);
                break;
            }
            case 1: {
                uint64_t v;
                err = p.readUint64(&v);
                break;
            }
            case 2: {
                bool v;
                err = p.readBool(&v);
                break;
            }
            case 3: {
                const char* s = p.readCString();
                if (s == nullptr)
                    err = ::android::BAD_VALUE;
                else
                    touch(s, strlen(s));
                break;
            }
            case 4: {
                ::android::String16 s;
                err = p.readString16(&s);
                break;
            }
            case 5: {
                size_t len;
                const char16_t* s = p.readString16Inplace(&len);
                if (s != nullptr)
                    touch(s, (len + 1) * sizeof(char16_t));
                else
                    err = ::android::BAD_VALUE;
                break;
            }
            case 6: {
                ::android::hardware::Status status;
                err = readFromParcel(&status, p);
                if (err == OK) (void)status.description();
                break;
            }
            case 7: {
                uint8_t raw[12];
                err = p.read(raw, sizeof(raw));
                break;
            }
        }
        ZUV_FUZZ_CHECK(p.dataPosition() >= before || err != OK);
        if (p.dataAvail() == 0) break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t pattern = data[0];
    ++data;
    --size;

    // The image's own fd count decides how many descriptors arrive with it.
    uint32_t fdCount = 0;
    if (size >= 8) memcpy(&fdCount, data + 4, sizeof(fdCount));
    std::vector<UniqueFd> fds = freshFds(fdCount <= 8 ? fdCount : 0);

    TableTranslator translator(knownBinders());
    Parcel p;
    if (WireImageCodec::rebuild(data, size, std::move(fds), &translator, &p) != OK) {
        ZUV_FUZZ_CHECK(p.dataSize() == 0 && p.objectsCount() == 0);
        return 0;
    }
    readObjects(p);
    readScalars(p, pattern);

    // What rebuilt once must make the trip again.
    Parcel again;
    ZUV_FUZZ_CHECK(throughWire(p, &translator, &again) == OK);
    ZUV_FUZZ_CHECK(again.dataSize() == p.dataSize());
    ZUV_FUZZ_CHECK(again.objectsCount() == p.objectsCount());
    readObjects(again);
    return 0;
}
