// Writing of a KvIniUtil document.
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "ini/KvIniDocument.h"
#include "ini/KvIniUtil.h"

namespace {

// Whatever the document was parsed with, this is what is written.
constexpr char kWrittenSeparator = '=';
constexpr mode_t kNewFileMode = 0666;  // less the umask

// Counts what it is given, and copies it when it has a place to put it.
class Sink {
  public:
    explicit Sink(char* target = nullptr) : target_(target) {}

    [[nodiscard]] size_t size() const { return size_; }

    void put(const char* bytes, size_t count) {
        if (target_ != nullptr && count > 0) {
            memcpy(target_ + size_, bytes, count);
        }
        size_ += count;
    }
    void put(char ch) { put(&ch, 1); }
    void put(const KvIniText& text) { put(text.c_str(), text.length()); }
    void put(const KvSimpleString& text) { put(text.c_str(), text.length()); }

  private:
    char* target_;
    size_t size_ = 0;
};

void putKeys(const KvIniSection& section, Sink& sink) {
    for (const KvIniEntry* key = section.keys.first(); key != nullptr;
         key = section.keys.after(key)) {
        sink.put(key->leadingText);
        sink.put(key->name);
        sink.put(kWrittenSeparator);
        sink.put(key->value);
        sink.put('\n');
        sink.put(key->trailingText);
    }
}

// Adds room for `count` more characters; false when there is no memory.
bool extend(KvSimpleString& text, size_t count) {
    const size_t wanted = text.length() + count;
    while (text.length() < wanted) {
        const size_t before = text.length();
        text.append(static_cast<int>(std::min<size_t>(wanted - before, INT_MAX)), ' ');
        if (text.failed()) {
            return false;
        }
    }
    return true;
}

bool rewrite(const char* path, KvLastLink link, const KvSimpleString& text) {
    ScopedFd file(openRegularFile(path, O_WRONLY | O_CREAT | O_TRUNC, link, kNewFileMode));
    if (file.isOpen() && writeAll(file.get(), text.c_str(), text.length()) && closeWritten(file)) {
        return true;
    }
    noteFailure(path, errno);
    return false;
}

}  // namespace

// Measures first and fills afterwards: a large document needs its room once, in one piece.
bool KvIniDocument::dumpTo(KvSimpleString& out) const {
    const auto putAll = [this](Sink sink) {
        for (const KvIniSection* each = sections.first(); each != nullptr;
             each = sections.after(each)) {
            sink.put(each->leadingText);
            // The global section never gets a header, and nor does a section that came as "[]": its
            // keys then stand under the header before. Kept so; no look-up ever reached them.
            if (!each->name.empty()) {
                sink.put(s_LeftSquareBracket);
                sink.put(each->name);
                sink.put(s_RightSquareBracket);
                sink.put('\n');
            }
            sink.put(each->afterHeaderText);
            putKeys(*each, sink);
        }
        sink.put(trailer);
        return sink.size();
    };
    const size_t length = putAll(Sink());
    const size_t before = out.length();
    if (length == 0) {
        return true;
    }
    if (!extend(out, length)) {
        return false;
    }
    putAll(Sink(&out[before]));
    return true;
}

// The text is complete before the file is touched: without memory for it nothing gets lost.
bool KvIniDocument::writeTo(const char* file) const {
    KvSimpleString text;
    // A document that lacks something would take the rest out of the file. Why it does was noted.
    if (!isWhole || KvSimpleString::isFailed(file) || !dumpTo(text)) {
        noteFailure(file, ENOMEM);
        return false;
    }
    // Byte by byte: one that is half of a double-byte character becomes another character. Kept so.
    if (convertBackslashes && !text.empty()) {
        std::replace(&text[0], &text[0] + text.length(), '\\', '/');
    }
    return rewrite(file, lastLink, text);
}

void KvIniUtil::dump(KvSimpleString& out) const {
    if (document_ != nullptr) {
        (void)document_->dumpTo(out);  // without memory `out` stays as it was
    }
}

bool KvIniUtil::flushTo(const char* path) const {
    return document_ != nullptr && path != nullptr && *path != '\0' && document_->writeTo(path);
}

bool KvIniUtil::flush(bool force) const {
    if (document_ == nullptr || document_->fromText || document_->path.empty()) {
        return false;
    }
    const bool isDue = force || (document_->modified && !document_->discarded);
    return isDue && document_->writeTo(document_->path.c_str());
}
