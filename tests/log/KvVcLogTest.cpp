#include "log/KvVcLog.h"

#include <gtest/gtest.h>

#include <string>

#include "log/KvEventPublisher.h"
#include "log/KvLogSettings.h"
#include "tests/log/LogDir.h"

namespace {

// The events of both kinds, whatever the log makes of them.
class Witness : public KvInfoEventListener {
  public:
    Witness() { KvEventPublisher::addEventListener(this); }
    ~Witness() override { KvEventPublisher::removeEventListener(this); }

    int processEvent(KvEvent* event) override {
        text = event->toString();
        level = static_cast<KvInfoEvent*>(event)->getLevel();
        ++count;
        return 0;
    }

    std::string text;
    int level = 0;
    int count = 0;
};

}  // namespace

TEST(KvVcLogTest, knowsWhatSeparatesWords) {
    const std::string wordCharacters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    for (int ch = 0; ch < 256; ++ch) {
        const bool inWord = wordCharacters.find(static_cast<char>(ch)) != std::string::npos;
        EXPECT_EQ(IsWordSeparator(static_cast<char>(ch)), !inWord) << "character " << ch;
    }
}

TEST(KvVcLogTest, remembersTheKindAndTheLineAndNoFile) {
    Log_Set("KvUpdaterStru", 1234, kLogError);
    EXPECT_EQ(s_type, kLogError);
    EXPECT_EQ(s_line, 1234);
    EXPECT_STREQ(s_file.c_str(), "");
    Log_Set("KvUpdaterStru", 5, kLogInfo);
    EXPECT_EQ(s_type, kLogInfo);
    EXPECT_EQ(s_line, 5);
}

TEST(KvVcLogTest, publishesTheFormattedTextWithItsLevel) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(9, "%s %d%%", "half is", 50);
    EXPECT_EQ(witness.text, "half is 50%");
    EXPECT_EQ(witness.level, 9);
}

TEST(KvVcLogTest, publishesAnErrorAsAnErrorOnly) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogError);
    Throw_Event(9, "no");
    EXPECT_EQ(witness.count, 0);
}

TEST(KvVcLogTest, publishesNothingOfAnyOtherKind) {
    const Overheard overheard;
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(2));
    Throw_Event(9, "neither");
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(-1));
    Throw_Event(9, "nor");
    EXPECT_TRUE(overheard.texts.empty());
}

TEST(KvVcLogTest, theKindStaysInForceUntilTheNextCall) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(9, "one");
    Throw_Event(9, "two");
    EXPECT_EQ(witness.count, 2);
}

TEST(KvVcLogTest, cutsALongMessage) {
    const Overheard overheard;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(6, "%s", std::string(20478, 'a').c_str());
    Throw_Event(6, "%s", std::string(20479, 'b').c_str());
    Throw_Event(6, "%s", std::string(30000, 'c').c_str());
    ASSERT_EQ(overheard.texts.size(), 3U);
    EXPECT_EQ(overheard.texts[0], std::string(20478, 'a'));
    EXPECT_EQ(overheard.texts[1], std::string(20479, 'b'));
    EXPECT_EQ(overheard.texts[2], std::string(20479, 'c'));
}

TEST(KvVcLogTest, ignoresAMissingFormat) {
    const Overheard overheard;
    // Through a pointer without the format check, which would refuse it.
    void (*throwEvent)(int, const char*, ...) = Throw_Event;
    throwEvent(6, nullptr);
    EXPECT_TRUE(overheard.texts.empty());
}
