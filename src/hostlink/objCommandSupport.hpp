// The command codes of security sensors. None has one here: all are empty and stay so, and a comparison with
// one is a comparison with the empty string.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::objCommandSupport {

inline const String kCommSecurityMinSafe;
inline const String kCommSecurityMinAlarm;
inline const String kCommSecurityMaxSafe;
inline const String kCommSecurityMaxAlarm;
inline const String kCommSecurityMotion;
inline const String kCommSecurityNoMotion;

} // namespace hearthix::objCommandSupport
