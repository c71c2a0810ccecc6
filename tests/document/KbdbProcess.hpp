// Runs kbdb as a person would, from a shell in the test's folder.
#pragma once

#include "tests/document/DocumentTest.hpp"

#include <cstdlib>

namespace hearthix::testing {

class KbdbTest : public DocumentTest {
protected:
    struct Run {
        std::string status; // as the shell tells it
        std::string output;
        std::string complaint;
    };

    // The output goes to a file, or where the shell's redirection says. A program that hangs is ended.
    Run run(const std::vector<std::string>& words, const std::string& redirection = "") const {
        const std::string aside = folder.string() + ".";
        std::string command = "cd " + folder.string() + "; { timeout 30 " + KBDB_PROGRAM;
        for (const std::string& word : words)
            command.append(" '").append(word).append("'");
        command.append(" 2>" + aside + "err; echo $? >" + aside + "status; } ");
        command += redirection.empty() ? ">" + aside + "out" : redirection;
        if (std::system(command.c_str()) < 0)
            throw std::runtime_error("no shell");
        const Run done{readFile(aside + "status").substr(0, 1), readFile(aside + "out"),
                       readFile(aside + "err")};
        for (const char* file : {"out", "err", "status"})
            std::filesystem::remove(aside + file);
        return done;
    }
};

} // namespace hearthix::testing
