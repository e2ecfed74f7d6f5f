// What a document consists of after loading, told by what it answers and how it is written back.
#include "ini/KvIniDocument.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/ini/IniDocument.h"
#include "tests/support/CodePage.h"
#include "tests/support/TempTree.h"

namespace {

struct RoundTrip {
    std::string loaded;
    std::string written;
};

const RoundTrip kRoundTrips[] = {
    // Nothing, and next to nothing.
    {"", ""},
    {"\n", "\n"},
    {" ", ""},
    {" \t\n\n", "\n\n"},
    {"; c", "; c"},
    {"text", "text"},
    {"k=v", "k=v\n"},
    {"[x]", "[x]\n"},
    {"[x]\n", "[x]\n"},
    // Line ends and white space.
    {"[x]\r\nk=v\r\n; c\r\n", "[x]\nk=v\n; c\n"},
    {"k=v\r", "k=v\n"},
    {"\r\r\n\r", "\n"},
    {" \t; a \n\f;b\f\n  \nk=v\n", "; a\n;b\n\nk=v\n"},
    {"  [ common ]  \n", "[common]\n"},
    {"[\tx y\t]\n", "[x y]\n"},
    {"  key  =  a value  \n", "key=a value\n"},
    {"\fk\f=\fv\f\n", "k=v\n"},
    // The vertical tab is no white space.
    {"\vk=v\v\n", "\vk=v\v\n"},
    {"\v[x]\n", "\v[x]\n"},
    {"[\vx\v]\n", "[\vx\v]\n"},
    // Comments and other text keep their places.
    {"; a\n\nk=v\n; b\n\n[x]\n; c\nl=w\n\n; d\n", "; a\n\nk=v\n; b\n\n[x]\n; c\nl=w\n\n; d\n"},
    {"k=v\n\n; end", "k=v\n\n; end"},
    {"=x\n", "=x\n"},
    {"  =value  \n", "=value\n"},
    {"=a=b\n", "=a=b\n"},
    {";k=v\n", ";k=v\n"},
    {" ;[x]\n", ";[x]\n"},
    {"#k=v\n", "#k=v\n"},
    {"no separator\n", "no separator\n"},
    // Headers.
    {"[]\nk=v\n", "k=v\n"},
    {"[ ]\n", ""},
    {"[", "["},
    {"]", "]"},
    {"[x\n", "[x\n"},
    {"x]\n", "x]\n"},
    {"[x] ; c\n", "[x] ; c\n"},
    {"[[x]]\n", "[[x]]\n"},
    {"[a]b]\n", "[a]b]\n"},
    {"[a=b]\n", "[a=b]\n"},
    {"[a]=b\n", "[a]=b\n"},
    // Values.
    {"key = a = b ; c\n", "key=a = b ; c\n"},
    {"k=\n", "k=\n"},
    {"k =  \n", "k=\n"},
    {"k==\n", "k==\n"},
    {"k=\"a;b\" \\n\n", "k=\"a;b\" \\n\n"},
    // The same names again.
    {"a=1\nA=2\n[s]\na=3\n[S]\na=4\n[s]\n", "a=1\nA=2\n[s]\na=3\n[S]\na=4\n[s]\n"},
};

TEST(KvIniDocument, DocumentsAreWrittenBackLikeThis) {
    const TempTree tree;
    for (const RoundTrip& each : kRoundTrips) {
        const std::string path = tree.write("it.ini", each.loaded);
        EXPECT_EQ(dumpOf(FileDocument(path)), each.written) << testing::PrintToString(each.loaded);
        EXPECT_EQ(dumpOf(TextDocument(each.loaded)), each.written)
            << "from text: " << testing::PrintToString(each.loaded);
        EXPECT_EQ(dumpOf(TextDocument(each.written)), each.written) << "the second time";
    }
}

TEST(KvIniDocument, TheFirstSeparatorEndsTheKeyAndNothingEndsTheValue) {
    const TextDocument document("key = a = b ; c\nquoted = \" x \"\nempty =\n");
    EXPECT_EQ(valueOf(document, nullptr, "key"), "a = b ; c");
    EXPECT_EQ(valueOf(document, nullptr, "quoted"), "\" x \"");
    EXPECT_EQ(valueOf(document, nullptr, "empty"), "");
}

TEST(KvIniDocument, KeysBelongToTheHeaderAboveThem) {
    const TextDocument document("k=global\n[one]\nk=1\n[ two ]\nk=2\n");
    EXPECT_EQ(valueOf(document, nullptr, "k"), "global");
    EXPECT_EQ(valueOf(document, "one", "k"), "1");
    EXPECT_EQ(valueOf(document, "two", "k"), "2");
}

TEST(KvIniDocument, ASectionWithoutNameIsNeverFound) {
    const TextDocument document("[]\nk=v\n");
    EXPECT_TRUE(document.hasNonGlobalSection());
    EXPECT_EQ(valueOf(document, "", "k"), "(none)");
    EXPECT_EQ(valueOf(document, nullptr, "k"), "(none)");
}

TEST(KvIniDocument, NonKeysAnswerNothing) {
    const TextDocument document("=value\n;key=value\nplain\n");
    EXPECT_EQ(valueOf(document, nullptr, ";key"), "(none)");
    EXPECT_EQ(valueOf(document, nullptr, "plain"), "(none)");
    EXPECT_EQ(valueOf(document, nullptr, " "), "(none)");
}

TEST(KvIniDocument, AnotherSeparatorIsWrittenAsAnEqualsSign) {
    const TextDocument document("key : a=b\n:x\nother=1\n", ';', false, ':');
    EXPECT_EQ(valueOf(document, nullptr, "key"), "a=b");
    EXPECT_EQ(valueOf(document, nullptr, "other"), "(none)");
    EXPECT_EQ(dumpOf(document), "key=a=b\n:x\nother=1\n");
}

TEST(KvIniDocument, AnotherCommentCharacter) {
    const TextDocument document("#k=v\n;l=w\n", '#');
    EXPECT_EQ(valueOf(document, nullptr, "#k"), "(none)");
    EXPECT_EQ(valueOf(document, nullptr, ";l"), "w");
}

TEST(KvIniDocument, ABracketInsideADoubleByteCharacterClosesNothing) {
    struct Case {
        unsigned codePage;
        std::string header;
        bool isHeader;
    };
    const Case cases[] = {
        {0, "[\xC4]", true},        {936, "[\xC4]", false},
        {949, "[\xC4]", false},     {950, "[\xC4]", false},
        {932, "[\xC4]", true},      {932, "[\x81]", false},
        {932, "[\xFC]", false},     {932, "[\xA0]", true},
        {936, "[\xA0]", false},     {936, "[\xC4\xC4]", true},
        {936, "[\xC4]]", true},     {936, "[\xFF]", true},
        {936, "[a\xC4\x5D", false}, {950, "[\xC4\x5D]", true},
        {1252, "[\xC4]", true},     {936, "[\xC4\xC4\xC4]", false},
    };
    for (const Case& each : cases) {
        const CodePage codePage(each.codePage);
        const TextDocument document(each.header + "\n");
        EXPECT_EQ(document.hasNonGlobalSection(), each.isHeader)
            << each.codePage << " " << testing::PrintToString(each.header);
        EXPECT_EQ(dumpOf(document), each.header + "\n");
    }
}

TEST(KvIniDocument, LinesOfAMegabyte) {
    const TempTree tree;
    const std::string mega(1 << 20, 'x');
    const std::string text =
        ";" + mega + "\n" + mega + "=1\n[" + mega + "]\nk=" + mega + "\n" + mega + "\n";
    FileDocument document(tree.write("mega.ini", text));
    EXPECT_EQ(valueOf(document, nullptr, mega.c_str()), "1");
    EXPECT_EQ(valueOf(document, mega.c_str(), "k"), mega);
    EXPECT_EQ(dumpOf(document), text);
}

TEST(KvIniDocument, NulsInAFileAreKept) {
    const TempTree tree;
    const std::string text("; a\0b\n[s\0t]\nk=v\0w\na\0b=c\n\0=d\n", 28);
    const FileDocument document(tree.write("nul.ini", text));
    EXPECT_EQ(dumpOf(document), text);
    EXPECT_EQ(valueOf(document, "s", "k"), "v");
    EXPECT_EQ(valueOf(document, "s", "a"), "(none)");  // the separator stands behind the NUL
    EXPECT_EQ(valueOf(document, "s", " "), "(none)");
}

TEST(KvIniDocument, ATextEndsAtItsNul) {
    const char text[] = "k=v\0l=w\n";
    const KvIniUtil document(text, ';', false, true, '=');
    EXPECT_EQ(dumpOf(document), "k=v\n");
}

TEST(KvIniDocument, TheTextIsCopied) {
    std::string text = "k=v\n";
    const KvIniUtil document(text.c_str(), ';', false, true, '=');
    text.assign("l=w\n");
    EXPECT_EQ(valueOf(document, nullptr, "k"), "v");
}

TEST(KvIniDocument, NothingToLoadGivesAnEmptyDocument) {
    const TempTree tree;
    const std::string dir = tree.makeDir("dir");
    const std::string missing = tree.path("missing.ini");
    const std::string empty = tree.write("empty.ini", "");
    for (const char* file :
         {dir.c_str(), missing.c_str(), empty.c_str(), "", static_cast<const char*>(nullptr)}) {
        for (const bool fromText : {false, true}) {
            if (fromText && file != nullptr && *file != '\0') {
                continue;  // a path is a fine text
            }
            const KvIniUtil document(file, ';', false, fromText, '=');
            EXPECT_EQ(dumpOf(document), "");
            EXPECT_FALSE(document.hasNonGlobalSection());
            EXPECT_EQ(valueOf(document, nullptr, "k"), "(none)");
        }
    }
}

TEST(KvIniDocument, OddSeparatorsAndCommentCharactersDoNoHarm) {
    const std::string text = "a b\n[x]\nk=v\n; c\n";
    EXPECT_EQ(dumpOf(TextDocument(text, ';', false, ' ')), "a=b\n[x]\nk=v\n; c\n");
    EXPECT_EQ(dumpOf(TextDocument(text, ';', false, '\0')), text);
    EXPECT_EQ(dumpOf(TextDocument(text, '\0', false, '\n')), text);
    EXPECT_EQ(dumpOf(TextDocument(text, '[', false, '=')), text);
}

TEST(KvIniDocument, EveryDocumentStoresTheBracketsAgain) {
    KvIniDocument::s_LeftSquareBracket = '<';
    KvIniDocument::s_RightSquareBracket = '>';
    const TextDocument document("<x>\n[s]\nk=v\n");
    EXPECT_EQ(valueOf(document, "s", "k"), "v");
    EXPECT_EQ(dumpOf(document), "<x>\n[s]\nk=v\n");
}

}  // namespace
