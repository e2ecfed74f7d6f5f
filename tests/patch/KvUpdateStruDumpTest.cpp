#include <gmock/gmock.h>

#include <string>

#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LogMatchers.h"

namespace {

// The first message of reading it: the dump of the common section.
std::string commonDump(const DescriptionText& text) {
    LogCapture log;
    const ReadDescription read(text);
    EXPECT_FALSE(log.records().empty());
    return log.records().empty() ? "" : log.records().front().text;
}

// The last message: the dump of the only item.
std::string itemDump(const DescriptionText& text) {
    LogCapture log;
    const ReadDescription read(text);
    EXPECT_EQ(read.result(), 0);
    return log.records().back().text;
}

}  // namespace

TEST(KvUpdateStruDump, ShowsACompleteDescription) {
    DescriptionText text(2);
    text.set("action", "1").set("patchagent", "agent.so").set("backup", "1").set("nowaiting", "1");
    text.setItem(0, "forceupdate", "1").setItem(0, "item.zip", "app.zip");
    text.setItem(1, "class", "3").setItem(1, "type", "31");
    text.setItem(1, "origin.version", "112300").setItem(1, "result.version", "112400");
    LogCapture log;
    const ReadDescription read(text);
    EXPECT_THAT(log.lines(), LogIs({"Inf 3 Dump patch.ini common section info:\n"
                                    "Action: 1 (Rollback)\n"
                                    "Item Count: 2\n"
                                    "PatchAgent Ver: 1 (New)\n"
                                    "PatchAgent File: agent.so\n"
                                    "Backup: 1 (Yes)\n"
                                    "No waiting result: Yes",
                                    "Inf 3 item[0]:\n"
                                    "Class[1] Type[7] Force Update[Yes]\n"
                                    "Original Ver[5.2.1234] Result Ver[5.3]\n"
                                    "Destination: /opt/app\n"
                                    "Zip File: app.zip",
                                    "Inf 3 item[1]:\n"
                                    "Class[3] Type[0x1f] Force Update[No]\n"
                                    "Original Ver[112300] Result Ver[112400]\n"
                                    "Destination: /opt/app\n"
                                    "Zip File: Null"}));
}

TEST(KvUpdateStruDump, ShowsWhatIsAbsentAndOff) {
    EXPECT_EQ(commonDump(DescriptionText().set("patchagent.version", "0").set("backup", "0")),
              "Dump patch.ini common section info:\n"
              "Action: 0 (Update)\n"
              "Item Count: 1\n"
              "PatchAgent Ver: 0 (Old)\n"
              "PatchAgent File: Null\n"
              "Backup: 0 (No)\n"
              "No waiting result: No");
}

TEST(KvUpdateStruDump, ShowsOddNumbersWithTheirSignAndACountBeforeItIsCapped) {
    EXPECT_EQ(commonDump(DescriptionText()
                             .set("itemcount", "-1")
                             .set("action", "-2")
                             .set("patchagent.version", "-3")
                             .set("backup", "7")),
              "Dump patch.ini common section info:\n"
              "Action: -2 (Rollback)\n"
              "Item Count: -1\n"
              "PatchAgent Ver: -3 (New)\n"
              "PatchAgent File: Null\n"
              "Backup: 7 (Yes)\n"
              "No waiting result: No");
}

TEST(KvUpdateStruDump, JudgesNoWaitingByItsFirstCharacter) {
    for (const char* value : {"1", "1x", "10", "1 0"}) {
        EXPECT_THAT(commonDump(DescriptionText().set("nowaiting", value)),
                    ::testing::EndsWith("No waiting result: Yes"))
            << value;
    }
    for (const char* value : {"", "0", "yes", "01", "+1", "-1", "2"}) {
        EXPECT_THAT(commonDump(DescriptionText().set("nowaiting", value)),
                    ::testing::EndsWith("No waiting result: No"))
            << value;
    }
}

TEST(KvUpdateStruDump, ShowsTheTypeOfAProductInDecimalAndOthersInHexadecimal) {
    const auto typeOfClass = [](const char* itemClass) {
        return itemDump(DescriptionText().setItem(0, "class", itemClass).setItem(0, "type", "255"));
    };
    EXPECT_THAT(typeOfClass("0"), ::testing::HasSubstr("Class[0] Type[0xff] Force"));
    EXPECT_THAT(typeOfClass("1"), ::testing::HasSubstr("Class[1] Type[255] Force"));
    EXPECT_THAT(typeOfClass("2"), ::testing::HasSubstr("Class[2] Type[0xff] Force"));
    EXPECT_THAT(typeOfClass("3"), ::testing::HasSubstr("Class[3] Type[0xff] Force"));
    EXPECT_THAT(typeOfClass("-1"), ::testing::HasSubstr("Class[4294967295] Type[0xff] Force"));
}

TEST(KvUpdateStruDump, CutsALineAt1023Characters) {
    const std::string longText(2000, 'x');
    EXPECT_EQ(commonDump(DescriptionText().set("patchagent", longText)),
              "Dump patch.ini common section info:\n"
              "Action: 0 (Update)\n"
              "Item Count: 1\n"
              "PatchAgent Ver: 1 (New)\n"
              "PatchAgent File: " +
                  std::string(1023 - 17, 'x') +
                  "Backup: 1 (Yes)\n"
                  "No waiting result: No");
    EXPECT_EQ(
        itemDump(
            DescriptionText().setItem(0, "destination", longText).setItem(0, "item.zip", longText)),
        "item[0]:\n"
        "Class[1] Type[7] Force Update[No]\n"
        "Original Ver[5.2.1234] Result Ver[5.3]\n"
        "Destination: " +
            std::string(1023 - 13, 'x') + "Zip File: " + std::string(1023 - 10, 'x'));
}

TEST(KvUpdateStruDump, ShowsTextsThatLookLikeFormatsAsTheyAre) {
    EXPECT_THAT(itemDump(DescriptionText().setItem(0, "destination", "/opt/%s%n%d")),
                ::testing::HasSubstr("Destination: /opt/%s%n%d\n"));
}
