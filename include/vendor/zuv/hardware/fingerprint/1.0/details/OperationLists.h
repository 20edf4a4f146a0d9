// The operations of the package's three interfaces, in code order: kind,
// code, member and parameter names of each (for a result delivered through a
// callback, the last name is the result's). The library's proxies, stubs and
// wrappers and the default implementations are all made from these lists, so
// an operation is named once.
#pragma once

#define ZUV_EXTENDED_FINGERPRINT_METHODS(X)                                                \
    X(METHOD, 1, testInit, ())                                                             \
    X(METHOD, 2, testDeinit, ())                                                           \
    X(METHOD, 3, testParamGet, ("paramId", "value"))                                       \
    X(METHOD, 4, testParamSet, ("paramId", "value"))                                       \
    X(METHOD, 5, testImageQuality, ("result"))                                             \
    X(METHOD, 6, psfCalibraton, ("result"))                                                \
    X(METHOD, 7, calibratePsfSettings, ("result"))                                         \
    X(METHOD, 8, runPsfVerification, ("result"))                                           \
    X(METHOD, 9, testDigital, ("result"))                                                  \
    X(METHOD, 10, bgeCalibration, ())                                                      \
    X(METHOD, 11, testTemperature, ("result"))                                             \
    X(METHOD, 12, testContactResistance, ("result"))                                       \
    X(METHOD, 13, captouchCalibration, ("result"))                                         \
    X(METHOD, 14, runBoostRegulation, ())                                                  \
    X(METHOD, 15, testTft, ("result"))                                                     \
    X(METHOD, 16, testRx, ("result"))                                                      \
    X(METHOD, 17, testTx, ("result"))                                                      \
    X(METHOD, 18, bgeBinsExpiration, ("value"))                                            \
    X(METHOD, 19, dbiasCalibration, ("result"))                                            \
    X(METHOD, 20, testNoise, ("result"))                                                   \
    X(METHOD, 21, readInfo, ("result"))                                                    \
    X(METHOD, 22, getPingResult, ())                                                       \
    X(METHOD, 23, sendPingCmd, ())                                                         \
    X(METHOD, 24, writeCalibration, ())                                                    \
    X(METHOD, 25, calibrationGet, ("key", "value"))                                        \
    X(METHOD, 26, calibrationSet, ("key", "value"))                                        \
    X(METHOD, 27, toggleDumpStream, ("value"))                                             \
    X(METHOD, 28, powerTest, ())                                                           \
    X(METHOD, 29, getOtpValue, ("result"))                                                 \
    X(METHOD, 30, isFingerprintEnabled, ())                                                \
    X(METHOD, 31, notifyPowerState, ("value"))                                             \
    X(METHOD, 32, postEvent, ("data"))                                                     \
    X(METHOD, 33, notifyAlarm, ())                                                         \
    X(METHOD, 34, registerAndroidServices, ("services"))                                   \
    X(METHOD, 35, match, ("callback", "intArg1", "strArg1", "data", "strArg2", "intArg2")) \
    X(METHOD, 36, cancel, ())                                                              \
    X(METHOD, 37, retrieveUser, ("value", "user"))                                         \
    X(METHOD, 38, enableFingerEvent, ("value"))                                            \
    X(METHOD, 39, disableFingerEvent, ())                                                  \
    X(METHOD, 40, setLivenessEnabled, ("data", "enabled"))                                 \
    X(METHOD, 41, getLivenessEnabled, ("data"))                                            \
    X(METHOD, 42, startCapture, ("callback", "value"))                                     \
    X(METHOD, 43, getFrameworkInfo, ("info"))                                              \
    X(METHOD, 44, enumEnrollments, ("enrollments"))                                        \
    X(METHOD, 45, getEnrollRecord, ("key", "record"))                                      \
    X(METHOD, 46, getDebugData, ("key", "debugData"))                                      \
    X(METHOD, 47, isIvvEnabled, ())                                                        \
    X(METHOD, 48, enableIvv, ())                                                           \
    X(METHOD, 49, disableIvv, ())                                                          \
    X(METHOD, 50, processRequest, ("data", "response"))                                    \
    X(METHOD, 51, getMfgValue, ("fieldId", "value"))                                       \
    X(METHOD, 52, retrieveDebugData, ("callback"))                                         \
    X(METHOD, 53, pauseEnrollment, ())                                                     \
    X(METHOD, 54, resumeEnrollment, ())                                                    \
    X(METHOD, 55, setConfigValue, ("key", "value"))                                        \
    X(METHOD, 56, getConfigValue, ("key", "value"))                                        \
    X(METHOD, 57, enableFingerDetect, ())                                                  \
    X(METHOD, 58, disableFingerDetect, ())                                                 \
    X(METHOD, 59, skipFingerDetect, ())

#define ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(X)                        \
    X(METHOD, 1, onMatch, ("intArg1", "strArg1", "value", "data", "data2")) \
    X(METHOD, 2, onError, ("value"))                                        \
    X(METHOD, 3, onStatus, ("value", "data"))                               \
    X(METHOD, 4, onEnroll, ("strArg1", "intArg1", "intArg2"))               \
    X(METHOD, 5, onRemove, ("strArg1", "intArg1"))                          \
    X(METHOD, 6, onEnumerate, ("strArg1", "intArg1", "intArg2"))            \
    X(METHOD, 7, onRemoveUser, ("strArg1"))                                 \
    X(METHOD, 8, onCaptureDebugData, ("debugData"))                         \
    X(METHOD, 9, onCapture, ("uintArg1", "uintArg2", "data"))

#define ZUV_ANDROID_SERVICES_METHODS(X)                        \
    X(ONEWAY_METHOD, 1, setTimer, ("value"))                   \
    X(ONEWAY_METHOD, 2, setWakelock, ("byteArg1", "byteArg2")) \
    X(METHOD, 3, checkRequestingAppType, ())                   \
    X(ONEWAY_METHOD, 4, showLivenessAlert, ())                 \
    X(ONEWAY_METHOD, 5, resetLivenessAlert, ())
