// The records of the HTML log (log/KvLogRecord.h).
#include <cstring>

#include "base/KvText.h"
#include "log/KvLogHtml.h"
#include "log/KvLogRecord.h"
#include "log/KvLogTime.h"

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
