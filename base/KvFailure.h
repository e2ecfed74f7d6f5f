// The note by which a lower room tells why the system made it fail, so that whoever reports the
// failure can name the cause. Results keep their shapes; only the cause travels beside them.
//
// One note exists in a process, of fixed size: nothing here needs memory. The first failure noted
// is the cause and stays until it is taken or cleared; later ones, which mostly follow from it, are
// ignored. One thread at a time.
//
// Who notes: the code whose system call failed, or that had no memory, in the moment when it
// decides to fail because of it. Who takes: the code that reports the failure (log/KvReport.h).
// Around an operation stands a KvFailureScope: no older failure is taken for its cause, and what it
// noted and nobody took is forgotten, as is right when the caller goes on by design.
#pragma once

inline constexpr int kFailureSubjectCapacity = 4096;

// Errors beside those of the system, in the same numbers: no errno is negative.
enum KvErrorNumber : int {
    kErrorNotRegularFile = -1,  // a directory has EISDIR
    kErrorForeignLink = -2,     // a link that belongs to neither the user nor root
};

struct KvFailure {
    char subject[kFailureSubjectCapacity];  // the path or name concerned, cut to this size
    int error;                              // an errno or a KvErrorNumber; 0 when `reason` tells
    const char* reason;                     // null when `error` tells
};

// Notes a failure unless one is noted already. A null `subject` is ""; a null `reason` is unknown.
// A `reason` must live as long as the process. `errno` stays as it is.
void noteFailure(const char* subject, int error);
void noteFailure(const char* subject, const char* reason);

[[nodiscard]] bool isFailureNoted();

// Hands the noted failure over, so that it is noted no longer; false, with `failure` untouched,
// when there is none.
[[nodiscard]] bool takeFailure(KvFailure& failure);

void clearFailure();

// The reason in words, never null: valid until the next call for an error that the system does not
// know, for ever otherwise.
[[nodiscard]] const char* reasonOf(const KvFailure& failure);
[[nodiscard]] const char* reasonOf(int error);

// Begins with nothing noted. At its end what was noted inside is forgotten, and what was noted
// before is noted again. Scopes may be nested.
class KvFailureScope {
  public:
    KvFailureScope();
    ~KvFailureScope();
    KvFailureScope(const KvFailureScope&) = delete;
    KvFailureScope& operator=(const KvFailureScope&) = delete;

  private:
    bool hadOne_;
    KvFailure before_;  // set only when there was one
};
