// What update and rollback have in common: the agent is started, each item is a transaction (start,
// prepare the record, do, end), and after a failure all that the run did so far is undone. In what
// the two differ stands in an ActionPlan and in what they do with one item.
#pragma once

#include "agent/KvAgent.h"
#include "base/KvScoped.h"
#include "patch/KvUpdateStru.h"
#include "store/KvBackupName.h"
#include "store/KvBackupStru.h"
#include "updater/KvAutoRollback.h"
#include "updater/KvItemStep.h"
#include "updater/KvRunStatus.h"

// The loaded patch agent and the parsed patch description, which is released first.
struct ActionScope {
    Owned<_PatchAgent, unloadPatchAgent> agent;
    OwnedUpdateStru description;
};

struct ActionPlan {
    const char* name;               // stands in front of the messages
    AgentStartWords start;          // what is said to the agent before the first item
    VcRunStatus whenProgramIsOpen;  // the agent wants the protected program closed first
    bool isLastItemFirst;           // the order of the items
    bool isDestinationFirst;        // recorded before, not after the agent is told of the item
    const char* destinationLost;    // no memory for it
    const char* itemFailed;         // behind every other message on why; null: nothing
    AutoRollbackMode undoing;       // of a run that failed
};

class ActionRun {
  public:
    ActionRun(const ActionRun&) = delete;
    ActionRun& operator=(const ActionRun&) = delete;

    // The whole run, up to its record in the store. A run for whose record there is no memory is
    // not begun (kStatusOutOfMemory).
    [[nodiscard]] VcRunStatus run();

  protected:
    // Borrows its arguments. The agent is loaded already.
    ActionRun(_PatchAgent& table, updateStru& description, const ActionPlan& plan);
    virtual ~ActionRun() = default;

    // The flags that this item adds to those that it is started with; they stay set for all later
    // items, on purpose.
    [[nodiscard]] virtual unsigned flagsOf(const tag_ItemInfo& item) const = 0;

    // What the action does with an item that the agent lets through; a failure says why.
    [[nodiscard]] virtual VcRunStatus process(const tag_ItemInfo& item, ItemContext& context) = 0;

    // All items succeeded: ends the agent and brings the record into the store. `endAnswer` is the
    // agent's to the end of the last item.
    virtual void finish(int endAnswer, const backupStru& record) = 0;

    [[nodiscard]] Agent& agent() { return *talk_; }
    [[nodiscard]] AgentPaths& paths() { return paths_; }
    [[nodiscard]] const updateStru& description() const { return description_; }

  private:
    VcRunStatus startAgent();
    VcRunStatus runItems();
    VcRunStatus runItem(tag_ItemInfo& item, backupItem& backup);
    VcRunStatus startItem(tag_ItemInfo& item);
    VcRunStatus keepDestination(const tag_ItemInfo& item, backupItem& backup);
    VcRunStatus endItem(VcRunStatus status, tag_ItemInfo& item);
    void undo();

    _PatchAgent& table_;
    Conversation talk_;
    updateStru& description_;
    const ActionPlan& plan_;
    AgentPaths paths_;
    OwnedBackupStru record_;  // one item for each of the description
    BackupNames names_;
    unsigned flags_ = 0;
    unsigned endAnswer_ = 0;
};
