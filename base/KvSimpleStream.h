// File streams: thin wrappers over a buffered `FILE`, which tell of every failure by their state.
//
// A stream that opened its file closes it when it is destroyed; a stream built over an existing
// `FILE` does not. An explicit close() or open() closes what is held in both cases. Not copyable.
//
// Operations add bits to the state and never take any away; only open() starts anew. Null texts and
// buffers are allowed everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "base/KvSimpleString.h"

class KvSimpleStream {
  public:
    // Open modes, a set of bits. in, out, out+truncated, out+app, in+out, in+out+truncated and
    // in+out+app are known, each also with binary and each also with ate; open() refuses everything
    // else.
    enum OpenMode : int {
        in = 1,
        out = 2,
        ate = 4,  // start at the end
        app = 8,
        truncated = 16,  // not "trunc": that is a function of <cmath>
        binary = 32,
    };

    // The bits of the state; 0 is good.
    enum State : int32_t {
        eofBit = 1,   // end of file reached
        failBit = 2,  // the operation did not do what it was asked for
        badBit = 4,   // the stream is unusable or an I/O call failed
    };

    KvSimpleStream() = default;
    explicit KvSimpleStream(FILE* existing) : file(existing), owned(false) {}
    KvSimpleStream(const KvSimpleStream&) = delete;
    KvSimpleStream& operator=(const KvSimpleStream&) = delete;
    virtual ~KvSimpleStream();

    // Closes any open file first. State 0 on success; state `failBit` and no file when the mode is
    // unknown or the file cannot be opened.
    void open(const char* path, int mode);

    // State `failBit` when the file does not close well (its last bytes may be lost then).
    void close();

    [[nodiscard]] bool is_open() const { return file != nullptr; }
    [[nodiscard]] bool eof() const { return (state & eofBit) != 0; }
    [[nodiscard]] bool fail() const { return (state & failBit) != 0; }
    [[nodiscard]] bool bad() const { return (state & badBit) != 0; }
    // All bits at once.
    [[nodiscard]] int32_t rdstate() const { return state; }

  protected:
    // The handle for I/O; null when there is none to work on.
    [[nodiscard]] FILE* usable() const { return closedEarly ? nullptr : file; }
    void add(State bit) { state |= bit; }
    [[nodiscard]] bool failedOrBad() const { return (state & (failBit | badBit)) != 0; }
    // `badBit` when there is no file or it cannot seek.
    void seek(long offset, int whence);

    int32_t state = 0;
    FILE* file = nullptr;
    bool owned = true;

  private:
    // The handle is still held but already closed (see open()); nothing may touch it any more.
    bool closedEarly = false;
};

// Positions are in bytes; `whence` is SEEK_SET, SEEK_CUR or SEEK_END.
class KvSimpleIStream : public KvSimpleStream {
  public:
    using KvSimpleStream::KvSimpleStream;

    // Adds `in` to the mode and starts at the beginning; `badBit` when the file cannot seek.
    void open(const char* path, int mode = in);

    // Up to `n` bytes; fewer than `n` is the end of file.
    KvSimpleIStream& read(char* buf, size_t n);

    // The next byte (0 to 255), or -1 at the end of file or without a file.
    int get();
    // The same as get(): it consumes the byte, and callers count on it.
    int peek();

    // Stores bytes up to and with `delim`, at most `n` - 1 of them, and a NUL. `failBit` when
    // `n` - 1 bytes are reached (what is left of the line stays unread) or none was stored.
    KvSimpleIStream& getline(char* buf, size_t n, char delim = '\n');

    // Skips up to `n` bytes, up to and with `delim`. Nothing once failed or bad.
    KvSimpleIStream& ignore(size_t n, char delim);

    // Steps back by one byte if that byte is `c`; else `badBit`, and the position stays.
    KvSimpleIStream& putback(char c);

    // -1 when failed or when the position cannot be told (`badBit`).
    long tellg();
    KvSimpleIStream& seekg(long offset, int whence = SEEK_SET);

    // How many bytes the last read, get, peek, getline or ignore took. get() and peek() count their
    // byte only while the state is good.
    [[nodiscard]] size_t gcount() const { return lastCount; }

  private:
    size_t lastCount = 0;
};

class KvSimpleOStream : public KvSimpleStream {
  public:
    using KvSimpleStream::KvSimpleStream;

    // Adds `out` to the mode.
    void open(const char* path, int mode = out);

    // `badBit` when not all bytes are taken.
    KvSimpleOStream& write(const char* buf, size_t n);
    KvSimpleOStream& put(char c);

    // Nothing once failed or bad. A flush that fails counts as the end of file (`eofBit`).
    KvSimpleOStream& flush();

    // -1 when failed or bad.
    [[nodiscard]] long tellp() const;
    KvSimpleOStream& seekp(long offset, int whence = SEEK_SET);

    KvSimpleOStream& operator<<(int number);  // in decimal
    KvSimpleOStream& operator<<(char ch);
    KvSimpleOStream& operator<<(const char* text);  // nothing for null or ""
    KvSimpleOStream& operator<<(const KvSimpleString& text);
    KvSimpleOStream& operator<<(KvSimpleOStream& (*manipulator)(KvSimpleOStream&));
};

// Ends the line and flushes: `lw_cout << "done" << endl`.
KvSimpleOStream& endl(KvSimpleOStream& stream);

// Standard output and standard error. They are built before every later static object of each
// source that includes this header, so such objects may already write to them.
inline KvSimpleOStream lw_cout{stdout};
inline KvSimpleOStream lw_cerr{stderr};
