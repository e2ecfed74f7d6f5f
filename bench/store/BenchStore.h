// A backup store on the disk for one measurement, removed with the object.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "log/KvVcEventManager.h"
#include "store/KvBackupName.h"

class BenchStore {
  public:
    BenchStore() {
        // The log has its own measurements; here its file would hide everything else.
        g_pEventManager->redirectToCallback(nullptr, nullptr);
        std::string pattern = (std::filesystem::temp_directory_path() / "kv-XXXXXX").string();
        root_ = mkdtemp(pattern.data());
        std::filesystem::create_directories(directory());
    }
    ~BenchStore() { std::filesystem::remove_all(root_); }
    BenchStore(const BenchStore&) = delete;
    BenchStore& operator=(const BenchStore&) = delete;

    [[nodiscard]] const std::string& destination() const { return root_; }
    // The backup directory of class 3, type 5.
    [[nodiscard]] std::string directory() const { return root_ + "/VC_Backup/3/5/"; }
    [[nodiscard]] std::string recordPath() const { return root_ + "/VC_Backup/VcBackup.ini"; }

    void writeRecord(const std::string& text) const {
        std::ofstream(recordPath(), std::ios::trunc) << text;
    }

    static std::string name(uint64_t number) {
        char digits[4];
        r36tostr(number, digits, sizeof digits);
        return std::string("backup.") + digits;
    }

    // A record of `items` items with `files` written entries each. The names repeat from item to
    // item, as they do where every item has a directory of its own.
    static std::string record(int64_t items, int64_t files) {
        std::string text =
            "[common]\nitemcount=" + std::to_string(items) + "\npatchagent.version=1\n";
        for (int64_t i = 0; i < items; ++i) {
            text += "[item_" + std::to_string(i) + "]\nclass=3\ntype=" + std::to_string(i) +
                    "\norigin.version=1\nresult.version=2\nadded.filecount=0\n"
                    "written.filecount=" +
                    std::to_string(files) + "\n";
            for (int64_t k = 0; k < files; ++k) {
                text += "written." + std::to_string(k) + "=" + name(static_cast<uint64_t>(k)) +
                        ", /opt/app/data/file" + std::to_string(k) + ".dat\n";
            }
        }
        return text;
    }

  private:
    std::string root_;
};
