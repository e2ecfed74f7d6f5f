// A backupStru that tests build item by item and that releases itself.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "store/KvBackupStru.h"

class RunBackup {
  public:
    explicit RunBackup(int32_t agentVersion, const char* agentFile = nullptr) {
        backup_.patchAgentVersion = agentVersion;
        backup_.patchAgentFile = agentFile != nullptr ? strdup(agentFile) : nullptr;
    }
    ~RunBackup() { freeBackupStru(&backup_); }
    RunBackup(const RunBackup&) = delete;
    RunBackup& operator=(const RunBackup&) = delete;

    // Begins the next item; the calls below belong to it.
    RunBackup& item(uint32_t itemClass, uint32_t type, const char* origin, const char* result,
                    const std::string& destination) {
        const uint64_t count = backup_.itemCount + 1;
        backup_.items =
            static_cast<backupItem*>(realloc(backup_.items, count * sizeof(backupItem)));
        backup_.itemCount = count;
        backupItem& added = last();
        added = {};
        added.itemClass = itemClass;
        added.type = type;
        added.originVersion = MakeVersionByClass(origin, itemClass);
        added.resultVersion = MakeVersionByClass(result, itemClass);
        added.destination = strdup(destination.c_str());
        return *this;
    }

    RunBackup& added(const std::string& path) {
        EXPECT_TRUE(appendAddedFile(&last(), strdup(path.c_str())));
        return *this;
    }

    RunBackup& written(const std::string& entry) {
        EXPECT_TRUE(appendWrittenFile(&last(), strdup(entry.c_str())));
        return *this;
    }

    // An item that the run never reached has no destination.
    RunBackup& unreached() {
        free(std::exchange(last().destination, nullptr));
        return *this;
    }

    backupItem& last() { return backup_.items[backup_.itemCount - 1]; }
    [[nodiscard]] const backupStru* get() const { return &backup_; }
    // The same for what takes a record that it could change.
    [[nodiscard]] backupStru* record() { return &backup_; }

  private:
    backupStru backup_{};
};
