// Texts in the HTML log.
#pragma once

#include <cstddef>

#include "base/KvSimpleString.h"

// Appends the text, escaped as ConvertHtmlCode (log/KvVcLog.h) does it. `text` is not part of
// `out`.
void appendHtml(KvSimpleString& out, const char* text, size_t length);
