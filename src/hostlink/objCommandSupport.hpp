// The command codes of security sensors. They are empty and stay empty, so only an empty command equals them.
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
