// Documents for which there is no memory.
#include <gtest/gtest.h>

#include <new>

#include "tests/ini/IniDocument.h"
#include "tests/support/TempTree.h"

namespace {

bool s_noMemory = false;

// While it lives, whoever asks for memory in a way that may fail gets none.
class Shortage {
  public:
    Shortage() { s_noMemory = true; }
    ~Shortage() { s_noMemory = false; }
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
};

}  // namespace

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (s_noMemory) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

// A document that had no memory when it was made, and has some later.
KvIniUtil madeInAShortage(const char* path) {
    const Shortage shortage;
    return KvIniUtil(path, ';', false, false, '=');
}

TEST(KvIniNoMemory, SuchADocumentAnswersLikeAnEmptyOne) {
    const TempTree tree;
    const KvIniUtil document = madeInAShortage(tree.write("it.ini", "k=v\n[s]\nl=w\n").c_str());
    EXPECT_EQ(document.get(nullptr, "k"), nullptr);
    EXPECT_EQ(document.get("s", "l"), nullptr);
    EXPECT_FALSE(document.hasNonGlobalSection());
    EXPECT_EQ(dumpOf(document), "");
    document.visitValues([](const char* /*value*/, void* /*context*/) { FAIL(); }, nullptr);
    KvSimpleStringVector names;
    const auto isCleared = [&](const auto& search) {
        names.push_back("left from before");
        search();
        return names.empty();
    };
    EXPECT_TRUE(isCleared([&] { document.find("v", "s", names); }));
    EXPECT_TRUE(isCleared([&] { document.find("v", names); }));
    EXPECT_TRUE(isCleared([&] { document.findKey("k", "s", names); }));
    EXPECT_TRUE(isCleared([&] { document.findSection("s", names); }));
}

TEST(KvIniNoMemory, SuchADocumentTakesNoEditsAndIsNeverWritten) {
    const TempTree tree;
    const std::string path = tree.write("it.ini", "k=v\n");
    {
        KvIniUtil document = madeInAShortage(path.c_str());
        document.set(nullptr, "k", "new");
        document.add("s", "k", "new");
        document.del("s");
        document.del(nullptr, "k");
        EXPECT_EQ(dumpOf(document), "");
        EXPECT_FALSE(document.flush(true));
        EXPECT_FALSE(document.flushTo(tree.path("other.ini").c_str()));
        document.discard();
    }
    EXPECT_EQ(tree.read("it.ini"), "k=v\n");
    EXPECT_FALSE(tree.exists("other.ini"));
}

TEST(KvIniNoMemory, ADocumentOnTheHeapIsNull) {
    const Shortage shortage;
    EXPECT_EQ(newDocument(nullptr), nullptr);
}

TEST(KvIniNoMemory, ALongListWithoutItsIndexIsWalked) {
    TextDocument document("");
    for (int i = 0; i < 100; ++i) {
        document.add(nullptr, ("k" + std::to_string(i)).c_str(), std::to_string(i).c_str());
    }
    const TextDocument loaded(dumpOf(document));
    const Shortage shortage;
    EXPECT_EQ(valueOf(loaded, nullptr, "K99"), "99");
    EXPECT_EQ(valueOf(loaded, nullptr, "k0"), "0");
    EXPECT_EQ(valueOf(loaded, nullptr, "k100"), "(none)");
}

}  // namespace
