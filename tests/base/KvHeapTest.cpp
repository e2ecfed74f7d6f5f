// Heap blocks of the plain records.
#include "base/KvHeap.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(KvHeapTest, ArraysAreZeroed) {
    const ScopedHeap<uint64_t> array(allocZeroed<uint64_t>(100));
    ASSERT_TRUE(array);
    EXPECT_TRUE(std::all_of(array.get(), array.get() + 100, [](uint64_t x) { return x == 0; }));
}

TEST(KvHeapTest, ArraysAboveTheLimitAreRefused) {
    EXPECT_EQ(nullptr, allocZeroed<uint64_t>(536870912));
    EXPECT_EQ(nullptr, allocZeroed<uint64_t>(~uint64_t{0}));
    EXPECT_EQ(nullptr, allocZeroed<char>(kHeapArrayLimit + 1));
}

TEST(KvHeapTest, TextsAreCopiedWhole) {
    for (const char* text : {"", "a", "a longer text with blanks"}) {
        char* copy = nullptr;
        ASSERT_EQ(HeapCopy::kDone, copyToHeap(text, copy));
        EXPECT_STREQ(text, copy);
        EXPECT_NE(text, copy);
        free(copy);
    }
}

TEST(KvHeapTest, NullTextIsNotCopied) {
    char untouched = 'x';
    char* copy = &untouched;
    EXPECT_EQ(HeapCopy::kCopyFailed, copyToHeap(nullptr, copy));
    EXPECT_EQ(nullptr, copy);
}

}  // namespace
