// Reading and writing through a descriptor: every kind of short answer, from the system itself
// where it can be made to give it and from a scripted call where it cannot.
#include "base/KvDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

struct Answer {
    ssize_t taken;  // at most as much as is offered; -1 fails with `error`
    int error;
};

// A write that answers as told, and takes everything once it has nothing more to say.
struct Script {
    std::vector<Answer> answers;
    std::string taken;
    size_t calls = 0;
};
Script* s_script = nullptr;

ssize_t scriptedWrite(int /*fd*/, const void* bytes, size_t count) {
    Script& script = *s_script;
    const size_t call = script.calls++;
    ssize_t taken = static_cast<ssize_t>(count);
    if (call < script.answers.size()) {
        errno = script.answers[call].error;
        taken = std::min(taken, script.answers[call].taken);
    }
    if (taken > 0) {
        script.taken.append(static_cast<const char*>(bytes), static_cast<size_t>(taken));
    }
    return taken;
}

TEST(WriteAll, GoesOnUntilEverythingIsTakenOrACallFails) {
    struct Case {
        std::vector<Answer> answers;
        bool isWritten;
        std::string taken;
        size_t calls;
        int error;
    };
    const Case cases[] = {
        {{}, true, "abcdef", 1, 0},
        {{{1, 0}, {2, 0}}, true, "abcdef", 3, 0},
        {{{-1, EINTR}, {3, 0}, {-1, EINTR}, {-1, EINTR}}, true, "abcdef", 5, 0},
        {{{0, 0}}, false, "", 1, EIO},
        {{{0, EINTR}}, false, "", 1, EIO},
        {{{4, 0}, {0, 0}}, false, "abcd", 2, EIO},
        {{{-1, ENOSPC}}, false, "", 1, ENOSPC},
        {{{5, 0}, {-1, ENOSPC}}, false, "abcde", 2, ENOSPC},
        {{{2, 0}, {-1, EAGAIN}}, false, "ab", 2, EAGAIN},
    };
    for (const Case& each : cases) {
        Script script{each.answers, "", 0};
        s_script = &script;
        EXPECT_EQ(writeAll(1, "abcdef", 6, scriptedWrite), each.isWritten) << each.taken;
        EXPECT_EQ(script.taken, each.taken);
        EXPECT_EQ(script.calls, each.calls) << each.taken;
        if (!each.isWritten) {
            EXPECT_EQ(errno, each.error) << each.taken;
        }
    }
}

std::vector<size_t> s_pieces;

ssize_t countPiece(int /*fd*/, const void* /*bytes*/, size_t count) {
    s_pieces.push_back(count);
    return static_cast<ssize_t>(count);
}

TEST(WriteAll, OffersNoMoreThanAGigabyteAtOnce) {
    constexpr size_t kGigabyte = size_t{1} << 30U;
    constexpr size_t kSize = 2 * kGigabyte + 5;
    void* room = mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(room, MAP_FAILED);
    EXPECT_TRUE(writeAll(1, static_cast<const char*>(room), kSize, countPiece));
    EXPECT_EQ(s_pieces, (std::vector<size_t>{kGigabyte, kGigabyte, 5}));
    EXPECT_EQ(munmap(room, kSize), 0);
}

TEST(WriteAll, NothingIsWrittenAtOnce) {
    EXPECT_TRUE(writeAll(-1, nullptr, 0));
    EXPECT_FALSE(writeAll(-1, "x", 1));
    EXPECT_EQ(errno, EBADF);
}

struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }
    ScopedFd reading;
    ScopedFd writing;
};

std::string contentOf(int fd) {
    const FileContent content = readToEnd(fd);
    EXPECT_EQ(content.end, FileContent::End::kReached);
    EXPECT_EQ(content.bytes.get()[content.size], '\0');
    return {content.bytes.get(), content.size};
}

