#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "patch/KvUpdateStru.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LogMatchers.h"

using ::testing::IsNull;

namespace {

const std::string kErrorQuit = "Inf 6 phaseIniForUpdate: error quit.";

void expectReleased(const updateStru& stru) {
    EXPECT_THAT(stru.items, IsNull());
    EXPECT_THAT(stru.patchAgentFile, IsNull());
    EXPECT_THAT(stru.velocorePath, IsNull());
}

// The failure of a description: its one message, then the quitting, and nothing left.
void expectUnusable(const DescriptionText& text, const std::string& message) {
    SCOPED_TRACE(message);
    LogCapture log;
    ReadDescription read(text);
    EXPECT_EQ(read.result(), -1);
    expectReleased(*read.stru());
    EXPECT_THAT(log.lines(6), LogIs({"Err 6 phaseIniForUpdate: " + message, kErrorQuit}));
    EXPECT_THAT(log.lines(), LogEndsWith({kErrorQuit}));
}

}  // namespace

TEST(KvUpdateStruParse, ReadsEveryKey) {
    ReadDescription read(
        std::string("[common]\n"
                    "itemcount=2\n"
                    "patchagent.version=1\n"
                    "backup=0\n"
                    "action=1\n"
                    "patchagent=lib/agent.so\n"
                    "velocore_path=/opt/velocore\n"
                    "[item_0]\n"
                    "class=1\n"
                    "type=7\n"
                    "origin.version=5.2.1234\n"
                    "result.version=5.3\n"
                    "forceupdate=2\n"
                    "destination=/opt/app\n"
                    "item.zip=app.zip\n"
                    "[item_1]\n"
                    "class=3\n"
                    "type=5\n"
                    "origin.version=112300\n"
                    "result.version=112400\n"
                    "destination=/opt/pattern\n"));
    ASSERT_EQ(read.result(), 0);
    EXPECT_EQ(read->patchAgentVersion, 1U);
    EXPECT_EQ(read->action, 1U);
    EXPECT_EQ(read->backup, 0U);
    EXPECT_STREQ(read->patchAgentFile, "lib/agent.so");
    EXPECT_STREQ(read->velocorePath, "/opt/velocore");
    ASSERT_EQ(read->itemCount, 2U);

    const tag_ItemInfo& product = read->items[0];
    EXPECT_EQ(product.itemClass, 1U);
    EXPECT_EQ(product.type, 7U);
    EXPECT_EQ(product.originVersion, (tag_Version{0x52000, 1234, 0}));
    EXPECT_EQ(product.resultVersion, (tag_Version{0x53000, 0, 0}));
    EXPECT_EQ(product.forceUpdate, 2U);
    EXPECT_STREQ(product.destination, "/opt/app");
    EXPECT_STREQ(product.zipFile, "app.zip");

    const tag_ItemInfo& pattern = read->items[1];
    EXPECT_EQ(pattern.itemClass, 3U);
    EXPECT_EQ(pattern.type, 5U);
    EXPECT_EQ(pattern.originVersion, (tag_Version{112300, 0, 0}));
    EXPECT_EQ(pattern.resultVersion, (tag_Version{112400, 0, 0}));
    EXPECT_EQ(pattern.forceUpdate, 0U);
    EXPECT_STREQ(pattern.destination, "/opt/pattern");
    EXPECT_THAT(pattern.zipFile, IsNull());
}

TEST(KvUpdateStruParse, TakesDefaultsSilentlyForOptionalKeys) {
    LogCapture log;
    ReadDescription read{DescriptionText()};
    EXPECT_EQ(read.result(), 0);
    EXPECT_EQ(read->backup, 1U);
    EXPECT_THAT(read->patchAgentFile, IsNull());
    EXPECT_EQ(read->items[0].forceUpdate, 0U);
    EXPECT_THAT(read->items[0].zipFile, IsNull());
    EXPECT_EQ(read->items[0].firstSelector, 0U);
    EXPECT_EQ(read->items[0].secondSelector, 0U);
    EXPECT_THAT(log.lines(6), LogIs({}));
}

TEST(KvUpdateStruParse, AnswersOneForNoItemsWithoutReadingOn) {
    for (const char* count : {"0", "", "abc", "+0", "-0", "0x10"}) {
        SCOPED_TRACE(count);
        LogCapture log;
        ReadDescription read("[common]\nitemcount=" + std::string(count) + "\npatchagent=a.so\n");
        EXPECT_EQ(read.result(), 1);
        EXPECT_EQ(read->itemCount, 0U);
        expectReleased(*read.stru());
        EXPECT_THAT(log.lines(),
                    LogIs({"Inf 6 phaseIniForUpdate: done, item is zero or no item."}));
    }
}

