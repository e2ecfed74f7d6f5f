#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "base/KvSimpleStream.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TempTree.h"

namespace {

constexpr int kGood = 0;
constexpr int kEof = 1;
constexpr int kFailed = 2;
constexpr int kBad = 4;

class InputStream : public testing::Test {
  protected:
    // The stream, open on a file with this content.
    KvSimpleIStream& on(const std::string& content, int mode = KvSimpleStream::in) {
        stream_.open(tree_.write("file", content).c_str(), mode);
        EXPECT_EQ(stream_.rdstate(), kGood);
        return stream_;
    }

    // The stream, failed: no line fits into one byte.
    KvSimpleIStream& failedOn(const std::string& content) {
        char byte = 'x';
        on(content).getline(&byte, 1);
        EXPECT_EQ(stream_.rdstate(), kFailed);
        return stream_;
    }

    TempTree tree_;
    KvSimpleIStream stream_;
};

TEST_F(InputStream, OpenAddsInAndStartsAtTheBeginning) {
    EXPECT_EQ(on("abc", 0).get(), 'a');
    EXPECT_EQ(on("abc", KvSimpleStream::binary).get(), 'a');
    EXPECT_EQ(on("abc", KvSimpleStream::ate).get(), 'a') << "even when the end was asked for";
    EXPECT_EQ(on("abc", KvSimpleStream::out).get(), 'a') << "in+out keeps the content";

    stream_.open(tree_.path("file").c_str(), KvSimpleStream::app);
    EXPECT_EQ(stream_.rdstate(), kFailed) << "in+app";
    stream_.open(tree_.path("missing").c_str());
    EXPECT_EQ(stream_.rdstate(), kFailed);
    EXPECT_FALSE(stream_.is_open());
}

TEST_F(InputStream, ReadTakesUpToTheCount) {
    GuardedBuffer buffer(4);
    on("abcdef").read(buffer.data(), 4);
    EXPECT_EQ(std::string(buffer.data(), 4), "abcd");
    EXPECT_EQ(stream_.gcount(), 4u);
    EXPECT_EQ(stream_.rdstate(), kGood);

    stream_.read(buffer.data(), 2);  // exactly the rest is not yet the end
    EXPECT_EQ(stream_.gcount(), 2u);
    EXPECT_EQ(stream_.rdstate(), kGood);

    stream_.read(buffer.data(), 4);
    EXPECT_EQ(stream_.gcount(), 0u);
    EXPECT_EQ(stream_.rdstate(), kEof);
    EXPECT_TRUE(stream_.eof());
    EXPECT_TRUE(buffer.isIntact());
}

TEST_F(InputStream, FewerBytesThanAskedForAreTheEndOfFile) {
    char buffer[8];
    on("abc").read(buffer, 8);
    EXPECT_EQ(stream_.gcount(), 3u);
    EXPECT_EQ(stream_.rdstate(), kEof);
    on("").read(buffer, 0);
    EXPECT_EQ(stream_.rdstate(), kGood);
}

TEST_F(InputStream, GetTakesOneByte) {
    on("a\xFF");
    EXPECT_EQ(stream_.get(), 'a');
    EXPECT_EQ(stream_.gcount(), 1u);
    EXPECT_EQ(stream_.get(), 0xFF) << "never mistaken for the end";
    EXPECT_EQ(stream_.get(), -1);
    EXPECT_EQ(stream_.rdstate(), kEof);
    EXPECT_EQ(stream_.gcount(), 0u);
}

TEST_F(InputStream, GetCountsItsByteOnlyWhileTheStateIsGood) {
    on("ab");
    EXPECT_EQ(stream_.get(), 'a');
    EXPECT_EQ(stream_.get(), 'b');
    EXPECT_EQ(stream_.get(), -1);
    stream_.seekg(0);
    EXPECT_EQ(stream_.get(), 'a');
    EXPECT_EQ(stream_.gcount(), 0u);
    EXPECT_EQ(stream_.rdstate(), kEof) << "seeking takes no bit away";
}

TEST_F(InputStream, PeekConsumesTheByte) {
    on("ab");
    EXPECT_EQ(stream_.peek(), 'a');
    EXPECT_EQ(stream_.gcount(), 1u);
    EXPECT_EQ(stream_.get(), 'b');
    EXPECT_EQ(stream_.peek(), -1);
    EXPECT_EQ(stream_.rdstate(), kEof);
}

struct LineRow {
    const char* content;
    size_t size;
    const char* line;
    int state;
};

TEST_F(InputStream, GetlineKeepsTheDelimiterAndTellsHowItEnded) {
    const LineRow rows[] = {
        {"ab\ncd", 10, "ab\n", kGood},  {"ab\ncd", 5, "ab\n", kGood},
        {"ab\ncd", 4, "ab\n", kFailed},  // the delimiter fills the buffer
        {"ab\ncd", 3, "ab", kFailed},   {"ab\ncd", 2, "a", kFailed},
        {"ab\ncd", 1, "", kFailed},     {"\ncd", 10, "\n", kGood},
        {"ab", 10, "ab", kEof},         {"ab", 4, "ab", kEof},
        {"ab", 3, "ab", kFailed},       {"", 10, "", kEof | kFailed},
        {"", 1, "", kFailed},
    };
    for (const LineRow& row : rows) {
        GuardedBuffer buffer(row.size);
        on(row.content).getline(buffer.data(), row.size);
        EXPECT_STREQ(buffer.data(), row.line);
        EXPECT_EQ(stream_.rdstate(), row.state) << row.content << " " << row.size;
        EXPECT_EQ(stream_.gcount(), strlen(row.line));
        EXPECT_TRUE(buffer.isIntact());
    }
}

TEST_F(InputStream, TheRestOfALongLineStaysUnread) {
    char buffer[4];
    on("abcdef\nx").getline(buffer, sizeof(buffer));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_TRUE(stream_.fail());
    EXPECT_EQ(stream_.get(), 'd');
}

TEST_F(InputStream, GetlineTakesAnyDelimiter) {
    char buffer[16];
    on("ab\nc;d").getline(buffer, sizeof(buffer), ';');
    EXPECT_STREQ(buffer, "ab\nc;");
    on("ab\xFF"
       "d")
        .getline(buffer, sizeof(buffer), '\xFF');
    EXPECT_STREQ(buffer, "ab\xFF");
}

TEST_F(InputStream, GetlineIntoNoRoomWritesNothing) {
    GuardedBuffer none(0);
    on("ab").getline(none.data(), 0);
    EXPECT_TRUE(none.isIntact());
    EXPECT_EQ(stream_.rdstate(), kFailed);
    EXPECT_EQ(stream_.get(), 'a');
}

TEST_F(InputStream, IgnoreSkipsUpToTheCountOrTheDelimiter) {
    on("abc;def;g").ignore(2, ';');
    EXPECT_EQ(stream_.gcount(), 2u);
    EXPECT_EQ(stream_.get(), 'c');
    stream_.ignore(100, ';');
    EXPECT_EQ(stream_.gcount(), 1u);
    EXPECT_EQ(stream_.get(), 'd');
    stream_.ignore(0, ';');
    EXPECT_EQ(stream_.get(), 'e');
    EXPECT_EQ(stream_.rdstate(), kGood);
    stream_.ignore(SIZE_MAX, '#');
    EXPECT_EQ(stream_.gcount(), 3u);
    EXPECT_EQ(stream_.rdstate(), kEof);
}

TEST_F(InputStream, IgnoreDoesNothingOnceFailedOrBad) {
    failedOn("abc").ignore(2, ';');
    EXPECT_EQ(stream_.get(), 'a');

    on("abc").putback('x');
    EXPECT_EQ(stream_.rdstate(), kBad);
    stream_.ignore(2, ';');
    EXPECT_EQ(stream_.get(), 'a');
}

TEST_F(InputStream, PutbackStepsOverTheSameByteOnly) {
    on("abc");
    EXPECT_EQ(stream_.get(), 'a');
    EXPECT_EQ(stream_.get(), 'b');
    stream_.putback('b');
    EXPECT_EQ(stream_.rdstate(), kGood);
    EXPECT_EQ(stream_.tellg(), 1);
    EXPECT_EQ(stream_.get(), 'b');

    stream_.putback('x');
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.tellg(), 2) << "the position stays";
}

