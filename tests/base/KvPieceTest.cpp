#include "base/KvPiece.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

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

TEST(KvPiece, PiecesMayBeEmptyButNothingFollowsTheLastSeparator) {
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

TEST(KvPiece, AMissingPieceLeavesTheResultAlone) {
    KvSimpleString piece("old");
    EXPECT_FALSE(Str_Piece("a.b", '.', 2, piece));
    EXPECT_FALSE(Str_Piece("a.b", '.', -1, piece));
    EXPECT_STREQ(piece.c_str(), "old");
}

}  // namespace
