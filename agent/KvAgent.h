// The one conversation with a patch agent: every word that is said to it, with the messages that
// stand around the word in the log.
//
// An agent has one of two interfaces. Which of them is decided once, when a Conversation is made;
// from then on everybody talks to an Agent and does not ask again. The update, the rollback, the
// undoing and the step of a single file say the same things in words of their own: these are
// tables that they hand over. A text of a table that is null is not said.
#pragma once

#include <variant>

#include "agent/KvPatchAgent.h"
#include "base/KvVersion.h"
#include "fileop/KvPath.h"
#include "patch/KvUpdateStru.h"

// A text for each interface.
struct AgentWords {
    const char* oldAgent;
    const char* newAgent;
};

// When the library is loaded.
struct AgentLoadWords {
    AgentWords loading;
    const char* unknownInterface;  // an error
};

// --- The start of the patch or action

// The component classes of the old interface, in the order in which it is asked about them.
enum AgentComponent { kAgentPattern, kAgentEngine, kAgentProduct, kAgentComponentCount };

// Where the items of each class go, as an agent of the old interface left it.
struct AgentPaths {
    char ofFirst[kAgentComponentCount][kLongPathCapacity] = {};  // "" for a class without items
    const char* last = "";  // where the last item went that was asked about
};

// In front of the path, before and after the agent saw it.
struct AgentPathWords {
    const char* before;
    const char* after;
};

// The old interface's question whether the agent agrees to a rollback.
struct AgentConsentWords {
    const char* before;
    const char* refused;
    bool isBinding;  // a refusal is an error and ends the run; else it is only told
};

// StartPatch and StartAction.
struct AgentStartCallWords {
    const char* intent;        // stands in a line of its own
    const char* call;          // of StartPatch in front of the class mask, hexadecimal without "0x"
    const char* error;         // the answer PATCH_ERROR
    const char* closeProgram;  // and PATCH_CLOSEPROGRAM
};

struct AgentStartWords {
    AgentPathWords paths[kAgentComponentCount];
    AgentConsentWords consent;
    AgentStartCallWords patch;
    AgentStartCallWords action;
    const char* unknownInterface;  // an error that always shows
};

// --- Items and files

// What the agent is told as the item's name, which may be null, and what the log shows for it.
struct AgentItemName {
    const char* told;
    const char* shown;
};

// An item as the agent is told of it. The version records are the caller's; an agent of the new
// interface gets their addresses and may write through them. Their texts in the log are those from
// when the object was made, whatever the agent writes later.
struct AgentItem {
    AgentItem(const AgentItemName& itemName, unsigned cls, unsigned itemType, unsigned bits,
              tag_Version* fromVersion, tag_Version* toVersion);

    AgentItemName name;
    unsigned itemClass;
    unsigned type;
    unsigned flags;  // PatchItemFlag bits; only the new interface receives them
    tag_Version* from;
    tag_Version* to;
    char fromText[256];
    char toText[256];
};

// What became of telling the agent that an item starts or ends.
enum class ItemCall {
    kMade,
    kUnknownClass,  // the old interface knows pattern, engine and product only: nothing was said
    kUnknownInterface,  // the same for an interface that does not exist
};

// What happens to a file: the one decision of everybody who asks an agent about one.
enum class FileDecision {
    kWrite,   // do with it now what the run is for: write it, delete it, put it back
    kReboot,  // leave it, note it in the reboot list
    kSkip,    // leave it alone
    kStop,    // end the run: the agent reports an error
};

struct AgentFileWords {
    AgentWords question;        // in front of the path, before the agent is asked
    bool tellsAnswer;           // the answer is logged behind the question
    const char* failed;         // the answer CHECKFILE_ERROR
    const char* unknownAnswer;  // one that has no meaning
    const char* unknownInterface;
};

// --- The agent

// Borrows its table, which must outlive it; it keeps nothing else, so that two objects on one table
// say the same. An agent that throws has failed: PATCH_ERROR, CHECKFILE_ERROR, PATCHAGENT_NO; a
// path that it was asked for stays as it was.
class Agent {
  public:
    explicit Agent(_PatchAgent& table) : table_(table) {}
    virtual ~Agent() = default;
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Fills the table from the library `file`, or with the defaults (see agent/KvPatchAgent.h).
    // False for an interface that does not exist: the table is left alone.
    [[nodiscard]] virtual bool load(const char* file, const AgentLoadWords& words) = 0;

    // Whether a rollback may begin. The old interface says yes here and is asked by `start`.
    [[nodiscard]] virtual bool agreesToRollback() = 0;

    // Before the first item. The old interface is asked where each class goes, which fills `paths`,
    // and whether it agrees to a rollback. PATCH_GOON, or why the run ends: PATCH_ERROR is also a
    // refusal that binds.
    [[nodiscard]] virtual PatchStartAnswer start(const updateStru& description,
                                                 const AgentStartWords& words,
                                                 AgentPaths& paths) = 0;

    // Where an update puts this item's files; valid as long as `item` and `paths`.
    [[nodiscard]] virtual const char* destinationOf(const tag_ItemInfo& item,
                                                    AgentPaths& paths) = 0;

