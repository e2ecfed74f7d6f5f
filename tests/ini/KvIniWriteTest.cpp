// When a document is written, where to, and what stands there then.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>

#include "ini/KvIniDocument.h"
#include "tests/ini/IniDocument.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

// Written back, its line ends would be others.
const char* const kLoaded = "a=1\r\n[s]\r\nb=2\r\n";
const char* const kRewritten = "a=1\n[s]\nb=2\n";

// The file after a document of it was used and destroyed.
std::string fileAfter(const std::function<void(KvIniUtil&)>& use) {
    const TempTree tree;
    const std::string path = tree.write("it.ini", kLoaded);
    {
        FileDocument document(path);
        use(document);
    }
    return tree.read("it.ini");
}

TEST(KvIniModified, EverySuccessfulEditIsWrittenBackOnDestruction) {
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.set("s", "b", "3"); }), "a=1\n[s]\nb=3\n");
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.set("s", "b", "2"); }), kRewritten);
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.set("t", "c", "3"); }), "a=1\n[s]\nb=2\n[t]\nc=3\n");
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.add("s", "b", "3"); }), "a=1\n[s]\nb=2\nb=3\n");
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.del("s"); }), "a=1\n");
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.del("s", "b"); }), "a=1\n[s]\n");
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { it.del(""); }), "[s]\nb=2\n");
}

TEST(KvIniModified, WhatChangesNothingWritesNothing) {
    EXPECT_EQ(fileAfter([](KvIniUtil&) {}), kLoaded);
    EXPECT_EQ(fileAfter([](KvIniUtil& it) {
                  it.set("s", "", "3");
                  it.add("s", nullptr, "3");
                  it.del("unknown");
                  it.del("s", "unknown");
                  it.del("unknown", "b");
                  it.del("s", nullptr);
                  KvSimpleString text;
                  it.dump(text);
                  (void)it.get("s", "b");
              }),
              kLoaded);
}

TEST(KvIniModified, AnEmptyGlobalSectionLosesNothing) {
    const TempTree tree;
    const std::string path = tree.write("it.ini", "; c\r\n[s]\r\n");
    { FileDocument(path).del(""); }
    EXPECT_EQ(tree.read("it.ini"), "; c\r\n[s]\r\n");
}

TEST(KvIniDestruction, CreatesAFileThatWasNotThere) {
    const TempTree tree;
    { FileDocument(tree.path("new.ini")).set("section", "key", "value"); }
    EXPECT_EQ(tree.read("new.ini"), "[section]\nkey=value\n");
    { FileDocument(tree.path("unused.ini")).del("section"); }
    EXPECT_FALSE(tree.exists("unused.ini"));
}

TEST(KvIniDestruction, ADiscardedDocumentWritesNothing) {
    EXPECT_EQ(fileAfter([](KvIniUtil& it) {
                  it.discard();
                  it.set("s", "b", "3");
              }),
              kLoaded);
    EXPECT_EQ(fileAfter([](KvIniUtil& it) {
                  it.set("s", "b", "3");
                  it.discard();
              }),
              kLoaded);
}

TEST(KvIniDestruction, WritesOnceMoreAfterAFlush) {
    const TempTree tree;
    const std::string path = tree.write("it.ini", kLoaded);
    {
        FileDocument document(path);
        document.set("s", "b", "3");
        EXPECT_TRUE(document.flush(false));
        EXPECT_EQ(tree.read("it.ini"), "a=1\n[s]\nb=3\n");
        EXPECT_TRUE(document.flush(false));  // still modified
        tree.write("it.ini", "somebody else's");
    }
    EXPECT_EQ(tree.read("it.ini"), "a=1\n[s]\nb=3\n");
}

TEST(KvIniDestruction, NotAfterAFlushAndADiscard) {
    const TempTree tree;
    const std::string path = tree.write("it.ini", kLoaded);
    {
        FileDocument document(path);
        document.set("s", "b", "3");
        EXPECT_TRUE(document.flush(false));
        document.discard();
        tree.write("it.ini", "somebody else's");
    }
    EXPECT_EQ(tree.read("it.ini"), "somebody else's");
}

TEST(KvIniFlush, UnforcedOnlyWhenModifiedAndNotDiscarded) {
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { EXPECT_FALSE(it.flush(false)); }), kLoaded);
    EXPECT_EQ(fileAfter([](KvIniUtil& it) {
                  it.set("s", "b", "3");
                  it.discard();
                  EXPECT_FALSE(it.flush(false));
              }),
              kLoaded);
}

TEST(KvIniFlush, ForcedAlways) {
    EXPECT_EQ(fileAfter([](KvIniUtil& it) { EXPECT_TRUE(it.flush(true)); }), kRewritten);
    EXPECT_EQ(fileAfter([](KvIniUtil& it) {
                  it.discard();
                  it.set("s", "b", "3");
                  EXPECT_TRUE(it.flush(true));
              }),
              "a=1\n[s]\nb=3\n");
}

