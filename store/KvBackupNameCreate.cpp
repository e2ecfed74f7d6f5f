// The counting of the backup names, and BackupNames: a fresh file under the first free one.
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <utility>

#include "base/KvFailure.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "ini/KvIniUtil.h"
#include "store/KvBackupName.h"
#include "store/KvBackupRecord.h"

namespace {

constexpr mode_t kEmptyMode = 0644;

constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr uint64_t kBase = sizeof kDigits - 1;
constexpr size_t kFewestDigits = 3;
constexpr uint64_t kShortestNames = kBase * kBase * kBase;

// More than any directory holds: all names of up to twelve digits have numbers of 64 bits.
constexpr size_t kMostDigits = 12;

constexpr size_t kShortestExtension = sizeof ".000";

enum class Creation {
    kMade,
    kTaken,
    kNoDirectory,
    kNoRoom,  // for the path
    kFailed,
};

Creation createExclusively(const char* path, mode_t mode, ScopedFd& file) {
    file.reset(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file.isOpen()) {
        return Creation::kMade;
    }
    switch (errno) {
        case EEXIST:
            return Creation::kTaken;
        case ENOENT:
            return Creation::kNoDirectory;
        default:
            return Creation::kFailed;
    }
}

// Stores the last `count` digits of `value` and a NUL.
void storeDigits(uint64_t value, size_t count, char* out) {
    out[count] = '\0';
    while (count-- > 0) {
        out[count] = kDigits[value % kBase];
        value /= kBase;
    }
}

// Stores the dot and the digits of the name with that number. False when they do not fit.
bool storeExtension(uint64_t number, char* out, size_t size) {
    size_t count = kFewestDigits;
    for (uint64_t names = kShortestNames; number >= names; names *= kBase) {
        number -= names;
        ++count;
    }
    if (size < sizeof "." + count) {
        return false;
    }
    out[0] = '.';
    storeDigits(number, count, out + 1);
    return true;
}

// A path whose extension changes until it is free.
struct Candidate {
    const char* path;
    char* extension;  // its end
    size_t room;      // for the extension
    mode_t mode;      // of the file
};

// Makes the first file from `next` on whose name is neither mentioned nor taken; `next` becomes the
// number behind it. After a failure `next` is the number that was tried, and `errno` says why.
Creation createFirstFree(const std::vector<uint64_t>& mentioned, uint64_t& next,
                         const Candidate& candidate, ScopedFd& file) {
    auto mention = std::lower_bound(mentioned.begin(), mentioned.end(), next);
    for (;; ++next) {
        for (; mention != mentioned.end() && *mention == next; ++mention) {
            ++next;
        }
        if (!storeExtension(next, candidate.extension, candidate.room)) {
            return Creation::kNoRoom;
        }
        const Creation result = createExclusively(candidate.path, candidate.mode, file);
        if (result == Creation::kMade) {
            ++next;
        }
        if (result != Creation::kTaken) {
            return result;
        }
    }
}

// Appends the numbers of all names that the digits at `text` contain: each run of at least three
// digits that begins there.
void appendNames(const char* text, std::vector<uint64_t>& numbers) {
    uint64_t value = 0;
    uint64_t shorterNames = 0;
    uint64_t names = 1;
    for (size_t count = 1; count <= kMostDigits && *text != '\0'; ++count, ++text) {
        const char* const digit = strchr(kDigits, *text);
        if (digit == nullptr) {
            return;
        }
        value = value * kBase + static_cast<uint64_t>(digit - kDigits);
        names *= kBase;
        if (count >= kFewestDigits) {
            numbers.push_back(shorterNames + value);
            shorterNames += names;
        }
    }
}

struct Mentions {
    std::vector<uint64_t> numbers;
    bool isComplete = true;
};

void collectMentions(const char* value, void* context) {
    auto& mentions = *static_cast<Mentions*>(context);
    try {
        while ((value = strstr(value, kBackupFilePrefix)) != nullptr) {
            value += strlen(kBackupFilePrefix);
            if (*value == '.') {
                appendNames(value + 1, mentions.numbers);
            }
        }
    } catch (const std::bad_alloc&) {
        mentions.isComplete = false;
    }
}

// The record of the store that `dir` lies in; "" when its path does not fit.
void recordPathFor(const char* dir, char (&out)[kPathCapacity]) {
    const std::string text(dir);
    // Kept: without the mark the end wraps around to 8, and the record is looked for below the
    // directory's first 8 characters.
    const size_t end = text.find(kBackupStoreName) + strlen(kBackupStoreName);
    if (CatURIWithPath(out, kPathCapacity, text.substr(0, end).c_str(), kBackupRecordName) != 0) {
        out[0] = '\0';
    }
}

}  // namespace

