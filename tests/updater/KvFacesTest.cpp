// The two faces of the floor: each brings in all that its module offers, in the agreed shapes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "updater/KvUpdaterStru.h"
#include "updater/KvVcUpdater.h"

namespace {

template <typename Shape, typename Function>
constexpr bool has(Function) {
    return std::is_same_v<Function, Shape>;
}

using Entry = KvFileOpUtil::CallbackEntry;

static_assert(has<unsigned (*)(KvIniUtil*)>(&update));
static_assert(has<unsigned (*)(_PatchAgent*, updateStru*)>(&rollbackWithPatchAgent));
static_assert(has<int (*)(_PatchAgent*, backupStru*, unsigned)>(&autoRollback));
static_assert(has<int (*)(ItemContext*)>(&rollbackItem));
static_assert(has<int (*)(Entry*)>(&callBackForUpdate));
static_assert(has<unsigned (*)(_PatchAgent*, const char*, unsigned, unsigned, tag_Version*,
                               tag_Version*, unsigned)>(&startEachItem));
static_assert(has<unsigned (*)(int, _PatchAgent*, unsigned, unsigned, tag_Version*, tag_Version*)>(
    &endEachItem));
static_assert(has<bool (*)()>(&WriteRebootList));
static_assert(has<void (*)(KvIniUtil*)>(&removeCachedFiles));
static_assert(has<int (*)(Entry*)>(&CB_DeleteFile));
static_assert(has<int (*)(Entry*)>(&CB_CheckEmptyDir));

static_assert(has<void (*)(updateStru*)>(&freeUpdateStru));
static_assert(has<void (*)(backupStru*)>(&freeBackupStru));
static_assert(has<void (*)(backupItem*)>(&expandBackupItem));
static_assert(has<bool (*)(const char*, char*, size_t)>(&crtUniFile));
static_assert(has<void (*)(uint64_t, char*, size_t)>(&r36tostr));
static_assert(has<void (*)(char*, size_t)>(&extSeed));
static_assert(has<void (*)(char*, size_t, int64_t)>(&extInc));

TEST(Faces, ABackupRecordHasItsFieldsInThisOrder) {
    const size_t record[] = {offsetof(backupStru, patchAgentVersion), offsetof(backupStru, items),
                             offsetof(backupStru, itemCount), offsetof(backupStru, patchAgentFile)};
    const size_t item[] = {
        offsetof(backupItem, itemClass),       offsetof(backupItem, type),
        offsetof(backupItem, originVersion),   offsetof(backupItem, resultVersion),
        offsetof(backupItem, addedCount),      offsetof(backupItem, addedCapacity),
        offsetof(backupItem, addedList),       offsetof(backupItem, writtenCount),
        offsetof(backupItem, writtenCapacity), offsetof(backupItem, writtenList),
        offsetof(backupItem, destination)};
    EXPECT_TRUE(std::is_sorted(std::begin(record), std::end(record)));
    EXPECT_TRUE(std::is_sorted(std::begin(item), std::end(item)));
}

TEST(Faces, AnItemContextHasItsFieldsInThisOrder) {
    const size_t context[] = {offsetof(ItemContext, backup),      offsetof(ItemContext, agent),
                              offsetof(ItemContext, destination), offsetof(ItemContext, count),
                              offsetof(ItemContext, itemClass),   offsetof(ItemContext, type)};
    EXPECT_TRUE(std::is_sorted(std::begin(context), std::end(context)));
}

}  // namespace