TEST(KvUpdateStruParse, EndsWithAMessageWhenACommonKeyIsMissing) {
    expectUnusable(DescriptionText().drop("itemcount"), "fetch item count failed.");
    expectUnusable(DescriptionText().drop("patchagent.version"),
                   "fetch old/new patchagent failed.");
    expectUnusable(DescriptionText().set("patchagent", "a.so").drop("velocore_path"),
                   "fetch velocore full path failed.");
}

TEST(KvUpdateStruParse, EndsWithAMessageWhenAnItemKeyIsMissing) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"class", "fetch class failed."},
        {"type", "fetch type failed."},
        {"origin.version", "fetch origin version failed."},
        {"result.version", "fetch result version failed."},
        {"destination", "fetch destination failed."},
    };
    for (const auto& missing : cases) {
        expectUnusable(DescriptionText(1).dropItem(0, missing.first), missing.second);
        // A later item, when earlier ones must be released.
        expectUnusable(DescriptionText(3)
                           .set("patchagent", "a.so")
                           .setItem(0, "item.zip", "a.zip")
                           .dropItem(2, missing.first),
                       missing.second);
    }
}

TEST(KvUpdateStruParse, ChecksTheKeysInTheirOrder) {
    DescriptionText text;
    text.drop("velocore_path").drop("patchagent.version").dropItem(0, "type").dropItem(0, "class");
    expectUnusable(text, "fetch old/new patchagent failed.");
    text.set("patchagent.version", "0");
    expectUnusable(text, "fetch velocore full path failed.");
    text.set("velocore_path", "/opt/velocore").dropItem(0, "destination");
    expectUnusable(text, "fetch class failed.");
    text.setItem(0, "class", "1").dropItem(0, "result.version").dropItem(0, "origin.version");
    expectUnusable(text, "fetch type failed.");
    text.setItem(0, "type", "1");
    expectUnusable(text, "fetch origin version failed.");
    text.setItem(0, "origin.version", "1.0");
    expectUnusable(text, "fetch result version failed.");
    text.setItem(0, "result.version", "1.0");
    expectUnusable(text, "fetch destination failed.");
}

TEST(KvUpdateStruParse, EndsAtTheFirstSectionThatIsNotThere) {
    const DescriptionText text = DescriptionText(1).set("itemcount", "2");
    expectUnusable(text, "fetch class failed.");
    ReadDescription read(text);
    EXPECT_EQ(read->itemCount, 2U);
}

TEST(KvUpdateStruParse, CapsTheCountAndKeepsTheCapAfterAFailure) {
    const std::vector<std::pair<std::string, uint64_t>> cases = {
        {"-1", 76695844},         {"4294967295", 76695844}, {"-76695845", 76695844},
        {"76695844", 76695844},   {"76695845", 76695844},   {"76695843", 76695843},
        {"2147483647", 76695844},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.first);
        ReadDescription read(DescriptionText(1).set("itemcount", expected.first));
        EXPECT_EQ(read.result(), -1);
        EXPECT_EQ(read->itemCount, expected.second);
    }
}

TEST(KvUpdateStruParse, ReadsNumbersAsFarAsTheyAreDigits) {
    const std::vector<std::pair<std::string, uint32_t>> cases = {
        {"", 0},
        {"abc", 0},
        {"12abc", 12},
        {"0x10", 0},
        {"007", 7},
        {"+3", 3},
        {"-1", 0xFFFFFFFF},
        {"1.9", 1},
        {"1 2", 1},
        {"- 1", 0},
        {"4294967295", 0xFFFFFFFF},
        {"2147483647", 2147483647},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.first);
        DescriptionText text;
        text.set("patchagent.version", expected.first).set("backup", expected.first);
        text.set("action", expected.first).setItem(0, "class", expected.first);
        text.setItem(0, "type", expected.first).setItem(0, "forceupdate", expected.first);
        ReadDescription read(text);
        ASSERT_EQ(read.result(), 0);
        EXPECT_EQ(read->patchAgentVersion, expected.second);
        EXPECT_EQ(read->backup, expected.second);
        EXPECT_EQ(read->action, expected.second);
        EXPECT_EQ(read->items[0].itemClass, expected.second);
        EXPECT_EQ(read->items[0].type, expected.second);
        EXPECT_EQ(read->items[0].forceUpdate, expected.second);
    }
}

TEST(KvUpdateStruParse, TakesAnEmptyValueForAPresentKey) {
    DescriptionText text;
    text.set("patchagent.version", "").set("action", "").set("backup", "").set("patchagent", "");
    text.set("velocore_path", "");
    for (const char* key : {"class", "type", "origin.version", "result.version", "forceupdate",
                            "destination", "item.zip"}) {
        text.setItem(0, key, "");
    }
    ReadDescription read(text);
    ASSERT_EQ(read.result(), 0);
    EXPECT_EQ(read->backup, 0U);
    EXPECT_STREQ(read->patchAgentFile, "");
    EXPECT_STREQ(read->velocorePath, "");
    EXPECT_EQ(read->items[0].originVersion, (tag_Version{0, 0, 0}));
    EXPECT_STREQ(read->items[0].destination, "");
    EXPECT_STREQ(read->items[0].zipFile, "");
}