void r36tostr(uint64_t value, char* out, size_t /*size*/) {
    if (out == nullptr) {
        return;
    }
    storeDigits(value, kFewestDigits, out);
}

void extSeed(char* ext, size_t size) {
    // Nothing draws from the generator; the names are counted up, never random.
    srand(static_cast<unsigned>(time(nullptr)));
    if (ext == nullptr) {
        return;
    }
    ext[0] = '.';
    r36tostr(0, ext + 1, size - 1);
}

void extInc(char* ext, size_t size, int64_t inc) {
    if (ext == nullptr || ext[0] == '\0') {
        return;
    }
    const auto number = static_cast<uint32_t>(strtol(ext + 1, nullptr, static_cast<int>(kBase)));
    r36tostr(number + static_cast<uint64_t>(inc), ext + 1, size - 1);
}

// Null when the record cannot be read to its end, or when there is no memory for what it mentions.
const BackupNames::Numbers* BackupNames::readRecord(const char* dir) {
    char path[kPathCapacity];
    recordPathFor(dir, path);
    const auto known = records_.find(path);
    if (known != records_.end()) {
        return &known->second;
    }
    const RecordDocument record = openRecord(path);
    if (!record || !record->isWhole()) {
        noteFailure(path, ENOMEM);  // unless the document has noted better
        return nullptr;
    }
    Mentions mentions;
    record->visitValues(collectMentions, &mentions);
    if (!mentions.isComplete) {
        noteFailure(path, ENOMEM);
        return nullptr;
    }
    Numbers& numbers = mentions.numbers;
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return &records_.emplace(path, std::move(numbers)).first->second;
}

// Null when there is no memory, or no record to trust.
BackupNames::Directory* BackupNames::find(const char* dir) {
    const auto known = directories_.find(dir);
    if (known != directories_.end()) {
        return &known->second;
    }
    const Numbers* const mentioned = readRecord(dir);
    return mentioned != nullptr ? &directories_.emplace(dir, Directory{mentioned}).first->second
                                : nullptr;
}

// Opens the file that `make` makes. What the system refuses is noted.
bool BackupNames::open(const char* dir, char* out, size_t size, mode_t mode, ScopedFd& file) {
    if (CatURIWithPath(out, static_cast<int>(size), dir, kBackupFilePrefix) != 0 ||
        size - strlen(out) < kShortestExtension) {
        return false;
    }
    Directory* const directory = find(dir);
    if (directory == nullptr) {
        return false;
    }
    const size_t length = strlen(out);
    const Candidate candidate{out, out + length, size - length, mode};
    // A directory that cannot be made shows when the file cannot be made. Its path is used as the
    // caller spells it, which with backslashes is another one than that of the file.
    const bool wasMade = std::exchange(directory->isMade, true);
    if (!wasMade) {
        (void)KvFileOpUtil::createDir(dir);
    }
    Creation result = createFirstFree(*directory->mentioned, directory->next, candidate, file);
    if (result == Creation::kNoDirectory && wasMade) {
        // Somebody has removed it since. Whether it can be made again shows in the same way.
        (void)KvFileOpUtil::createDir(dir);
        result = createFirstFree(*directory->mentioned, directory->next, candidate, file);
    }
    if (result != Creation::kMade && result != Creation::kNoRoom) {
        noteFailure(out, errno);
    }
    return result == Creation::kMade;
}

bool BackupNames::makeOpen(const char* dir, char* out, size_t size, mode_t mode, ScopedFd& file) {
    if (dir == nullptr || out == nullptr || size == 0) {
        return false;
    }
    try {
        return open(dir, out, size, mode, file);
    } catch (const std::bad_alloc&) {
        noteFailure(dir, ENOMEM);
        return false;
    }
}

bool BackupNames::make(const char* dir, char* out, size_t size) {
    ScopedFd file;
    return makeOpen(dir, out, size, kEmptyMode, file);
}

char* BackupNames::buffer() {
    if (buffer_ == nullptr) {
        buffer_.reset(static_cast<char*>(malloc(kBufferSize)));
    }
    return buffer_.get();
}

bool BackupNames::markPutBack(const char* copy) {
    try {
        putBack_.insert(copy);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool BackupNames::isPutBack(const char* copy) const {
    return putBack_.find(copy) != putBack_.end();
}

bool crtUniFile(const char* dir, char* out, size_t size) {
    return BackupNames().make(dir, out, size);
}
