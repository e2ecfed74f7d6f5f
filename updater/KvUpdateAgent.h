// What an update says to its patch agent, and where it lets the agent have its way, apart from
// items and files: all in which the two interfaces differ there.
#pragma once

#include "agent/KvAgentPaths.h"
#include "agent/KvPatchAgent.h"
#include "patch/KvUpdateStru.h"

// Borrows the agent and the description, which must outlive it.
class UpdateAgent {
  public:
    UpdateAgent(const _PatchAgent& agent, const updateStru& description)
        : agent_(agent), description_(description) {}
    virtual ~UpdateAgent() = default;
    UpdateAgent(const UpdateAgent&) = delete;
    UpdateAgent& operator=(const UpdateAgent&) = delete;

    // Before the first item: kStatusSuccess, or the status that ends the update.
    [[nodiscard]] virtual unsigned start() = 0;

    // The flags that this item is started with.
    [[nodiscard]] virtual unsigned flagsFor(const tag_ItemInfo& item) = 0;

    // Where this item's files go; valid until the next call.
    [[nodiscard]] virtual const char* destinationOf(const tag_ItemInfo& item) = 0;

    // After the last item. `accepted` tells whether the agent accepted the end of that one.
    virtual void end(bool accepted) = 0;

  protected:
    const _PatchAgent& agent_;
    const updateStru& description_;
};

// Is asked once a class where the items go, and told by a mask of classes what they are.
class OldUpdateAgent : public UpdateAgent {
  public:
    using UpdateAgent::UpdateAgent;

    [[nodiscard]] unsigned start() override;
    [[nodiscard]] unsigned flagsFor(const tag_ItemInfo& item) override;
    [[nodiscard]] const char* destinationOf(const tag_ItemInfo& item) override;
    void end(bool accepted) override;

  private:
    AgentPaths paths_;
    unsigned mask_ = 0;
    const char* destination_ = "";  // where the last item went
};

// Is told by item; the items go where the description says.
class NewUpdateAgent : public UpdateAgent {
  public:
    using UpdateAgent::UpdateAgent;

    [[nodiscard]] unsigned start() override;
    [[nodiscard]] unsigned flagsFor(const tag_ItemInfo& item) override;
    [[nodiscard]] const char* destinationOf(const tag_ItemInfo& item) override;
    void end(bool accepted) override;

  private:
    unsigned flags_ = 0;
};
