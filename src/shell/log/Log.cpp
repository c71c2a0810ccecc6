#include "shell/log/Log.hpp"

#include "runtime/core/Object.hpp"
#include "runtime/process/Console.hpp"

#include <utility>

namespace hearthix {

namespace {

std::function<void(const String& message, Integer level)> writeLine;
std::function<void()> pollReader;

} // namespace

void Log::setSink(std::function<void(const String& message, Integer level)> write,
                  std::function<void()> poll) {
    writeLine = std::move(write);
    pollReader = std::move(poll);
}

void Log::toStandardError(const String& prefix) {
    setSink([prefix](const String& message, Integer) { PrintError(prefix + message); });
}

void Log::send(const String& message, Integer level) {
    if (!writeLine)
        raiseNilObject();
    writeLine(message, level);
}

void Globals::writelog(const String& message, Integer level) {
    constexpr int kPolls = 3;
    Log::send(message, level);
    for (int i = 0; i < kPolls && pollReader; ++i)
        pollReader();
}

void HearthixSupport::WriteLog(const String& message) {
    Globals::writelog(message, 2);
}

} // namespace hearthix