// A full pipe that must not be waited for gives a short write, then EAGAIN.
TEST(WriteAll, FailsOnAPipeThatTakesNoMore) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.writing.get(), F_SETFL, O_NONBLOCK), 0);
    const std::string text(1 << 20, 'p');
    EXPECT_FALSE(writeAll(pipe.writing.get(), text.data(), text.size()));
    EXPECT_TRUE(errno == EAGAIN || errno == EWOULDBLOCK);
    pipe.writing.reset();
    const std::string taken = contentOf(pipe.reading.get());
    EXPECT_GT(taken.size(), 0U);
    EXPECT_LT(taken.size(), text.size());
}

void ignore(int /*signal*/) {}

// The reader begins only after many signals; with no restart each of them interrupts the write.
TEST(WriteAll, SignalsDoNotEndIt) {
    struct sigaction quiet {};
    struct sigaction before {};
    quiet.sa_handler = ignore;
    ASSERT_EQ(sigaction(SIGUSR1, &quiet, &before), 0);
    Pipe pipe;
    std::string text(300000, 'a');
    text += "end";
    bool isWritten = false;
    std::thread writer([&] {
        isWritten = writeAll(pipe.writing.get(), text.data(), text.size());
        pipe.writing.reset();
    });
    for (int i = 0; i < 20; ++i) {
        usleep(1000);
        EXPECT_EQ(pthread_kill(writer.native_handle(), SIGUSR1), 0);
    }
    EXPECT_EQ(contentOf(pipe.reading.get()), text);
    writer.join();
    EXPECT_TRUE(isWritten);
    EXPECT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
}

// A file that may hold ten bytes takes them in a short write and then refuses.
int writeBeyondTheLimit(const std::string& path) {
    const rlimit limit{10, 10};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || signal(SIGXFSZ, SIG_IGN) == SIG_ERR) {
        return 2;
    }
    const ScopedFd fd(open(path.c_str(), O_WRONLY | O_CREAT, 0600));
    return !writeAll(fd.get(), "a text of some length", 21) && errno == EFBIG ? 0 : 1;
}

TEST(WriteAll, WhatWasTakenBeforeAFailureStays) {
    const TempTree tree;
    const std::string path = tree.path("file");
    ForkedProcess child([&](const Talk&) { return writeBeyondTheLimit(path); });
    EXPECT_EQ(child.finish(), 0);
    EXPECT_EQ(tree.read("file"), "a text of ");
}

TEST(WriteAll, AFullDeviceFails) {
    const ScopedFd full(open("/dev/full", O_WRONLY));
    if (!full.isOpen()) {
        GTEST_SKIP() << "there is no /dev/full here";
    }
    EXPECT_FALSE(writeAll(full.get(), "x", 1));
    EXPECT_EQ(errno, ENOSPC);
}

TEST(CloseWritten, TellsAFailedClose) {
    const TempTree tree;
    ScopedFd fd(open(tree.path("file").c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_TRUE(closeWritten(fd));
    EXPECT_FALSE(fd.isOpen());
    EXPECT_FALSE(closeWritten(fd));  // it is closed already
    EXPECT_EQ(errno, EBADF);
}

TEST(ReadToEnd, BringsTheWholeFileWithANulBehindIt) {
    const TempTree tree;
    for (const size_t size : std::initializer_list<size_t>{0, 1, 4094, 4095, 4096, 4097, 100000}) {
        const std::string content(size, 'x');
        const ScopedFd fd(open(tree.write("it", content).c_str(), O_RDONLY));
        EXPECT_EQ(contentOf(fd.get()), content) << size;
    }
}

TEST(ReadToEnd, GrowsWhereTheSizeIsNotKnown) {
    Pipe pipe;
    const std::string content(20000, 'p');
    ASSERT_TRUE(writeAll(pipe.writing.get(), content.data(), content.size()));
    pipe.writing.reset();
    EXPECT_EQ(contentOf(pipe.reading.get()), content);
}

TEST(ReadToEnd, TellsWhatCannotBeRead) {
    const TempTree tree;
    const ScopedFd directory(open(tree.path().c_str(), O_RDONLY));
    const FileContent content = readToEnd(directory.get());
    EXPECT_EQ(content.end, FileContent::End::kBroken);
    EXPECT_STREQ(content.bytes.get(), "");
    EXPECT_EQ(content.size, 0U);
    EXPECT_EQ(readToEnd(-1).end, FileContent::End::kBroken);
}

}  // namespace
