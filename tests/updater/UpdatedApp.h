// A destination "app" as an update has left it: the files that it added ("added <name>"), those
// that it replaced ("new <name>") with their saved copies ("old <name>") in the store, and the
// record that names them all.
//
//     UpdatedApp app(tree);
//     app.item(3, 5).added("x.dat").written("a.dat");
//
// Saved copies are "backup.000", "backup.001" and so on, counted through all items. The first name
// that is free for the copies of a rollback is the one behind them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/TempTree.h"

class UpdatedApp {
  public:
    explicit UpdatedApp(const TempTree& tree, const std::string& name = "app");

    // Begins the next item; the calls below belong to it. Patterns went from 100 to 101, everything
    // else from 5.2 to 6.0.
    UpdatedApp& item(unsigned itemClass, unsigned type);
    UpdatedApp& added(const std::string& name);
    UpdatedApp& written(const std::string& name);
    // A written entry as it stands in the record; no file is made.
    UpdatedApp& entry(const std::string& text);

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }
    [[nodiscard]] std::string read(const std::string& name) const;
    [[nodiscard]] bool has(const std::string& name) const;

    // The directory of the last item's copies below the destination, with a separator.
    [[nodiscard]] std::string store() const;

    // "name=content" of everything but the store, in the order of the names; a directory's name
    // ends with '/'.
    [[nodiscard]] std::vector<std::string> files() const;

  private:
    struct Item {
        unsigned itemClass;
        unsigned type;
        std::vector<std::string> added;
        std::vector<std::string> written;
    };

    void writeRecord() const;

    const TempTree& tree_;
    std::string name_;
    std::string path_;
    std::vector<Item> items_;
    unsigned copies_ = 0;
};
