#include "log/KvLogHtml.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "log/KvVcLog.h"

namespace {

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

TEST(KvLogHtmlTest, escapesWhatABrowserWouldTakeForItself) {
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

TEST(KvLogHtmlTest, givesWhatTheRulesGiveInTheirOrder) {
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

TEST(KvLogHtmlTest, appendsBehindWhatIsThere) {
    KvSimpleString out("<p>");
    appendHtml(out, "<p>", 3);
    EXPECT_STREQ(out.c_str(), "<p>&#60;p&#62;");
}
