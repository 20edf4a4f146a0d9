// Stand-in objects: a local object of any of the package's interfaces that
// answers every operation through one handler, with JSON values as
// `zuv_hidl call` shows them. Tools use them to play a service or a callback
// object they have no code for; link ZuvFingerprint::describe.
//
//   const InterfaceOps& iface = *findInterface("IZuvExtendedFingerprint");
//   sp<IBase> service = makeStandIn(iface, [](const StandInCall& call) {
//       StandInAnswer answer;
//       if (call.operation->name == "getConfigValue") answer.result = "50";
//       else if (call.operation->name == "cancel") answer.failure = "EX_ILLEGAL_STATE";
//       return answer;  // other operations: zero values, OK
//   });
//   registerStandIn(service, "default");
//
// The handler runs on the thread serving the call, several at a time when
// calls overlap: it delays the answer by sleeping and never answers by not
// returning. An answer a oneway operation gives is dropped.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {

struct StandInCall {
    const InterfaceOps* interface = nullptr;
    const Operation* operation = nullptr;
    // Keyed by parameter name in declaration order, without the result
    // callback; an interface-typed parameter is null here and in `objects`.
    json args = json::object();
    std::map<std::string, sp<IBase>> objects;
};

struct StandInAnswer {
    json result;          // the result's value; null is its type's zero value
    std::string failure;  // empty: OK; else a status (DEAD_OBJECT) or exception (EX_ILLEGAL_STATE)
    std::string message;  // an exception's text
    // Runs once the answer is on its way to another process's caller (for a
    // transport status, just before), or as an in-process call returns; e.g.
    // to end the process after it.
    std::function<void()> afterReply;
};

using StandInHandler = std::function<StandInAnswer(const StandInCall&)>;

// A local object of `iface` answering through `handler`. It can be passed as
// an argument, registered, and called in this process or another.
sp<IBase> makeStandIn(const InterfaceOps& iface, StandInHandler handler);

// Registers an object (a stand-in or any local object) as `instance` of its
// interface with the service manager; the transport's status.
int registerStandIn(const sp<IBase>& object, const std::string& instance);

// What a call through invokeWith gave: "OK", a transport status by name or an
// exception by name (with its text).
struct CallOutcome {
    std::string status = "OK";
    std::string message;
    json result;  // the result's value; null when there is none or the call failed
};

// Calls `op` on `service` (an object of its interface) with `args` keyed by
// parameter name; an interface-typed parameter takes objects[name] (null when
// absent). Throws ArgumentError naming the argument that does not fit.
CallOutcome invokeWith(const Operation& op, const sp<IBase>& service, const json& args,
                       const std::map<std::string, sp<IBase>>& objects);

// Checks values read from elsewhere against `op`: every parameter present and
// of its type (an interface-typed one is null or {"object": "<reference>"}),
// none unknown; and a result value. Throws ArgumentError naming the member
// ("args.key", or `where` for the result). Each returns its values as this
// library writes them (bytes as hex however they were given), so values
// written by an older one compare equal to what a call gives now.
json checkArguments(const Operation& op, const json& args);
json checkResult(const Operation& op, const json& value, const std::string& where);

// The failure names an answer may carry: transport statuses, then exceptions.
const std::vector<std::string>& failureNames();
bool isFailureName(const std::string& name);

}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
