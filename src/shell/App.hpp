// App: the driver's whole life, from the arguments to the exit status.
#pragma once

#include "runtime/process/ConsoleApplication.hpp"

namespace hearthix {

class App : public ConsoleApplication {
public:
    App() : ConsoleApplication(kLongVersion) {}

    // The one object of this class, from the start of the process to its end.
    static App& instance() { return static_cast<App&>(ConsoleApplication::instance()); }

    Integer SleepTime = 0; // kept for callers that know it; nothing here uses it

    // Arguments: transport ("IP" or a serial port's name), host address, host port, connection ID, and for a
    // TCP gateway its address and port as the last two. One argument alone prints the banner. 0 on every
    // orderly way out.
    Integer Event_Run(const Array<String>& arguments) override;
    // Prints the stack and lets the process end.
    bool Event_UnhandledException(const RuntimeException& error) override;

    // The release's version; the banner and the ready text have numbers of their own, as hosts know them.
    static constexpr const char* kLongVersion = "1.0.3 (build 005)";

private:
    void printBanner() const;
    void explainUse() const;
    bool connectToHost(const Array<String>& arguments) const;
    void openGateway(const Array<String>& arguments) const;
    void runUntilQuit() const;
    void drain() const;
};

} // namespace hearthix
