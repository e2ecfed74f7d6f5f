// Does something as soon as a certain message is reported: the moment between two steps of a run.
//
//     OnMessage cut("Call PatchAgent StartItem", [] { limitMemory(4 * kMegabyte); });
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "log/KvEventPublisher.h"

class OnMessage {
  public:
    // Each time that a message begins with `text`.
    OnMessage(const std::string& text, const std::function<void()>& act)
        : info_(text, act), error_(text, act) {
        KvEventPublisher::addEventListener(&info_);
        KvEventPublisher::addEventListener(&error_);
    }
    ~OnMessage() {
        KvEventPublisher::removeEventListener(&info_);
        KvEventPublisher::removeEventListener(&error_);
    }
    OnMessage(const OnMessage&) = delete;
    OnMessage& operator=(const OnMessage&) = delete;

  private:
    template <typename Base>
    class Listener : public Base {
      public:
        Listener(std::string text, std::function<void()> act)
            : text_(std::move(text)), act_(std::move(act)) {}

        int processEvent(KvEvent* event) override {
            if (strncmp(event->toString(), text_.c_str(), text_.size()) == 0) {
                act_();
            }
            return 0;
        }

      private:
        std::string text_;
        std::function<void()> act_;
    };

    Listener<KvInfoEventListener> info_;
    Listener<KvErrorEventListener> error_;
};
