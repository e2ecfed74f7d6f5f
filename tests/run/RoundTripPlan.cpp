#include "tests/run/RoundTripPlan.h"

#include <algorithm>
#include <random>
#include <set>

#include "fileop/KvDiskNames.h"

namespace {

const std::vector<std::string> kDirectories = {"sub", "a b", " led", "d.1", "x%s", "n=v", "e"};
const std::vector<std::string> kFiles = {"a.dat",
                                         "b",
                                         "two words.txt",
                                         " led.bin",
                                         ".hidden",
                                         "k=v.ini",
                                         "semi;colon",
                                         "[item_0]",
                                         "per%ct%n.txt",
                                         "\xC3\xBCml",
                                         std::string(kBackupFilePrefix) + ".000",
                                         "quo'te\"d",
                                         "#hash",
                                         "tilde~",
                                         kDescriptionName,
                                         "dots..dat",
                                         "a  b",
                                         std::string(kBackupFilePrefix) + ".1",
                                         "lib.so",
                                         "+",
                                         "-rf",
                                         "&amp;.htm",
                                         "c.dat",
                                         "d.dat",
                                         "e.dat",
                                         "f.dat",
                                         "x.001",
                                         "(1)"};
const std::vector<std::string> kDestinations = {"dest/app", "dest/lib x", "dest/app/inner"};
const char kMovedPlace[] = "dest/moved";
const std::vector<unsigned> kTypes = {0, 1, 2, 4, 5, 7, 100, 131072, 2147483647};

struct VersionText {
    const char* given;
    const char* recorded;
};
const std::vector<VersionText> kNumbers = {{"100", "100"}, {"0", "0"}, {"112300", "112300"}};
const std::vector<VersionText> kVersions = {
    {"5.2", "5.2"},         {"6", "6.0"},          {"5.20.7", "5.2.7"}, {"5.2-1234", "5.2.1234"},
    {"12.3456", "12.3456"}, {"7.12345", "7.1234"}, {"1.02.0", "1.02"}};

constexpr unsigned kPattern = 3;
constexpr unsigned kStrangeType = 999;
constexpr unsigned kDeep = 20;
constexpr unsigned kCopyBuffer = 262144;

// The engine's numbers are the same everywhere; what the library's distributions make of them is
// not.
class Draw {
  public:
    explicit Draw(unsigned startValue) : engine_(startValue) {}

    unsigned below(size_t limit) { return static_cast<unsigned>(engine_() % limit); }
    bool oneIn(unsigned count) { return below(count) == 0; }
    template <class T>
    const T& of(const std::vector<T>& all) {
        return all[below(all.size())];
    }

  private:
    std::mt19937 engine_;
};

class Drawing {
  public:
    explicit Drawing(unsigned startValue) : draw_(startValue) {}

    RoundTripPlan plan();

  private:
    std::string newFile();
    void drawFiles();
    std::string content();
    TimedFile file();
    void drawItems();
    void setVersions(PlannedItem& item);
    PlannedRun newRun(bool isUpdate);
    PlannedRun& addUpdate();
    PlannedRun& addRollback();
    PlannedRun& addUndoing();
    TimedTree staged();
    void drawAnswers(PlannedRun& run);
    void drawMoves(PlannedRun& run);
    void addStranger(PlannedRun& run);
    void addRun(char step);

