#include "base/KvSimpleString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/GuardedBuffer.h"

namespace {

constexpr auto npos = KvSimpleString::npos;
constexpr const char* kNull = nullptr;

// A text with an embedded NUL.
KvSimpleString withNul() {
    return KvSimpleString("ab\0cd", 5);
}

TEST(KvSimpleString, WithoutABlockItIsTheEmptyString) {
    const KvSimpleString none;
    EXPECT_STREQ(none.c_str(), "");
    EXPECT_EQ(none.length(), 0u);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.find('a', 0), npos);
    EXPECT_EQ(none.find("", 0), npos);
    EXPECT_EQ(none.rfind('a'), npos);
    EXPECT_EQ(none.rfind(""), npos);
    EXPECT_EQ(none[0], '\0');
    EXPECT_EQ(none.compare(""), 0);
    EXPECT_STREQ(none.substr(3, 4).c_str(), "");
    EXPECT_EQ(none.c_str(), KvSimpleString().c_str()) << "one static text for all of them";
}

TEST(KvSimpleString, NposIsAllOnes) {
    EXPECT_EQ(npos, ~static_cast<size_t>(0));
}

TEST(KvSimpleString, IsMadeFromTextAndCount) {
    EXPECT_STREQ(KvSimpleString("hello").c_str(), "hello");
    EXPECT_STREQ(KvSimpleString("hello", -1).c_str(), "hello");
    EXPECT_STREQ(KvSimpleString("hello", 2).c_str(), "he");
    EXPECT_STREQ(KvSimpleString("hello", 0).c_str(), "");
    EXPECT_EQ(withNul().length(), 5u);
    EXPECT_STREQ(KvSimpleString(kNull, 3).c_str(), "");
    EXPECT_EQ(KvSimpleString(kNull).rfind(""), 0u) << "a block is made for null, too";
}

TEST(KvSimpleString, IsMadeFromAPartOfAnother) {
    const KvSimpleString text("abcdef");
    EXPECT_STREQ(KvSimpleString(text, 2).c_str(), "cdef");
    EXPECT_STREQ(KvSimpleString(text, 2, 3).c_str(), "cde");
    EXPECT_STREQ(KvSimpleString(text, 2, npos).c_str(), "cdef");
    EXPECT_STREQ(KvSimpleString(text, 9, 1).c_str(), "");
}

TEST(KvSimpleString, PastTheEndStandsOneNulThatAllStringsShare) {
    KvSimpleString shortOne("abc");
    KvSimpleString other("x");
    shortOne[99] = '!';
    EXPECT_STREQ(shortOne.c_str(), "abc");
    EXPECT_STREQ(other.c_str(), "x");
    EXPECT_EQ(&shortOne[99], &other[1]);
    EXPECT_EQ(&shortOne[3], &static_cast<const KvSimpleString&>(other)[npos]);
    EXPECT_EQ(other[1], '!') << "what one string wrote there, every other one reads";
    EXPECT_EQ(KvSimpleString()[0], '!');
    EXPECT_STREQ(KvSimpleString().c_str(), "") << "a text of its own";
    shortOne[99] = '\0';
}

TEST(KvSimpleString, GivesItsCharactersToReadAndToWrite) {
    KvSimpleString shortOne("abc");
    shortOne[2] = 'C';
    EXPECT_STREQ(shortOne.c_str(), "abC");
    EXPECT_EQ(static_cast<const KvSimpleString&>(shortOne)[1], 'b');
}

TEST(KvSimpleString, FindsACharacterForwards) {
    const KvSimpleString text("abcabc");
    EXPECT_EQ(text.find('b'), 1u);
    EXPECT_EQ(text.find('b', 1), 1u);
    EXPECT_EQ(text.find('b', 2), 4u);
    EXPECT_EQ(text.find('b', 5), npos);
    EXPECT_EQ(text.find('c', 6), npos);
    EXPECT_EQ(text.find('c', npos), npos);
    EXPECT_EQ(withNul().find('c', 0), npos) << "the search stops at an embedded NUL";
    EXPECT_EQ(withNul().find('c', 3), 3u);
    EXPECT_EQ(withNul().find('\0'), 2u) << "the NUL itself is found";
}