TEST_F(InputStream, PutbackAtTheStartIsBad) {
    on("abc").putback('a');
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.get(), 'a');

    on("\xFF").get();
    stream_.putback('\xFF');
    EXPECT_EQ(stream_.rdstate(), kGood);
}

TEST_F(InputStream, TellsAndSeeksPositions) {
    on("abcdef");
    EXPECT_EQ(stream_.tellg(), 0);
    EXPECT_EQ(stream_.seekg(0, SEEK_END).tellg(), 6);
    EXPECT_EQ(stream_.seekg(2).get(), 'c');
    EXPECT_EQ(stream_.seekg(1, SEEK_CUR).get(), 'e');
    EXPECT_EQ(stream_.rdstate(), kGood);
    stream_.seekg(-1);
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.tellg(), 5) << "a bad stream still tells its position";
}

TEST_F(InputStream, AFailedStreamTellsNoPosition) {
    EXPECT_EQ(failedOn("abc").tellg(), -1);
    EXPECT_EQ(stream_.rdstate(), kFailed);
    stream_.seekg(2);
    EXPECT_EQ(stream_.get(), 'c') << "but it still seeks and reads";
}

TEST_F(InputStream, APipeHasNoPosition) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FILE* reading = fdopen(ends[0], "r");
    KvSimpleIStream stream(reading);
    EXPECT_EQ(stream.tellg(), -1);
    EXPECT_EQ(stream.rdstate(), kBad);

    KvSimpleIStream seeking(reading);
    seeking.seekg(0);
    EXPECT_EQ(seeking.rdstate(), kBad);

    KvSimpleIStream stepping(reading);
    stepping.putback('a');
    EXPECT_EQ(stepping.rdstate(), kBad);
    stream.close();
    close(ends[1]);
}

TEST(KvSimpleIStream, WithoutAFileEverythingIsBad) {
    char buffer[4] = "old";
    const auto stateAfter = [](auto&& operation) {
        KvSimpleIStream stream;
        operation(stream);
        return stream.rdstate();
    };
    EXPECT_EQ(stateAfter([&](auto& stream) { stream.read(buffer, 3); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { EXPECT_EQ(stream.get(), -1); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { EXPECT_EQ(stream.peek(), -1); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { stream.getline(buffer, 4); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { stream.ignore(1, 'x'); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { stream.putback('x'); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { EXPECT_EQ(stream.tellg(), -1); }), kBad);
    EXPECT_EQ(stateAfter([&](auto& stream) { stream.seekg(0); }), kBad);
    EXPECT_STREQ(buffer, "old");
}

TEST_F(InputStream, ANullBufferIsBad) {
    char byte = 'x';
    on("abc").read(&byte, 1);
    EXPECT_EQ(stream_.gcount(), 1u);
    stream_.read(nullptr, 3);
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.gcount(), 0u);
    on("abc").getline(nullptr, 3);
    EXPECT_EQ(stream_.rdstate(), kBad);
    EXPECT_EQ(stream_.get(), 'a');
}

}  // namespace
