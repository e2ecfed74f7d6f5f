// The list of copies that wait for the restart, empty before and after, and what it holds.
#pragma once

#include <string>
#include <vector>

#include "updater/KvRebootList.h"

class RebootEntries {
  public:
    RebootEntries() { forgetWritten(); }
    ~RebootEntries() { DropRebootList(); }
    RebootEntries(const RebootEntries&) = delete;
    RebootEntries& operator=(const RebootEntries&) = delete;

    // "source -> destination, flag" each, in order.
    [[nodiscard]] std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (int i = 0; i < g_rebootCopyList.count; ++i) {
            const auto* entry = static_cast<const RebootEntry*>(g_rebootCopyList.items[i]);
            texts.push_back(std::string(entry->source) + " -> " + entry->destination + ", " +
                            std::to_string(entry->flag));
        }
        return texts;
    }

    // Writing the list frees its entries but leaves their pointers.
    void forgetWritten() { g_rebootCopyList.count = 0; }
};