TEST(KvSimpleString, FindsATextForwards) {
    const KvSimpleString text("abcabc");
    EXPECT_EQ(text.find("bc"), 1u);
    EXPECT_EQ(text.find("bc", 2), 4u);
    EXPECT_EQ(text.find("bcd"), npos);
    EXPECT_EQ(text.find("", 3), 3u);
    EXPECT_EQ(text.find("", 6), npos);
    EXPECT_EQ(text.find(kNull, 0), npos);
    EXPECT_EQ(withNul().find("cd"), npos);
}

TEST(KvSimpleString, FindsACharacterBackwardsUpToAPosition) {
    const KvSimpleString text("abcabc");
    EXPECT_EQ(text.rfind('b'), 4u);
    EXPECT_EQ(text.rfind('b', 4), 4u) << "the character at the position takes part";
    EXPECT_EQ(text.rfind('b', 3), 1u);
    EXPECT_EQ(text.rfind('b', 0), npos);
    EXPECT_EQ(text.rfind('c', 6), 5u);
    EXPECT_EQ(text.rfind('x'), npos);
    EXPECT_EQ(withNul().rfind('d'), npos) << "only what stands before an embedded NUL is seen";
    EXPECT_EQ(text.rfind('\0', 2), 3u) << "the cut itself";
    EXPECT_STREQ(text.c_str(), "abcabc");
}

TEST(KvSimpleString, FindsATextBackwardsUpToAPosition) {
    const KvSimpleString text("abcabc");
    EXPECT_EQ(text.rfind("bc"), 4u);
    EXPECT_EQ(text.rfind("bc", 4), 4u);
    EXPECT_EQ(text.rfind("bc", 3), 1u) << "3 + 2 characters take part: abcab";
    EXPECT_EQ(text.rfind("abc", 2), 0u) << "2 + 3 characters take part: abcab";
    EXPECT_EQ(text.rfind("abc", 3), 3u);
    EXPECT_EQ(text.rfind("abcabcd"), npos);
    EXPECT_EQ(text.rfind("x", 2), npos);
    EXPECT_EQ(text.rfind(kNull), npos);
    EXPECT_EQ(text.rfind("bc", npos - 1), 4u) << "no wrap of position and length";
}

TEST(KvSimpleString, AnEmptyTextIsFoundBackwardsAtTheEndOfWhatIsSearched) {
    const KvSimpleString text("abcabc");
    EXPECT_EQ(text.rfind(""), 6u);
    EXPECT_EQ(text.rfind("", 4), 4u);
    EXPECT_EQ(text.rfind("", 0), 0u);
    EXPECT_EQ(text.rfind("", 6), 6u);
    EXPECT_EQ(KvSimpleString("").rfind(""), 0u);
}

TEST(KvSimpleString, TakesAPart) {
    const KvSimpleString text("abc");
    EXPECT_STREQ(text.substr().c_str(), "abc");
    EXPECT_STREQ(text.substr(1).c_str(), "bc");
    EXPECT_STREQ(text.substr(1, 1).c_str(), "b");
    EXPECT_STREQ(text.substr(1, 0).c_str(), "");
    EXPECT_STREQ(text.substr(1, 99).c_str(), "bc");
    EXPECT_STREQ(text.substr(1, npos - 1).c_str(), "bc");
    EXPECT_STREQ(text.substr(3, 1).c_str(), "");
    EXPECT_STREQ(text.substr(10, 3).c_str(), "");
    EXPECT_EQ(withNul().substr(1, 3).length(), 3u);
}

struct Replacement {
    size_t pos;
    size_t count;
    const char* text;
    const char* result;
};

