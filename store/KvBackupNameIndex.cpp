#include "store/KvBackupNameIndex.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <string_view>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "ini/KvIniUtil.h"
#include "store/KvBackupName.h"
#include "store/KvRecordDocument.h"

namespace {

constexpr int64_t kNanosecond = 1;
constexpr int64_t kSecond = 1000000000;

// Several ticks of any clock that stamps files to fractions of a second; where stamps are whole
// seconds, at most two of them, a longer time is waited for.
constexpr int64_t kSettledWindow = kSecond / 20;
constexpr int64_t kCoarseWindow = 3 * kSecond;

constexpr std::string_view kNameStart = "backup.";
constexpr size_t kDigitCount = 3;
constexpr size_t kBase = 36;

int64_t nanoseconds(const timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * kSecond + static_cast<int64_t>(time.tv_nsec);
}

timespec asTimespec(int64_t time) {
    timespec result{};
    result.tv_sec = static_cast<time_t>(time / kSecond);
    result.tv_nsec = static_cast<long>(time % kSecond);
    return result;
}

int64_t now() {
    timespec time{};
    return clock_gettime(CLOCK_REALTIME, &time) == 0 ? nanoseconds(time) : 0;
}

// Whether a change from `moment` on is bound to show in the stamp.
bool isSettled(const KvFileStamp& stamp, int64_t moment) {
    const int64_t last = std::max(nanoseconds(stamp.modified), nanoseconds(stamp.changed));
    const bool coarse = stamp.modified.tv_nsec == 0 || stamp.changed.tv_nsec == 0;
    return last + (coarse ? kCoarseWindow : kSettledWindow) < moment;
}

size_t digitValue(char digit) {
    if (IsDigit(digit)) {
        return static_cast<size_t>(digit - '0');
    }
    return digit >= 'a' && digit <= 'z' ? static_cast<size_t>(digit - 'a') + 10 : kBase;
}

// The number of the three digits at `digits`; kBackupNameCount when they are not three.
size_t numberOfDigits(const char* digits) {
    size_t number = 0;
    for (size_t i = 0; i < kDigitCount; ++i) {
        // A text that ends too early stops at its NUL, which is no digit.
        const size_t value = digitValue(digits[i]);
        if (value == kBase) {
            return kBackupNameCount;
        }
        number = number * kBase + value;
    }
    return number;
}

void insertNamesOfValue(const char* value, void* names) {
    insertBackupNames(value, *static_cast<KvBackupNameSet*>(names));
}

bool setModified(const char* directory, int64_t time) {
    const timespec times[] = {{0, UTIME_OMIT}, asTimespec(time)};
    return utimensat(AT_FDCWD, directory, times, 0) == 0;
}

void listDirectory(const char* directory, KvBackupNameSet& names) {
    names.clear();
    const ScopedDir dir(opendir(directory));
    if (!dir) {
        return;  // taken names then show when a file cannot be made
    }
    while (const dirent* entry = readdir(dir.get())) {
        const size_t number = numberOfBackupName(entry->d_name);
        if (number != kBackupNameCount) {
            names.insert(number);
        }
    }
}

}  // namespace

size_t KvBackupNameSet::firstOutside(const KvBackupNameSet& a, const KvBackupNameSet& b) {
    for (size_t word = 0; word < a.words_.size(); ++word) {
        uint64_t outside = ~(a.words_[word] | b.words_[word]);
        if (outside == 0) {
            continue;
        }
        size_t bit = 0;
        for (; (outside & 1) == 0; outside >>= 1) {
            ++bit;
        }
        return word * kBits + bit;
    }
    return kBackupNameCount;
}

size_t numberOfBackupName(const char* name) {
    const std::string_view text(name);
    const bool fits = text.compare(0, kNameStart.size(), kNameStart) == 0 &&
                      text.size() == kNameStart.size() + kDigitCount;
    return fits ? numberOfDigits(name + kNameStart.size()) : kBackupNameCount;
}

