// Host-only: a process-wide recorder of hardware-interface calls, exported
// as Chrome trace JSON (the Trace Event Format that Perfetto and
// chrome://tracing open). Not part of the platform API; the package never
// includes this header.
//
// The recorder is one instrumentation callback (see hidl_host/Instrumentation.h).
// Every entry and exit event becomes a "B" or "E" event on the calling
// thread, named "<interface>::<method> (<side>)", with the package and
// version as arguments. Trace sections handed to traceSectionBegin/End (the
// libzuv_atrace.so preload shim forwards the package's atrace markers there)
// are recorded on the same timeline under the category "atrace".
//
// Environment variables, read once, when instrumentation is first used:
//   ZUV_HIDL_TRACE_FILE        switches recording on and names the file the
//                              trace is written to at exit and by
//                              flushTrace(); "%p" becomes the pid, so several
//                              processes can trace at once
//   ZUV_HIDL_TRACE_MAX_EVENTS  how many events are kept (default 262144); the
//                              oldest give way to newer ones and are counted
//                              as dropped in the output
//
// Objects copy the instrumentation callbacks when they are built (or
// reconfigured with configureInstrumentation / setHALInstrumentation), so
// startTrace() sees the calls of objects made after it. The environment
// variable installs the recorder before the first object exists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace android {
namespace hardware {
namespace host {

constexpr const char* kTraceFileEnvVar = "ZUV_HIDL_TRACE_FILE";
constexpr const char* kTraceMaxEventsEnvVar = "ZUV_HIDL_TRACE_MAX_EVENTS";
constexpr size_t kDefaultTraceMaxEvents = 262144;

// Starts recording: installs the recorder's callback once and switches
// instrumentation on for the process. maxEvents 0 keeps the current
// capacity (the environment's, or the default); another value resizes the
// buffer and discards what it held.
void startTrace(size_t maxEvents = 0);
// Stops recording; what was recorded stays until clearTrace(). The callback
// stays installed (and costs an atomic load per event).
void stopTrace();
bool isTraceRecording();
// Forgets every recorded event and the dropped count.
void clearTrace();

struct TraceStats {
    size_t recorded = 0;  // events held now
    size_t dropped = 0;   // events overwritten since the last clear
    size_t capacity = 0;
};
TraceStats traceStats();

// The recorded events as one JSON document.
std::string traceJson();
// Writes traceJson() to path ("%p" replaced by the pid) through a temporary
// file renamed into place. False, with errno set, when it cannot.
bool writeTrace(const std::string& path);
// Writes to the file ZUV_HIDL_TRACE_FILE names; false when it names none or
// writing fails. A process that ends by _exit or a signal must call it
// itself: the exit handler runs only on exit().
bool flushTrace();
// The path ZUV_HIDL_TRACE_FILE gives this process, with "%p" expanded; empty
// when unset.
std::string traceFilePath();

// The name a trace gives this process: the file name of the program it runs
// (argv[0] without its directory, from /proc/self/cmdline), whole; the
// kernel's name, cut to 15 characters, only when that cannot be read.
std::string programName();

// A section on the calling thread's timeline, recorded while recording is on.
void traceSectionBegin(const char* name);
void traceSectionEnd();

}  // namespace host
}  // namespace hardware
}  // namespace android
