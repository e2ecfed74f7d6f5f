#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include "log/KvEventPublisher.h"
#include "log/KvVcEventManager.h"

namespace {

// The log's own listeners go on living beside the captures; this leaves them nowhere to write to.
class SilentLog : public ::testing::Environment {
  public:
    void SetUp() override { g_pEventManager->redirectToCallback(nullptr, nullptr); }
};

const ::testing::Environment* const s_silentLog =
    ::testing::AddGlobalTestEnvironment(new SilentLog);

}  // namespace

LogRecord infoAt(int level, const std::string& text) {
    return {LogKind::kInfo, level, text};
}

LogRecord errorAt(int level, const std::string& text) {
    return {LogKind::kError, level, text};
}

bool operator==(const LogRecord& left, const LogRecord& right) {
    return left.kind == right.kind && left.level == right.level && left.text == right.text;
}

std::ostream& operator<<(std::ostream& out, const LogRecord& record) {
    return out << (record.kind == LogKind::kInfo ? "info" : "error") << " at " << record.level
               << ": \"" << record.text << "\"";
}

class LogCapture::InfoListener : public KvInfoEventListener {
  public:
    InfoListener(std::vector<LogRecord>& records, int lowestLevel)
        : records_(records), lowestLevel_(lowestLevel) {}

    int processEvent(KvEvent* event) override {
        const int level = static_cast<KvInfoEvent*>(event)->getLevel();
        if (level >= lowestLevel_) {
            records_.push_back(infoAt(level, event->toString()));
        }
        return 0;
    }

  private:
    std::vector<LogRecord>& records_;
    int lowestLevel_;
};

class LogCapture::ErrorListener : public KvErrorEventListener {
  public:
    ErrorListener(std::vector<LogRecord>& records, int lowestLevel)
        : records_(records), lowestLevel_(lowestLevel) {}

    int processEvent(KvEvent* event) override {
        const int level = static_cast<KvErrorEvent*>(event)->getLevel();
        if (level >= lowestLevel_) {
            records_.push_back(errorAt(level, event->toString()));
        }
        return 0;
    }

  private:
    std::vector<LogRecord>& records_;
    int lowestLevel_;
};

LogCapture::LogCapture(int lowestLevel)
    : info_(std::make_unique<InfoListener>(records_, lowestLevel)),
      error_(std::make_unique<ErrorListener>(records_, lowestLevel)) {
    KvEventPublisher::addEventListener(info_.get());
    KvEventPublisher::addEventListener(error_.get());
}

LogCapture::~LogCapture() {
    KvEventPublisher::removeEventListener(info_.get());
    KvEventPublisher::removeEventListener(error_.get());
}

std::vector<std::string> LogCapture::lines(int lowestLevel) const {
    std::vector<std::string> lines;
    for (const LogRecord& record : records_) {
        if (record.level >= lowestLevel) {
            lines.push_back((record.kind == LogKind::kError ? "Err " : "Inf ") +
                            std::to_string(record.level) + " " + record.text);
        }
    }
    return lines;
}

std::vector<std::string> LogCapture::texts(int lowestLevel) const {
    std::vector<std::string> texts;
    for (const LogRecord& record : records_) {
        if (record.level >= lowestLevel) {
            texts.push_back(record.text);
        }
    }
    return texts;
}
