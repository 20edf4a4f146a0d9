// A reply from an untrusted service, as a client's proxy receives it: the
// proxy makes a call, the "service" answers with a status (usually OK) and
// arbitrary typed items carried through the wire image, and the proxy reads
// its result from them. Values handed to the result callback are read in
// full; a failed call must come back as a failed Return, never a crash.
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>

#include <functional>

#include "FuzzSupport.h"

using namespace zuv_fuzz;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

namespace {

// Answers every call with the reply the current input describes.
class ForgedService : public BHwBinder {
  public:
    ByteReader* input = nullptr;

    status_t onTransact(uint32_t, const Parcel&, Parcel*, uint32_t,
                        TransactCallback callback) override {
        ByteReader& in = *input;
        const uint8_t shape = in.u8();
        if ((shape & 0xc0) == 0xc0) return ::android::DEAD_OBJECT;
        TableTranslator translator({this});
        Parcel forged;
        if ((shape & 0x40) == 0) forged.writeInt32(0);  // EX_NONE, then the result
        ParcelBuilder builder(translator.known());      // owns what forged points to
        builder.build(in, &forged);
        Parcel reply;
        if (throughWire(forged, &translator, &reply) != OK) return ::android::FAILED_TRANSACTION;
        if (callback) callback(reply);
        return OK;
    }
};

void see(const hidl_string& s) {
    ZUV_FUZZ_CHECK(s.c_str()[s.size()] == '\0');
    touch(s.c_str(), s.size());
}
template <typename T>
void see(const hidl_vec<T>& v) {
    touch(v.data(), v.size() * sizeof(T));
}
void see(const hidl_vec<hidl_string>& v) {
    for (const auto& s : v) see(s);
}
template <typename T>
void see(const T& record) {
    touch(&record, sizeof(record));
}

template <typename T>
void check(const ::android::hardware::Return<T>& ret) {
    if (!ret.isOk()) (void)ret.description();
}

using Call = std::function<void(fp::IZuvExtendedFingerprint&, fp::IDaxAndroidServices&)>;

// Operations with results of every kind: scalars of each width, strings,
// byte vectors, string vectors and records.
const std::vector<Call>& calls() {
    static const std::vector<Call> kCalls = {
            [](auto& f, auto&) { check(f.testInit()); },
            [](auto& f, auto&) { check(f.testParamGet(1, [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testImageQuality([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.psfCalibraton([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.calibratePsfSettings([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.runPsfVerification([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testDigital([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testTemperature([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testContactResistance([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.captouchCalibration([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testTft([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testTx([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.dbiasCalibration([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.testNoise([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.readInfo([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.calibrationGet("k", [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getOtpValue([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.retrieveUser(7, [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getFrameworkInfo([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.enumEnrollments([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getEnrollRecord("e", [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getDebugData("d", [](const auto& v) { see(v); })); },
            [](auto& f, auto&) {
                check(f.processRequest(hidl_vec<uint8_t>{1, 2}, [](const auto& v) { see(v); }));
            },
            [](auto& f, auto&) { check(f.getMfgValue(3, [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getConfigValue("c", [](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getLivenessEnabled(hidl_vec<uint8_t>{1})); },
            [](auto& f, auto&) { check(f.isIvvEnabled()); },
            [](auto& f, auto&) { check(f.setConfigValue("a", "b")); },
            [](auto& f, auto&) { check(f.interfaceChain([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.interfaceDescriptor([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getHashChain([](const auto& v) { see(v); })); },
            [](auto& f, auto&) { check(f.getDebugInfo([](const auto& v) { see(v); })); },
            [](auto&, auto& s) { check(s.checkRequestingAppType()); },
            [](auto&, auto& s) { check(s.setTimer(5)); },
    };
    return kCalls;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static auto* service = new ForgedService;
    static sp<fp::IZuvExtendedFingerprint> fingerprint =
            new fp::BpHwZuvExtendedFingerprint(service);
    static sp<fp::IDaxAndroidServices> services = new fp::BpHwDaxAndroidServices(service);

    ByteReader in(data, size);
    const auto& table = calls();
    const size_t which = in.u8() % table.size();
    service->input = &in;
    table[which](*fingerprint, *services);
    service->input = nullptr;
    return 0;
}
