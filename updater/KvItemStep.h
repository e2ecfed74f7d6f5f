// Telling the patch agent that an item starts and ends. The old interface is told by component
// class and gets packed version numbers, the new one is told by item and gets the version records;
// these two functions hide the difference from the actions.
//
// Versions: `origin` is what the item comes from, `result` what it goes to. The old interface gets
// their first words; for patterns these are turned into the agents' pattern numbering (types 0 to 4
// into the old three-digit one) and shifted into the high 16 bits. The new interface gets the
// pointers themselves and may write through them.
#pragma once

#include "agent/KvPatchAgent.h"
#include "base/KvVersion.h"

// Not 0: the item may be processed. 0: the agent refused it (its end call has then been made
// already, with success 0, and must not be made again), or class or interface are unknown,
// or something but the name is null.
// `name` is the item's archive name and may be null. Only the new interface receives `flags`.
[[nodiscard]] unsigned startEachItem(_PatchAgent* agent, const char* name, unsigned itemClass,
                                     unsigned type, tag_Version* origin, tag_Version* result,
                                     unsigned flags);

// The agent's answer: not 0 when it accepted the end. 0 as well for an unknown class or interface,
// or a null argument.
[[nodiscard]] unsigned endEachItem(int success, _PatchAgent* agent, unsigned itemClass,
                                   unsigned type, tag_Version* origin, tag_Version* result);
