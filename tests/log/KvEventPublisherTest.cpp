#include "log/KvEventPublisher.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// A listener of the given kind that tells its name, and does what it is told, on every event.
template <typename Base>
class Listener : public Base {
  public:
    Listener(std::string name, std::vector<std::string>& heard, int answer = 0)
        : name_(std::move(name)), heard_(heard), answer_(answer) {}

    int processEvent(KvEvent* event) override {
        heard_.push_back(name_ + ":" + event->toString());
        if (onEvent) {
            onEvent();
        }
        return answer_;
    }

    std::function<void()> onEvent;

  private:
    std::string name_;
    std::vector<std::string>& heard_;
    int answer_;
};

// Registered for as long as it lives.
template <typename Base>
class Registered : public Listener<Base> {
  public:
    using Listener<Base>::Listener;

    void add() {
        EXPECT_EQ(KvEventPublisher::addEventListener(static_cast<Base*>(this)), 0);
        ++times_;
    }
    void remove() {
        EXPECT_EQ(KvEventPublisher::removeEventListener(static_cast<Base*>(this)), 0);
        --times_;
    }
    ~Registered() override {
        while (times_ > 0) {
            remove();
        }
    }

  private:
    int times_ = 0;
};

class ProgressEvent : public KvProgressEvent {
  public:
    [[nodiscard]] const char* toString() const override { return "half"; }
    [[nodiscard]] int getEventType() const override { return 100; }
};

class ActionEvent : public KvActionEvent {
  public:
    [[nodiscard]] const char* toString() const override { return "move"; }
    [[nodiscard]] int getEventType() const override { return 101; }
};

using Heard = std::vector<std::string>;

}  // namespace

TEST(KvEventPublisher, EventsKeepACopyOfTheirMessage) {
    KvSimpleString message("text");
    const KvInfoEvent info(message, 6);
    const KvErrorEvent error(message, -1);
    message = "changed";
    EXPECT_STREQ(info.toString(), "text");
    EXPECT_STREQ(error.toString(), "text");
    EXPECT_EQ(info.getLevel(), 6);
    EXPECT_EQ(error.getLevel(), -1);
}

TEST(KvEventPublisher, EventTypesAreFixed) {
    EXPECT_EQ(KvInfoEvent("", 0).getEventType(), 4);
    EXPECT_EQ(KvErrorEvent("", 0).getEventType(), 2);
}

TEST(KvEventPublisher, InterfacesAreAbstractAndFormTheTree) {
    EXPECT_TRUE(std::is_abstract_v<KvEvent>);
    EXPECT_TRUE(std::is_abstract_v<KvEventListener>);
    EXPECT_TRUE(std::is_abstract_v<KvInfoEventListener>);
    EXPECT_TRUE(std::is_abstract_v<KvErrorEventListener>);
    EXPECT_TRUE((std::is_base_of_v<KvEvent, KvInfoEvent>));
    EXPECT_TRUE((std::is_base_of_v<KvEvent, KvErrorEvent>));
    EXPECT_TRUE((std::is_base_of_v<KvEventListener, KvProgressEventListener>));
    EXPECT_TRUE((std::is_base_of_v<KvEventListener, KvActionEventListener>));
}

TEST(KvEventPublisher, EachKindReachesItsOwnListenersOnly) {
    Heard heard;
    Registered<KvInfoEventListener> info("info", heard);
    Registered<KvErrorEventListener> error("error", heard);
    Registered<KvProgressEventListener> progress("progress", heard);
    Registered<KvActionEventListener> action("action", heard);
    info.add();
    error.add();
    progress.add();
    action.add();
    constexpr int kHidden = -100;  // below every level that the log takes
    EXPECT_EQ(KvInfoEvent("i", kHidden).publish(), 0);
    EXPECT_EQ(KvErrorEvent("e", kHidden).publish(), 0);
    EXPECT_EQ(ProgressEvent().publish(), 0);
    EXPECT_EQ(ActionEvent().publish(), 0);
    EXPECT_EQ(heard, (Heard{"info:i", "error:e", "progress:half", "action:move"}));
}

