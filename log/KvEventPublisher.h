// Events, the interfaces of those who listen to them, and the publisher in between: one subject,
// because each of the three is defined by the other two.
//
// An event carries one message. It is made on the stack of the code that reports, published at
// once, on the caller's thread, and gone when `publish` returns: a listener copies what it wants to
// keep. Four kinds exist (info, error, progress, action), each with its own list of listeners.
// Nothing in this system produces progress and action events; the rules for them stand for modules
// that do.
#pragma once

#include "base/DList.h"
#include "base/KvSimpleString.h"
#include "log/KvLogStartup.h"

// What `getEventType` answers. The numbers are fixed. Kinds that nobody produces have none.
enum KvEventType : int {
    kErrorEvent = 2,
    kInfoEvent = 4,
};

class KvEvent {
  public:
    KvEvent() = default;
    KvEvent(const KvEvent&) = delete;
    KvEvent& operator=(const KvEvent&) = delete;

    // The text; never null, valid as long as the event.
    [[nodiscard]] virtual const char* toString() const = 0;

    // Hands the event to the listeners of its kind; what KvEventPublisher::publishEvent returns.
    virtual int publish() = 0;

    // A KvEventType.
    [[nodiscard]] virtual int getEventType() const = 0;

    virtual ~KvEvent() = default;
};

// An ordinary message.
class KvInfoEvent : public KvEvent {
  public:
    // Keeps a copy of the message; a level may be any number (see KvLogLevel).
    KvInfoEvent(KvSimpleString message, int level);

    [[nodiscard]] const char* toString() const override;
    int publish() override;
    [[nodiscard]] int getEventType() const override;

    [[nodiscard]] int getLevel() const { return level_; }

  private:
    KvSimpleString message_;
    int level_;
};

// A message about a failure.
class KvErrorEvent : public KvEvent {
  public:
    KvErrorEvent(KvSimpleString message, int level);

    [[nodiscard]] const char* toString() const override;
    int publish() override;
    [[nodiscard]] int getEventType() const override;

    [[nodiscard]] int getLevel() const { return level_; }

  private:
    KvSimpleString message_;
    int level_;
};

// Whoever produces progress or actions derives from these and gives them a text and a type.
class KvProgressEvent : public KvEvent {
  public:
    int publish() override;
};

class KvActionEvent : public KvEvent {
  public:
    int publish() override;
};

class KvEventListener {
  public:
    KvEventListener() = default;
    KvEventListener(const KvEventListener&) = delete;
    KvEventListener& operator=(const KvEventListener&) = delete;

    // Called for each event of the kind the listener is registered for. The event lives only for
    // the call. The result counts only for progress and action events.
    virtual int processEvent(KvEvent* event) = 0;

    virtual ~KvEventListener() = default;
};

class KvInfoEventListener : public KvEventListener {};
class KvErrorEventListener : public KvEventListener {};
class KvProgressEventListener : public KvEventListener {};
class KvActionEventListener : public KvEventListener {};

// The four lists of listeners, each in the order of registration. One object exists in a process,
// made and destroyed with the log (log/KvLogStartup.h). The lists do not own the listeners.
class KvListenerLists {
  public:
    // From here on the publisher uses these lists.
    KvListenerLists();
    // From here on it uses none.
    ~KvListenerLists();
    KvListenerLists(const KvListenerLists&) = delete;
    KvListenerLists& operator=(const KvListenerLists&) = delete;

    DList m_InfoList;
    DList m_ErrorList;
    DList m_ProgressList;
    DList m_ActionList;
};

// Only static members. Who registers a listener removes it before it goes. While there are no
// lists, at the very ends of the process, nothing is registered and nobody is called.
class KvEventPublisher {
  public:
    KvEventPublisher() = delete;

    // Appends to the list of the kind; a listener added twice is called twice. Always 0; null is
    // not added.
    static int addEventListener(KvInfoEventListener* listener);
    static int addEventListener(KvErrorEventListener* listener);
    static int addEventListener(KvProgressEventListener* listener);
    static int addEventListener(KvActionEventListener* listener);

    // Takes the first entry of the listener out; always 0, also when there is none.
    static int removeEventListener(KvInfoEventListener* listener);
    static int removeEventListener(KvErrorEventListener* listener);
    static int removeEventListener(KvProgressEventListener* listener);
    static int removeEventListener(KvActionEventListener* listener);

    // Calls the listeners of the kind in the order of their registration; one that is added
    // meanwhile is reached in the same pass. A null event reaches nobody.
    // Info and error: always 0.
    static int publishEvent(KvInfoEvent* event);
    static int publishEvent(KvErrorEvent* event);
    // Progress and action: the largest answer of the listeners, 0 without any.
    static int publishEvent(KvProgressEvent* event);
    static int publishEvent(KvActionEvent* event);
};
