// What a destination's backup record should say, kept by a test on its own, without the tool's
// code.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct WrittenFile {
    std::string backupName;
    std::string target;
};

struct RecordedItem {
    unsigned itemClass = 0;
    unsigned type = 0;
    std::string origin;  // versions as text
    std::string result;
    std::vector<std::string> added;
    std::vector<WrittenFile> written;

    // Lists a file as added, or as replaced and saved under this number ("000").
    RecordedItem& adds(const std::string& path);
    RecordedItem& saves(const std::string& number, const std::string& path);
};

// The line of the first file that an item has saved.
[[nodiscard]] std::string writtenLine(const std::string& number, const std::string& path);

// One with the versions that a ScenarioItem has by default, and without files.
[[nodiscard]] RecordedItem recordedItem(unsigned itemClass, unsigned type);

// The record of these items after a run of the new interface without an agent.
[[nodiscard]] std::string recordOf(const std::vector<RecordedItem>& items);

class RecordModel {
  public:
    // A record without items, made by a run of this interface with this agent, if any.
    RecordModel(unsigned interfaceVersion, std::optional<std::string> agent);

    // The item of that class and type; null when there is none.
    [[nodiscard]] const RecordedItem* find(unsigned itemClass, unsigned type) const;

    // Records the item in place of the one of its class and type, whose section it takes the number
    // of, or as a further one. Its section is the last of the file. Gives back its number.
    unsigned put(const RecordedItem& item);

    // Forgets the item of that class and type and writes the others anew, numbered without a gap.
    void remove(unsigned itemClass, unsigned type);
    // From now on there is a line for the agent, be it empty.
    void nameAgentInAnyCase();
    void setTransaction(const std::string& text) { transaction_ = text; }

    [[nodiscard]] std::string text() const;
    // Whether some value contains this.
    [[nodiscard]] bool mentions(const std::string& what) const;

  private:
    using Keys = std::vector<std::pair<std::string, std::string>>;
    struct Section {
        unsigned number;
        RecordedItem item;
    };

    [[nodiscard]] std::vector<std::pair<std::string, Keys>> sections() const;

    unsigned interfaceVersion_;
    std::optional<std::string> agent_;
    std::optional<std::string> transaction_;
    unsigned itemCount_ = 0;
    std::vector<Section> sections_;  // in the order of the file
};

// The files that a record's text lists for an item, in their order; of the written ones the
// targets.
struct ListedFiles {
    std::vector<std::string> added;
    std::vector<std::string> written;
};
[[nodiscard]] ListedFiles listedFiles(const std::string& recordText, unsigned itemClass,
                                      unsigned type);
