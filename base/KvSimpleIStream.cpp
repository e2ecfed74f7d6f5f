// Input streams.
#include "base/KvSimpleStream.h"

void KvSimpleIStream::open(const char* path, int mode) {
    KvSimpleStream::open(path, mode | in);
    lastCount = 0;
    if (is_open()) {
        seek(0, SEEK_SET);
    }
}

KvSimpleIStream& KvSimpleIStream::read(char* buf, size_t n) {
    lastCount = 0;
    if (buf == nullptr || usable() == nullptr) {
        add(badBit);
        return *this;
    }
    lastCount += fread(buf, 1, n, usable());
    if (lastCount < n) {
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
    lastCount = state == 0 ? 1 : 0;
    return byte;
}

int KvSimpleIStream::peek() {
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
    const int byte = fgetc(usable());
    if (byte == EOF || static_cast<char>(byte) != c) {
        add(badBit);
        return *this;
    }
    seek(-1, SEEK_CUR);
    return *this;
}

long KvSimpleIStream::tellg() {
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