    // An item starts or ends. `answer` becomes the agent's, 0 for no; without a call it is left
    // alone.
    [[nodiscard]] virtual ItemCall startItem(const AgentItem& item, int& answer) = 0;
    [[nodiscard]] virtual ItemCall endItem(int success, const AgentItem& item, int& answer) = 0;

    // What an item of this class is called in the agent's interface.
    [[nodiscard]] virtual const char* nounOf(unsigned itemClass) const = 0;

    // Asks about one file. An answer without a meaning gives `otherwise`, an interface that does
    // not exist kSkip. A null path is logged as "Null_File".
    [[nodiscard]] FileDecision decideFile(const char* path, const AgentFileWords& words,
                                          FileDecision otherwise);

    // After the last item. What the agent answers changes nothing any more. `unknownInterface`, the
    // error for an interface that does not exist, may be null.
    virtual void end(int success, const char* unknownInterface) = 0;

    // The text of a table that is meant for this interface.
    [[nodiscard]] virtual const char* wordOf(const AgentWords& words) const = 0;

  protected:
    // False when nobody could be asked.
    [[nodiscard]] virtual bool askFile(const char* path, const AgentFileWords& words,
                                       int& answer) = 0;

    [[nodiscard]] _PatchAgent& table() const { return table_; }

    // Every call of an entry point that answers: an exception that leaves it counts as `failure`.
    template <typename Entry, typename... Arguments>
    [[nodiscard]] static int answerOf(int failure, Entry* entry, Arguments... arguments) {
        try {
            return entry(arguments...);
        } catch (...) {
            return failure;
        }
    }

    // For a text that may be null.
    static void say(const char* text);
    static void sayError(const char* text);
    // What StartPatch or StartAction answered.
    [[nodiscard]] static PatchStartAnswer heed(int answer, const AgentStartCallWords& words);
    [[nodiscard]] static const char* shownPath(const char* path);
    [[nodiscard]] static const char* truthText(int success);

  private:
    _PatchAgent& table_;
};

// The forms of an agent; everybody but Conversation knows them as Agent.
class OldAgent final : public Agent {
  public:
    using Agent::Agent;
    bool load(const char* file, const AgentLoadWords& words) override;
    bool agreesToRollback() override { return true; }
    PatchStartAnswer start(const updateStru& description, const AgentStartWords& words,
                           AgentPaths& paths) override;
    const char* destinationOf(const tag_ItemInfo& item, AgentPaths& paths) override;
    ItemCall startItem(const AgentItem& item, int& answer) override;
    ItemCall endItem(int success, const AgentItem& item, int& answer) override;
    const char* nounOf(unsigned itemClass) const override;
    void end(int success, const char* unknownInterface) override;
    const char* wordOf(const AgentWords& words) const override { return words.oldAgent; }

  protected:
    bool askFile(const char* path, const AgentFileWords& words, int& answer) override;

  private:
    bool mayGoOn(const AgentConsentWords& words);
};

class NewAgent final : public Agent {
  public:
    using Agent::Agent;
    bool load(const char* file, const AgentLoadWords& words) override;
    bool agreesToRollback() override;
    PatchStartAnswer start(const updateStru& description, const AgentStartWords& words,
                           AgentPaths& paths) override;
    const char* destinationOf(const tag_ItemInfo& item, AgentPaths& paths) override;
    ItemCall startItem(const AgentItem& item, int& answer) override;
    ItemCall endItem(int success, const AgentItem& item, int& answer) override;
    const char* nounOf(unsigned itemClass) const override;
    void end(int success, const char* unknownInterface) override;
    const char* wordOf(const AgentWords& words) const override { return words.newAgent; }

  protected:
    bool askFile(const char* path, const AgentFileWords& words, int& answer) override;
};

// Stands for an interface that does not exist: nothing is ever called.
class UnknownAgent final : public Agent {
  public:
    using Agent::Agent;
    bool load(const char* file, const AgentLoadWords& words) override;
    bool agreesToRollback() override { return true; }
    PatchStartAnswer start(const updateStru& description, const AgentStartWords& words,
                           AgentPaths& paths) override;
    const char* destinationOf(const tag_ItemInfo& item, AgentPaths& paths) override;
    ItemCall startItem(const AgentItem& item, int& answer) override;
    ItemCall endItem(int success, const AgentItem& item, int& answer) override;
    const char* nounOf(unsigned itemClass) const override;
    void end(int success, const char* unknownInterface) override;
    const char* wordOf(const AgentWords& /*words*/) const override { return nullptr; }

  protected:
    bool askFile(const char* path, const AgentFileWords& words, int& answer) override;
};

// Holds the Agent for a table, in the form that the table's version names.
class Conversation {
  public:
    explicit Conversation(_PatchAgent& table);
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    Agent* operator->() { return agent_; }
    Agent& operator*() { return *agent_; }

  private:
    std::variant<UnknownAgent, OldAgent, NewAgent> form_;
    Agent* agent_;
};
