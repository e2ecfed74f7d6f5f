// Output streams.
#include <cstring>

#include "base/KvSimpleStream.h"
#include "base/KvText.h"

namespace {

constexpr size_t kIntTextCapacity = 16;

}  // namespace

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
