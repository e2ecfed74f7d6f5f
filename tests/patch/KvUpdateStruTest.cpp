#include "patch/KvUpdateStru.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/patch/DescriptionText.h"

using ::testing::IsNull;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

namespace {

std::string printed(const updateStru* stru) {
    CaptureStdout();
    printUpdateStru(stru);
    return GetCapturedStdout();
}

}  // namespace

TEST(KvUpdateStru, KeepsTheOrderOfItsFields) {
    EXPECT_EQ(offsetof(updateStru, patchAgentVersion), 0U);
    EXPECT_EQ(offsetof(updateStru, action), 4U);
    EXPECT_EQ(offsetof(updateStru, backup), 8U);
    EXPECT_EQ(offsetof(updateStru, items), 16U);
    EXPECT_EQ(offsetof(updateStru, itemCount), 24U);
    EXPECT_EQ(offsetof(updateStru, patchAgentFile), 32U);
    EXPECT_EQ(offsetof(updateStru, velocorePath), 40U);
}

TEST(KvUpdateStru, SetsWhatItFreesToNullAndKeepsTheCount) {
    updateStru stru{};
    stru.patchAgentFile = strdup("agent.so");
    stru.velocorePath = strdup("/opt/velocore");
    stru.itemCount = 2;
    stru.items = static_cast<tag_ItemInfo*>(calloc(2, sizeof(tag_ItemInfo)));
    stru.items[0].destination = strdup("/opt/app");
    stru.items[1].zipFile = strdup("app.zip");

    freeUpdateStru(&stru);
    EXPECT_THAT(stru.patchAgentFile, IsNull());
    EXPECT_THAT(stru.velocorePath, IsNull());
    EXPECT_THAT(stru.items, IsNull());
    EXPECT_EQ(stru.itemCount, 2U);

    freeUpdateStru(&stru);
    EXPECT_EQ(stru.itemCount, 2U);
    freeUpdateStru(nullptr);
}

TEST(KvUpdateStruPrint, PrintsACompleteStructure) {
    DescriptionText text(2);
    text.set("action", "1").set("patchagent", "agent.so");
    text.setItem(0, "forceupdate", "1").setItem(0, "item.zip", "app.zip");
    text.setItem(1, "class", "3").setItem(1, "type", "-1");
    text.setItem(1, "origin.version", "112300").setItem(1, "result.version", "112400");
    ReadDescription read(text);
    EXPECT_EQ(printed(read.stru()),
              "Start of update structure====================\n"
              "\n"
              "\tVelocore path: /opt/velocore\n"
              "\tPatch Agent library: agent.so\n"
              "\tPatch Agent version: new\n"
              "\tAction: rollback\n"
              "\tBackup: Yes\n"
              "\tItem number: 2\n"
              "\tItem 0\n"
              "\t\tclass: 1\n"
              "\t\ttype: 7\n"
              "\t\tOriginal version: 5.2.1234\n"
              "\t\tResult version: 5.3\n"
              "\t\tForce update: Yes\n"
              "\t\tDestination: /opt/app\n"
              "\t\tZip File: app.zip\n"
              "\tItem 1\n"
              "\t\tclass: 3\n"
              "\t\ttype: 4294967295\n"
              "\t\tOriginal version: 112300\n"
              "\t\tResult version: 112400\n"
              "\t\tForce update: No\n"
              "\t\tDestination: /opt/app\n"
              "\t\tZip File: NULL\n"
              "\n"
              "End of update structure====================\n"
              "\n");
}

TEST(KvUpdateStruPrint, PrintsAnEmptyStructure) {
    const updateStru stru{};
    EXPECT_EQ(printed(&stru),
              "Start of update structure====================\n"
              "\n"
              "\tVelocore path: NULL\n"
              "\tPatch Agent library: NULL\n"
              "\tPatch Agent version: old\n"
              "\tAction: update\n"
              "\tBackup: No\n"
              "\n"
              "End of update structure====================\n"
              "\n");
}

TEST(KvUpdateStruPrint, StopsWhenThereAreNoItemsForTheCount) {
    updateStru stru{};
    stru.itemCount = 3;
    stru.backup = 2;
    EXPECT_EQ(printed(&stru),
              "Start of update structure====================\n"
              "\n"
              "\tVelocore path: NULL\n"
              "\tPatch Agent library: NULL\n"
              "\tPatch Agent version: old\n"
              "\tAction: update\n"
              "\tBackup: No\n"
              "\tItem number: 3\n"
              "\tFatal error: Item number is not zero, but no items here\n");
}

TEST(KvUpdateStruPrint, PrintsAnItemWithoutDestination) {
    updateStru stru{};
    tag_ItemInfo item{};
    item.itemClass = 0xFFFFFFFF;
    stru.items = &item;
    stru.itemCount = 1;
    EXPECT_THAT(printed(&stru), ::testing::HasSubstr("\tItem 0\n"
                                                     "\t\tclass: -1\n"
                                                     "\t\ttype: 0\n"
                                                     "\t\tOriginal version: 0.0\n"
                                                     "\t\tResult version: 0.0\n"
                                                     "\t\tForce update: No\n"
                                                     "\t\tDestination: NULL\n"
                                                     "\t\tZip File: NULL\n"));
}

TEST(KvUpdateStruPrint, PrintsNothingForNull) {
    EXPECT_EQ(printed(nullptr), "");
}
