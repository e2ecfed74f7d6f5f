// The code page with its double-byte rule, numbers and pieces.
#include "base/KvText.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/CodePage.h"

namespace {

bool isLead(unsigned codePage, unsigned byte) {
    if (codePage == 932) {
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    }
    return (codePage == 936 || codePage == 949 || codePage == 950) && byte > 0x80 && byte < 0xFF;
}

// Every lead byte opens a pair unless it closes one itself. So a byte closes a pair exactly when
// the unbroken run of lead bytes right before it has an odd length.
bool closesAPair(unsigned codePage, const std::string& text, size_t p) {
    size_t run = 0;
    while (run < p && isLead(codePage, static_cast<unsigned char>(text[p - run - 1]))) {
        ++run;
    }
    return p < text.size() && run % 2 == 1 && static_cast<unsigned char>(text[p]) >= 0x40;
}

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values) {
        text += static_cast<char>(value);
    }
    return text;
}

// Mostly lead bytes, bytes around the borders and separators.
std::string randomText(std::mt19937& random, size_t length) {
    static const std::string kLikely = bytes({0x80, 0x81, 0x9F, 0xA0, 0xDF, 0xE0, 0xFC, 0xFD, 0xFE,
                                              0xFF, 0x3F, 0x40, '/', '\\', ']', 0x7F});
    std::string text;
    while (text.size() < length) {
        const auto value = static_cast<unsigned>(random());
        const char any = static_cast<char>(1 + value % 255);
        text += value & 0x10000 ? any : kLikely[value % kLikely.size()];
    }
    return text;
}

class KvTextCodePage : public testing::TestWithParam<unsigned> {
  protected:
    CodePage codePage_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(All, KvTextCodePage, testing::Values(0, 932, 936, 949, 950, 1252, 65001));

TEST_P(KvTextCodePage, EveryPairOfBytes) {
    for (int first = 1; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string pair = bytes({first, second});
            const std::string text(pair.c_str());
            const char* str = pair.c_str();
            ASSERT_EQ(IsTrailingByteOfDBC(str, str + 1), closesAPair(GetParam(), text, 1))
                << first << " " << second;
            ASSERT_FALSE(IsTrailingByteOfDBC(str, str));
        }
    }
}

TEST_P(KvTextCodePage, ManyRunsOfBytes) {
    std::mt19937 random(20240229);
    for (size_t round = 0; round < 1500; ++round) {
        const std::string text = randomText(random, round % 48);
        TrailingByteWalk walk;
        for (size_t p = 0; p < text.size(); ++p) {
            const bool expected = closesAPair(GetParam(), text, p);
            ASSERT_EQ(IsTrailingByteOfDBC(text.c_str(), text.c_str() + p), expected) << round;
            ASSERT_EQ(walk.isTrailing(text[p]), expected) << round;
        }
    }
}

TEST_P(KvTextCodePage, ReplacesAsIfEveryByteWereAskedFor) {
    std::mt19937 random(19991231);
    const std::string alphabet = bytes({'/', '\\', 0x81, 0xE0, 'a', 0x5D});
    for (size_t round = 0; round < 1500; ++round) {
        std::string text = randomText(random, round % 40);
        std::string expected = text;
        const char from = alphabet[random() % alphabet.size()];
        const char to = alphabet[random() % alphabet.size()];
        int count = 0;
        for (size_t p = 0; p < expected.size(); ++p) {
            if (expected[p] == from && !closesAPair(GetParam(), expected, p)) {
                expected[p] = to;
                ++count;
            }
        }
        ASSERT_EQ(strrepchr(text.data(), from, to), count);
        ASSERT_EQ(text, expected);
    }
}

TEST(KvText, TheCodePageIsOneNumber) {
    EXPECT_EQ(GetCurrentCharType(), 0u);
    {
        const CodePage japanese(932);
        EXPECT_EQ(GetCurrentCharType(), 932u);
        SetCurrentCharType(0xFFFFFFFF);
        EXPECT_EQ(GetCurrentCharType(), 0xFFFFFFFFu);
    }
    EXPECT_EQ(GetCurrentCharType(), 0u);
}

TEST(KvText, LeadBytesByCodePage) {
    struct Row {
        unsigned codePage;
        int lead;
        bool isLeadByte;
    };
    const Row rows[] = {
        {932, 0x80, false}, {932, 0x81, true},  {932, 0x9F, true}, {932, 0xA0, false},
        {932, 0xDF, false}, {932, 0xE0, true},  {932, 0xFC, true}, {932, 0xFD, false},
        {936, 0x80, false}, {936, 0x81, true},  {936, 0xA0, true}, {936, 0xFE, true},
        {936, 0xFF, false}, {949, 0x80, false}, {949, 0x81, true}, {949, 0xFE, true},
        {949, 0xFF, false}, {950, 0x80, false}, {950, 0x81, true}, {950, 0xFE, true},
        {950, 0xFF, false}, {0, 0x81, false},   {1, 0x81, false},  {1252, 0x81, false},
    };
    for (const Row& row : rows) {
        const CodePage codePage(row.codePage);
        const std::string text = bytes({row.lead, 0x5D});
        EXPECT_EQ(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 1), row.isLeadByte)
            << row.codePage << " " << row.lead;
    }
}