TEST(KvSimpleString, ReplacesAPart) {
    const Replacement rows[] = {
        {1, 2, "XYZ", "aXYZdef"}, {0, 0, "X", "Xabcdef"},       {6, 0, "X", "abcdefX"},
        {9, 1, "X", "abcdefX"},   {2, npos, "X", "abX"},        {0, npos, "", ""},
        {1, 2, kNull, "adef"},    {3, npos - 1, "X", "abcX"},   {2, 1, "", "abdef"},
        {5, 1, "F", "abcdeF"},    {npos, npos, "X", "abcdefX"},
    };
    for (const Replacement& row : rows) {
        KvSimpleString text("abcdef");
        EXPECT_STREQ(text.replace(row.pos, row.count, row.text).c_str(), row.result);
        EXPECT_EQ(text.length(), strlen(row.result));
    }
    KvSimpleString none;
    EXPECT_STREQ(none.replace(0, 4, "new").c_str(), "new");
}

TEST(KvSimpleString, ReplaceLosesWhatFollowsAnEmbeddedNul) {
    KvSimpleString inPrefix("ab\0cdef", 7);
    inPrefix.replace(4, 1, "X");  // the parts are "ab\0c", "X", "ef"
    EXPECT_STREQ(inPrefix.c_str(), "abXef");
    EXPECT_EQ(inPrefix.length(), 5u);

    KvSimpleString inSuffix("abc\0d", 5);
    inSuffix.replace(0, 1, "X");
    EXPECT_STREQ(inSuffix.c_str(), "Xbc");
    EXPECT_EQ(inSuffix.length(), 3u);
}

TEST(KvSimpleString, ComparesAsCText) {
    const KvSimpleString text("abc");
    EXPECT_EQ(text.compare("abc"), 0);
    EXPECT_LT(text.compare("abd"), 0);
    EXPECT_GT(text.compare("ab"), 0);
    EXPECT_GT(text.compare("aBc"), 0);
    EXPECT_GT(text.compare(kNull), 0);
    EXPECT_EQ(KvSimpleString().compare(kNull), 0);
    EXPECT_EQ(text.compare(KvSimpleString("abc")), 0);
    EXPECT_EQ(withNul().compare(KvSimpleString("ab")), 0) << "only up to the first NUL";
    EXPECT_LT(text.compare("\x80"), 0) << "as unsigned bytes";
}

TEST(KvSimpleString, EqualityInAllMixings) {
    const KvSimpleString text("abc");
    const KvSimpleString same("abc");
    const KvSimpleString other("abd");
    EXPECT_TRUE(text == same);
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE("abc" == text);
    EXPECT_FALSE(text == other);
    EXPECT_FALSE(text == "abd");
    EXPECT_FALSE("abd" == text);
    EXPECT_TRUE(text != other);
    EXPECT_TRUE(text != "abd");
    EXPECT_TRUE("abd" != text);
    EXPECT_FALSE(text != same);
    EXPECT_FALSE(text != "abc");
    EXPECT_FALSE("abc" != text);
    EXPECT_TRUE(KvSimpleString() == KvSimpleString(""));
    EXPECT_TRUE(KvSimpleString() == kNull);
    EXPECT_FALSE(kNull == text);
}

struct CopyRow {
    size_t count;
    size_t pos;
    const char* copied;
};

TEST(KvSimpleString, CopiesOutWithoutANul) {
    const CopyRow rows[] = {{5, 1, "bc"}, {1, 1, "b"}, {3, 0, "abc"}, {0, 0, ""},
                            {5, 3, ""},   {5, 4, ""},  {5, npos, ""}, {npos, 2, "c"}};
    for (const CopyRow& row : rows) {
        GuardedBuffer buffer(3);
        const std::string before(buffer.data(), buffer.capacity());
        const std::string copied(row.copied);
        EXPECT_EQ(KvSimpleString("abc").copy(buffer.data(), row.count, row.pos), copied.size());
        EXPECT_EQ(std::string(buffer.data(), 3), copied + before.substr(copied.size()));
        EXPECT_TRUE(buffer.isIntact());
    }
    char byte = 'x';
    EXPECT_EQ(KvSimpleString("abc").copy(nullptr, 5, 1), 0u);
    EXPECT_EQ(KvSimpleString().copy(&byte, 1, 0), 0u);
    EXPECT_EQ(byte, 'x');
}

