#pragma once
// Refusals shared by the files of StandEngine: each throws StandRefusal, which
// invoke() turns into the call's answer, so a refused call changes nothing.
#include "core/base/RunTimeError.h"
#include "stand/StandArgs.h"

#include <QString>
#include <cstdint>

namespace standfail {

[[noreturn]] inline void refuse(int32_t code, const QString& text) { throw StandRefusal{code, text}; }
// A limit or an interlock: the panel's "Limitation" text (...4BE).
[[noreturn]] inline void limitation(const QString& text) { refuse(RunTimeError::ServiceLimitation, text); }
// An index or argument the stand does not know.
[[noreturn]] inline void invalid(const QString& text) { refuse(RunTimeError::ServiceInvalidArgument, text); }

// Device names by DeviceIndex, for the texts of refusals.
inline const char* const kDeviceText[] = {"",          "Nosepiece",    "FilterBlockCassette", "LightPathDrive",
                                          "CondenserCassette", "OpticalZoom", "EpiFieldStop", "Analyzer",
                                          "EpiShutter", "Lamp",        "ZDrive",       "XYDrive",
                                          "ApertureStop", "FieldStop", "NDFilter"};

} // namespace standfail
