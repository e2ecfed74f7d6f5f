#include "log/KvLogRecord.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char kStamp[] = "20240101 12:00:05\n";

constexpr KvLogFields kInfo{false, kStamp, 412, 7938, ""};
constexpr KvLogFields kError{true, kStamp, 412, 7938, ""};

std::string text(const KvLogFields& fields, const std::string& message) {
    return makeTextRecord(fields, message.c_str()).c_str();
}

std::string html(const KvLogFields& fields, const std::string& message) {
    return makeHtmlRecord(fields, message.c_str()).c_str();
}

}  // namespace

TEST(KvLogRecordTest, putsTheFieldsBeforeTheMessage) {
    EXPECT_EQ(text(kInfo, "Start patch"), "\nInf 20240101 12:00:05 412 7938 Start patch");
    EXPECT_EQ(text(kError, "No."), "\nErr 20240101 12:00:05 412 7938 No.");
}

TEST(KvLogRecordTest, writesAnEmptyMessageAsARecord) {
    EXPECT_EQ(text(kInfo, ""), "\nInf 20240101 12:00:05 412 7938 ");
    EXPECT_EQ(html(kError, ""),
              "<span id=\"typ\"> Error:\n</span><span id=\"tme\"> 20240101 12:00:05\n</span>"
              "<span id=\"pid\"> P[412]\n</span><span id=\"tid\"> T[7938]\n</span>"
              "<span id=\"fln\"><br>\n</span><span id=\"err\"> \n<br>\n</span>");
}

TEST(KvLogRecordTest, linesContinuationsUpUnderTheMessage) {
    const std::string indent(31, ' ');
    EXPECT_EQ(text(kInfo, "one\ntwo\n"),
              "\nInf 20240101 12:00:05 412 7938 one\n" + indent + "two\n" + indent);
    EXPECT_EQ(text(kInfo, std::string(76, 'x')),
              "\nInf 20240101 12:00:05 412 7938 " + std::string(75, 'x') + "\n" + indent + "x");
}

TEST(KvLogRecordTest, indentsByThePrefixOfThisRecord) {
    const KvLogFields widest{true, kStamp, 4294967295U, 4294967295U, ""};
    EXPECT_EQ(text(widest, "one\ntwo"),
              "\nErr 20240101 12:00:05 4294967295 4294967295 one\n" + std::string(44, ' ') + "two");
}

TEST(KvLogRecordTest, knowsSeparatorLines) {
    EXPECT_TRUE(isSeparatorLine("-"));
    EXPECT_TRUE(isSeparatorLine("-----"));
    EXPECT_FALSE(isSeparatorLine(""));
    EXPECT_FALSE(isSeparatorLine("--- "));
    EXPECT_FALSE(isSeparatorLine(" ---"));
    EXPECT_FALSE(isSeparatorLine("--x--"));
}

TEST(KvLogRecordTest, letsASeparatorLineStandAlone) {
    EXPECT_EQ(text(kInfo, "-----"), "\n-----");
    EXPECT_EQ(text(kError, std::string(100, '-')), "\n" + std::string(100, '-'));
    EXPECT_EQ(html(kInfo, "-----"), "\n<hr>\n");
}

TEST(KvLogRecordTest, putsTheFieldsIntoSpans) {
    EXPECT_EQ(html(kInfo, "Start patch"),
              "<span id=\"typ\"> Info :\n</span>"
              "<span id=\"tme\"> 20240101 12:00:05\n</span>"
              "<span id=\"pid\"> P[412]\n</span>"
              "<span id=\"tid\"> T[7938]\n</span>"
              "<span id=\"fln\"><br>"
              "\n</span><span id=\"inf\"> Start patch\n<br>\n</span>");
    EXPECT_EQ(html(kError, "No."),
              "<span id=\"typ\"> Error:\n</span>"
              "<span id=\"tme\"> 20240101 12:00:05\n</span>"
              "<span id=\"pid\"> P[412]\n</span>"
              "<span id=\"tid\"> T[7938]\n</span>"
              "<span id=\"fln\"><br>"
              "\n</span><span id=\"err\"> No.\n<br>\n</span>");
}

TEST(KvLogRecordTest, escapesTheHtmlMessageAndDoesNotWrapIt) {
    const std::string record = html(kInfo, "a  b<c>\n" + std::string(200, 'x'));
    EXPECT_NE(record.find("<span id=\"inf\"> a&nbsp b&#60;c&#62;<br>" + std::string(200, 'x') +
                          "\n<br>\n</span>"),
              std::string::npos)
        << record;
}

TEST(KvLogRecordTest, hasRoomForTheLongestHtmlFields) {
    const KvLogFields widest{true, kStamp, 4294967295U, 4294967295U, "a<b"};
    const std::string record = html(widest, "x");
    EXPECT_NE(record.find(" P[4294967295]\n</span><span id=\"tid\"> T[4294967295]\n</span>"
                          "<span id=\"fln\">a&#60;b<br>\n</span>"),
              std::string::npos)
        << record;
}

TEST(KvLogRecordTest, beginsANewHtmlLogWithSeventeenLines) {
    const std::string lines[] = {
        "<html>",
        "<head>",
        "<style type=\"text/css\"><!--",
        "body {background-color: white;}",
        "#typ\t{font-size:12pt; color:white;}",
        "#tme\t{font-size:12pt; color:white;}",
        "#pid\t{font-size:12pt; color:white;}",
        "#tid\t{font-size:12pt; color:white;}",
        "#fln\t{font-size:12pt; color:white;}",
        "#inf\t{font-size:12pt; color:black;}",
        "#err\t{font-size:12pt; color:red; font-weight: bold;}",
        "--></style>",
        "</head>",
        "<body><h1 align=center>Velocore Log File</h1><br><br>",
        "",
        "",
        "",
    };
    std::string expected;
    for (const std::string& line : lines) {
        expected += line + "\n";
    }
    EXPECT_EQ(kHtmlLogHeader, expected);
}
