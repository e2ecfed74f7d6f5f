// createDir.
#include <cerrno>
#include <new>
#include <string>
#include <vector>

#include "base/KvFailure.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "fileop/KvTreeStep.h"

namespace {

constexpr mode_t kDirMode = 0775;  // less the umask

// Goes up from the directory asked for to the first level that needs no making, then down again.
// It is a loop because the depth of a path is the caller's choice and the stack is not.
class DirMaker {
  public:
    DirMaker(const char* path, const KvStep& step)
        : path_(path), step_(step), shown_(path), text_(path) {}

    int run() {
        const int topmost = climb();
        return missing_.empty() ? topmost : descend(topmost);
    }

  private:
    // Looks at each level from the lowest up and notes those that are missing; returns the result
    // of the level that ended the climb.
    int climb() {
        size_t length = text_.size();
        const char* argument = path_;
        while (length > 0) {
            step_.begin(argument, nullptr);
            const int answer = step_.before(KvFileOpUtil::kCreateDir);
            if (answer != KvFileOpUtil::kGoOn) {
                return KvStep::resultOf(answer);
            }
            const size_t bare = isPathSeparator(text_[length - 1]) ? length - 1 : length;
            if (isRoot(length) || isRoot(bare)) {
                return KvFileOpUtil::kDone;
            }
            if (isDir(bare)) {
                return step_.after();
            }
            missing_.push_back(bare);
            length = parentLength(bare);
            argument = show(length);
        }
        return KvFileOpUtil::kDone;
    }

    // Parents are shown with their '/'. The last one that was shown stands until the end: every
    // call after a level still sees it, which is kept as it is because callbacks may count on it.
    const char* show(size_t length) {
        if (length > 0) {
            shown_.resize(length);
        }
        return shown_.c_str();
    }

    int descend(int result) {
        for (auto level = missing_.rbegin(); level != missing_.rend(); ++level) {
            // Why a parent failed is not told: not even the value of a callback that stopped.
            if (result != KvFileOpUtil::kDone || !make(*level)) {
                return KvFileOpUtil::kDestinationNotWritable;
            }
            result = step_.after();
        }
        return result;
    }

    [[nodiscard]] bool isRoot(size_t length) const {
        return length == 0 || (length == 1 && isPathSeparator(text_[0]));
    }

    // The length of the directory part, '/' included, of the first `length` bytes.
    [[nodiscard]] size_t parentLength(size_t length) const {
        while (length > 0 && !isPathSeparator(text_[length - 1])) {
            --length;
        }
        return length <= 1 ? 0 : length;
    }

    bool isDir(size_t length) {
        const char kept = cutAt(length);
        const bool found = KvFileOpUtil::isDir(text_.c_str());
        text_[length] = kept;
        return found;
    }

    bool make(size_t length) {
        const char kept = cutAt(length);
        const bool isMade = sysMkdir(text_.c_str(), kDirMode) == 0;
        if (!isMade) {
            noteFailure(text_.c_str(), errno);
        }
        text_[length] = kept;
        return isMade;
    }

    char cutAt(size_t length) {
        const char kept = text_[length];
        text_[length] = '\0';
        return kept;
    }

    const char* path_;
    KvStep step_;
    std::string shown_;
    std::string text_;
    std::vector<size_t> missing_;  // lengths of the missing levels, without '/', lowest first
};

}  // namespace

int KvFileOpUtil::createDir(const char* path, Callback callback, CallbackEntry* entry) {
    if (path == nullptr) {
        return kBadParameters;
    }
    if (KvSimpleString::isFailed(path)) {
        noteFailure(path, ENOMEM);
        return kDestinationNotWritable;
    }
    try {
        return DirMaker(path, {callback, entry}).run();
    } catch (const std::bad_alloc&) {
        noteFailure(path, ENOMEM);
        return kDestinationNotWritable;
    }
}
