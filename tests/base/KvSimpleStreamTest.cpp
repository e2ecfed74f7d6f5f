// Opening, the table of modes, and closing.
#include "base/KvSimpleStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>
#include <type_traits>

#include "base/KvScoped.h"
#include "tests/support/TempTree.h"

namespace {

constexpr int kGood = 0;
constexpr int kFailed = 2;
constexpr int kBad = 4;
constexpr int kAte = 4;

class OpenStream : public KvSimpleStream {
  public:
    using KvSimpleStream::KvSimpleStream;
    [[nodiscard]] FILE* handle() const { return file; }
    [[nodiscard]] bool isOwned() const { return owned; }
};

// What each known mode, without the ate bit, stands for.
const std::map<int, std::string> kModes = {
    {1, "r"},   {2, "w"},  {18, "w"},  {10, "a"},  {33, "rb"},  {34, "wb"},  {50, "wb"},
    {42, "ab"}, {3, "r+"}, {19, "w+"}, {11, "a+"}, {35, "r+b"}, {51, "w+b"}, {43, "a+b"},
};

// What comes of a file "old" when it is opened, "N" is written at the start, and it is closed.
const std::map<std::string, std::string> kWritten = {{"r", "old"},  {"w", "N"},  {"a", "oldN"},
                                                     {"r+", "Nld"}, {"w+", "N"}, {"a+", "oldN"}};

std::string withoutB(std::string mode) {
    const size_t b = mode.find('b');
    return b == std::string::npos ? mode : mode.erase(b, 1);
}

// The fopen mode that the bits stand for, without the 'b' that changes nothing here; "" when they
// are no known mode.
std::string expectedMode(int bits) {
    const auto row = kModes.find(bits & ~kAte);
    return row != kModes.end() ? withoutB(row->second) : "";
}

void expectOpensByTheTable(int bits) {
    const TempTree tree;
    const std::string mode = expectedMode(bits);
    OpenStream stream;
    stream.open(tree.write("file", "old").c_str(), bits);
    ASSERT_EQ(stream.is_open(), !mode.empty());
    ASSERT_EQ(stream.rdstate(), mode.empty() ? kFailed : kGood);
    if (mode.empty()) {
        EXPECT_EQ(tree.read("file"), "old");
        return;
    }
    EXPECT_TRUE(stream.isOwned());
    if ((bits & kAte) != 0) {
        EXPECT_EQ(ftell(stream.handle()), mode[0] == 'w' ? 0 : 3);
    }
    rewind(stream.handle());
    (void)fgetc(stream.handle());
    EXPECT_EQ(ferror(stream.handle()) == 0, mode == "r" || mode.back() == '+') << "can be read";
    rewind(stream.handle());
    (void)fputc('N', stream.handle());  // refused by files that are only read
    stream.close();
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kGood);
    EXPECT_EQ(tree.read("file"), kWritten.at(mode));
}

TEST(KvSimpleStream, EveryCombinationOfModeBitsOpensByTheTableOrFails) {
    for (int bits = 0; bits < 64; ++bits) {
        SCOPED_TRACE(bits);
        expectOpensByTheTable(bits);
    }
}

TEST(KvSimpleStream, OnlyWritingMakesAFile) {
    const TempTree tree;
    for (int bits = 0; bits < 64; ++bits) {
        const std::string name = "new" + std::to_string(bits);
        OpenStream stream;
        stream.open(tree.path(name).c_str(), bits);
        const std::string mode = expectedMode(bits);
        const bool made = !mode.empty() && mode[0] != 'r';
        EXPECT_EQ(stream.is_open(), made) << bits;
        EXPECT_EQ(stream.rdstate(), made ? kGood : kFailed) << bits;
        EXPECT_EQ(tree.exists(name), made) << bits;
    }
}

TEST(KvSimpleStream, OtherBitsAreNoMode) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    for (const int mode : {64, 65, 0x101, -1, 1 << 30}) {
        KvSimpleStream stream;
        stream.open(path.c_str(), mode);
        EXPECT_FALSE(stream.is_open());
        EXPECT_EQ(stream.rdstate(), kFailed);
    }
}

TEST(KvSimpleStream, InWithAppendIsRefused) {
    const TempTree tree;
    KvSimpleStream stream;
    stream.open(tree.write("file", "old").c_str(), 9);
    EXPECT_EQ(stream.rdstate(), kFailed);
    EXPECT_TRUE(stream.fail());
    EXPECT_FALSE(stream.bad());
    EXPECT_FALSE(stream.eof());
}

TEST(KvSimpleStream, NullEmptyAndOverlongPathsFail) {
    const std::string overlong(100000, 'x');
    for (const char* path : {static_cast<const char*>(nullptr), "", overlong.c_str()}) {
        for (const int mode : {1, 2, 3}) {
            KvSimpleStream stream;
            stream.open(path, mode);
            EXPECT_FALSE(stream.is_open());
            EXPECT_EQ(stream.rdstate(), kFailed);
        }
    }
}

