// The operations of IZuvExtendedFingerprint: code, name and member of each. The frame
// reads arguments, result and delivery off the member's type.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

#include "frame/Interfaces.h"
#include "frame/Method.h"

#define ZUV_EXTENDED_FINGERPRINT_METHODS(X) \
    X(METHOD, 1, testInit)                  \
    X(METHOD, 2, testDeinit)                \
    X(METHOD, 3, testParamGet)              \
    X(METHOD, 4, testParamSet)              \
    X(METHOD, 5, testImageQuality)          \
    X(METHOD, 6, psfCalibraton)             \
    X(METHOD, 7, calibratePsfSettings)      \
    X(METHOD, 8, runPsfVerification)        \
    X(METHOD, 9, testDigital)               \
    X(METHOD, 10, bgeCalibration)           \
    X(METHOD, 11, testTemperature)          \
    X(METHOD, 12, testContactResistance)    \
    X(METHOD, 13, captouchCalibration)      \
    X(METHOD, 14, runBoostRegulation)       \
    X(METHOD, 15, testTft)                  \
    X(METHOD, 16, testRx)                   \
    X(METHOD, 17, testTx)                   \
    X(METHOD, 18, bgeBinsExpiration)        \
    X(METHOD, 19, dbiasCalibration)         \
    X(METHOD, 20, testNoise)                \
    X(METHOD, 21, readInfo)                 \
    X(METHOD, 22, getPingResult)            \
    X(METHOD, 23, sendPingCmd)              \
    X(METHOD, 24, writeCalibration)         \
    X(METHOD, 25, calibrationGet)           \
    X(METHOD, 26, calibrationSet)           \
    X(METHOD, 27, toggleDumpStream)         \
    X(METHOD, 28, powerTest)                \
    X(METHOD, 29, getOtpValue)              \
    X(METHOD, 30, isFingerprintEnabled)     \
    X(METHOD, 31, notifyPowerState)         \
    X(METHOD, 32, postEvent)                \
    X(METHOD, 33, notifyAlarm)              \
    X(METHOD, 34, registerAndroidServices)  \
    X(METHOD, 35, match)                    \
    X(METHOD, 36, cancel)                   \
    X(METHOD, 37, retrieveUser)             \
    X(METHOD, 38, enableFingerEvent)        \
    X(METHOD, 39, disableFingerEvent)       \
    X(METHOD, 40, setLivenessEnabled)       \
    X(METHOD, 41, getLivenessEnabled)       \
    X(METHOD, 42, startCapture)             \
    X(METHOD, 43, getFrameworkInfo)         \
    X(METHOD, 44, enumEnrollments)          \
    X(METHOD, 45, getEnrollRecord)          \
    X(METHOD, 46, getDebugData)             \
    X(METHOD, 47, isIvvEnabled)             \
    X(METHOD, 48, enableIvv)                \
    X(METHOD, 49, disableIvv)               \
    X(METHOD, 50, processRequest)           \
    X(METHOD, 51, getMfgValue)              \
    X(METHOD, 52, retrieveDebugData)        \
    X(METHOD, 53, pauseEnrollment)          \
    X(METHOD, 54, resumeEnrollment)         \
    X(METHOD, 55, setConfigValue)           \
    X(METHOD, 56, getConfigValue)           \
    X(METHOD, 57, enableFingerDetect)       \
    X(METHOD, 58, disableFingerDetect)      \
    X(METHOD, 59, skipFingerDetect)

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace extended_fingerprint_methods {

#define ZUV_INTERFACE IZuvExtendedFingerprint
#define ZUV_DECLARE(kind, code, name) ZUV_##kind(code, name)
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_DECLARE)
#undef ZUV_DECLARE
#undef ZUV_INTERFACE

#define ZUV_CODE(kind, code, name) code,
static_assert(frame::codesAreSequential({ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_CODE)}),
              "operations are listed in code order");
#undef ZUV_CODE

}  // namespace extended_fingerprint_methods
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
