// The few words in which tests speak about INI documents.
#pragma once

#include <string>
#include <vector>

#include "ini/KvIniUtil.h"

// A document parsed from text, of the usual kind where nothing else is said.
class TextDocument : public KvIniUtil {
  public:
    explicit TextDocument(const std::string& text, char commentChar = ';',
                          bool caseSensitive = false, char separator = '=')
        : KvIniUtil(text.c_str(), commentChar, caseSensitive, true, separator) {}
};

// A document bound to a file, opened as the system opens every file.
class FileDocument : public KvIniUtil {
  public:
    explicit FileDocument(const std::string& path)
        : KvIniUtil(path.c_str(), ';', false, false, '=') {}
};

inline std::string asText(const KvSimpleString& text) {
    return {text.c_str(), text.length()};
}

inline std::vector<std::string> asTexts(const KvSimpleStringVector& list) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < list.size(); ++i) {
        texts.push_back(asText(list[i]));
    }
    return texts;
}

inline std::string dumpOf(const KvIniUtil& document) {
    KvSimpleString text;
    document.dump(text);
    return asText(text);
}

// "(none)" for a key that is not there.
inline std::string valueOf(const KvIniUtil& document, const char* section, const char* key) {
    const char* value = document.get(section, key);
    return value != nullptr ? value : "(none)";
}
