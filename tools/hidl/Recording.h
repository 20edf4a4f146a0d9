// Reading a recording (JSON Lines, one call or death per line after a
// header) for replay and mock. Every line is checked before anything is
// used: one that is not JSON, lacks a field or holds a value that does not
// fit is an error naming the file, the line and the field.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace zuv_hidl {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;

struct RecordingError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct RecordedEvent {
    size_t line = 0;
    bool isCall = true;  // else a death
    uint64_t seq = 0;
    int64_t timeNs = 0;
    std::string side;  // "client" or "server"
    const InterfaceOps* interface = nullptr;
    const Operation* operation = nullptr;  // null for a death
    std::string instance;                  // "" when not recorded
    std::string object;                    // the object's reference, IZuvExtendedFingerprint#1
    json args = json::object();
    std::string status = "OK";
    std::string message;
    json result;          // the result's value; null when there is none
    uint64_t inside = 0;  // 0: not inside another call
};

struct Recording {
    std::string path;
    std::vector<RecordedEvent> events;  // calls and deaths, in seq order
};

// Throws RecordingError ("FILE:LINE: FIELD: what is wrong").
Recording readRecording(const std::string& path);

// The interface-typed parameters' values replaced by a marker for an object
// and null for none, so calls can be compared whatever the objects' names.
json comparableArgs(const Operation& op, const json& args);

// Where two values differ, each leaf by its path below `where`
// (result.value, args.data[2]).
struct Difference {
    std::string field;
    json recorded;
    json seen;
};
void differences(const std::string& where, const json& recorded, const json& seen,
                 std::vector<Difference>* out);

// The service registered as `instance` of `iface`, or null with the reason in
// `error`.
::android::sp<IBase> findRegistered(const InterfaceOps& iface, const std::string& instance,
                                    std::string* error);

}  // namespace zuv_hidl
