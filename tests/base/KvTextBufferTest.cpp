// Copying, appending and formatting into buffers; trimming and changing texts in place.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <string>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "tests/support/GuardedBuffer.h"

namespace {

constexpr const char* kNull = nullptr;

// Calls Vsnprintf with the arguments that follow.
__attribute__((format(printf, 3, 4))) int callVsnprintf(char* buf, size_t size, const char* format,
                                                        ...) {
    va_list args;
    va_start(args, format);
    const int stored = Vsnprintf(buf, size, format, args);
    va_end(args);
    return stored;
}

TEST(KvTextBuffer, StrncpyStoresWhatFitsAndFillsTheRestWithNuls) {
    const std::string text("abcdefgh");
    for (size_t length = 0; length <= text.size(); ++length) {
        const std::string source = text.substr(0, length);
        for (const size_t size : {length, length + 1, length + 2, length + 20}) {
            GuardedBuffer buffer(size);
            const bool usable = size > 0;
            EXPECT_EQ(Strncpy(buffer.data(), source.c_str(), size), usable ? buffer.data() : kNull);
            const std::string stored = source.substr(0, usable ? size - 1 : 0);
            const std::string expected = stored + std::string(size - stored.size(), '\0');
            EXPECT_EQ(std::string(buffer.data(), size), expected);
            EXPECT_TRUE(buffer.isIntact());
        }
    }
}

TEST(KvTextBuffer, StrncpyTakesNulls) {
    GuardedBuffer buffer(4);
    EXPECT_EQ(Strncpy(nullptr, "abc", 4), nullptr);
    EXPECT_EQ(Strncpy(buffer.data(), "abc", 0), nullptr);
    EXPECT_EQ(Strncpy(buffer.data(), kNull, 4), buffer.data());
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_TRUE(buffer.isIntact());
}

TEST(KvTextBuffer, StrncatAppendsWhatFits) {
    const std::string before("abc");
    const std::string source("defg");
    for (size_t size = 5; size <= 10; ++size) {
        GuardedBuffer buffer(size);
        Strncpy(buffer.data(), before.c_str(), size);
        EXPECT_EQ(Strncat(buffer.data(), source.c_str(), size), buffer.data() + 3);
        EXPECT_EQ(std::string(buffer.data()), (before + source).substr(0, size - 1));
        EXPECT_TRUE(buffer.isIntact());
    }
}

TEST(KvTextBuffer, StrncatEndsTheBufferAndLeavesWhatLiesBetween) {
    std::string buffer("abc\0xxxxxx", 10);
    EXPECT_EQ(Strncat(buffer.data(), "d", buffer.size()), buffer.data() + 3);
    EXPECT_EQ(buffer, std::string("abcd\0xxxx\0", 10));
}

TEST(KvTextBuffer, StrncatIntoAFullBufferChangesNothing) {
    GuardedBuffer buffer(8);
    Strncpy(buffer.data(), "1234567", 8);
    EXPECT_EQ(Strncat(buffer.data(), "x", 8), nullptr);
    EXPECT_EQ(Strncat(buffer.data(), "", 8), nullptr);
    EXPECT_EQ(Strncat(buffer.data(), "x", 4), nullptr) << "a smaller size than its length";
    EXPECT_STREQ(buffer.data(), "1234567");

    std::string unterminated(8, 'x');
    EXPECT_EQ(Strncat(unterminated.data(), "y", 8), nullptr);
    EXPECT_EQ(unterminated, std::string(8, 'x'));
}

TEST(KvTextBuffer, StrncatTakesNullsAndEmpties) {
    GuardedBuffer buffer(8);
    Strncpy(buffer.data(), "abc", 8);
    EXPECT_EQ(Strncat(buffer.data(), "", 8), buffer.data() + 3);
    EXPECT_EQ(Strncat(buffer.data(), kNull, 8), buffer.data() + 3);
    EXPECT_STREQ(buffer.data(), "abc");
    EXPECT_EQ(Strncat(nullptr, "x", 8), nullptr);
    EXPECT_EQ(Strncat(buffer.data(), "x", 0), nullptr);
    EXPECT_TRUE(buffer.isIntact());
}

TEST(KvTextBuffer, FormattingTruncatesAndReturnsWhatIsStored) {
    const std::string text("abcdef");
    for (const size_t size : {1u, 2u, 4u, 6u, 7u, 8u, 100u}) {
        const std::string stored = text.substr(0, size - 1);
        GuardedBuffer first(size);
        EXPECT_EQ(Snprintf(first.data(), size, "%s", "abcdef"), static_cast<int>(stored.size()));
        EXPECT_EQ(std::string(first.data()), stored);
        EXPECT_TRUE(first.isIntact());

        GuardedBuffer second(size);
        EXPECT_EQ(callVsnprintf(second.data(), size, "%s%d", "abcde", 6),
                  static_cast<int>(std::min<size_t>(6, size - 1)));
        EXPECT_EQ(std::string(second.data()), ("abcde6" + std::string()).substr(0, size - 1));
        EXPECT_TRUE(second.isIntact());
    }
}

TEST(KvTextBuffer, TheLastByteOfTheBufferIsAlwaysANul) {
    GuardedBuffer buffer(10);
    EXPECT_EQ(Snprintf(buffer.data(), 10, "%s", "ab"), 2);
    EXPECT_EQ(buffer.data()[9], '\0');
}

TEST(KvTextBuffer, FormattingTakesNulls) {
    GuardedBuffer buffer(4);
    Strncpy(buffer.data(), "old", 4);
    EXPECT_EQ(Snprintf(nullptr, 4, "%d", 1), 0);
    EXPECT_EQ(Snprintf(buffer.data(), 0, "%d", 1), 0);
    EXPECT_EQ(callVsnprintf(nullptr, 4, "%d", 1), 0);
    EXPECT_EQ(callVsnprintf(buffer.data(), 0, "%d", 1), 0);
    EXPECT_STREQ(buffer.data(), "old");
    int (*format)(char*, size_t, const char*, ...) = Snprintf;  // as no compiler looks into it
    EXPECT_EQ(format(buffer.data(), 4, kNull), 0);
    EXPECT_EQ(Snprintf(buffer.data(), 4, "%s", ""), 0);
    EXPECT_STREQ(buffer.data(), "");
}

TEST(KvTextBuffer, AFormatThatCannotBeConvertedStoresNothing) {
    GuardedBuffer buffer(8);
    EXPECT_EQ(Snprintf(buffer.data(), 8, "%ls", L"\xD800"), 0);
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_TRUE(buffer.isIntact());
}

TEST(KvTextBuffer, AppendFormatCutsEachPieceAt1023Bytes) {
    KvSimpleString text("a");
    Str_AppendFormat(text, "%d %s", 1, "b");
    EXPECT_STREQ(text.c_str(), "a1 b");
    const std::string longest(1023, 'x');
    Str_AppendFormat(text, "%s", longest.c_str());
    EXPECT_EQ("a1 b" + longest, text.c_str());
    Str_AppendFormat(text, "%sy\n", longest.c_str());
    EXPECT_EQ("a1 b" + longest + longest, text.c_str());
    Str_AppendFormat(text, "%ls", L"\xD800");
    EXPECT_EQ(text.length(), 2050U) << "what cannot be converted appends nothing";
}

TEST(KvTextBuffer, StrDupGivesAHeapCopy) {
    const char* text = "abc";
    const ScopedHeap<char> copy(Str_Dup(text));
    EXPECT_STREQ(copy.get(), "abc");
    EXPECT_NE(copy.get(), text);
    const ScopedHeap<char> empty(Str_Dup(""));
    EXPECT_STREQ(empty.get(), "");
    EXPECT_EQ(Str_Dup(kNull), nullptr);
}

struct TrimRow {
    const char* text;
    const char* trimmed;
};

const TrimRow kTrimRows[] = {
    {"", ""},
    {"abc", "abc"},
    {"  abc  ", "abc"},
    {"\n \r\t\fabc\n \r\t\f", "abc"},
    {"a b\tc", "a b\tc"},
    {"\v x \v", "\v x \v"},
    {" \v x \v ", "\v x \v"},
    {" \n\r\t\f ", ""},
    {" x", "x"},
    {"x ", "x"},
    {"\xA0x\xA0", "\xA0x\xA0"},
};

TEST(KvTextBuffer, TrimsStrings) {
    for (const TrimRow& row : kTrimRows) {
        KvSimpleString text(row.text);
        Str_TrimAll(text);
        EXPECT_STREQ(text.c_str(), row.trimmed);
        EXPECT_EQ(text.length(), strlen(row.trimmed));
    }
    KvSimpleString none;
    Str_TrimAll(none);
    EXPECT_STREQ(none.c_str(), "");
}

TEST(KvTextBuffer, TrimsInPlaceAndZeroesUpToTheOldLength) {
    for (const TrimRow& row : kTrimRows) {
        const size_t size = strlen(row.text) + 1;
        GuardedBuffer buffer(size);
        Strncpy(buffer.data(), row.text, size);
        Str_TrimAll(buffer.data());
        std::string expected(row.trimmed);
        expected.resize(size, '\0');
        EXPECT_EQ(std::string(buffer.data(), size), expected);
        EXPECT_TRUE(buffer.isIntact());
    }
    char* none = nullptr;
    Str_TrimAll(none);
    EXPECT_EQ(none, nullptr);
}

TEST(KvTextBuffer, FiveBytesAreWhiteSpace) {
    const std::string space("\n \r\t\f");
    for (int byte = 1; byte < 256; ++byte) {
        const char ch = static_cast<char>(byte);
        KvSimpleString text(&ch, 1);
        Str_TrimAll(text);
        EXPECT_EQ(text.empty(), space.find(ch) != std::string::npos) << byte;
    }
}

TEST(KvTextBuffer, ToUpperChangesLettersAlone) {
    for (int byte = 1; byte < 256; ++byte) {
        char text[] = {static_cast<char>(byte), '\0'};
        Str_ToUpper(text);
        const bool small = byte >= 'a' && byte <= 'z';
        EXPECT_EQ(text[0], static_cast<char>(small ? byte - 'a' + 'A' : byte));
    }
    char word[] = "abC1z";
    Str_ToUpper(word);
    EXPECT_STREQ(word, "ABC1Z");
    char empty[] = "";
    Str_ToUpper(empty);
    EXPECT_STREQ(empty, "");
    Str_ToUpper(nullptr);  // allowed
}

}  // namespace
