#include "base/KvNumber.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(KvNumber, ReadsTheLeadingNumberOfEveryText) {
    EXPECT_EQ(leadingNumber("42"), 42);
    EXPECT_EQ(leadingNumber(" \t+42x"), 42);
    EXPECT_EQ(leadingNumber("-7"), -7);
    EXPECT_EQ(leadingNumber("x7"), 0);
    EXPECT_EQ(leadingNumber(""), 0);
    EXPECT_EQ(leadingNumber(nullptr), 0);
    EXPECT_EQ(leadingNumber("2147483648"), INT_MIN);
    EXPECT_EQ(leadingNumber("4294967297"), 1) << "the low bits of a number that is too large";
    EXPECT_EQ(leadingNumber(std::string(5000, '9').c_str()), -1);
}

}  // namespace
