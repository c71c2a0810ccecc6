// App: the process, from its arguments to its exit status.
#pragma once

#include "runtime/process/ConsoleApplication.hpp"

namespace hearthix {

class App : public ConsoleApplication {
public:
    App() : ConsoleApplication(kLongVersion) {}

    // Returns the only object of this class.
    static App& instance() { return static_cast<App&>(ConsoleApplication::instance()); }

    Integer SleepTime = 0; // unused

    // Arguments: transport ("IP" or the name of a serial port), host address, host port, connection ID, and
    // for "IP" the address and port of the gateway as the last two. A single argument prints the banner.
    // Returns 0 unless an exception ends the process.
    Integer Event_Run(const Array<String>& arguments) override;
    // Prints the stack. The process ends afterwards.
    bool Event_UnhandledException(const RuntimeException& error) override;

    // The version of the release. Banner and ready text contain other numbers, which hosts expect.
    static constexpr const char* kLongVersion = "1.0.3 (build 005)";

private:
    void printBanner() const;
    bool connectToHost(const Array<String>& arguments) const;
    void openGateway(const Array<String>& arguments) const;
    void runUntilQuit() const;
    void drain() const;
};

} // namespace hearthix
