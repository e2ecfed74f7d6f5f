// What `crtUniFile` remembers between calls: which backup names a record mentions, and which are
// taken in a backup directory. With it a call costs a fixed amount of work instead of a search
// through record and directory.
//
// The answers are those of a search that reads everything anew at each call. Before anything
// remembered is used it is checked against the file's identity and times:
//
// - A record is used again only when it had already been left alone for kSettledWindow when it was
//   read. Any later change then shows in its times, however coarse the clock of the file system is.
//   Until then it is read anew at each call.
// - A directory is written to by every call, and a change in the same tick of that clock would not
//   show. So after its first file the aid puts the directory's modification time a little back, and
//   after each further one to that same mark. Whoever else makes, removes or renames something in
//   it sets the time to the present, which is later: no removal is missed. Where the time cannot be
//   set (the directory belongs to somebody else) nothing is remembered and each call lists the
//   directory. The time that stays is that of the first file made in it.
//
// A name taken by somebody else is no danger in any case: files are made exclusively. Not noticed
// are a removal by another process in the very moment of a call (the lock of the run excludes
// that), and a change whose author puts back the times of directory or record to the nanosecond
// in the same tick.
//
// One thread at a time, as the whole run.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

// `backup.000` to `backup.zzz`, each by its number.
inline constexpr size_t kBackupNameCount = 46656;

class KvBackupNameSet {
  public:
    void clear() { words_.fill(0); }
    void insert(size_t number) { words_[number / kBits] |= uint64_t{1} << (number % kBits); }
    void erase(size_t number) { words_[number / kBits] &= ~(uint64_t{1} << (number % kBits)); }
    [[nodiscard]] bool contains(size_t number) const {
        return ((words_[number / kBits] >> (number % kBits)) & 1) != 0;
    }

    // The first number in neither set; kBackupNameCount when there is none.
    [[nodiscard]] static size_t firstOutside(const KvBackupNameSet& a, const KvBackupNameSet& b);

  private:
    static constexpr size_t kBits = 64;
    static_assert(kBackupNameCount % kBits == 0);

    std::array<uint64_t, kBackupNameCount / kBits> words_{};
};

// The number of a file name that is exactly a backup name; kBackupNameCount for every other.
[[nodiscard]] size_t numberOfBackupName(const char* name);

// Adds every backup name that occurs anywhere in `text`.
void insertBackupNames(const char* text, KvBackupNameSet& names);

// Identity and times of a file or a directory, to tell whether it has changed.
struct KvFileStamp {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};

    [[nodiscard]] static KvFileStamp of(const char* path);
};
[[nodiscard]] bool operator==(const KvFileStamp& a, const KvFileStamp& b);

// The names mentioned by the record that was asked for last.
class KvRecordNames {
  public:
    // The names in the values of the record at `path`, outside its global section; none when it is
    // missing. Valid until the next call.
    [[nodiscard]] const KvBackupNameSet& read(const char* path);

  private:
    KvBackupNameSet names_;
    KvFileStamp stamp_;
    unsigned int codePage_ = 0;  // decides what is a section header
    bool settled_ = false;
};

// The names taken in the few directories that were asked for last.
class KvTakenNames {
  public:
    KvTakenNames() = default;
    KvTakenNames(const KvTakenNames&) = delete;
    KvTakenNames& operator=(const KvTakenNames&) = delete;

    // The names in `directory`, checked or listed anew. The caller adds names that turn out to be
    // taken. Valid until the next call.
    [[nodiscard]] KvBackupNameSet& read(const char* directory);

    // Whether what is known of the directory still holds. It becomes the one read last, and what no
    // longer holds is forgotten.
    [[nodiscard]] bool isCurrent(const char* directory);

    // To be called right after the process itself has made or removed a file in the directory that
    // was read last and its name was added or erased: from here on the set is known to be the
    // directory's state.
    void remember(const char* directory);

    // Of the directory that was read last.
    [[nodiscard]] KvBackupNameSet& names() { return current_->names; }
    [[nodiscard]] bool exists() const { return current_->stamp.exists; }

  private:
    struct Slot {
        KvFileStamp stamp;     // the directory as it was seen last
        bool isKnown = false;  // whether `names` holds as long as it was modified at that time
        KvBackupNameSet names;
    };
    static constexpr size_t kSlots = 8;

    [[nodiscard]] Slot& slotOf(const KvFileStamp& stamp);

    std::array<Slot, kSlots> slots_;
    Slot* current_ = slots_.data();
};

// The one memory of the process.
[[nodiscard]] KvTakenNames& takenBackupNames();
