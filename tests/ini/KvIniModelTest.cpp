// Random documents under random edits: after every step the engine and the simple reference must
// have the same text and give the same answers.
#include <gtest/gtest.h>

#include <random>

#include "tests/ini/IniDocument.h"
#include "tests/ini/IniModel.h"
#include "tests/support/CodePage.h"
#include "tests/support/TempTree.h"

namespace {

using Text = IniModel::Text;

class Dice {
  public:
    explicit Dice(unsigned startValue) : random_(startValue) {}

    size_t below(size_t count) { return random_() % count; }
    bool oneIn(size_t count) { return below(count) == 0; }

    // One of few names, in some spelling: blanks around it, capitals in it.
    std::string name(size_t count) {
        std::string text = (oneIn(2) ? "name" : "NaMe") + std::to_string(below(count));
        return oneIn(6) ? " " + text + "\t" : text;
    }
    Text section() { return oneIn(3) ? Text() : oneIn(8) ? Text(" ") : Text(name(sectionNames)); }
    Text key() { return oneIn(20) ? Text() : oneIn(20) ? Text("") : Text(name(keyNames)); }
    Text value() {
        return oneIn(10) ? Text() : Text((oneIn(2) ? " v" : "V") + std::to_string(below(30)));
    }
    Text pattern() {
        return oneIn(10) ? Text() : oneIn(5) ? Text("") : Text(oneIn(2) ? "v1" : "V");
    }
    Text prefix() { return oneIn(10) ? Text() : Text(oneIn(2) ? " name1" : "nAM"); }

    std::string document(size_t lines) {
        std::string text;
        while (lines-- > 0) {
            text += line() + (oneIn(5) ? "\r\n" : "\n");
        }
        return oneIn(3) ? text + line() : text;
    }

    size_t sectionNames = 8;
    size_t keyNames = 30;

  private:
    std::string line() {
        static const std::string kOdd[] = {"",     " \t",  "; a comment", "[]",  "=x",
                                           ";k=v", "text", "\v",          "[",   "[open=\x81\x5D",
                                           "]",    ":",    "a:b",         "#a=b"};
        switch (below(6)) {
            case 0:
                return kOdd[below(std::size(kOdd))];
            case 1:
                return oneIn(3) ? "[ " + name(sectionNames) + " ]" : "; remark";
            default:
                return name(keyNames) + (oneIn(2) ? "=" : " = ") + value().value_or("");
        }
    }

    std::mt19937 random_;
};

const char* pointerTo(const Text& text) {
    return text ? text->c_str() : nullptr;
}

class Pair {
  public:
    Pair(const std::string& text, const IniModel::Rules& rules)
        : model_(text, rules),
          document_(text.c_str(), rules.commentChar, rules.caseSensitive, true, rules.separator) {}
    // Of the file at `path`, which holds the text.
    Pair(const std::string& text, const std::string& path)
        : model_(text, {}), document_(path.c_str(), ';', false, false, '=') {}

    void edit(Dice& dice) {
        const Text section = dice.section();
        const Text key = dice.key();
        const Text value = dice.value();
        switch (dice.below(12)) {
            case 0:
                model_.del(section);
                return document_.del(pointerTo(section));
            case 1:
            case 2:
            case 3:
                model_.del(section, key);
                return document_.del(pointerTo(section), pointerTo(key));
            case 4:
            case 5:
            case 6:
                model_.set(section, key, value);
                return document_.set(pointerTo(section), pointerTo(key), pointerTo(value));
            default:
                model_.add(section, key, value);
                return document_.add(pointerTo(section), pointerTo(key), pointerTo(value));
        }
    }

    void expectSame(Dice& dice) {
        const Text section = dice.section();
        const Text key = dice.key();
        const char* value = document_.get(pointerTo(section), pointerTo(key));
        EXPECT_EQ(value != nullptr ? Text(value) : Text(), model_.get(section, key));
        EXPECT_EQ(document_.hasNonGlobalSection(), model_.hasNonGlobalSection());
        EXPECT_EQ(dumpOf(document_), model_.dump());
        expectSameFinds(dice);
    }

    void expectSameFinds(Dice& dice) {
        KvSimpleStringVector found;
        const Text section = dice.section();
        const Text pattern = dice.pattern();
        const Text prefix = dice.prefix();
        document_.find(pointerTo(pattern), pointerTo(section), found);
        EXPECT_EQ(asTexts(found), model_.find(pattern, section));
        document_.find(pointerTo(pattern), found);
        EXPECT_EQ(asTexts(found), model_.find(pattern));
        document_.findKey(pointerTo(prefix), pointerTo(section), found);
        EXPECT_EQ(asTexts(found), model_.findKey(prefix, section));
        document_.findSection(pointerTo(prefix), found);
        EXPECT_EQ(asTexts(found), model_.findSection(prefix));
    }