TEST(KvText, ATrailingBracketIsNoBracket) {
    const std::string text = bytes({0xC4, 0x5D});
    EXPECT_FALSE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 1));
    const CodePage chinese(936);
    EXPECT_TRUE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 1));
}

TEST(KvText, ALowByteAfterALeadByteIsPassedOverButNotTrailing) {
    const CodePage chinese(936);
    const std::string text = bytes({0x81, '/', 0x81, 0x5C, 0x5C});
    EXPECT_FALSE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 1));
    EXPECT_FALSE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 2));
    EXPECT_TRUE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 3));
    EXPECT_FALSE(IsTrailingByteOfDBC(text.c_str(), text.c_str() + 4));
}

TEST(KvText, NullsAndPlacesOutsideTheTextAreNoTrailingBytes) {
    const CodePage chinese(936);
    const std::string text = bytes({'a', 0x81, 0x00, 0x81, 0x41});
    const char* str = text.c_str();
    EXPECT_FALSE(IsTrailingByteOfDBC(nullptr, str));
    EXPECT_FALSE(IsTrailingByteOfDBC(str, nullptr));
    EXPECT_FALSE(IsTrailingByteOfDBC(nullptr, nullptr));
    EXPECT_FALSE(IsTrailingByteOfDBC(str + 1, str)) << "before the text";
    EXPECT_FALSE(IsTrailingByteOfDBC(str, str + 2)) << "the terminator";
    EXPECT_FALSE(IsTrailingByteOfDBC(str, str + 4)) << "behind the terminator";
}

TEST(KvText, ReplacesBytesThatAreNoTrailingBytes) {
    const CodePage japanese(932);
    std::string text = bytes({'a', '\\', 0x83, '\\', '\\'});
    EXPECT_EQ(strrepchr(text.data(), '\\', '/'), 2);
    EXPECT_EQ(text, bytes({'a', '/', 0x83, '\\', '/'}));

    std::string empty;
    EXPECT_EQ(strrepchr(empty.data(), 'a', 'b'), 0);
    EXPECT_EQ(strrepchr(nullptr, 'a', 'b'), 0);

    std::string same("aXbX");
    EXPECT_EQ(strrepchr(same.data(), 'X', 'X'), 2);
    EXPECT_EQ(strrepchr(same.data(), '\0', 'z'), 0) << "the terminator is no byte of the text";
    EXPECT_EQ(same, "aXbX");
    EXPECT_EQ(strrepchr(same.data(), 'X', '\0'), 1) << "the text ends there";
}

TEST(KvText, OnlyDecimalDigitsAreDigits) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string digits("0123456789");
        EXPECT_EQ(IsDigit(static_cast<char>(byte)),
                  digits.find(static_cast<char>(byte)) != std::string::npos)
            << byte;
    }
}

using Pieces = std::vector<std::string>;

// All pieces of a text; behind the last one nothing is found any more.
Pieces piecesOf(const char* text, char separator) {
    Pieces pieces;
    KvSimpleString piece;
    while (Str_Piece(text, separator, static_cast<int>(pieces.size()), piece)) {
        pieces.emplace_back(piece.c_str());
    }
    EXPECT_FALSE(Str_Piece(text, separator, static_cast<int>(pieces.size()) + 1, piece));
    return pieces;
}

TEST(KvTextPieces, PiecesMayBeEmptyButNothingFollowsTheLastSeparator) {
    EXPECT_EQ(piecesOf("", '.'), Pieces());
    EXPECT_EQ(piecesOf("a", '.'), Pieces({"a"}));
    EXPECT_EQ(piecesOf("a.b", '.'), Pieces({"a", "b"}));
    EXPECT_EQ(piecesOf("a.b.", '.'), Pieces({"a", "b"}));
    EXPECT_EQ(piecesOf("a..b", '.'), Pieces({"a", "", "b"}));
    EXPECT_EQ(piecesOf("a..", '.'), Pieces({"a", ""}));
    EXPECT_EQ(piecesOf(".a", '.'), Pieces({"", "a"}));
    EXPECT_EQ(piecesOf(".", '.'), Pieces({""}));
    EXPECT_EQ(piecesOf("a-b.c", '-'), Pieces({"a", "b.c"}));
    EXPECT_EQ(piecesOf("a.b", '\0'), Pieces({"a.b"}));
    EXPECT_EQ(piecesOf(nullptr, '.'), Pieces());
    EXPECT_EQ(piecesOf(" a . b ", '.'), Pieces({" a ", " b "})) << "nothing is trimmed";
}

TEST(KvTextPieces, AMissingPieceLeavesTheResultAlone) {
    KvSimpleString piece("old");
    EXPECT_FALSE(Str_Piece("a.b", '.', 2, piece));
    EXPECT_FALSE(Str_Piece("a.b", '.', -1, piece));
    EXPECT_STREQ(piece.c_str(), "old");
}

TEST(KvTextNumbers, ReadsTheLeadingNumberOfEveryText) {
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
