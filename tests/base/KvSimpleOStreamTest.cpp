#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "base/KvScoped.h"
#include "base/KvSimpleStream.h"
#include "tests/support/TempTree.h"

namespace {

constexpr int kGood = 0;
constexpr int kEof = 1;
constexpr int kFailed = 2;
constexpr int kBad = 4;

// Looks at the standard streams while static objects are built.
struct EarlyLook {
    EarlyLook() { lw_cout << ""; }
    bool coutOpen = lw_cout.is_open();
    bool cerrOpen = lw_cerr.is_open();
};
const EarlyLook s_earlyLook;

class OutputStream : public testing::Test {
  protected:
    std::string written() {
        stream_.close();
        return tree_.read("file");
    }

    TempTree tree_;
    std::string path_ = tree_.path("file");
    KvSimpleOStream stream_;
};

TEST_F(OutputStream, OpenAddsOut) {
    tree_.write("file", "old");
    stream_.open(path_.c_str(), KvSimpleStream::app);
    stream_ << "+";
    EXPECT_EQ(written(), "old+");
    stream_.open(path_.c_str(), KvSimpleStream::in);
    stream_ << "N";
    EXPECT_EQ(written(), "Nld+");
    stream_.open(path_.c_str());
    EXPECT_EQ(written(), "");
    stream_.open(path_.c_str(), KvSimpleStream::app | KvSimpleStream::truncated);
    EXPECT_EQ(stream_.rdstate(), kFailed);
}

TEST_F(OutputStream, WritesBytes) {
    stream_.open(path_.c_str());
    stream_.write("a\0b", 3).put('c').put('\0').write("", 0);
    EXPECT_EQ(stream_.rdstate(), kGood);
    EXPECT_EQ(written(), std::string("a\0bc\0", 5));
}

TEST_F(OutputStream, InsertsNumbersCharactersAndTexts) {
    stream_.open(path_.c_str());
    stream_ << 0 << ' ' << -7 << ' ' << INT_MAX << ' ' << INT_MIN << ' ' << "text" << ' '
            << KvSimpleString("a\0b", 3) << endl;
    EXPECT_EQ(stream_.rdstate(), kGood);
    EXPECT_EQ(written(), std::string("0 -7 2147483647 -2147483648 text a\0b\n", 37));
}

TEST_F(OutputStream, NullAndEmptyTextsInsertNothing) {
    KvSimpleOStream closed;
    closed << static_cast<const char*>(nullptr) << "" << KvSimpleString() << KvSimpleString("");
    EXPECT_EQ(closed.rdstate(), kGood) << "not even the missing file is noticed";
    KvSimpleOStream& (*none)(KvSimpleOStream&) = nullptr;
    closed << none;
    EXPECT_EQ(closed.rdstate(), kGood);
}

TEST_F(OutputStream, EndlEndsTheLineAndFlushes) {
    stream_.open(path_.c_str());
    stream_ << "a";
    EXPECT_EQ(tree_.read("file"), "") << "still in the buffer";
    stream_ << endl;
    EXPECT_EQ(tree_.read("file"), "a\n");
    stream_ << "b";
    stream_.flush();
    EXPECT_EQ(tree_.read("file"), "a\nb");
}

TEST_F(OutputStream, TellsAndSeeksPositions) {
    stream_.open(path_.c_str());
    stream_ << "abcdef";
    EXPECT_EQ(stream_.tellp(), 6);
    stream_.seekp(2).put('C');
    EXPECT_EQ(stream_.tellp(), 3);
    stream_.seekp(-1, SEEK_END).put('F');
    stream_.seekp(-1);
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.tellp(), -1) << "a bad stream tells no position";
    EXPECT_EQ(written(), "abCdeF");
}

TEST(KvSimpleOStream, WithoutAFileEverythingIsBad) {
    const auto stateAfter = [](auto&& operation) {
        KvSimpleOStream stream;
        operation(stream);
        return stream.rdstate();
    };
    EXPECT_EQ(stateAfter([](auto& stream) { stream.write("a", 1); }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream.put('a'); }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream.flush(); }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream.seekp(0); }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream << 1; }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream << 'a'; }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream << "a"; }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream << KvSimpleString("a"); }), kBad);
    EXPECT_EQ(stateAfter([](auto& stream) { stream << endl; }), kBad);
    EXPECT_EQ(KvSimpleOStream().tellp(), -1);
}

TEST_F(OutputStream, ANullBufferIsBad) {
    stream_.open(path_.c_str());
    stream_.write(nullptr, 3);
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(written(), "");
}

TEST_F(OutputStream, AFileThatTakesNothingIsBad) {
    const ScopedFile readOnly(fopen(tree_.write("file", "old").c_str(), "r"));
    KvSimpleOStream writing(readOnly.get());
    writing.write("abc", 3);
    EXPECT_EQ(writing.rdstate(), kBad);
    KvSimpleOStream putting(readOnly.get());
    putting.put('a');
    EXPECT_EQ(putting.rdstate(), kBad);
}

TEST_F(OutputStream, AFlushThatFailsCountsAsTheEndOfFile) {
    FILE* existing = fopen(path_.c_str(), "w");
    KvSimpleOStream stream(existing);
    stream << "still in the buffer";
    ASSERT_EQ(close(fileno(existing)), 0);
    stream.flush();
    EXPECT_EQ(stream.rdstate(), kEof);
    stream.close();
    EXPECT_EQ(stream.rdstate(), kFailed) << "a failing close sets the state anew";
}

TEST_F(OutputStream, ABadStreamIsNotFlushed) {
    stream_.open(path_.c_str());
    stream_ << "abc";
    stream_.write(nullptr, 1);
    stream_.flush();
    EXPECT_EQ(tree_.read("file"), "");
    EXPECT_EQ(stream_.rdstate(), kBad);
}

TEST_F(OutputStream, APipeHasNoPosition) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    KvSimpleOStream stream(fdopen(ends[1], "w"));
    EXPECT_EQ(stream.tellp(), -1);
    EXPECT_EQ(stream.rdstate(), kGood);
    stream.seekp(0);
    EXPECT_EQ(stream.rdstate(), kBad);
    stream.close();
    close(ends[0]);
}

TEST(KvSimpleOStream, StandardStreamsAreReadyForStaticObjects) {
    EXPECT_TRUE(s_earlyLook.coutOpen);
    EXPECT_TRUE(s_earlyLook.cerrOpen);
}

TEST(KvSimpleOStream, StandardStreamsWriteToStandardOutputAndError) {
    testing::internal::CaptureStdout();
    lw_cout << "out " << 1 << endl;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "out 1\n");
    testing::internal::CaptureStderr();
    lw_cerr << "error " << 2 << endl;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "error 2\n");
}

}  // namespace
