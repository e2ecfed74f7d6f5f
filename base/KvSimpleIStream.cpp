// Input streams.
#include "base/KvSimpleStream.h"

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
