#include "runtime/Exceptions.hpp"

#include "runtime/MemoryBlock.hpp"
#include "runtime/StringFunctions.hpp"

#include <gtest/gtest.h>

namespace hearthix {

// Not in the unnamed namespace and not cloned: only exported symbols have names in a stack.
[[gnu::noipa]] Integer functionThatFails(const Ref<MemoryBlock>& block) {
    return block->Size() + 1;
}

namespace {

TEST(Exceptions, NameTheCallsUnderWay) {
    try {
        functionThatFails(nullptr);
        FAIL();
    } catch (const NilObjectException& error) {
        const String stack = Join(error.Stack(), "\n");
        EXPECT_GT(InStr(1, stack, "hearthix::functionThatFails("), 0) << stack.view();
        EXPECT_GT(InStr(1, stack, " + 0x"), 0);
    }
}

} // namespace
} // namespace hearthix
