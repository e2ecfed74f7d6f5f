// Look-ups and edits of an INI document.
#include "ini/KvIniUtil.h"

#include <gtest/gtest.h>

#include "tests/ini/IniDocument.h"

namespace {

TEST(KvIniGet, IgnoresAsciiCaseUnlessTold) {
    const std::string text = "[common]\naction=1\nGR\xD6SSE=2\n";
    const TextDocument ignoring(text);
    EXPECT_EQ(valueOf(ignoring, "COMMON", "Action"), "1");
    EXPECT_EQ(valueOf(ignoring, "common", "gr\xD6sse"), "2");
    EXPECT_EQ(valueOf(ignoring, "common", "gr\xF6sse"), "(none)");  // only A to Z are folded
    const TextDocument minding(text, ';', true);
    EXPECT_EQ(valueOf(minding, "common", "action"), "1");
    EXPECT_EQ(valueOf(minding, "common", "Action"), "(none)");
    EXPECT_EQ(valueOf(minding, "Common", "action"), "(none)");
}

TEST(KvIniGet, TrimsTheNamesThatAreWanted) {
    const TextDocument document("g=0\n[a b]\nc d=1\n");
    EXPECT_EQ(valueOf(document, " a b\t", "\r\n c d \f"), "1");
    EXPECT_EQ(valueOf(document, " \t", "g"), "0");  // all blank: the global section
    EXPECT_EQ(valueOf(document, "a b", "\vc d"), "(none)");
    EXPECT_EQ(valueOf(document, "a b", " "), "(none)");
}

TEST(KvIniGet, NullAndEmptyArguments) {
    const TextDocument document("k=v\n[s]\nk=w\n");
    EXPECT_EQ(document.get(nullptr, nullptr), nullptr);
    EXPECT_EQ(document.get("s", ""), nullptr);
    EXPECT_EQ(document.get("unknown", "k"), nullptr);
    EXPECT_STREQ(document.get(nullptr, "k"), "v");
    EXPECT_STREQ(document.get("", "k"), "v");
}

TEST(KvIniGet, TakesTheFirstOfManyAlike) {
    const TextDocument document("a=1\na=2\n[s]\nb=3\n[s]\nb=4\nc=5\n");
    EXPECT_EQ(valueOf(document, nullptr, "a"), "1");
    EXPECT_EQ(valueOf(document, "s", "b"), "3");
    EXPECT_EQ(valueOf(document, "s", "c"), "(none)");  // the second [s] is never reached
}

TEST(KvIniGet, TheAnswerStaysWhileTheDocumentGrows) {
    TextDocument document("k=v\n");
    document.add("s", "own", "block");
    const char* loaded = document.get(nullptr, "k");
    const char* added = document.get("s", "own");
    for (int i = 0; i < 1000; ++i) {
        document.add("s", ("k" + std::to_string(i)).c_str(), "x");
        (void)document.get("s", "k0");
    }
    document.del("s", "k7");
    EXPECT_EQ(document.get(nullptr, "k"), loaded);
    EXPECT_STREQ(loaded, "v");
    EXPECT_EQ(document.get("s", "own"), added);
    EXPECT_STREQ(added, "block");
}

TEST(KvIniSet, ReplacesTheFirstValueInItsPlace) {
    TextDocument document("; c\na = 1\na = 2\nb = 3\n");
    document.set(nullptr, " A ", "  new ; value ");
    EXPECT_EQ(dumpOf(document), "; c\na=  new ; value \na=2\nb=3\n");
    document.set(nullptr, "a", nullptr);
    EXPECT_EQ(dumpOf(document), "; c\na=\na=2\nb=3\n");
}

TEST(KvIniSet, AppendsWhatIsMissingExactlyAsPassed) {
    TextDocument document("[s]\na=1\n; end\n");
    document.set("S", " b ", " 2 ");
    document.set(" New ", "c", nullptr);
    EXPECT_EQ(dumpOf(document), "[s]\na=1\n b = 2 \n[ New ]\nc=\n; end\n");
    // A stored name with blanks is not what the trimmed name looks for.
    EXPECT_EQ(valueOf(document, "s", " b "), "(none)");
    document.set("s", " b ", "3");
    document.set(" New ", "c", "4");
    EXPECT_EQ(dumpOf(document), "[s]\na=1\n b = 2 \n b =3\n[ New ]\nc=\n[ New ]\nc=4\n; end\n");
}

TEST(KvIniSet, AValueMayBeTakenFromTheKeyItself) {
    TextDocument document("k=abc\n");
    document.set(nullptr, "k", document.get(nullptr, "k") + 1);
    EXPECT_EQ(valueOf(document, nullptr, "k"), "bc");
    document.set(nullptr, "k", document.get(nullptr, "k") + 1);
    EXPECT_EQ(valueOf(document, nullptr, "k"), "c");
    document.set(nullptr, "l", document.get(nullptr, "k"));
    EXPECT_EQ(valueOf(document, nullptr, "l"), "c");
}

TEST(KvIniSet, KeysOfTheGlobalSectionStandBeforeTheFirstHeader) {
    TextDocument document("[s]\nk=v\n");
    document.set(nullptr, "a", "1");
    document.set("", "b", "2");
    EXPECT_EQ(dumpOf(document), "a=1\nb=2\n[s]\nk=v\n");
}

TEST(KvIniAdd, AlwaysAppends) {
    TextDocument document("a=1\na=2\n");
    document.add(nullptr, "a", "3");
    document.add("s", "a", "4");
    document.add("S", "a", nullptr);
    EXPECT_EQ(dumpOf(document), "a=1\na=2\na=3\n[s]\na=4\na=\n");
    EXPECT_EQ(valueOf(document, nullptr, "a"), "1");
}

TEST(KvIniAdd, ToAnEmptyDocument) {
    KvIniUtil document(nullptr, ';', false, false, '=');
    document.add("section", "key", "value");
    EXPECT_EQ(dumpOf(document), "[section]\nkey=value\n");
    EXPECT_EQ(valueOf(document, "section", "key"), "value");
}

TEST(KvIniAdd, WithoutAKeyNothingHappens) {
    TextDocument document("");
    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
        document.add("s", key, "v");
        document.set("s", key, "v");
        document.add(nullptr, key, nullptr);
    }
    EXPECT_EQ(dumpOf(document), "");
    EXPECT_FALSE(document.hasNonGlobalSection());
}

TEST(KvIniHasNonGlobalSection, CountsEverySectionButTheGlobalOne) {
    TextDocument document("k=v\n");
    EXPECT_FALSE(document.hasNonGlobalSection());
    document.add("s", "k", "v");
    EXPECT_TRUE(document.hasNonGlobalSection());
    document.del("s");
    EXPECT_FALSE(document.hasNonGlobalSection());
}

TEST(KvIniDump, AppendsToWhatIsThere) {
    KvSimpleString text("before\n");
    TextDocument("k=v\n").dump(text);
    EXPECT_EQ(asText(text), "before\nk=v\n");
    TextDocument("").dump(text);
    EXPECT_EQ(asText(text), "before\nk=v\n");
}

}  // namespace
