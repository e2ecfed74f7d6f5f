// The searches, and the visit to every value.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ini/IniDocument.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const kText =
    "global=backup.000\n"
    "[item_1]\nfile1=a,backup.000\nfile2=b,backup.001\nOther=Backup.000\n"
    "[Item_2]\nfile1=c,backup.002\nfile2=backup.0\n"
    "[]\nlost=backup.000\n"
    "[misc]\n";

// What a search finds; something stale stands in the list before.
template <typename Search>
std::vector<std::string> found(Search search) {
    KvSimpleStringVector out;
    out.push_back("stale");
    search(out);
    return asTexts(out);
}

TEST(KvIniFind, KeysByWhatTheirValueContains) {
    const TextDocument document(kText);
    const auto find = [&](const char* pattern, const char* section) {
        return found([&](KvSimpleStringVector& out) { document.find(pattern, section, out); });
    };
    EXPECT_THAT(find("backup.00", "ITEM_1"), ElementsAre("file1", "file2"));
    EXPECT_THAT(find("Backup.00", "item_1"), ElementsAre("Other"));  // always case-sensitive
    EXPECT_THAT(find("", "item_1"), ElementsAre("file1", "file2", "Other"));
    EXPECT_THAT(find("backup", nullptr), ElementsAre("global"));
    EXPECT_THAT(find("backup", ""), ElementsAre("global"));
    EXPECT_THAT(find("nowhere", "item_1"), IsEmpty());
    EXPECT_THAT(find("backup", "unknown"), IsEmpty());
    EXPECT_THAT(find(nullptr, "item_1"), IsEmpty());
}

TEST(KvIniFind, SectionsByWhatAnyValueContains) {
    const TextDocument document(kText);
    const auto find = [&](const char* pattern) {
        return found([&](KvSimpleStringVector& out) { document.find(pattern, out); });
    };
    EXPECT_THAT(find("backup.00"), ElementsAre("item_1", "Item_2", ""));
    EXPECT_THAT(find("backup.000"), ElementsAre("item_1", ""));
    EXPECT_THAT(find("BACKUP"), IsEmpty());
    EXPECT_THAT(find(""), ElementsAre("item_1", "Item_2", ""));  // [misc] has no key
    EXPECT_THAT(find(nullptr), IsEmpty());
}

TEST(KvIniFind, KeysByTheBeginningOfTheirName) {
    const TextDocument document(kText);
    const auto find = [&](const char* prefix, const char* section) {
        return found([&](KvSimpleStringVector& out) { document.findKey(prefix, section, out); });
    };
    EXPECT_THAT(find(" FILE ", "item_1"), ElementsAre("file1", "file2"));
    EXPECT_THAT(find("ile", "item_1"), IsEmpty());
    EXPECT_THAT(find("", "item_1"), ElementsAre("file1", "file2", "Other"));
    EXPECT_THAT(find("file11", "item_1"), IsEmpty());
    EXPECT_THAT(find("g", nullptr), ElementsAre("global"));
    EXPECT_THAT(find("file", "unknown"), IsEmpty());
    EXPECT_THAT(find(nullptr, "item_1"), IsEmpty());
}

TEST(KvIniFind, SectionsByTheBeginningOfTheirName) {
    const TextDocument document(kText);
    const auto find = [&](const char* prefix) {
        return found([&](KvSimpleStringVector& out) { document.findSection(prefix, out); });
    };
    EXPECT_THAT(find("\titem_"), ElementsAre("item_1", "Item_2"));
    EXPECT_THAT(find("item_2"), ElementsAre("Item_2"));
    EXPECT_THAT(find(""), ElementsAre("item_1", "Item_2", "", "misc"));
    EXPECT_THAT(find(" "), ElementsAre("item_1", "Item_2", "", "misc"));
    EXPECT_THAT(find("x"), IsEmpty());
    EXPECT_THAT(find(nullptr), IsEmpty());
}

TEST(KvIniFind, NamesFollowTheCaseRuleOfTheDocument) {
    const TextDocument document(kText, ';', true);
    EXPECT_THAT(found([&](KvSimpleStringVector& out) { document.findSection("item", out); }),
                ElementsAre("item_1"));
    EXPECT_THAT(found([&](KvSimpleStringVector& out) { document.findKey("o", "item_1", out); }),
                IsEmpty());
    EXPECT_THAT(found([&](KvSimpleStringVector& out) { document.findKey("O", "item_1", out); }),
                ElementsAre("Other"));
}

TEST(KvIniFind, WhatIsWantedMayComeFromTheListItself) {
    const TextDocument document("[s]\ns=s\nt=ss\n");
    KvSimpleStringVector out;
    document.findSection("s", out);
    document.find(out[0].c_str(), out[0].c_str(), out);
    EXPECT_THAT(asTexts(out), ElementsAre("s", "t"));
    document.find(out[0].c_str(), out);
    EXPECT_THAT(asTexts(out), ElementsAre("s"));
    document.findKey(out[0].c_str(), out[0].c_str(), out);
    EXPECT_THAT(asTexts(out), ElementsAre("s"));
    document.findSection(out[0].c_str(), out);
    EXPECT_THAT(asTexts(out), ElementsAre("s"));
}

TEST(KvIniFind, EveryValueOutsideTheGlobalSectionIsVisited) {
    const TextDocument document("global=0\n[a]\nk=1\nk=2\n; k=3\n[]\nk=4\n[a]\nk=\n[b]\n");
    std::vector<std::string> values;
    const auto keep = [](const char* value, void* context) {
        static_cast<std::vector<std::string>*>(context)->push_back(value);
    };
    document.visitValues(keep, &values);
    EXPECT_THAT(values, ElementsAre("1", "2", "4", ""));
    document.visitValues(nullptr, &values);
    EXPECT_EQ(4U, values.size());
}

}  // namespace
