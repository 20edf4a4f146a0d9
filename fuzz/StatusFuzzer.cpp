// A reply's status and the UTF-16 strings it carries, read from arbitrary
// data as a proxy reads them from a peer, then written back and read again:
// what was accepted once must travel unchanged.
#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include "FuzzSupport.h"

using namespace zuv_fuzz;
using ::android::String16;
using ::android::hardware::Status;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t start = data[0] % 8;
    Parcel p;
    p.write(data + 1, size - 1);
    p.setDataPosition(start);

    Status status;
    if (readFromParcel(&status, p) == OK) {
        const std::string text = status.description();
        ZUV_FUZZ_CHECK(!text.empty());
        Parcel out;
        if (writeToParcel(status, &out) == OK) {
            out.setDataPosition(0);
            Status again;
            ZUV_FUZZ_CHECK(readFromParcel(&again, out) == OK);
            ZUV_FUZZ_CHECK(again.exceptionCode() == status.exceptionCode());
            ZUV_FUZZ_CHECK(strcmp(again.exceptionMessage(), status.exceptionMessage()) == 0);
        } else {
            // Only a transport failure is never written.
            ZUV_FUZZ_CHECK(status.exceptionCode() == Status::EX_TRANSACTION_FAILED);
        }
    }

    // The same bytes as a run of strings.
    p.setDataPosition(start);
    for (int n = 0; n < 16 && p.dataAvail() > 0; ++n) {
        String16 s;
        const size_t before = p.dataPosition();
        const status_t err = p.readString16(&s);
        if (err == OK) {
            Parcel out;
            ZUV_FUZZ_CHECK(out.writeString16(s) == OK);
            out.setDataPosition(0);
            String16 back;
            ZUV_FUZZ_CHECK(out.readString16(&back) == OK);
            ZUV_FUZZ_CHECK(back == s);
            (void)::android::String8(s);
        } else if (err != ::android::UNEXPECTED_NULL) {
            ZUV_FUZZ_CHECK(p.dataPosition() == before);
            break;
        }
    }
    return 0;
}
