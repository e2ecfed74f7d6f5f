// Deleting keys and sections: where their comments go, and what the lists look like afterwards.
#include <gtest/gtest.h>

#include <string>

#include "tests/ini/IniDocument.h"

namespace {

const char* const kCommented =
    "; above s\n[s]\n; above a\na=1\n; above b\nb=2\n; above c\nc=3\n; end\n";

TEST(KvIniDeleteKey, TheFirstKeysCommentMovesBehindTheHeader) {
    TextDocument document(kCommented);
    document.del("s", "a");
    EXPECT_EQ(dumpOf(document),
              "; above s\n[s]\n; above a\n; above b\nb=2\n; above c\nc=3\n; end\n");
    EXPECT_EQ(valueOf(document, "s", "a"), "(none)");
}

TEST(KvIniDeleteKey, AMiddleKeysCommentMovesBehindThePreviousKey) {
    TextDocument document(kCommented);
    document.del("s", "b");
    EXPECT_EQ(dumpOf(document),
              "; above s\n[s]\n; above a\na=1\n; above b\n; above c\nc=3\n; end\n");
    // And from there on with that key.
    document.del("s", "a");
    EXPECT_EQ(dumpOf(document), "; above s\n[s]\n; above a\n; above b\n; above c\nc=3\n; end\n");
}

TEST(KvIniDeleteKey, TheLastKeyMovesTheEndOfTheListBack) {
    TextDocument document(kCommented);
    document.del("s", "c");
    document.add("s", "d", "4");
    EXPECT_EQ(dumpOf(document),
              "; above s\n[s]\n; above a\na=1\n; above b\nb=2\n; above c\nd=4\n; end\n");
    EXPECT_EQ(valueOf(document, "s", "d"), "4");
}

TEST(KvIniDeleteKey, TheOnlyKeyAndThenOthers) {
    TextDocument document("; g\nonly=1\n[s]\n");
    document.del(nullptr, "only");
    EXPECT_EQ(dumpOf(document), "; g\n[s]\n");
    document.add(nullptr, "a", "2");
    document.add(nullptr, "b", "3");
    EXPECT_EQ(dumpOf(document), "; g\na=2\nb=3\n[s]\n");
    EXPECT_EQ(valueOf(document, nullptr, "b"), "3");
}

TEST(KvIniDeleteKey, TextsGatherInOrder) {
    TextDocument document("; 1\na=1\n; 2\nb=2\n; 3\nc=3\n; 4\nd=4\n");
    document.del(nullptr, "c");  // "; 3" behind b
    document.del(nullptr, "b");  // "; 2" and "; 3" behind a
    document.del(nullptr, "a");  // all behind where a header would stand
    document.del(nullptr, "d");
    EXPECT_EQ(dumpOf(document), "; 1\n; 2\n; 3\n; 4\n");
}

TEST(KvIniDeleteKey, OnlyTheFirstOfManyAlike) {
    TextDocument document("a=1\nA=2\na=3\n");
    document.del(nullptr, " A");
    EXPECT_EQ(dumpOf(document), "A=2\na=3\n");
    EXPECT_EQ(valueOf(document, nullptr, "a"), "2");
    document.add(nullptr, "a", "4");
    document.del(nullptr, "a");
    document.del(nullptr, "a");
    EXPECT_EQ(valueOf(document, nullptr, "a"), "4");
}

TEST(KvIniDeleteKey, UnknownNamesChangeNothing) {
    TextDocument document(kCommented);
    document.del("s", "unknown");
    document.del("unknown", "a");
    document.del(nullptr, "a");
    document.del("s", "");
    document.del("s", static_cast<const char*>(nullptr));
    EXPECT_EQ(dumpOf(document), kCommented);
}

TEST(KvIniDeleteKey, TheNameMayBeTheKeysOwnValue) {
    TextDocument document("k=k\nl=2\n");
    document.del(nullptr, document.get(nullptr, "k"));
    EXPECT_EQ(dumpOf(document), "l=2\n");
}

TEST(KvIniDeleteSection, TakesItsCommentsAlong) {
    TextDocument document("; g\nk=v\n; above a\n[a]\nx=1\n; above b\n[b]\n; in b\ny=2\n; end\n");
    document.del("A");
    EXPECT_EQ(dumpOf(document), "; g\nk=v\n; above b\n[b]\n; in b\ny=2\n; end\n");
    document.del("b");
    EXPECT_EQ(dumpOf(document), "; g\nk=v\n; end\n");
}

TEST(KvIniDeleteSection, TheTextsOfDeletedKeysGoToo) {
    TextDocument document("[a]\n; 1\nx=1\n; 2\ny=2\n; 3\nz=3\n[b]\n");
    document.del("a", "x");
    document.del("a", "z");
    document.del("a");
    EXPECT_EQ(dumpOf(document), "[b]\n");
}

TEST(KvIniDeleteSection, AtTheHeadTheMiddleAndTheTail) {
    TextDocument document("[a]\n[b]\n[c]\n[d]\n");
    document.del("b");
    EXPECT_EQ(dumpOf(document), "[a]\n[c]\n[d]\n");
    document.del("d");
    document.add("e", "k", "v");  // behind the new tail
    EXPECT_EQ(dumpOf(document), "[a]\n[c]\n[e]\nk=v\n");
    document.del("a");
    document.del("c");
    document.del("e");
    document.add("f", "k", "v");
    EXPECT_EQ(dumpOf(document), "[f]\nk=v\n");
}

TEST(KvIniDeleteSection, TheGlobalSectionLosesItsKeysOnly) {
    TextDocument document("; 1\na=1\n; 2\nb=2\n; 3\n[s]\nk=v\n");
    document.del(nullptr, "a");
    document.del("");
    EXPECT_EQ(dumpOf(document), "; 1\n; 3\n[s]\nk=v\n");
    document.set(nullptr, "c", "3");
    document.set(nullptr, "d", "4");
    EXPECT_EQ(dumpOf(document), "; 1\nc=3\nd=4\n; 3\n[s]\nk=v\n");
    document.del(static_cast<const char*>(nullptr));
    EXPECT_EQ(dumpOf(document), "; 1\n; 3\n[s]\nk=v\n");
}

TEST(KvIniDeleteSection, OnlyTheFirstOfManyAlike) {
    TextDocument document("[s]\nk=1\n[s]\nk=2\n");
    document.del("S");
    EXPECT_EQ(valueOf(document, "s", "k"), "2");
    document.del("s");
    document.del("s");
    EXPECT_EQ(dumpOf(document), "");
}

TEST(KvIniDeleteSection, ASectionWithoutNameCannotBeReached) {
    TextDocument document("k=v\n[]\nl=w\n");
    document.del("");
    EXPECT_EQ(dumpOf(document), "l=w\n");
    document.del("");
    EXPECT_TRUE(document.hasNonGlobalSection());
}

// Long enough for what spares long lists the search to have remembered something.
void addKeys(KvIniUtil& document, const char* section, const std::string& prefix) {
    for (int i = 0; i < 40; ++i) {
        document.add(section, (prefix + std::to_string(i)).c_str(), section);
    }
    (void)document.get(section, (prefix + "39").c_str());
}

TEST(KvIniDeleteKey, ADeletedKeyIsNotRememberedWhenItComesBackElsewhere) {
    TextDocument document("");
    addKeys(document, "one", "a");
    addKeys(document, "two", "b");
    document.del("one", "a39");
    document.add("two", "elsewhere", "2");
    EXPECT_EQ(valueOf(document, "one", "elsewhere"), "(none)");
    EXPECT_EQ(valueOf(document, "one", "a39"), "(none)");
}

TEST(KvIniDeleteSection, NoDeletedKeyIsRememberedWhenItComesBackElsewhere) {
    TextDocument document("");
    addKeys(document, "", "a");
    addKeys(document, "two", "b");
    document.del("");
    for (int i = 0; i < 40; ++i) {
        document.add("two", ("elsewhere" + std::to_string(i)).c_str(), "2");
    }
    for (int i = 0; i < 40; ++i) {
        document.add("", ("c" + std::to_string(i)).c_str(), "1");
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(valueOf(document, "", ("elsewhere" + std::to_string(i)).c_str()), "(none)");
    }
}

}  // namespace
