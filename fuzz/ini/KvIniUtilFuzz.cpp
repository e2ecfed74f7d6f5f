// Loads arbitrary bytes as an INI document, edits it by a script, and compares every answer and
// every text with the simple reference; writes it, loads it again and compares again.
//
// An input is: one byte of rules (see rulesOf), one byte with the number of steps, four bytes for
// each step (what, section, key, value), and the document.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "base/KvScoped.h"
#include "tests/ini/IniDocument.h"
#include "tests/ini/IniModel.h"
#include "tests/support/CodePage.h"
#include "tests/support/TempTree.h"

namespace {

using Text = IniModel::Text;

void require(bool holds) {
    if (!holds) {
        abort();
    }
}

bool isJapaneseLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

bool isChineseLead(unsigned char byte) {
    return byte >= 0x81 && byte <= 0xFE;
}

// A file with this content, until the next one is made: documents are read when they are made.
class GivenFile {
  public:
    explicit GivenFile(const std::string& content) {
        static const TempTree tree;
        path_ = tree.write("given", content);
    }

    [[nodiscard]] const std::string& path() const { return path_; }

    // More is not worth trying.
    static constexpr size_t kCapacity = 16384;

  private:
    std::string path_;
};

struct Rules {
    IniModel::Rules model;
    unsigned codePage = 0;
    bool fromText = false;
    bool toFile = false;
};

Rules rulesOf(uint8_t bits) {
    Rules rules;
    rules.model.caseSensitive = (bits & 1U) != 0;
    rules.model.commentChar = (bits & 2U) != 0 ? '#' : ';';
    rules.model.separator = (bits & 4U) != 0 ? ':' : '=';
    rules.fromText = (bits & 8U) != 0;
    rules.toFile = (bits & 64U) != 0;
    if ((bits & 16U) != 0) {
        rules.codePage = (bits & 32U) != 0 ? 932 : 936;
        rules.model.isLead = (bits & 32U) != 0 ? isJapaneseLead : isChineseLead;
    }
    return rules;
}

const char* pointerTo(const Text& text) {
    return text ? text->c_str() : nullptr;
}

// The document beside its reference.
class Pair {
  public:
    Pair(const std::string& text, const Rules& rules)
        : model_(text, rules.model),
          document_((rules.fromText ? text : GivenFile(text).path()).c_str(),
                    rules.model.commentChar, rules.model.caseSensitive, rules.fromText,
                    rules.model.separator) {
        document_.discard();
    }

    void step(uint8_t what, const Text& section, const Text& key, const Text& value) {
        switch (what % 5) {
            case 0:
                model_.set(section, key, value);
                document_.set(pointerTo(section), pointerTo(key), pointerTo(value));
                break;
            case 1:
                model_.add(section, key, value);
                document_.add(pointerTo(section), pointerTo(key), pointerTo(value));
                break;
            case 2:
                model_.del(section, key);
                document_.del(pointerTo(section), pointerTo(key));
                break;
            case 3:
                model_.del(section);
                document_.del(pointerTo(section));
                break;
            default:
                requireSameFinds(section, key, value);
        }
        const char* answer = document_.get(pointerTo(section), pointerTo(key));
        require((answer != nullptr ? Text(answer) : Text()) == model_.get(section, key));
    }

    void requireSameFinds(const Text& section, const Text& key, const Text& value) const {
        KvSimpleStringVector found;
        document_.find(pointerTo(value), pointerTo(section), found);
        require(asTexts(found) == model_.find(value, section));
        document_.find(pointerTo(value), found);
        require(asTexts(found) == model_.find(value));
        document_.findKey(pointerTo(key), pointerTo(section), found);
        require(asTexts(found) == model_.findKey(key, section));
        document_.findSection(pointerTo(section), found);
        require(asTexts(found) == model_.findSection(section));
    }

    // The text of both.
    [[nodiscard]] std::string requireSameText() const {
        std::string text = dumpOf(document_);
        require(text == model_.dump());
        require(document_.hasNonGlobalSection() == model_.hasNonGlobalSection());
        return text;
    }

    [[nodiscard]] bool write(const std::string& path) const {
        return document_.flushTo(path.c_str());
    }

  private:
    IniModel model_;
    KvIniUtil document_;
};

// A text by its number: some that often matter, else a piece of the document.
Text textOf(uint8_t number, const std::string& document) {
    static const Text kTexts[] = {Text(), "",   " ",   "a",  "A",   "b",      "key", " a ", "\va",
                                  "a=b",  ";a", "[a]", "\n", "a\r", "\x81\\", "]",   "k1",  "k2"};
    if (number < std::size(kTexts)) {
        return kTexts[number];
    }
    if (number < 64) {
        return "k" + std::to_string(number);
    }
    const size_t begin = document.empty() ? 0 : number % document.size();
    const std::string piece = document.substr(begin, 1 + number % 7);
    return piece.substr(0, piece.find('\0'));
}

// What was written once is written the same for ever after.
void requireStable(const std::string& written) {
    const std::string second = Pair(written, Rules()).requireSameText();
    require(Pair(second, Rules()).requireSameText() == second);
}

// The text after all steps.
std::string edited(const std::string& text, const Rules& rules, const uint8_t* script,
                   size_t steps) {
    const CodePage codePage(rules.codePage);
    Pair pair(text, rules);
    (void)pair.requireSameText();
    for (size_t i = 0; i < steps; ++i) {
        const uint8_t* step = script + 4 * i;
        pair.step(step[0], textOf(step[1], text), textOf(step[2], text), textOf(step[3], text));
    }
    std::string written = pair.requireSameText();
    if (rules.toFile) {
        static const TempTree tree;
        require(pair.write(tree.path("written")));
        require(tree.read("written") == written);
    }
    return written;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2 || size > GivenFile::kCapacity) {
        return 0;
    }
    const Rules rules = rulesOf(data[0]);
    const size_t steps = std::min<size_t>(data[1], (size - 2) / 4);
    const uint8_t* script = data + 2;
    std::string text(script + 4 * steps, data + size);
    if (rules.fromText) {
        text.resize(std::min(text.size(), text.find('\0')));
    }
    const std::string written = edited(text, rules, script, steps);
    if (written.size() <= GivenFile::kCapacity) {
        requireStable(written);
    }
    return 0;
}