TEST(KvSimpleStream, MayBeDestroyedThroughItsBase) {
    EXPECT_TRUE(std::has_virtual_destructor_v<KvSimpleStream>);
}

TEST(KvSimpleStream, StartsGoodOwnedAndWithoutAFile) {
    const OpenStream stream;
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kGood);
    EXPECT_TRUE(stream.isOwned());
}

TEST(KvSimpleStream, OpenClosesWhatWasOpenAndStartsAnew) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    OpenStream stream;
    stream.open(path.c_str(), 1);
    const int fd = fileno(stream.handle());
    stream.open(path.c_str(), 0);
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kFailed);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "the first file is closed though the second is refused";
    stream.open(path.c_str(), 1);
    EXPECT_TRUE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kGood) << "a failure is forgotten by a good open";
}

TEST(KvSimpleStream, OpenClosesABorrowedFileToo) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    FILE* existing = fopen(path.c_str(), "r");
    const int fd = fileno(existing);
    KvSimpleStream stream(existing);
    stream.open(path.c_str(), 0);  // refused, so that no new file takes the number
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST(KvSimpleStream, TheDestructorClosesOnlyAFileOfItsOwn) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    int fd = -1;
    {
        OpenStream stream;
        stream.open(path.c_str(), 1);
        fd = fileno(stream.handle());
    }
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);

    const ScopedFile existing(fopen(path.c_str(), "r"));
    {
        const OpenStream stream(existing.get());
        EXPECT_TRUE(stream.is_open());
        EXPECT_FALSE(stream.isOwned());
    }
    EXPECT_EQ(fgetc(existing.get()), 'o');
}

TEST(KvSimpleStream, AnOpenOverAnExistingFileMakesTheStreamAnOwner) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    OpenStream stream(fopen(path.c_str(), "r"));
    stream.open(path.c_str(), 1);
    EXPECT_TRUE(stream.isOwned());
}

TEST(KvSimpleStream, AnExplicitCloseClosesAnExistingFile) {
    const TempTree tree;
    FILE* existing = fopen(tree.write("file", "old").c_str(), "r");
    const int fd = fileno(existing);
    KvSimpleStream stream(existing);
    stream.close();
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kGood);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    stream.close();  // nothing is left to close
    EXPECT_EQ(stream.rdstate(), kGood);
}

TEST(KvSimpleStream, ANullFileIsNoFile) {
    KvSimpleStream stream(nullptr);
    EXPECT_FALSE(stream.is_open());
    stream.close();
    EXPECT_EQ(stream.rdstate(), kGood);
}

TEST(KvSimpleStream, AFailingCloseIsAFailure) {
    const TempTree tree;
    FILE* existing = fopen(tree.path("file").c_str(), "w");
    KvSimpleOStream stream(existing);
    stream << "text that is still in the buffer";
    ASSERT_EQ(close(fileno(existing)), 0);  // so that the buffer cannot be written any more
    stream.close();
    EXPECT_EQ(stream.rdstate(), kFailed);
    EXPECT_FALSE(stream.is_open());
}

// A file that opens but cannot seek.
std::string makeFifo(const TempTree& tree) {
    EXPECT_EQ(mkfifo(tree.path("fifo").c_str(), 0600), 0);
    return tree.path("fifo");
}

TEST(KvSimpleStream, WhenTheEndCannotBeSoughtTheFileIsClosedButStillHeld) {
    const TempTree tree;
    KvSimpleIStream stream;
    stream.KvSimpleStream::open(makeFifo(tree).c_str(), 3 | kAte);
    EXPECT_TRUE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kGood);
    EXPECT_EQ(stream.get(), -1) << "nothing touches the closed file";
    EXPECT_EQ(stream.rdstate(), kBad);
    stream.close();
    EXPECT_FALSE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kFailed) << "it cannot be closed twice";
}

TEST(KvSimpleStream, AFileThatIsHeldButClosedIsNotClosedAgain) {
    const TempTree tree;
    const std::string fifo = makeFifo(tree);
    OpenStream reopened;
    {
        KvSimpleStream dropped;
        dropped.open(fifo.c_str(), 3 | kAte);
        reopened.open(fifo.c_str(), 3 | kAte);
    }
    reopened.open(tree.write("file", "old").c_str(), 1);
    EXPECT_EQ(reopened.rdstate(), kGood);
    EXPECT_EQ(fgetc(reopened.handle()), 'o');
}

TEST(KvSimpleStream, AnInputStreamThatCannotSeekToTheStartIsBad) {
    const TempTree tree;
    KvSimpleIStream stream;
    stream.open(makeFifo(tree).c_str(), 3);
    EXPECT_TRUE(stream.is_open());
    EXPECT_EQ(stream.rdstate(), kBad);
}

}  // namespace
