// What input and output streams share: opening, closing, seeking.
#include "base/KvSimpleStream.h"

namespace {

struct ModeRow {
    int mode;
    const char* text;
};

// All modes that can be opened, with the ate bit removed.
constexpr ModeRow kModes[] = {
    {KvSimpleStream::in, "r"},
    {KvSimpleStream::out, "w"},
    {KvSimpleStream::out | KvSimpleStream::truncated, "w"},
    {KvSimpleStream::out | KvSimpleStream::app, "a"},
    {KvSimpleStream::in | KvSimpleStream::binary, "rb"},
    {KvSimpleStream::out | KvSimpleStream::binary, "wb"},
    {KvSimpleStream::out | KvSimpleStream::truncated | KvSimpleStream::binary, "wb"},
    {KvSimpleStream::out | KvSimpleStream::app | KvSimpleStream::binary, "ab"},
    {KvSimpleStream::in | KvSimpleStream::out, "r+"},
    {KvSimpleStream::in | KvSimpleStream::out | KvSimpleStream::truncated, "w+"},
    {KvSimpleStream::in | KvSimpleStream::out | KvSimpleStream::app, "a+"},
    {KvSimpleStream::in | KvSimpleStream::out | KvSimpleStream::binary, "r+b"},
    {KvSimpleStream::in | KvSimpleStream::out | KvSimpleStream::truncated | KvSimpleStream::binary,
     "w+b"},
    {KvSimpleStream::in | KvSimpleStream::out | KvSimpleStream::app | KvSimpleStream::binary,
     "a+b"},
};

// The binary flag changes nothing on POSIX systems; the table passes it on as it came.
// Null for a mode that no row has.
const char* modeText(int mode) {
    for (const ModeRow& row : kModes) {
        if (row.mode == mode) {
            return row.text;
        }
    }
    return nullptr;
}

}  // namespace

KvSimpleStream::~KvSimpleStream() {
    // Standard output and other borrowed files outlive their streams.
    if (owned && usable() != nullptr) {
        (void)fclose(file);  // nobody is left to ask how it went
    }
}

void KvSimpleStream::open(const char* path, int mode) {
    // Before the mode is looked at: a refused open leaves no file either.
    close();
    const char* text = modeText(mode & ~ate);
    if (text == nullptr || path == nullptr) {
        state = failBit;
        return;
    }
    file = fopen(path, text);
    if (file == nullptr) {
        state = failBit;
        return;
    }
    owned = true;
    state = 0;
    if ((mode & ate) != 0 && fseek(file, 0, SEEK_END) != 0) {
        // Kept: the file is closed while the stream goes on holding it, in a good state.
        (void)fclose(file);
        closedEarly = true;
    }
}

void KvSimpleStream::close() {
    if (file == nullptr) {
        return;
    }
    // Closing for a second time is what would be undefined; it counts as a close that fails.
    if (usable() == nullptr || fclose(file) != 0) {
        state = failBit;
    }
    file = nullptr;
    closedEarly = false;
}

void KvSimpleStream::seek(long offset, int whence) {
    if (usable() == nullptr || fseek(usable(), offset, whence) != 0) {
        add(badBit);
    }
}
