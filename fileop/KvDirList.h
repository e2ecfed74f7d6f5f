// KvDirList: the entries of one directory, read once when the object is made.
#pragma once

#include "base/KvSimpleString.h"
#include "base/KvSimpleVector.h"

// The argument is a directory ("d/" or the existing "d": everything in it) or a pattern ("d/*.ini",
// "*.ini": the files that match). Directories are taken whatever the filter says; "." and ".." are
// not. Names come in the system's order. A directory that does not exist (any more) gives an empty
// list; one that cannot be listed to its end for another reason gives a list that is not complete.
//
// What is a directory is decided while reading; a link to a directory is one.
class KvDirList {
  public:
    // Null counts as the empty text, which lists the current directory. A pattern directly under
    // the root ("/x*"), and the root itself, list the current directory too; that is kept. A text
    // for which there was no memory lists nothing.
    explicit KvDirList(const char* pathOrPattern);

    [[nodiscard]] bool hasNext() const;

    // The directory part and the name of the next entry; moves on. Past the end: empty.
    KvSimpleString getNext();

    // The next entry's name without its directory; does not move on. Past the end: empty.
    [[nodiscard]] KvSimpleString getFileName() const;

    // Whether the next entry is a directory; does not move on. Past the end: false.
    [[nodiscard]] bool isNextDir() const;

    // The pattern in use; "*" when the argument named none.
    [[nodiscard]] KvSimpleString getFilter() const;

    // The directory part and the name of the first entry that is no directory; empty without one.
    [[nodiscard]] KvSimpleString getFirstFileName() const;

    // How many entries are no directories.
    [[nodiscard]] unsigned int getFileCount() const;

    [[nodiscard]] bool hasSubDir() const;

    // False when the list ends early: the system failed, or there was no memory.
    [[nodiscard]] bool isComplete() const { return error == 0; }

    // Why it ends early, an errno; 0 for a complete list.
    [[nodiscard]] int getError() const { return error; }

    // The directory that is listed, as the system is told it.
    [[nodiscard]] const char* getDirectory() const {
        return dirPath.empty() && !dirPath.failed() ? "./" : dirPath.c_str();
    }

  private:
    void read();
    [[nodiscard]] bool add(const char* name, bool isDirectory);

    KvSimpleString dirPath;  // ends with '/', or is empty for the current directory
    KvSimpleString filter;
    KvSimpleStringVector names;
    unsigned int index = 0;
    KvSimpleString kinds;  // one letter per name: a directory or something else
    int error = 0;
};
