// What KV_FAULTS asks for, and what the preloaded library is told.
#include "tests/faults/Fault.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(Fault, TellsTheLibraryTheNumberOfAnError) {
    EXPECT_EQ((Fault{"open", 7, "ENOSPC"}.forLibrary()), "open/7/" + std::to_string(ENOSPC));
    EXPECT_EQ((Fault{"open", 7, "EIO+"}.forLibrary()), "open/7/" + std::to_string(EIO) + "+");
    EXPECT_EQ((Fault{"read", 1, "short+"}.forLibrary()), "read/1/short+");
}

TEST(Fault, IsToldAsItIsAskedFor) {
    EXPECT_EQ((Fault{"open", 7, "ENOSPC+"}.text()), "open/7/ENOSPC+");
}

TEST(FaultRequest, IsASampleByDefault) {
    for (const char* const text : {static_cast<const char*>(nullptr), "sample"}) {
        const FaultRequest request = FaultRequest::parse(text);
        EXPECT_FALSE(request.isWhole);
        EXPECT_FALSE(request.scenario || request.function || request.number || request.what);
    }
}

TEST(FaultRequest, OfAllNamesNothing) {
    const FaultRequest request = FaultRequest::parse("all");
    EXPECT_TRUE(request.isWhole);
    EXPECT_FALSE(request.scenario || request.function || request.number || request.what);
}

TEST(FaultRequest, NamesAsMuchAsItSays) {
    const FaultRequest part = FaultRequest::parse("update/open");
    EXPECT_TRUE(part.isWhole);
    EXPECT_EQ(part.scenario, "update");
    EXPECT_EQ(part.function, "open");
    EXPECT_FALSE(part.number || part.what);

    const FaultRequest one = FaultRequest::parse("update/open/7/ENOSPC");
    EXPECT_EQ(one.number, 7U);
    EXPECT_EQ(one.what, "ENOSPC");

    const FaultRequest wide = FaultRequest::parse("*/malloc/*/ENOMEM");
    EXPECT_FALSE(wide.scenario || wide.number);
    EXPECT_EQ(wide.function, "malloc");
    EXPECT_EQ(wide.what, "ENOMEM");
}

}  // namespace
