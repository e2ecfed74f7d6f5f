#include "base/KvSimpleStream.h"

#include <cstring>

#include "base/KvText.h"

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

constexpr size_t kIntTextCapacity = 16;

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

void KvSimpleIStream::open(const char* path, int mode) {
    KvSimpleStream::open(path, mode | in);
    lastCount = 0;
    // A file that did not open keeps the state of that failure alone.
    if (is_open()) {
        seek(0, SEEK_SET);
    }
}

KvSimpleIStream& KvSimpleIStream::read(char* buf, size_t n) {
    const bool possible = buf != nullptr && usable() != nullptr;
    // Also once the end was reached: reading goes by the file, not by the bits of earlier calls.
    lastCount = possible ? fread(buf, 1, n, usable()) : 0;
    if (!possible) {
        add(badBit);
    } else if (lastCount < n) {
        add(eofBit);
    }
    return *this;
}

int KvSimpleIStream::get() {
    lastCount = 0;
    if (usable() == nullptr) {
        add(badBit);
        return -1;
    }
    const int byte = fgetc(usable());
    if (byte == EOF) {
        add(eofBit);
        return -1;
    }
    // Kept: after any earlier trouble the byte is handed out but not counted.
    lastCount = state == 0 ? 1 : 0;
    return byte;
}

int KvSimpleIStream::peek() {
    // Kept: nothing is put back, and whoever peeks has taken the byte.
    return get();
}

KvSimpleIStream& KvSimpleIStream::getline(char* buf, size_t n, char delim) {
    lastCount = 0;
    if (buf == nullptr || usable() == nullptr) {
        add(badBit);
        return *this;
    }
    bool atDelimiter = false;
    while (!atDelimiter && lastCount + 1 < n) {
        const int byte = fgetc(usable());
        if (byte == EOF) {
            add(eofBit);
            break;
        }
        buf[lastCount++] = static_cast<char>(byte);
        atDelimiter = static_cast<char>(byte) == delim;
    }
    // A buffer without a single byte cannot even take the terminator.
    if (n > 0) {
        buf[lastCount] = '\0';
    }
    // A delimiter that comes as the last byte that fits is a full buffer, too.
    if (lastCount + 1 >= n || lastCount == 0) {
        add(failBit);
    }
    return *this;
}

KvSimpleIStream& KvSimpleIStream::ignore(size_t n, char delim) {
    lastCount = 0;
    if (failedOrBad()) {
        return *this;
    }
    if (usable() == nullptr) {
        add(badBit);
        return *this;
    }
    while (lastCount < n) {
        const int byte = fgetc(usable());
        if (byte == EOF) {
            add(eofBit);
            break;
        }
        ++lastCount;
        if (static_cast<char>(byte) == delim) {
            break;
        }
    }
    return *this;
}

KvSimpleIStream& KvSimpleIStream::putback(char c) {
    if (usable() == nullptr || fseek(usable(), -1, SEEK_CUR) != 0) {
        add(badBit);
        return *this;
    }
    // Reading the byte again also moves back to where the stream was, should it be another one.
    const int byte = fgetc(usable());
    if (byte == EOF || static_cast<char>(byte) != c) {
        add(badBit);
        return *this;
    }
    seek(-1, SEEK_CUR);
    return *this;
}

long KvSimpleIStream::tellg() {
    // Only the failure bit hides the position; a bad stream still tells it.
    if (fail()) {
        return -1;
    }
    const long position = usable() != nullptr ? ftell(usable()) : -1;
    if (position < 0) {
        add(badBit);
        return -1;
    }
    return position;
}

KvSimpleIStream& KvSimpleIStream::seekg(long offset, int whence) {
    seek(offset, whence);
    return *this;
}

void KvSimpleOStream::open(const char* path, int mode) {
    KvSimpleStream::open(path, mode | out);
}

KvSimpleOStream& KvSimpleOStream::write(const char* buf, size_t n) {
    if (buf == nullptr || usable() == nullptr || fwrite(buf, 1, n, usable()) != n) {
        add(badBit);
    }
    return *this;
}

KvSimpleOStream& KvSimpleOStream::put(char c) {
    return write(&c, 1);
}

KvSimpleOStream& KvSimpleOStream::flush() {
    if (usable() == nullptr) {
        add(badBit);
        // Kept: a flush that fails reports the end of the file, not a bad stream.
    } else if (!failedOrBad() && fflush(usable()) != 0) {
        add(eofBit);
    }
    return *this;
}

long KvSimpleOStream::tellp() const {
    // Asking changes no state here, unlike on the reading side.
    return !failedOrBad() && usable() != nullptr ? ftell(usable()) : -1;
}

KvSimpleOStream& KvSimpleOStream::seekp(long offset, int whence) {
    seek(offset, whence);
    return *this;
}

KvSimpleOStream& KvSimpleOStream::operator<<(int number) {
    char text[kIntTextCapacity];
    Snprintf(text, sizeof(text), "%d", number);
    return *this << text;
}

KvSimpleOStream& KvSimpleOStream::operator<<(char ch) {
    return put(ch);
}

KvSimpleOStream& KvSimpleOStream::operator<<(const char* text) {
    // Nothing to write is no reason to notice a missing file.
    return text != nullptr && *text != '\0' ? write(text, strlen(text)) : *this;
}

KvSimpleOStream& KvSimpleOStream::operator<<(const KvSimpleString& text) {
    return text.empty() ? *this : write(text.c_str(), text.length());
}

KvSimpleOStream& KvSimpleOStream::operator<<(KvSimpleOStream& (*manipulator)(KvSimpleOStream&)) {
    return manipulator != nullptr ? manipulator(*this) : *this;
}

KvSimpleOStream& endl(KvSimpleOStream& stream) {
    return stream.put('\n').flush();
}