    // Every name of the pool, in every section.
    void expectSameLookUps(const Dice& dice) {
        for (size_t s = 0; s <= dice.sectionNames; ++s) {
            const std::string section = s > 0 ? "Name" + std::to_string(s - 1) : "";
            for (size_t k = 0; k < dice.keyNames; ++k) {
                const std::string key = "nAME" + std::to_string(k);
                const char* value = document_.get(section.c_str(), key.c_str());
                EXPECT_EQ(value != nullptr ? Text(value) : Text(), model_.get(section, key));
            }
        }
    }

    // An unforced flush writes exactly the documents that are modified.
    void expectSameModified() { EXPECT_EQ(document_.flush(false), model_.isModified()); }

  private:
    IniModel model_;
    KvIniUtil document_;
};

void compareThroughEdits(Dice& dice, const IniModel::Rules& rules, size_t lines, int steps) {
    const std::string text = dice.document(lines);
    Pair pair(text, rules);
    pair.expectSame(dice);
    for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
        pair.edit(dice);
        pair.expectSame(dice);
    }
    pair.expectSameLookUps(dice);
    EXPECT_FALSE(testing::Test::HasFailure()) << "a document that began as:\n" << text;
}

TEST(KvIniModel, ManySmallDocuments) {
    Dice dice(1);
    for (int i = 0; i < 250 && !HasFailure(); ++i) {
        compareThroughEdits(dice, {}, dice.below(30), 40);
    }
}

TEST(KvIniModel, EveryLookUpAfterEveryStep) {
    Dice dice(6);
    dice.sectionNames = 2;
    dice.keyNames = 6;
    for (int i = 0; i < 50 && !HasFailure(); ++i) {
        Pair pair(dice.document(dice.below(20)), IniModel::Rules());
        for (int step = 0; step < 40; ++step) {
            pair.edit(dice);
            pair.expectSameLookUps(dice);
        }
    }
}

TEST(KvIniModel, ModifiedByTheSameEdits) {
    const TempTree tree;
    Dice dice(7);
    dice.keyNames = 4;
    for (int i = 0; i < 150 && !HasFailure(); ++i) {
        const std::string text = dice.document(dice.below(6));
        Pair pair(text, tree.write("it.ini", text));
        for (int step = 0; step < 3; ++step) {
            pair.expectSameModified();
            pair.edit(dice);
        }
        pair.expectSameModified();
    }
}

TEST(KvIniModel, OtherSeparatorsCommentsAndCases) {
    Dice dice(2);
    for (int i = 0; i < 200 && !HasFailure(); ++i) {
        const IniModel::Rules rules{dice.oneIn(2) ? '#' : ';', dice.oneIn(2),
                                    dice.oneIn(2) ? ':' : '=', nullptr};
        compareThroughEdits(dice, rules, dice.below(30), 40);
    }
}

TEST(KvIniModel, ADoubleByteCodePage) {
    const CodePage japanese(932);
    IniModel::Rules rules;
    rules.isLead = [](unsigned char byte) {
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    };
    Dice dice(3);
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        compareThroughEdits(dice, rules, dice.below(30), 20);
    }
}

TEST(KvIniModel, LongListsThatAreIndexed) {
    Dice dice(4);
    dice.keyNames = 150;
    dice.sectionNames = 2;
    for (int i = 0; i < 3 && !HasFailure(); ++i) {
        compareThroughEdits(dice, {}, 200, 500);
    }
    dice.keyNames = 3;
    dice.sectionNames = 100;
    for (int i = 0; i < 3 && !HasFailure(); ++i) {
        compareThroughEdits(dice, {}, 400, 500);
    }
}

TEST(KvIniModel, ArbitraryBytesFromAFile) {
    const TempTree tree;
    Dice dice(5);
    const std::string likely("[]=;\n\r \t\f\v\0aA\x81\xFF", 15);
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
        std::string bytes;
        for (size_t left = dice.below(200); left > 0; --left) {
            bytes += dice.oneIn(8) ? static_cast<char>(dice.below(256))
                                   : likely[dice.below(likely.size())];
        }
        const FileDocument document(tree.write("any.ini", bytes));
        const IniModel model(bytes, {});
        EXPECT_EQ(dumpOf(document), model.dump()) << testing::PrintToString(bytes);
        EXPECT_EQ(valueOf(document, "a", "a"), model.get("a", "a").value_or("(none)"));
    }
}

}  // namespace