TEST(KvEventPublisher, ListenersAreCalledInTheOrderOfRegistration) {
    Heard heard;
    Registered<KvInfoEventListener> first("1", heard);
    Registered<KvInfoEventListener> second("2", heard);
    second.add();
    first.add();
    second.add();
    KvInfoEvent event("x", -100);
    event.publish();
    EXPECT_EQ(heard, (Heard{"2:x", "1:x", "2:x"}));
    heard.clear();
    second.remove();
    event.publish();
    EXPECT_EQ(heard, (Heard{"1:x", "2:x"}));
}

TEST(KvEventPublisher, AListenerAddedMeanwhileIsReachedInTheSamePass) {
    Heard heard;
    Registered<KvErrorEventListener> first("1", heard);
    Registered<KvErrorEventListener> late("late", heard);
    first.add();
    first.onEvent = [&] { late.add(); };
    KvErrorEvent("x", -100).publish();
    EXPECT_EQ(heard, (Heard{"1:x", "late:x"}));
}

TEST(KvEventPublisher, InformationAndErrorsIgnoreTheAnswers) {
    Heard heard;
    Registered<KvInfoEventListener> info("i", heard, 7);
    Registered<KvErrorEventListener> error("e", heard, 7);
    info.add();
    error.add();
    EXPECT_EQ(KvInfoEvent("x", -100).publish(), 0);
    EXPECT_EQ(KvErrorEvent("x", -100).publish(), 0);
}

TEST(KvEventPublisher, ProgressAndActionsReturnTheLargestAnswer) {
    const std::vector<std::pair<std::vector<int>, int>> table = {
        {{}, 0}, {{3}, 3}, {{-3}, -3}, {{1, 5, 2}, 5}, {{-7, -2, -9}, -2}, {{0, -1}, 0},
    };
    for (const auto& [answers, largest] : table) {
        Heard heard;
        std::vector<std::unique_ptr<Registered<KvProgressEventListener>>> progress;
        std::vector<std::unique_ptr<Registered<KvActionEventListener>>> action;
        for (const int answer : answers) {
            progress.push_back(
                std::make_unique<Registered<KvProgressEventListener>>("p", heard, answer));
            progress.back()->add();
            action.push_back(
                std::make_unique<Registered<KvActionEventListener>>("a", heard, answer));
            action.back()->add();
        }
        EXPECT_EQ(ProgressEvent().publish(), largest);
        EXPECT_EQ(ActionEvent().publish(), largest);
        EXPECT_EQ(heard.size(), 2 * answers.size());
    }
}

TEST(KvEventPublisher, ToleratesNull) {
    EXPECT_EQ(KvEventPublisher::addEventListener(static_cast<KvInfoEventListener*>(nullptr)), 0);
    EXPECT_EQ(KvEventPublisher::removeEventListener(static_cast<KvErrorEventListener*>(nullptr)),
              0);
    Heard heard;
    Registered<KvInfoEventListener> info("i", heard);
    info.add();
    EXPECT_EQ(KvEventPublisher::publishEvent(static_cast<KvInfoEvent*>(nullptr)), 0);
    EXPECT_EQ(KvEventPublisher::publishEvent(static_cast<KvActionEvent*>(nullptr)), 0);
    EXPECT_EQ(heard, Heard{});
}

TEST(KvEventPublisher, RemovingAStrangerChangesNothing) {
    Heard heard;
    Registered<KvInfoEventListener> known("known", heard);
    Listener<KvInfoEventListener> stranger("stranger", heard);
    known.add();
    EXPECT_EQ(KvEventPublisher::removeEventListener(&stranger), 0);
    KvInfoEvent("x", -100).publish();
    EXPECT_EQ(heard, (Heard{"known:x"}));
}
