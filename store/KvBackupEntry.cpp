#include "store/KvBackupEntry.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "fileop/KvPath.h"

namespace {

constexpr char kPieceSeparator = ',';
constexpr char kPieceSeparators[] = {kPieceSeparator, '\0'};

}  // namespace

BackupEntryParts splitBackupEntry(const char* entry) {
    BackupEntryParts parts;
    KvSimpleString pieces[kBackupEntryPieces + 1];
    bool isComplete = true;
    const char* begin = entry;
    for (KvSimpleString& piece : pieces) {
        if (!Str_Piece(entry, kPieceSeparator, static_cast<int>(parts.pieceCount), piece)) {
            break;
        }
        // A string without memory is an empty one.
        const size_t length = strcspn(begin, kPieceSeparators);
        isComplete = isComplete && piece.length() == length;
        begin += length + 1;
        Str_TrimAll(piece);
        ++parts.pieceCount;
    }
    if (!isComplete) {
        parts.pieceCount = 0;
    }
    parts.backupName = FileNameOf(pieces[0].c_str());
    parts.target = std::move(pieces[1]);
    return parts;
}

HeapCopy makeBackupEntry(const char* backupName, const char* target, char*& entry) {
    entry = nullptr;
    if (backupName == nullptr || target == nullptr) {
        return HeapCopy::kCopyFailed;
    }
    // Every copy has a name, but there may have been no memory for it.
    if (*backupName == '\0') {
        return HeapCopy::kNoMemory;
    }
    const size_t size = strlen(backupName) + strlen(target) + sizeof ", ";
    ScopedHeap<char> block(static_cast<char*>(malloc(size)));
    if (!block) {
        return HeapCopy::kNoMemory;
    }
    if (Snprintf(block.get(), size, "%s, %s", backupName, target) <= 0) {
        return HeapCopy::kCopyFailed;
    }
    entry = block.release();
    return HeapCopy::kDone;
}

bool backupFileOfEntry(const BackupEntryParts& parts, const char* backupDir, char* out,
                       size_t size) {
    // Without a name the path would be that of all copies.
    if (out == nullptr || size == 0 || parts.backupName.empty()) {
        return false;
    }
    return CatURIWithPath(out, static_cast<int>(size), backupDir, parts.backupName.c_str()) == 0;
}