    Draw draw_;
    RoundTripPlan plan_;
    unsigned interfaceVersion_ = 0;
    std::vector<std::string> paths_;  // of files, relative to any destination
    std::vector<PlannedItem> items_;
    unsigned written_ = 0;  // so that no two contents are equal
};

// Some lie very deep.
std::string Drawing::newFile() {
    static const std::vector<unsigned> depths = {0, 0, 0, 0, 1, 1, 1, 2, 3};
    const unsigned usual = draw_.of(depths);
    std::string path;
    for (unsigned depth = draw_.oneIn(30) ? kDeep : usual; depth > 0; --depth) {
        path += draw_.of(kDirectories) + "/";
    }
    return path + draw_.of(kFiles);
}

std::string Drawing::content() {
    const unsigned kind = draw_.below(200);
    if (kind < 30) {
        return "";
    }
    std::string text = "content " + std::to_string(++written_);
    if (kind == 30) {
        text.resize(kCopyBuffer - 1 + draw_.below(3), '\r');
    } else if (kind < 60) {
        text += std::string("\r\n\0[x]=;", 8);
    }
    return text;
}

TimedFile Drawing::file() {
    TimedFile made;
    made.content = content();
    const unsigned seconds = draw_.below(600000000);
    made.time = pastTime(seconds, draw_.oneIn(2));
    return made;
}

void Drawing::drawFiles() {
    std::set<std::string> different;
    for (unsigned count = 3 + draw_.below(7); count > 0; --count) {
        different.insert(newFile());
    }
    paths_.assign(different.begin(), different.end());
    std::set<std::string> used;
    for (const PlannedItem& item : items_) {
        used.insert(item.destination);
    }
    if (plan_.agent == PlannedAgent::kOld) {
        used.insert(kMovedPlace);
    }
    plan_.directories.assign(used.begin(), used.end());
    for (const std::string& directory : plan_.directories) {
        for (const std::string& path : paths_) {
            if (draw_.oneIn(2)) {
                plan_.files[directory + "/" + path] = file();
            }
        }
    }
}

void Drawing::setVersions(PlannedItem& item) {
    const std::vector<VersionText>& texts = item.itemClass == kPattern ? kNumbers : kVersions;
    const VersionText& origin = draw_.of(texts);
    item.givenOrigin = origin.given;
    item.origin = origin.recorded;
    const VersionText& result = draw_.of(texts);
    item.givenResult = result.given;
    item.result = result.recorded;
}

// No two of the same class and type on the same destination. A new agent takes any class.
void Drawing::drawItems() {
    const bool isAnyClass = plan_.agent == PlannedAgent::kNew;
    const size_t destinations = 1 + draw_.below(kDestinations.size());
    const bool isEnded = draw_.oneIn(5);
    for (unsigned count = 1 + draw_.below(4); count > 0; --count) {
        PlannedItem item;
        item.itemClass = 1 + draw_.below(isAnyClass ? 4 : 3);
        item.type = draw_.of(kTypes);
        item.destination = kDestinations[draw_.below(destinations)];
        item.isEndedWithSeparator = isEnded;
        const bool isNew = std::none_of(items_.begin(), items_.end(), [&](const auto& other) {
            return other.itemClass == item.itemClass && other.type == item.type &&
                   other.destination == item.destination;
        });
        if (isNew) {
            items_.push_back(item);
        }
    }
}

TimedTree Drawing::staged() {
    TimedTree tree;
    for (const std::string& path : paths_) {
        if (draw_.below(5) < 3) {
            tree[path] = file();
        }
    }
    if (draw_.oneIn(4)) {
        tree["empty/"] = {};
    }
    return tree;
}

void Drawing::drawAnswers(PlannedRun& run) {
    // Skip, later, accept, and two that mean nothing.
    static const std::vector<int> answers = {0, 0, -2, -2, 1, 7, -3};
    if (!run.isAgentNamed) {
        return;
    }
    for (const PlannedItem& item : run.items) {
        for (const std::string& path : paths_) {
            if (draw_.oneIn(4)) {
                run.answers[placeOf(run, item) + "/" + path] = draw_.of(answers);
            }
        }
    }
}

void Drawing::drawMoves(PlannedRun& run) {
    if (plan_.agent == PlannedAgent::kOld && run.isAgentNamed && draw_.oneIn(4)) {
        run.moved[1 + draw_.below(3)] = kMovedPlace;
    }
}

PlannedRun Drawing::newRun(bool isUpdate) {
    PlannedRun run;
    run.isUpdate = isUpdate;
    run.interfaceVersion = interfaceVersion_;
    run.isAgentNamed = plan_.agent != PlannedAgent::kNone && !draw_.oneIn(8);
    return run;
}

// Of some of the items, in some order. Items of the same class and type have the same files, which
// lie in the same staging directory.
PlannedRun& Drawing::addUpdate() {
    PlannedRun run = newRun(true);
    std::map<std::pair<unsigned, unsigned>, TimedTree> trees;
    for (PlannedItem item : items_) {
        if (run.items.empty() || !draw_.oneIn(4)) {
            setVersions(item);
            const auto key = std::make_pair(item.itemClass, item.type);
            if (trees.count(key) == 0) {
                trees[key] = staged();
            }
            item.staged = trees[key];
            run.items.push_back(item);
        }
    }
    if (draw_.oneIn(3)) {
        std::reverse(run.items.begin(), run.items.end());
    }
    plan_.runs.push_back(run);
    return plan_.runs.back();
}

// Of the items of the run before.
PlannedRun& Drawing::addRollback() {
    PlannedRun run = newRun(false);
    run.items = plan_.runs.back().items;
    plan_.runs.push_back(run);
    return plan_.runs.back();
}

// A rollback of the update before, which some agents spoil by what they say.
PlannedRun& Drawing::addUndoing() {
    const size_t update = plan_.runs.size() - 1;
    PlannedRun& run = addRollback();
    if (run.isAgentNamed && draw_.oneIn(4)) {
        run.moved = plan_.runs[update].moved;
        drawAnswers(run);
    } else {
        run.undoes = update;
    }
    return run;
}

// An item that no record knows: the rollback fails when it gets there.
void Drawing::addStranger(PlannedRun& run) {
    PlannedItem stranger = run.items.front();
    stranger.itemClass = kPattern;
    stranger.type = kStrangeType;
    setVersions(stranger);
    const auto place = static_cast<std::ptrdiff_t>(draw_.below(run.items.size() + 1));
    run.items.insert(run.items.begin() + place, stranger);
    run.undoes.reset();
}

// `step`: an update, one that keeps no backup ('n'), a rollback, or one that meets a stranger
// ('s').
void Drawing::addRun(char step) {
    if (step == 'U' || step == 'n') {
        PlannedRun& run = addUpdate();
        run.isBackupWanted = step == 'U';
        drawMoves(run);
        if (draw_.oneIn(2)) {
            drawAnswers(run);
        }
    } else if (step == 's') {
        addStranger(addUndoing());
    } else if (plan_.runs.back().isUpdate && plan_.runs.back().isBackupWanted) {
        addUndoing();
    } else {
        addRollback();
    }
}

RoundTripPlan Drawing::plan() {
    plan_.agent = draw_.of(
        std::vector<PlannedAgent>{PlannedAgent::kNone, PlannedAgent::kOld, PlannedAgent::kNew});
    const bool isNew =
        plan_.agent == PlannedAgent::kNew || (plan_.agent == PlannedAgent::kNone && draw_.oneIn(2));
    interfaceVersion_ = isNew ? 1 : 0;
    drawItems();
    drawFiles();
    static const std::vector<std::string> stories = {"UR",  "UR",    "UR",   "UR",   "UR",
                                                     "UR",  "UR",    "UURR", "UURR", "URR",
                                                     "UnR", "UURUR", "Us",   "UR"};
    const std::string story = draw_.of(stories);
    for (const char step : story) {
        addRun(step);
    }
    return plan_;
}

}  // namespace

RoundTripPlan drawRoundTrip(unsigned startValue) {
    return Drawing(startValue).plan();
}

std::string placeOf(const PlannedRun& run, const PlannedItem& item) {
    if (run.interfaceVersion != 0) {
        return item.destination;
    }
    const auto moved = run.moved.find(item.itemClass);
    if (moved != run.moved.end()) {
        return moved->second;
    }
    for (const PlannedItem& other : run.items) {
        if (other.itemClass == item.itemClass) {
            return other.destination;
        }
    }
    return item.destination;
}
