// The block behind a string: its header, its size and when it moves.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <utility>

#include "base/KvSimpleString.h"
#include "tests/base/StringBlock.h"

namespace {

KvSimpleString ofLength(size_t length) {
    return KvSimpleString(std::string(length, 'x').c_str());
}

TEST(KvSimpleStringBlock, AnObjectIsOnePointerToItsCharacters) {
    static_assert(sizeof(KvSimpleString) == sizeof(char*));
    KvSimpleString text("abc");
    const char* chars = nullptr;
    memcpy(&chars, static_cast<const void*>(&text), sizeof(chars));
    EXPECT_EQ(chars, text.c_str());

    const KvSimpleString none;
    memcpy(&chars, static_cast<const void*>(&none), sizeof(chars));
    EXPECT_EQ(chars, nullptr);
}

TEST(KvSimpleStringBlock, LengthAndCapacityStandBeforeTheCharacters) {
    const KvSimpleString text("hello");
    EXPECT_EQ(blockOf(text).length, 5u);
    EXPECT_EQ(blockOf(text).capacity, 255u);
}

TEST(KvSimpleStringBlock, EveryBlockHoldsAtLeast255Characters) {
    EXPECT_EQ(blockOf(KvSimpleString("")).capacity, 255u);
    EXPECT_EQ(blockOf(KvSimpleString(static_cast<const char*>(nullptr))).capacity, 255u);
    EXPECT_EQ(blockOf(ofLength(254)).capacity, 255u);
    EXPECT_EQ(blockOf(ofLength(255)).capacity, 255u);
    EXPECT_EQ(blockOf(ofLength(256)).capacity, 256u);
    EXPECT_EQ(blockOf(ofLength(1000)).capacity, 1000u);
}

TEST(KvSimpleStringBlock, AppendingToAFullBlockMakesRoomForTwiceTheOldCapacity) {
    KvSimpleString text = ofLength(255);
    text.append("y");
    EXPECT_EQ(blockOf(text).capacity, 511u);  // 1 + 2 * 255
    EXPECT_EQ(text.length(), 256u);
    EXPECT_EQ(std::string(text.c_str()), std::string(255, 'x') + "y");

    text.append(300, 'z');
    EXPECT_EQ(blockOf(text).capacity, 1322u);  // 300 + 2 * 511
}

TEST(KvSimpleStringBlock, AppendingInPlaceNeedsOneCharacterToSpare) {
    KvSimpleString spare = ofLength(250);
    const char* place = spare.c_str();
    spare.append(4, 'y');
    EXPECT_EQ(spare.c_str(), place);
    EXPECT_EQ(blockOf(spare).capacity, 255u);

    KvSimpleString exact = ofLength(250);
    exact.append(5, 'y');  // would fit, but grows
    EXPECT_EQ(blockOf(exact).capacity, 515u);

    KvSimpleString full = ofLength(255);
    full.append("");
    EXPECT_EQ(blockOf(full).capacity, 510u);
    EXPECT_EQ(full.length(), 255u);
}

TEST(KvSimpleStringBlock, AssigningKeepsABlockThatIsLargeEnough) {
    KvSimpleString text = ofLength(1000);
    const char* place = text.c_str();
    text = "short";
    EXPECT_EQ(text.c_str(), place);
    EXPECT_EQ(blockOf(text).capacity, 1000u);
    EXPECT_EQ(blockOf(text).length, 5u);

    text.assign(std::string(1000, 'y').c_str());
    EXPECT_EQ(text.c_str(), place);
    text.assign(std::string(1001, 'z').c_str());
    EXPECT_EQ(blockOf(text).capacity, 1001u);
}

TEST(KvSimpleStringBlock, ABlockDoesNotShrinkWhenAResultIsAssigned) {
    KvSimpleString text = ofLength(1000);
    text = KvSimpleString("short");
    EXPECT_STREQ(text.c_str(), "short");
    EXPECT_EQ(blockOf(text).capacity, 1000u);
    text = ofLength(999);
    EXPECT_EQ(text.length(), 999u);
    EXPECT_EQ(blockOf(text).capacity, 1000u);
    text = KvSimpleString();
    ASSERT_EQ(text.rfind(""), 0u) << "it still has its block";
    EXPECT_EQ(blockOf(text).capacity, 1000u);
}

TEST(KvSimpleStringBlock, ABlockThatIsAtLeastAsLargeIsTakenOver) {
    KvSimpleString text("old");
    KvSimpleString result = ofLength(300);
    const char* place = result.c_str();
    text = std::move(result);
    EXPECT_EQ(text.c_str(), place);
    KvSimpleString& same = text;
    text = std::move(same);
    EXPECT_EQ(text.c_str(), place);
    EXPECT_EQ(text.length(), 300u);
}

TEST(KvSimpleStringBlock, ReplaceMakesABlockOfTheSizeOfItsResult) {
    KvSimpleString text = ofLength(300);
    text.replace(100, 50, "abc");
    EXPECT_EQ(text.length(), 253u);
    EXPECT_EQ(blockOf(text).capacity, 255u);

    text.replace(0, 0, std::string(47, 'y').c_str());
    EXPECT_EQ(text.length(), 300u);
    EXPECT_EQ(blockOf(text).capacity, 300u);
}

TEST(KvSimpleStringBlock, CopiesNeverShareABlock) {
    KvSimpleString first("abc");
    KvSimpleString copied(first);
    KvSimpleString assigned;
    assigned = first;
    first[0] = 'X';
    EXPECT_STREQ(copied.c_str(), "abc");
    EXPECT_STREQ(assigned.c_str(), "abc");
    EXPECT_STREQ(first.c_str(), "Xbc");
}

TEST(KvSimpleStringBlock, WhatWasMovedFromIsStillAString) {
    KvSimpleString first("abc");
    const KvSimpleString second(std::move(first));
    EXPECT_STREQ(second.c_str(), "abc");
    EXPECT_STREQ(first.c_str(), "");  // NOLINT(bugprone-use-after-move)
    first = KvSimpleString("new");
    EXPECT_STREQ(first.c_str(), "new");
}

TEST(KvSimpleStringBlock, OwnCharactersMayBeTheSource) {
    KvSimpleString text = ofLength(250);
    text[0] = 'a';
    text.append(text);  // grows while it copies from the old block
    EXPECT_EQ(std::string(text.c_str()), "a" + std::string(249, 'x') + "a" + std::string(249, 'x'));

    KvSimpleString part("abcdef");
    part = part.c_str() + 2;
    EXPECT_STREQ(part.c_str(), "cdef");
    part.append(part.c_str() + 2);
    EXPECT_STREQ(part.c_str(), "cdefef");
    part.replace(1, 1, part.c_str());
    EXPECT_STREQ(part.c_str(), "ccdefefefef");
    part = static_cast<const KvSimpleString&>(part);
    EXPECT_STREQ(part.c_str(), "ccdefefefef");
}

TEST(KvSimpleStringBlock, WithoutMemoryTheStringHasFailed) {
    // No allocation can give so much.
    KvSimpleString text("abc");
    text.append("", SIZE_MAX / 4);
    EXPECT_TRUE(text.failed());
    EXPECT_STREQ(text.c_str(), "");
}

}  // namespace
