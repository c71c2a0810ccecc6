#include "sim/SimLog.hpp"

#include "runtime/Console.hpp"
#include "shell/Logging.hpp"

namespace hearthix::sim {

std::function<void(const String& line)> logSink;

} // namespace hearthix::sim

namespace hearthix::HearthixSupport {

void WriteLog(const String& message) {
    if (sim::logSink)
        sim::logSink(message);
    else
        PrintError(message);
}

} // namespace hearthix::HearthixSupport
