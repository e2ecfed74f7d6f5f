#include "ini/KvVcCfg.h"

#include <cstring>

#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "ini/KvIniUtil.h"

namespace {

bool isOn(const KvIniUtil& config, const char* section, const char* key) {
    const char* value = config.get(section, key);
    return value != nullptr && strcmp(value, "1") == 0;
}

}  // namespace

KvVcCfg::KvVcCfg(const char* directory) {
    char file[kPathCapacity];
    const KvSimpleString name = KvFileOpUtil::getFileName(kConfigName);
    // A name that does not fit would be cut to another file's.
    if (directory == nullptr || CatPathWithPath(file, sizeof file, directory, name.c_str()) != 0) {
        return;
    }
    // Never modified, so its end writes nothing back.
    const KvIniUtil config = openDocument(file);
    useOldDirOrganization_ = isOn(config, "common", "bkd_use_old_dir_organization");
    forceDuplicatePatchagent_ = isOn(config, nullptr, "ForceDuplicatePatchagent");
    keepCacheOptimize_ = isOn(config, "Downloader", "keep_cache_file_on_success");
}
