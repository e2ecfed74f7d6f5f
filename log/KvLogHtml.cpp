#include "log/KvLogHtml.h"

#include "log/KvVcLog.h"

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