TEST(KvIniFlush, NeverWithoutAFileOfItsOwn) {
    const TempTree tree;
    for (const bool force : {false, true}) {
        KvIniUtil nameless(nullptr, ';', false, false, '=');
        KvIniUtil empty("", ';', false, false, '=');
        TextDocument text("k=v\n");
        for (KvIniUtil* document : {&nameless, &empty, static_cast<KvIniUtil*>(&text)}) {
            document->set("s", "k", "v");
            EXPECT_FALSE(document->flush(force));
        }
        EXPECT_EQ(valueOf(nameless, "s", "k"), "v");
        EXPECT_TRUE(nameless.flushTo(tree.path("nameless.ini").c_str()));
        EXPECT_TRUE(text.flushTo(tree.path("text.ini").c_str()));
    }
    EXPECT_EQ(tree.read("nameless.ini"), "[s]\nk=v\n");
    EXPECT_EQ(tree.read("text.ini"), "k=v\n[s]\nk=v\n");
}

TEST(KvIniFlush, FailsWhereNoFileCanBe) {
    const TempTree tree;
    FileDocument inNoDirectory(tree.path("missing/it.ini"));
    inNoDirectory.set("s", "k", "v");
    EXPECT_FALSE(inNoDirectory.flush(false));
    FileDocument directory(tree.path());
    directory.set("s", "k", "v");
    EXPECT_FALSE(directory.flush(true));
    EXPECT_TRUE(tree.snapshot().empty());
}

TEST(KvIniFlushTo, ReplacesAllThatWasThere) {
    const TempTree tree;
    const std::string path = tree.write("old.ini", std::string(1000, 'x'));
    EXPECT_TRUE(TextDocument("k=v").flushTo(path.c_str()));
    EXPECT_EQ(tree.read("old.ini"), "k=v\n");
    EXPECT_TRUE(TextDocument("").flushTo(path.c_str()));
    EXPECT_EQ(tree.read("old.ini"), "");
}

TEST(KvIniFlushTo, NeedsAPath) {
    const TextDocument document("k=v\n");
    EXPECT_FALSE(document.flushTo(nullptr));
    EXPECT_FALSE(document.flushTo(""));
}

TEST(KvIniFlushTo, LeavesTheDocumentsOwnFileAlone) {
    const TempTree tree;
    const std::string other = tree.path("other.ini");
    EXPECT_EQ(fileAfter([&](KvIniUtil& it) { EXPECT_TRUE(it.flushTo(other.c_str())); }), kLoaded);
    EXPECT_EQ(tree.read("other.ini"), kRewritten);
}

TEST(KvIniFlushTo, TurnsBackslashesOnlyWhenTold) {
    const TempTree tree;
    const char text[] = "; C:\\x\n[a\\b]\nk\\l=m\\\\n\n";
    EXPECT_TRUE(TextDocument(text).flushTo(tree.path("it.ini").c_str()));
    EXPECT_EQ(tree.read("it.ini"), text);
    // No operation tells it; only the document behind the face can be told.
    KvIniDocument document(';', false, true, '=', KvLastLink::kFollow);
    ASSERT_TRUE(document.load(text));
    document.convertBackslashes = true;
    EXPECT_TRUE(document.writeTo(tree.path("it.ini").c_str()));
    EXPECT_EQ(tree.read("it.ini"), "; C:/x\n[a/b]\nk/l=m//n\n");
    KvSimpleString dumped;
    EXPECT_TRUE(document.dumpTo(dumped));
    EXPECT_EQ(asText(dumped), text);  // the document keeps its own
    KvIniDocument empty(';', false, true, '=', KvLastLink::kFollow);
    empty.convertBackslashes = true;
    EXPECT_TRUE(empty.writeTo(tree.path("it.ini").c_str()));
    EXPECT_EQ(tree.read("it.ini"), "");
}

// A disk that is full after ten bytes.
int flushOntoAFullDisk(const std::string& path) {
    const rlimit limit{10, 10};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) {
        return 2;
    }
    return TextDocument("key=a value of some length\n").flushTo(path.c_str()) ? 1 : 0;
}

TEST(KvIniFlushTo, AShortWriteIsAFailureAndStays) {
    const TempTree tree;
    const std::string path = tree.path("it.ini");
    ForkedProcess child([&](const Talk&) { return flushOntoAFullDisk(path); });
    EXPECT_EQ(child.finish(), 0);
    EXPECT_EQ(tree.read("it.ini"), "key=a valu");
}

// What does not fit into memory is not loaded, and not overwritten either.
int editAHugeFile(const std::string& path) {
    const rlimit limit{rlim_t{4} << 30, rlim_t{4} << 30};
    void* probe = setrlimit(RLIMIT_AS, &limit) == 0 ? malloc(size_t{8} << 30) : nullptr;
    if (probe != nullptr) {
        free(probe);
        return 2;
    }
    FileDocument document(path);
    document.set("s", "k", "v");
    return !document.isMade() && dumpOf(document).empty() && !document.flush(true) ? 0 : 1;
}

TEST(KvIniDestruction, AFileThatCouldNotBeHeldIsNotOverwritten) {
    if (KV_SANITIZED) {
        GTEST_SKIP() << "a sanitizer needs the address space that the test would limit";
    }
    const TempTree tree;
    const std::string path = tree.write("huge.ini", "k=v\n");
    const off_t huge = off_t{8} << 30;
    if (truncate(path.c_str(), huge) != 0) {
        GTEST_SKIP() << "the temporary directory takes no sparse file of 8 GB";
    }
    ForkedProcess child([&](const Talk&) { return editAHugeFile(path); });
    const int outcome = child.finish();
    if (outcome == 2) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    EXPECT_EQ(outcome, 0);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, huge);
}

}  // namespace
