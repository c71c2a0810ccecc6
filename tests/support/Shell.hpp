// Commands of a shell, for tests of what people and scripts run.
#pragma once

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

#include <sys/wait.h>

namespace hearthix::test {

struct ShellResult {
    int status = 0;
    std::string output;
};

inline ShellResult shell(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("no shell");
    ShellResult result;
    std::array<char, 4096> part{};
    while (const std::size_t got = fread(part.data(), 1, part.size(), pipe))
        result.output.append(part.data(), got);
    const int state = pclose(pipe);
    result.status = WIFEXITED(state) ? WEXITSTATUS(state) : -1;
    return result;
}

} // namespace hearthix::test
