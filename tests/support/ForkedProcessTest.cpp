#include "tests/support/ForkedProcess.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace {

TEST(ForkedProcess, TheResultOfTheBodyIsTheExitCode) {
    ForkedProcess process([](const Talk&) { return 42; });
    EXPECT_EQ(process.finish(), 42);
}

TEST(ForkedProcess, BothSidesTellAndHear) {
    ForkedProcess echo([](const Talk& talk) {
        int words = 0;
        for (; words < 3 && talk.hears(); ++words) {
            talk.tell();
        }
        return words;
    });
    EXPECT_FALSE(echo.talk().hears(10)) << "nothing was told yet";
    for (int i = 0; i < 3; ++i) {
        echo.talk().tell();
        EXPECT_TRUE(echo.talk().hears());
    }
    EXPECT_EQ(echo.finish(), 3);
    EXPECT_FALSE(echo.talk().hears()) << "a side that has ended says nothing";
    echo.talk().tell();
}

TEST(ForkedProcess, ASignalIsToldAsANegativeNumber) {
    ForkedProcess process([](const Talk&) { return ::kill(getpid(), SIGTERM); });
    EXPECT_EQ(process.finish(), -SIGTERM);
}

TEST(ForkedProcess, AnExceptionStaysInTheChild) {
    ForkedProcess process([](const Talk&) -> int { throw std::runtime_error("lost"); });
    EXPECT_GT(process.finish(), 0);
}

TEST(ForkedProcess, IsKilledWithItsObject) {
    pid_t id = 0;
    {
        const ForkedProcess process([](const Talk&) { return pause(); });
        id = process.id();
        EXPECT_EQ(::kill(id, 0), 0);
    }
    EXPECT_NE(::kill(id, 0), 0);
}

}  // namespace
