// What the tests of the backup names share: making one, and a store to make it in.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "store/KvBackupName.h"
#include "tests/store/StoreNames.h"
#include "tests/support/TempTree.h"

// The file name of a fresh backup file that `make` makes, or "failed".
template <typename Make>
std::string freshNameBy(const std::string& dir, Make make) {
    char path[4096];
    if (!make(dir.c_str(), path, sizeof path)) {
        return "failed";
    }
    struct stat status {};
    EXPECT_EQ(0, stat(path, &status)) << path;
    EXPECT_EQ(0, status.st_size);
    return std::string(path).substr(std::string(path).rfind('/') + 1);
}

// The first free name of a search that starts anew.
inline std::string freshName(const std::string& dir) {
    return freshNameBy(dir, crtUniFile);
}

// The next name of a run.
inline std::string nextName(BackupNames& names, const std::string& dir) {
    return freshNameBy(
        dir, [&](const char* path, char* out, size_t size) { return names.make(path, out, size); });
}

// The name with that number: three digits, and one more whenever all of them are used up.
inline std::string nameOf(uint64_t number) {
    size_t digits = 3;
    for (uint64_t names = 46656; number >= names; names *= 36) {
        number -= names;
        ++digits;
    }
    std::string name(digits, '0');
    for (size_t i = digits; i > 0; --i, number /= 36) {
        name[i - 1] = "0123456789abcdefghijklmnopqrstuvwxyz"[number % 36];
    }
    return "backup." + name;
}

class BackupNameTest : public testing::Test {
  protected:
    // A record whose one value is `text`.
    void writeRecord(const std::string& text) const {
        tree_.write(record_, "[item_0]\nwritten.0=" + text + "\n");
    }

    TempTree tree_;
    std::string store_ = "app/" + kStore + "3/5/";
    std::string dir_ = tree_.path(store_);
    std::string record_ = "app/" + kRecordFile;
};
