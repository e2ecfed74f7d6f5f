// The sections and keys that an INI document consists of.
//
// Leading text is what stood in the file between the key or header before and this one: comments,
// blank lines and whatever else is no key, each line with its "\n". The other texts are empty after
// loading; they receive the texts of deleted keys.
#pragma once

#include "base/KvSimpleString.h"
#include "ini/KvIniList.h"
#include "ini/KvIniText.h"

struct KvIniEntry : KvIniNode {
    KvIniText value;
    KvIniText leadingText;
    KvSimpleString trailingText;  // takes over the text of a deleted key that followed
};

struct KvIniSection : KvIniNode {
    KvIniList<KvIniEntry> keys;
    KvIniText leadingText;
    KvSimpleString afterHeaderText;  // takes over the text of a deleted first key
};
