#include "runtime/Exceptions.hpp"

#include "runtime/ConsoleApplication.hpp"
#include "runtime/MemoryBlock.hpp"
#include "runtime/StringFunctions.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>

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
        EXPECT_STREQ(error.what(), "NilObjectException");
    }
}

TEST(Exceptions, RefuseNilAndIndexesOutside) {
    Array<Integer> numbers{5, 3, 9};
    EXPECT_THROW(numbers[3], OutOfBoundsException);
    EXPECT_THROW(numbers[-1], OutOfBoundsException);
    EXPECT_THROW(numbers.Remove(3), OutOfBoundsException);
    EXPECT_THROW(*Ref<MemoryBlock>(), NilObjectException);
    numbers.Sort();
    numbers.Append(1);
    EXPECT_EQ(numbers[0] * 1000 + numbers[1] * 100 + numbers[2] * 10 + numbers[3], 3591);
    EXPECT_EQ(numbers.IndexOf(9) * 10 + numbers.IndexOf(7), 19);
    numbers.Resize(-5);
    EXPECT_EQ(numbers.Ubound(), -1);
}

enum class End { status, runtimeError, otherError };

class Program : public ConsoleApplication {
public:
    Program(End end, bool handles) : end_(end), handles_(handles) {}
    Integer Event_Run(const Array<String>& arguments) override {
        if (end_ == End::runtimeError)
            return functionThatFails(nullptr);
        if (end_ == End::otherError)
            throw std::runtime_error("other");
        raise(SIGPIPE); // no reason to die
        return arguments.Ubound() + (arguments[1] == "one" ? 10 : 0);
    }
    bool Event_UnhandledException(const RuntimeException&) override { return handles_; }

private:
    End end_;
    bool handles_;
};

TEST(ConsoleApplication, EndsWithTheStatusOfItsRun) {
    const char* const arguments[] = {"program", "one", "two"};
    EXPECT_EQ(Program(End::status, false).execute(3, arguments), 12);
    EXPECT_EQ(Program(End::runtimeError, false).execute(3, arguments), 1);
    EXPECT_EQ(Program(End::runtimeError, true).execute(3, arguments), 0);
    EXPECT_EQ(Program(End::otherError, true).execute(3, arguments), 1);
}

} // namespace
} // namespace hearthix
