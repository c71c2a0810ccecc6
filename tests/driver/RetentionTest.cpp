// What the driver keeps of the gateway's bytes for hours is a few bytes of a large chunk. Strings share their
// bytes, so each of these would hold its whole chunk.
#include "gateway/cMySensors.hpp"
#include "tests/driver/Driver.hpp"

#include <malloc.h>

namespace hearthix {
namespace {

class RetentionTest : public DriverTest {
protected:
    static Integer allocated() {
        const struct mallinfo2 heap = mallinfo2();
        return static_cast<Integer>(heap.uordblks + heap.hblkhd);
    }
    void receive(const std::string& line) {
        const std::string rest = "\n" + std::string(kChunk, ' ') + "\n";
        gateway_.PortDataAvailable(String(line + rest));
        sent();
    }

    static constexpr Integer kChunk = 1 << 20;
    const std::string text_ = "a payload that doesn't fit inside of a string";
    cMySensors gateway_;
};

TEST_F(RetentionTest, KeepsNoChunkBehindFirstValues) {
    receive("1;255;3;0;0;80");
    const Integer before = allocated();
    for (int child = 1; child <= 8; ++child)
        receive("1;" + std::to_string(child) + ";1;0;47;" + text_);
    EXPECT_LT(allocated() - before, kChunk);
}

TEST_F(RetentionTest, KeepsNoChunkBehindAnIdRequest) {
    receive("255;255;3;0;0;80");
    const Integer before = allocated();
    receive("255;255;3;0;3;" + text_);
    EXPECT_LT(allocated() - before, kChunk / 2);
}

TEST_F(RetentionTest, KeepsNoChunkBehindALineThatHasBegun) {
    const Integer before = allocated();
    gateway_.PortDataAvailable(String(std::string(kChunk, ' ') + "\n1;2;1;0;47;" + text_));
    sent();
    EXPECT_LT(allocated() - before, kChunk / 2);
}

} // namespace
} // namespace hearthix