TEST(KvSimpleString, Assigns) {
    const char* letters = "abcdef";
    KvSimpleString text("old");
    EXPECT_STREQ(text.assign("new").c_str(), "new");
    EXPECT_STREQ(text.assign(letters + 1, letters + 4).c_str(), "bcd");
    EXPECT_STREQ(text.assign(letters, letters).c_str(), "");
    EXPECT_STREQ(text.assign(letters + 4, letters + 1).c_str(), "") << "the wrong way round";
    text = "x";
    EXPECT_STREQ(text.assign(kNull, kNull).c_str(), "");
    text = "x";
    EXPECT_STREQ((text = kNull).c_str(), "");
    EXPECT_STREQ((text = KvSimpleString("other")).c_str(), "other");
    EXPECT_STREQ(text.assign(kNull).c_str(), "");
}

TEST(KvSimpleString, Appends) {
    KvSimpleString text;
    text.append("a").append(KvSimpleString("b")).append(3, 'c');
    text += "d";
    text += KvSimpleString("e");
    text += 'f';
    EXPECT_STREQ(text.c_str(), "abcccdef");
    text.append(kNull);
    text.append(0, 'x');
    text.append(-7, 'x');
    text.append(kNull, static_cast<size_t>(5));
    text += KvSimpleString();
    EXPECT_STREQ(text.c_str(), "abcccdef");
    EXPECT_EQ(text.append("\0z", static_cast<size_t>(2)).length(), 10u);
    EXPECT_EQ(KvSimpleString().append(2, '\0').length(), 2u);
}

TEST(KvSimpleString, Adds) {
    const KvSimpleString left("ab");
    EXPECT_STREQ((left + "cd").c_str(), "abcd");
    EXPECT_STREQ((left + KvSimpleString("cd")).c_str(), "abcd");
    EXPECT_STREQ(("cd" + left).c_str(), "cdab");
    EXPECT_STREQ((left + kNull).c_str(), "ab");
    EXPECT_STREQ((kNull + left).c_str(), "ab");
    EXPECT_STREQ((KvSimpleString() + KvSimpleString()).c_str(), "");
}

TEST(KvSimpleString, CopiesAndSumsKeepWhatFollowsAnEmbeddedNul) {
    const KvSimpleString source = withNul();
    KvSimpleString assigned("old");
    assigned = source;
    KvSimpleString moved("old");
    moved = withNul();
    KvSimpleString appended;
    appended.append(source);
    for (const KvSimpleString& same : {KvSimpleString(source), assigned, moved, appended}) {
        EXPECT_EQ(std::string(same.c_str(), same.length()), std::string("ab\0cd", 5));
    }

    const KvSimpleString sums[] = {source + source, source + "ab" + KvSimpleString("\0cd", 3),
                                   "ab" + KvSimpleString("\0cd", 3) + source};
    for (const KvSimpleString& sum : sums) {
        EXPECT_EQ(std::string(sum.c_str(), sum.length()), std::string("ab\0cdab\0cd", 10));
    }
}

TEST(KvSimpleString, GrowsByManySmallAppendsLikeAnyText) {
    KvSimpleString text;
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        const char ch = static_cast<char>('a' + i % 26);
        text += ch;
        expected += ch;
    }
    EXPECT_EQ(expected, text.c_str());
    EXPECT_EQ(text.length(), expected.size());
}

}  // namespace
