// What becomes of texts for which there was no memory: nothing is made from a part of one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "base/KvSimpleVector.h"
#include "base/KvText.h"

namespace {

KvSimpleString failedString() {
    KvSimpleString text("text");
    text.fail();
    return text;
}

TEST(FailedText, ReadsAsAnEmptyString) {
    KvSimpleString text = failedString();
    EXPECT_TRUE(text.failed());
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.length(), 0U);
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(text == "");
    EXPECT_EQ(text.find('t'), KvSimpleString::npos);
    EXPECT_EQ(text.find("t"), KvSimpleString::npos);
    EXPECT_EQ(text.rfind('t'), KvSimpleString::npos);
    EXPECT_EQ(text.rfind("t"), KvSimpleString::npos);
    text[0] = 'x';
    EXPECT_STREQ(text.c_str(), "");
    text[0] = '\0';  // what all strings share past their ends
    char buffer[4] = "abc";
    EXPECT_EQ(text.copy(buffer, 3, 0), 0U);
}

TEST(FailedText, AnEmptyStringHasNotFailed) {
    EXPECT_FALSE(KvSimpleString().failed());
    EXPECT_FALSE(KvSimpleString("").failed());
    EXPECT_FALSE(KvSimpleString(nullptr).failed());
    EXPECT_FALSE(KvSimpleString::isFailed(nullptr));
    EXPECT_FALSE(KvSimpleString::isFailed(""));
    EXPECT_FALSE(KvSimpleString::isFailed(KvSimpleString().c_str()));
}

TEST(FailedText, WhatIsAppendedDoesNotMendIt) {
    KvSimpleString text = failedString();
    text.append("a");
    text.append(KvSimpleString("b"));
    text.append(3, 'c');
    text.append("de", 2);
    text += "f";
    text += 'g';
    text += KvSimpleString("h");
    text.replace(0, 0, "i");
    EXPECT_TRUE(text.failed());
    EXPECT_STREQ(text.c_str(), "");
}

TEST(FailedText, IsHandedOnByCopies) {
    const KvSimpleString failed = failedString();
    KvSimpleString assigned("a");
    assigned = failed;
    KvSimpleString moved("a");
    moved = failedString();
    KvSimpleString fromText("a");
    fromText = failed.c_str();
    KvSimpleString fromRange("a");
    fromRange.assign(failed.c_str(), failed.c_str());
    EXPECT_TRUE(KvSimpleString(failed).failed());
    EXPECT_TRUE(KvSimpleString(failed.c_str()).failed());
    EXPECT_TRUE(KvSimpleString(failed.c_str(), 0).failed());
    EXPECT_TRUE(KvSimpleString(failed, 0).failed());
    EXPECT_TRUE(failed.substr(0, 1).failed());
    EXPECT_TRUE(KvSimpleString(failedString()).failed());
    EXPECT_TRUE(assigned.failed());
    EXPECT_TRUE(moved.failed());
    EXPECT_TRUE(fromText.failed());
    EXPECT_TRUE(fromRange.failed());
}

TEST(FailedText, IsHandedOnByJoins) {
    const KvSimpleString failed = failedString();
    const KvSimpleString good("a");
    EXPECT_TRUE((failed + good).failed());
    EXPECT_TRUE((good + failed).failed());
    EXPECT_TRUE((failed + "a").failed());
    EXPECT_TRUE(("a" + failed).failed());
    EXPECT_TRUE((good + failed.c_str()).failed());
    KvSimpleString replaced("abc");
    replaced.replace(1, 1, failed.c_str());
    EXPECT_TRUE(replaced.failed());
    EXPECT_FALSE(good.failed());
}

TEST(FailedText, AGoodTextEndsIt) {
    KvSimpleString text = failedString();
    text = "good";
    EXPECT_FALSE(text.failed());
    EXPECT_STREQ(text.c_str(), "good");
    text.fail();
    text = KvSimpleString("as well");
    EXPECT_STREQ(text.c_str(), "as well");
    text.fail();
    text.assign("");
    EXPECT_FALSE(text.failed());
    text += "again";
    EXPECT_STREQ(text.c_str(), "again");
}

TEST(FailedText, ATextThatFindsNoMemoryFails) {
    // No allocation can give so much.
    constexpr size_t kTooMuch = SIZE_MAX / 4;
    KvSimpleString appended("kept?");
    appended.append("x", kTooMuch);
    EXPECT_TRUE(appended.failed());
    EXPECT_STREQ(appended.c_str(), "");
}

TEST(FailedText, AListWithoutOneOfItsTextsHasFailedUntilItIsCleared) {
    KvSimpleStringVector list;
    list.push_back("a");
    EXPECT_FALSE(list.failed());
    list.push_back(failedString());
    EXPECT_TRUE(list.failed());
    EXPECT_EQ(list.size(), 1U);
    list.push_back("b");
    EXPECT_TRUE(list.failed());
    list.clear();
    EXPECT_FALSE(list.failed());
}

TEST(FailedText, AListThatGrowsKeepsItsFailure) {
    KvSimpleStringVector list(0, 4);
    list.push_back(failedString());
    for (int i = 0; i < 20; ++i) {
        list.push_back("a");
    }
    EXPECT_TRUE(list.failed());
    EXPECT_EQ(list.size(), 20U);
}

TEST(FailedText, BuffersGetNothingOfIt) {
    const KvSimpleString failed = failedString();
    char copied[8] = "before";
    EXPECT_EQ(Strncpy(copied, failed.c_str(), sizeof copied), nullptr);
    EXPECT_STREQ(copied, "");
    char appended[8] = "before";
    EXPECT_EQ(Strncat(appended, failed.c_str(), sizeof appended), nullptr);
    EXPECT_STREQ(appended, "");
}

TEST(FailedText, HasNoHeapCopy) {
    const KvSimpleString failed = failedString();
    EXPECT_EQ(Str_Dup(failed.c_str()), nullptr);
    char* copy = nullptr;
    EXPECT_EQ(copyToHeap(failed.c_str(), copy), HeapCopy::kNoMemory);
    EXPECT_EQ(copy, nullptr);
}

TEST(FailedText, TrimmingLeavesItFailed) {
    KvSimpleString text = failedString();
    Str_TrimAll(text);
    EXPECT_TRUE(text.failed());
}

}  // namespace
