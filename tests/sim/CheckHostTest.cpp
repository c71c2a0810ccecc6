// check-host against the sample host, the stand-in host, and hosts with one fault each.
#include "tests/support/Shell.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {
namespace {

const std::string kCheck = "sh " SOURCES "/tests/sim/check-host.sh " HEARTHIX_SIM;
const std::string kSample = SOURCES "/docs/examples/host.py";
const std::string kShowText = " 'grep -a \"^value $2 \" $output | cut -d\" \" -f3-'";

std::string quoted(const std::string& text) {
    return " '" + text + "'";
}

TEST(CheckHost, FindsNothingInTheSampleHostAndTheStandIn) {
    const std::string show =
        " 'jq -r \"select(.kind == \\\"value\\\" and .address == \\\"$2\\\").value\" $output'";
    for (const std::string& words :
         {kShowText + quoted("python3 " + kSample + " $driver ttyNONE"),
          show + quoted(HEARTHIX_SIM " host --json --restart --listen 127.0.0.1:0 --driver $driver "
                                     "--gateway 127.0.0.1:9")}) {
        const ShellResult run = shell(kCheck + words);
        EXPECT_EQ(run.output, "") << words;
        EXPECT_EQ(run.status, 0);
    }
}

// Without the host's starts two rules can't be seen, and without anybody who acts at the host three more.
TEST(CheckHost, ConnectsToAHostThatIsRunning) {
    const ShellResult run =
        shell("f=$(mktemp); " HEARTHIX_SIM " host --listen 127.0.0.1:0 --for 300 >$f </dev/null & host=$!; "
              "until address=$(sed -n 's/.* listening on //p' $f) && [ -n \"$address\" ]; do sleep 0.1; "
              "done; " HEARTHIX_SIM
              " check-host $address ID7 </dev/null; status=$?; kill $host; rm $f; exit $status");
    EXPECT_EQ(run.status, 4);
    for (const char* line : {"kept      units-complete ", "kept      second-link ", "not seen  restart ",
                             "not seen  command-order "})
        EXPECT_NE(run.output.find(line), std::string::npos) << line << "\n" << run.output;
    EXPECT_EQ(shell(HEARTHIX_SIM " check-host 127.0.0.1:9 2>&1").status, 1);
}

TEST(CheckHost, ThePageHasTheSameRules) {
    const ShellResult run =
        shell("sed -n '/^## Rules/,/^###/s/^| `\\([a-z0-9-]*\\)` |.*/\\1/p' " SOURCES "/docs/host-link.md");
    const ShellResult names =
        shell("sed -n 's/^ *{*\"\\([a-z0-9-]*\\)\", \".*/\\1/p' " SOURCES "/sim/HostRules.cpp");
    EXPECT_EQ(run.output, names.output);
    EXPECT_FALSE(names.output.empty());
}

TEST(SampleHost, SendsItsCommandsInOrder) {
    const ShellResult run = shell(
        "cd $(mktemp -d); mkfifo commands; " HEARTHIX_SIM
        " gateway --tcp 127.0.0.1:0 </dev/null >mesh & mesh=$!; "
        "until port=$(sed -n 's/.*the gateway is .*://p' mesh) && [ -n \"$port\" ]; do sleep 0.1; done; "
        "python3 " +
        kSample +
        " " HEARTHIX_DRIVER " IP 127.0.0.1 $port <commands >host & host=$!; "
        "exec 3>commands; printf '%s\n' 'on 0C01.STATUS' 'off 0C01.STATUS' 'set 0C02.PERCENT 40' >&3; "
        "for i in $(seq 1000); do grep -q '^value 0C02.PERCENT 40$' host && break; sleep 0.1; done; "
        "grep '^value 0C02.PERCENT 40$' host; kill $mesh $host; sed -n 's/.* received 12;/12;/p' mesh; rm -r "
        "$PWD");
    EXPECT_TRUE(run.output.ends_with("12;1;1;0;2;1\n12;1;1;0;2;0\n12;2;1;0;3;40\n")) << run.output;
    EXPECT_TRUE(run.output.starts_with("value 0C02.PERCENT 40\n")) << run.output;
}

class FaultyHost : public ::testing::TestWithParam<const char*> {};

// A rule, and where it can be broken in several ways a further word.
TEST_P(FaultyHost, BreaksOneRule) {
    const std::string fault = GetParam();
    const ShellResult run = shell(kCheck + kShowText +
                                  quoted("python3 " SOURCES "/tests/sim/FaultyHost.py " + kSample + " \"" +
                                         fault + "\" $driver ttyNONE") +
                                  " | grep -v '^not seen'");
    EXPECT_EQ(run.output, fault.substr(0, fault.find(' ')) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Each, FaultyHost,
                         ::testing::Values("whole-packets", "lengths", "lengths zero", "lengths common",
                                           "packet-types", "bit-64", "no-log-packets", "ready-first",
                                           "command-order", "units-answer", "units-document", "units-size",
                                           "units-complete", "units-addresses", "values", "values sent",
                                           "no-loss", "no-loss values", "second-link", "restart",
                                           "restart-pause", "restart-pause none"));

} // namespace
} // namespace hearthix::test
