// crtUniFile: a fresh file under the first free backup name.
#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "store/KvBackupName.h"
#include "store/KvBackupNameIndex.h"

namespace {

constexpr size_t kExtensionCapacity = 5;
constexpr mode_t kFileMode = 0644;
constexpr timespec kFullPause{0, 1000000};

enum class Creation {
    kMade,
    kTaken,
    kFailed,
};

// The record of the store that `dir` lies in.
void recordPathFor(const char* dir, char (&out)[kPathCapacity]) {
    const KvSimpleString text(dir);
    // Kept: without the mark the end wraps around to 8, and the record is looked for below the
    // directory's first 8 characters.
    const size_t end = text.find(kBackupStoreName) + sizeof kBackupStoreName - 1;
    // A path that is too long names no record, and nothing is mentioned.
    (void)CatURIWithPath(out, kPathCapacity, text.substr(0, end).c_str(), kBackupRecordName);
}

// The directory that `dir` joined with a name leads to, for the system's calls.
KvSimpleString directoryOf(const char* prefixPath) {
    const size_t length = strlen(prefixPath) - strlen(kBackupFilePrefix);
    return length > 0 ? KvSimpleString(prefixPath, static_cast<int>(length)) : KvSimpleString(".");
}

Creation createExclusively(const char* path) {
    const ScopedFd fd(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode));
    if (fd.isOpen()) {
        return Creation::kMade;
    }
    return errno == EEXIST ? Creation::kTaken : Creation::kFailed;
}

void setExtension(char* path, size_t prefixLength, size_t number) {
    char extension[kExtensionCapacity];
    extSeed(extension, sizeof extension);
    extInc(extension, sizeof extension, static_cast<int64_t>(number));
    memcpy(path + prefixLength, extension, sizeof extension);
}

// The names taken in `directory`, which is made first when it is missing. `dir` is the same one as
// the caller has written it.
KvBackupNameSet& readOrMake(const char* dir, const KvSimpleString& directory) {
    KvTakenNames& takenNames = takenBackupNames();
    KvBackupNameSet& taken = takenNames.read(directory.c_str());
    // Only a path without backslashes is the same to everybody.
    if (takenNames.exists() && directory == dir) {
        return taken;
    }
    // A directory that cannot be made shows when the file cannot be made.
    (void)KvFileOpUtil::createDir(dir, nullptr, nullptr);
    return takenNames.read(directory.c_str());
}

// Makes the first file that is neither mentioned nor taken in `directory`; its name goes behind the
// prefix in `out`.
bool makeFirstFree(const KvBackupNameSet& mentioned, KvBackupNameSet* taken, const char* directory,
                   char* out, size_t prefixLength) {
    KvTakenNames& takenNames = takenBackupNames();
    for (;;) {
        const size_t number = KvBackupNameSet::firstOutside(mentioned, *taken);
        if (number == kBackupNameCount) {
            // Kept: the search has no end; it goes on until somebody removes a file.
            (void)nanosleep(&kFullPause, nullptr);
            taken = &takenNames.read(directory);
            continue;
        }
        setExtension(out, prefixLength, number);
        const Creation result = createExclusively(out);
        if (result == Creation::kFailed) {
            return false;
        }
        // A name that was taken after all, by a file of this moment or by one whose name differs in
        // case where the file system sees no difference, is known from here on too.
        taken->insert(number);
        if (result == Creation::kMade) {
            takenNames.remember(directory);
            return true;
        }
    }
}

}  // namespace

bool crtUniFile(const char* dir, char* out, size_t size) {
    static KvRecordNames recordNames;
    if (dir == nullptr || out == nullptr || size == 0) {
        return false;
    }
    const bool joined = CatURIWithPath(out, static_cast<int>(size), dir, kBackupFilePrefix) == 0;
    const size_t prefixLength = strlen(out);
    if (!joined || size - prefixLength < kExtensionCapacity) {
        return false;
    }
    const KvSimpleString directory = directoryOf(out);
    char recordPath[kPathCapacity];
    recordPathFor(dir, recordPath);
    return makeFirstFree(recordNames.read(recordPath), &readOrMake(dir, directory),
                         directory.c_str(), out, prefixLength);
}

BackupRemovalScope::BackupRemovalScope(const char* path)
    : directory_(KvFileOpUtil::getDirName(path)),
      number_(numberOfBackupName(KvFileOpUtil::getFileName(path).c_str())),
      wasCurrent_(number_ != kBackupNameCount && takenBackupNames().isCurrent(directory_.c_str())) {
}

BackupRemovalScope::~BackupRemovalScope() {
    if (!wasCurrent_) {
        return;  // nothing was known, or somebody else has changed the directory: it is listed anew
    }
    char name[sizeof kBackupFilePrefix + kExtensionCapacity];
    Strncpy(name, kBackupFilePrefix, sizeof name);
    setExtension(name, strlen(name), number_);
    if (!KvFileOpUtil::isExist((directory_ + name).c_str())) {
        takenBackupNames().names().erase(number_);
    }
    takenBackupNames().remember(directory_.c_str());
}
