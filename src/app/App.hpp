// App: the driver's whole life, from the arguments to the exit status.
#pragma once

#include "runtime/process/ConsoleApplication.hpp"

namespace hearthix {

class App : public ConsoleApplication {
public:
    Integer SleepTime = 0; // idle; kept for its name

    // Arguments: transport ("IP" or a serial port's name), host address, host port, connection ID, and for a
    // TCP gateway its address and port as the last two. One argument alone prints the banner. 0 on every
    // orderly way out.
    Integer Event_Run(const Array<String>& arguments) override;
    // Prints the stack and lets the process end.
    bool Event_UnhandledException(const RuntimeException& error) override;

    static constexpr const char* kLongVersion = "1.0.3 (build 005)";

private:
    void printBanner() const;
    bool connectToHost(const Array<String>& arguments) const;
    void openGateway(const Array<String>& arguments) const;
    void runUntilQuit() const;
    void drain() const;
};

} // namespace hearthix