void insertBackupNames(const char* text, KvBackupNameSet& names) {
    const std::string_view value(text != nullptr ? text : "");
    size_t found = value.find(kNameStart);
    while (found != std::string_view::npos) {
        const size_t digits = found + kNameStart.size();
        const size_t number = numberOfDigits(value.data() + digits);
        if (number != kBackupNameCount) {
            names.insert(number);
        }
        // Names do not overlap: their start never begins inside itself, and no digit is a '.'.
        found = value.find(kNameStart, digits);
    }
}

KvFileStamp KvFileStamp::of(const char* path) {
    KvFileStamp stamp;
    struct stat status {};
    if (stat(path, &status) != 0) {
        return stamp;
    }
    stamp.exists = true;
    stamp.device = status.st_dev;
    stamp.inode = status.st_ino;
    stamp.size = status.st_size;
#ifdef __APPLE__
    stamp.modified = status.st_mtimespec;
    stamp.changed = status.st_ctimespec;
#else
    stamp.modified = status.st_mtim;
    stamp.changed = status.st_ctim;
#endif
    return stamp;
}

bool operator==(const KvFileStamp& a, const KvFileStamp& b) {
    return a.exists == b.exists && a.device == b.device && a.inode == b.inode && a.size == b.size &&
           nanoseconds(a.modified) == nanoseconds(b.modified) &&
           nanoseconds(a.changed) == nanoseconds(b.changed);
}

const KvBackupNameSet& KvRecordNames::read(const char* path) {
    // The moment comes first: whatever changes the record after it is stamped later than it.
    const int64_t moment = now();
    const KvFileStamp stamp = KvFileStamp::of(path);
    if (settled_ && stamp == stamp_ && codePage_ == GetCurrentCharType()) {
        return names_;
    }
    names_.clear();
    stamp_ = stamp;
    codePage_ = GetCurrentCharType();
    // A missing record costs nothing to look for again.
    settled_ = stamp.exists && isSettled(stamp, moment);
    const RecordDocument record = openRecord(path);
    if (record) {
        record->visitValues(insertNamesOfValue, &names_);
    }
    return names_;
}

KvTakenNames::Slot& KvTakenNames::slotOf(const KvFileStamp& stamp) {
    const auto own = std::find_if(slots_.begin(), slots_.end(), [&](const Slot& slot) {
        return slot.stamp.exists && slot.stamp.device == stamp.device &&
               slot.stamp.inode == stamp.inode;
    });
    if (own != slots_.end()) {
        return *own;
    }
    // Directories are done one after the other, so the oldest slot is the one to give up.
    const bool isLast = current_ == &slots_.back();
    Slot& oldest = isLast ? slots_.front() : *(current_ + 1);
    oldest.isKnown = false;
    return oldest;
}

bool KvTakenNames::isCurrent(const char* directory) {
    const KvFileStamp stamp = KvFileStamp::of(directory);
    current_ = &slotOf(stamp);
    // The mark alone counts: size and change time differ after each of our own steps.
    const bool isMarked = nanoseconds(current_->stamp.modified) == nanoseconds(stamp.modified);
    const bool isSame = isMarked && current_->isKnown;
    current_->stamp = stamp;
    current_->isKnown = isSame;
    return isSame;
}

KvBackupNameSet& KvTakenNames::read(const char* directory) {
    if (!isCurrent(directory)) {
        listDirectory(directory, current_->names);
    }
    return current_->names;
}

void KvTakenNames::remember(const char* directory) {
    if (current_->isKnown) {
        // The mark that is older than the process's first step is older than any step since.
        current_->isKnown = setModified(directory, nanoseconds(current_->stamp.modified));
        return;
    }
    const int64_t made = nanoseconds(KvFileStamp::of(directory).modified);
    // The smallest step first; a file system that keeps whole seconds may round it away.
    for (const int64_t step : {kNanosecond, 2 * kSecond}) {
        if (!setModified(directory, made - step)) {
            return;  // somebody else's directory: it stays unknown, and is listed each time
        }
        current_->stamp = KvFileStamp::of(directory);
        if (nanoseconds(current_->stamp.modified) < made) {
            current_->isKnown = true;
            return;
        }
    }
}

KvTakenNames& takenBackupNames() {
    static KvTakenNames names;
    return names;
}
