// KvMatchList: what a tree operation handles for one path, entry by entry.
#pragma once

#include <optional>

#include "base/KvSimpleString.h"
#include "fileop/KvDirList.h"

// The entries of a `KvDirList` of the path, less the directories whose names do not match its
// filter. For a plainly named path that is no directory the only possible match is looked up
// instead: handling n named files of one directory costs n, not n times the listing.
class KvMatchList {
  public:
    // `path` has '/' as its only separator.
    explicit KvMatchList(const KvSimpleString& path);

    // Moves on to the next match (to the first at the first call); false when there is none.
    bool next();

    // Of the current match: the path with its directory part, the name alone, and whether it is a
    // directory now, told by its path.
    [[nodiscard]] const KvSimpleString& path() const { return path_; }
    [[nodiscard]] const KvSimpleString& name() const { return name_; }
    [[nodiscard]] bool isDir() const { return isDir_; }

    // False when the list ended early for want of memory.
    [[nodiscard]] bool isComplete() const { return !list_.has_value() || list_->isComplete(); }

  private:
    void lookUp(const KvSimpleString& path);

    std::optional<KvDirList> list_;  // absent where looking the name up told enough
    bool isFound_ = false;           // the named file was found and not yet handed out
    KvSimpleString path_;
    KvSimpleString name_;
    bool isDir_ = false;
};
