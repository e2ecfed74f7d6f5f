// The records of the HTML log.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "log/KvLogRecord.h"

namespace {

constexpr char kStamp[] = "20240101 12:00:05\n";

constexpr KvLogFields kInfo{false, kStamp, 412, 7938, ""};
constexpr KvLogFields kError{true, kStamp, 412, 7938, ""};

std::string html(const KvLogFields& fields, const std::string& message) {
    return makeHtmlRecord(fields, message.c_str()).c_str();
}

std::string converted(const std::string& text) {
    KvSimpleString html;
    html.append(text.data(), text.size());
    ConvertHtmlCode(html);
    return std::string(html.c_str(), html.length());
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

// One rule after the other over the whole text, in the order in which they are given.
std::string ruleByRule(std::string text) {
    replaceAll(text, "&", "&#38;");
    replaceAll(text, "<", "&#60;");
    replaceAll(text, ">", "&#62;");
    for (size_t at = text.find("  "); at != std::string::npos; at = text.find("  ", at)) {
        text.replace(at, 1, "&nbsp");
    }
    replaceAll(text, "\n", "<br>");
    replaceAll(text, "\t", "&nbsp&nbsp&nbsp&nbsp");
    return text;
}

}  // namespace

TEST(KvHtmlRecord, PutsTheFieldsIntoSpans) {
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

TEST(KvHtmlRecord, WritesAnEmptyMessageAsARecord) {
    EXPECT_EQ(html(kError, ""),
              "<span id=\"typ\"> Error:\n</span><span id=\"tme\"> 20240101 12:00:05\n</span>"
              "<span id=\"pid\"> P[412]\n</span><span id=\"tid\"> T[7938]\n</span>"
              "<span id=\"fln\"><br>\n</span><span id=\"err\"> \n<br>\n</span>");
}

TEST(KvHtmlRecord, WritesASeparatorLineAsARule) {
    EXPECT_EQ(html(kInfo, "-----"), "\n<hr>\n");
}

TEST(KvHtmlRecord, EscapesTheMessageAndDoesNotWrapIt) {
    const std::string record = html(kInfo, "a  b<c>\n" + std::string(200, 'x'));
    EXPECT_NE(record.find("<span id=\"inf\"> a&nbsp b&#60;c&#62;<br>" + std::string(200, 'x') +
                          "\n<br>\n</span>"),
              std::string::npos)
        << record;
}

TEST(KvHtmlRecord, HasRoomForTheLongestFields) {
    const KvLogFields widest{true, kStamp, 4294967295U, 4294967295U, "a<b"};
    const std::string record = html(widest, "x");
    EXPECT_NE(record.find(" P[4294967295]\n</span><span id=\"tid\"> T[4294967295]\n</span>"
                          "<span id=\"fln\">a&#60;b<br>\n</span>"),
              std::string::npos)
        << record;
}

TEST(KvHtmlRecord, BeginsANewHtmlLogWithSeventeenLines) {
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

TEST(KvHtmlRecord, EscapesWhatABrowserWouldTakeForItself) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"", ""},
        {"plain text", "plain text"},
        {"&", "&#38;"},
        {"<", "&#60;"},
        {">", "&#62;"},
        {"&#60;", "&#38;#60;"},
        {"a  b", "a&nbsp b"},
        {"a   b", "a&nbsp&nbsp b"},
        {"  ", "&nbsp "},
        {"a ", "a "},
        {" \t ", " &nbsp&nbsp&nbsp&nbsp "},
        {"one\ntwo", "one<br>two"},
        {"\tx", "&nbsp&nbsp&nbsp&nbspx"},
        {"x<y & z>w", "x&#60;y &#38; z&#62;w"},
        {"\"'\x81\xff", "\"'\x81\xff"},
    };
    for (const auto& [text, html] : table) {
        EXPECT_EQ(converted(text), html) << "of \"" << text << "\"";
    }
}

TEST(KvHtmlRecord, GivesWhatTheRulesGiveInTheirOrder) {
    std::mt19937 random(7);
    const std::string alphabet = "ab&<> \t\n  ";
    for (int i = 0; i < 8000; ++i) {
        std::string text(random() % 40, '\0');
        for (char& ch : text) {
            ch = alphabet[random() % alphabet.size()];
        }
        ASSERT_EQ(converted(text), ruleByRule(text)) << "of \"" << text << "\"";
    }
}

TEST(KvHtmlRecord, AppendsBehindWhatIsThere) {
    KvSimpleString out("<p>");
    appendHtml(out, "<p>", 3);
    EXPECT_STREQ(out.c_str(), "<p>&#60;p&#62;");
}
