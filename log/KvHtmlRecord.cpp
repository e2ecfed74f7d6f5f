// The records of the HTML log (log/KvLogRecord.h).
#include <cstring>

#include "base/KvText.h"
#include "log/KvLogRecord.h"

// The white fields are there, but only the message shows: black for information, bold and red for
// errors.
const char kHtmlLogHeader[] =
    "<html>\n"
    "<head>\n"
    "<style type=\"text/css\"><!--\n"
    "body {background-color: white;}\n"
    "#typ\t{font-size:12pt; color:white;}\n"
    "#tme\t{font-size:12pt; color:white;}\n"
    "#pid\t{font-size:12pt; color:white;}\n"
    "#tid\t{font-size:12pt; color:white;}\n"
    "#fln\t{font-size:12pt; color:white;}\n"
    "#inf\t{font-size:12pt; color:black;}\n"
    "#err\t{font-size:12pt; color:red; font-weight: bold;}\n"
    "--></style>\n"
    "</head>\n"
    "<body><h1 align=center>Velocore Log File</h1><br><br>\n"
    "\n"
    "\n"
    "\n";

namespace {

// What the HTML log shows for the character; null for one that stands for itself.
const char* replacementOf(char ch, char next) {
    switch (ch) {
        case '&':
            return "&#38;";
        case '<':
            return "&#60;";
        case '>':
            return "&#62;";
        case ' ':
            // Without a semicolon, kept so: what reads these logs knows the text in this form.
            return next == ' ' ? "&nbsp" : nullptr;
        case '\n':
            return "<br>";
        case '\t':
            return "&nbsp&nbsp&nbsp&nbsp";
        default:
            return nullptr;
    }
}

}  // namespace

// One pass gives what replacing one character after the other over the whole text would give,
// because no replacement holds a character that is replaced later.
void appendHtml(KvSimpleString& out, const char* text, size_t length) {
    size_t plain = 0;
    for (size_t i = 0; i < length; ++i) {
        const char* html = replacementOf(text[i], i + 1 < length ? text[i + 1] : '\0');
        if (html != nullptr) {
            out.append(text + plain, i - plain);
            out.append(html);
            plain = i + 1;
        }
    }
    out.append(text + plain, length - plain);
}

void ConvertHtmlCode(KvSimpleString& text) {
    KvSimpleString html;
    appendHtml(html, text.c_str(), text.length());
    text = static_cast<KvSimpleString&&>(html);
}

KvSimpleString makeHtmlRecord(const KvLogFields& fields, const char* message) {
    if (isSeparatorLine(message)) {
        return "\n<hr>\n";
    }
    // The time needs no escaping: it holds no character that has an escape, and no two spaces.
    char head[192];  // wide enough for the longest numbers
    (void)Snprintf(head, sizeof head,
                   "<span id=\"typ\"> %s\n</span><span id=\"tme\"> %.*s\n</span>"
                   "<span id=\"pid\"> P[%u]\n</span><span id=\"tid\"> T[%u]\n</span>"
                   "<span id=\"fln\">",
                   fields.isError ? "Error:" : "Info :", kStampLength, fields.stamp, fields.process,
                   fields.thread);
    KvSimpleString record(head);
    appendHtml(record, fields.fileAndLine, strlen(fields.fileAndLine));
    record += "<br>";
    record += fields.isError ? "\n</span><span id=\"err\"> " : "\n</span><span id=\"inf\"> ";
    appendHtml(record, message, strlen(message));
    record += "\n<br>\n</span>";
    return record;
}
