#include "base/KvFailure.h"

#include <cerrno>
#include <cstring>

#include "base/KvText.h"

namespace {

bool s_isNoted = false;
KvFailure s_failure;

void note(const char* subject, int error, const char* reason) {
    if (s_isNoted) {
        return;
    }
    (void)Strncpy(s_failure.subject, subject, sizeof s_failure.subject);
    s_failure.error = error;
    s_failure.reason = reason;
    s_isNoted = true;
}

// Without the NULs behind the text, of which there are thousands.
void copyFailure(KvFailure& to, const KvFailure& from) {
    (void)memcpy(to.subject, from.subject, strlen(from.subject) + 1);
    to.error = from.error;
    to.reason = from.reason;
}

}  // namespace

void noteFailure(const char* subject, int error) {
    note(subject, error, nullptr);
}

void noteFailure(const char* subject, const char* reason) {
    note(subject, 0, reason != nullptr ? reason : "unknown");
}

bool isFailureNoted() {
    return s_isNoted;
}

bool takeFailure(KvFailure& failure) {
    if (!s_isNoted) {
        return false;
    }
    copyFailure(failure, s_failure);
    s_isNoted = false;
    return true;
}

void clearFailure() {
    s_isNoted = false;
}

const char* reasonOf(const KvFailure& failure) {
    return failure.reason != nullptr ? failure.reason : reasonOf(failure.error);
}

const char* reasonOf(int error) {
    switch (error) {
        case kErrorNotRegularFile:
            return "Not a regular file";
        case kErrorForeignLink:
            return "Link of another user";
        default:
            return strerror(error);
    }
}

KvFailureScope::KvFailureScope() : hadOne_(s_isNoted) {
    if (hadOne_) {
        copyFailure(before_, s_failure);
    }
    s_isNoted = false;
}

KvFailureScope::~KvFailureScope() {
    if (hadOne_) {
        copyFailure(s_failure, before_);
    }
    s_isNoted = hadOne_;
}