TEST(KvUpdateStruParse, ReadsTheActionWithoutAskingForIt) {
    ReadDescription read(DescriptionText().drop("action"));
    EXPECT_EQ(read.result(), 0);
    EXPECT_EQ(read->action, 0U);
}

TEST(KvUpdateStruParse, FindsNamesInAnyCaseAndTakesTheFirstOfTwo) {
    ReadDescription read(
        std::string("[Common]\n ITEMCOUNT = 1 \nItemCount=5\nPatchAgent.Version=0\n"
                    "Velocore_Path = /opt/my velocore \n"
                    "[ITEM_0]\nCLASS=2\nclass=3\nType= 4\nOrigin.Version=1.0\n"
                    "Result.Version=1.1\nDestination=/opt/first\n"
                    "[item_0]\ndestination=/opt/second\nitem.zip=second.zip\n"
                    "[common]\nbackup=0\n"));
    ASSERT_EQ(read.result(), 0);
    EXPECT_EQ(read->itemCount, 1U);
    EXPECT_EQ(read->backup, 1U);
    EXPECT_STREQ(read->velocorePath, "/opt/my velocore");
    EXPECT_EQ(read->items[0].itemClass, 2U);
    EXPECT_EQ(read->items[0].type, 4U);
    EXPECT_STREQ(read->items[0].destination, "/opt/first");
    EXPECT_THAT(read->items[0].zipFile, IsNull());
}

TEST(KvUpdateStruParse, IgnoresSectionsBeyondTheCount) {
    ReadDescription read(DescriptionText(3).set("itemcount", "1").dropItem(2, "class"));
    EXPECT_EQ(read.result(), 0);
    EXPECT_EQ(read->itemCount, 1U);
}

TEST(KvUpdateStruParse, ReadsVersionsByTheClassOfTheItem) {
    DescriptionText text(3);
    for (size_t i = 0; i < 3; ++i) {
        text.setItem(i, "class", std::to_string(i + 1));
        text.setItem(i, "origin.version", "5.02-17").setItem(i, "result.version", "abc");
    }
    ReadDescription read(text);
    ASSERT_EQ(read.result(), 0);
    EXPECT_EQ(read->items[0].originVersion, (tag_Version{0x50200, 17, 0}));
    EXPECT_EQ(read->items[1].originVersion, (tag_Version{0x50200, 17, 0}));
    EXPECT_EQ(read->items[2].originVersion, (tag_Version{5, 0, 0}));
    EXPECT_EQ(read->items[2].resultVersion, (tag_Version{0, 0, 0}));
}

TEST(KvUpdateStruParse, KeepsLongTextsWhole) {
    const std::string longText = "/" + std::string(100000, 'x');
    DescriptionText text;
    text.set("patchagent", longText).set("velocore_path", longText);
    text.setItem(0, "destination", longText).setItem(0, "item.zip", longText);
    ReadDescription read(text);
    ASSERT_EQ(read.result(), 0);
    EXPECT_EQ(read->patchAgentFile, longText);
    EXPECT_EQ(read->velocorePath, longText);
    EXPECT_EQ(read->items[0].destination, longText);
    EXPECT_EQ(read->items[0].zipFile, longText);
}

TEST(KvUpdateStruParse, ReadsManyItemsInTheirOrder) {
    constexpr int kItems = 1000;
    DescriptionText text(kItems);
    for (int i = 0; i < kItems; ++i) {
        text.setItem(static_cast<size_t>(i), "type", std::to_string(i));
    }
    ReadDescription read(text);
    ASSERT_EQ(read.result(), 0);
    ASSERT_EQ(read->itemCount, static_cast<uint64_t>(kItems));
    for (uint32_t i = 0; i < kItems; ++i) {
        EXPECT_EQ(read->items[i].type, i);
        EXPECT_STREQ(read->items[i].destination, "/opt/app");
    }
}

TEST(KvUpdateStruParse, OverwritesWhateverTheStructureHeld) {
    const KvIniUtil document("[common]\nitemcount=0\n", ';', false, true, '=');
    char unowned[] = "not from the heap";
    updateStru stru{9, 9, 9, reinterpret_cast<tag_ItemInfo*>(unowned), 9, unowned, unowned};
    EXPECT_EQ(phaseIniForUpdate(&document, &stru), 1);
    EXPECT_EQ(stru.itemCount, 0U);
    expectReleased(stru);
}

TEST(KvUpdateStruParse, ToleratesNullArguments) {
    LogCapture log;
    updateStru stru{};
    EXPECT_EQ(phaseIniForUpdate(nullptr, &stru), -1);
    EXPECT_THAT(log.lines(),
                LogIs({"Err 6 phaseIniForUpdate: fetch item count failed.", kErrorQuit}));
    EXPECT_EQ(phaseIniForUpdate(nullptr, nullptr), -1);
}
