#include "tests/structure/HouseRules.h"

#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "tests/structure/SourceTree.h"

namespace fs = std::filesystem;

namespace {

using Graph = std::map<std::string, std::set<std::string>>;

std::string at(const std::string& file, int line) {
    return file + ":" + std::to_string(line) + ": ";
}

bool isWrittenFromRoot(const std::string& name) {
    return floorOf(name) != nullptr && name.find('/') != std::string::npos &&
           fs::path(name).lexically_normal() == fs::path(name);
}

bool sees(const Floor& from, const Floor& to) {
    return to.name == from.name || to.level < from.level;
}

// What is wrong with one include; empty when nothing is.
std::string includeFault(const std::string& root, const SourceFile& file, const IncludeLine& seen) {
    if (!seen.quoted) {
        return isWrittenFromRoot(seen.name) ? "a header of the house in angle brackets" : "";
    }
    if (!isWrittenFromRoot(seen.name)) {
        return "not a header of the house, written from the root";
    }
    if (fs::path(seen.name).extension() != ".h" || !fs::exists(root + "/" + seen.name)) {
        return "no such header";
    }
    const Floor* const target = floorOf(seen.name);
    if (target->level > file.floor->level) {
        return "runs up the house";
    }
    return sees(*file.floor, *target) ? "" : "runs sideways";
}

// Which room includes which: a header and the source of the same base name are one node.
Graph roomGraph(const std::vector<SourceFile>& sources) {
    Graph graph;
    for (const SourceFile& file : sources) {
        for (const IncludeLine& seen : file.includes) {
            const std::string target = fs::path(seen.name).replace_extension().string();
            if (seen.quoted && target != file.stem()) {
                graph[file.stem()].insert(target);
            }
        }
    }
    return graph;
}

Graph floorGraph(const std::vector<SourceFile>& sources) {
    Graph graph;
    for (const SourceFile& file : sources) {
        for (const IncludeLine& seen : file.includes) {
            const Floor* const target = floorOf(seen.name);
            if (seen.quoted && target != nullptr && target != file.floor) {
                graph[file.floor->name].insert(target->name);
            }
        }
    }
    return graph;
}

// Walks the graph depth first; a node that is met again while it is still on the way closes a
// circle, which is told from that node on.
class CircleSearch {
  public:
    explicit CircleSearch(const Graph& graph) : graph_(graph) {}

    Complaints run() {
        for (const auto& node : graph_) {
            visit(node.first);
        }
        return circles_;
    }

  private:
    void visit(const std::string& node) {
        if (!seen_.insert(node).second) {
            return;
        }
        way_.push_back(node);
        const auto edges = graph_.find(node);
        if (edges != graph_.end()) {
            for (const std::string& next : edges->second) {
                tellCircle(next);
                visit(next);
            }
        }
        way_.pop_back();
    }

    void tellCircle(const std::string& back) {
        std::string circle;
        for (const std::string& step : way_) {
            if (!circle.empty() || step == back) {
                circle += step + " -> ";
            }
        }
        if (!circle.empty()) {
            circles_.push_back("circle: " + circle + back);
        }
    }

    const Graph& graph_;
    std::set<std::string> seen_;
    std::vector<std::string> way_;
    Complaints circles_;
};

// The names of the project's own libraries in one line of a CMake file: "kv_" and what follows,
// unless it goes on as a function call.
std::vector<std::string> librariesIn(const std::string& line) {
    const std::string text = line.substr(0, line.find('#'));
    std::vector<std::string> names;
    for (size_t start = text.find("kv_"); start != std::string::npos;) {
        size_t end = text.find_first_of(" \t()\"", start);
        end = end == std::string::npos ? text.size() : end;
        if (end == text.size() || text[end] != '(') {
            names.push_back(text.substr(start, end - start));
        }
        start = text.find("kv_", end);
    }
    return names;
}

bool mayLink(const Floor& floor, const std::string& library) {
    const std::string name = library.substr(std::string("kv_").size());
    // A floor names itself where its properties are set.
    const Floor* const linked = floorOf(name);
    return name == "options" || (linked != nullptr && sees(floor, *linked));
}

constexpr char kPathRoom[] = "fileop/KvSystem.cpp";

// Sources that still call the system with a path of their own.
bool mayCallWithPaths(const std::string& name) {
    static const std::set<std::string> names{"store/KvBackupNameCreate.cpp",
                                             "updater/KvCleanup.cpp", "updater/KvRollbackItem.cpp",
                                             "updater/KvSignals.cpp"};
    return name == kPathRoom || names.count(name) != 0;
}

// The functions of the system, and of the C library, that take a path, in `line`. One that is
// called as a member, or by the name of its class, is another.
std::vector<std::string> pathCallsIn(const std::string& line) {
    static const std::regex call(
        "(?:^|[^A-Za-z0-9_.>:])(?:::)?(open|openat|creat|stat|lstat|fstatat|opendir|mkdir|rmdir|"
        "unlink|rename|access|realpath|readlink|fopen|freopen|utimensat|utimes|pathconf|truncate|"
        "statvfs|chmod|chown|symlink|mkstemp)\\(");
    std::vector<std::string> names;
    const std::string code = line.substr(0, line.find("//"));
    for (std::sregex_iterator hit(code.begin(), code.end(), call), end; hit != end; ++hit) {
        names.push_back((*hit)[1]);
    }
    return names;
}

}  // namespace

Complaints findPathCalls(const std::string& root) {
    Complaints complaints;
    for (const SourceFile& file : readSources(root)) {
        if (file.isHeader() || file.floor->level == 1 || mayCallWithPaths(file.name)) {
            continue;
        }
        int number = 0;
        for (const std::string& line : readLines(root + "/" + file.name)) {
            ++number;
            for (const std::string& call : pathCallsIn(line)) {
                complaints.push_back(at(file.name, number) + call + ": only " + kPathRoom +
                                     " calls it");
            }
        }
    }
    return complaints;
}

Complaints findIncludeFaults(const std::string& root) {
    Complaints complaints;
    for (const SourceFile& file : readSources(root)) {
        for (const IncludeLine& seen : file.includes) {
            const std::string fault = includeFault(root, file, seen);
            if (!fault.empty()) {
                complaints.push_back(at(file.name, seen.line) + seen.name + ": " + fault);
            }
        }
    }
    return complaints;
}

Complaints findCircles(const std::string& root) {
    const std::vector<SourceFile> sources = readSources(root);
    Complaints complaints = CircleSearch(roomGraph(sources)).run();
    for (const std::string& circle : CircleSearch(floorGraph(sources)).run()) {
        complaints.push_back(circle);
    }
    return complaints;
}

Complaints findLongSources(const std::string& root) {
    Complaints complaints;
    for (const SourceFile& file : readSources(root)) {
        if (file.lineCount > kLongestSource) {
            complaints.push_back(at(file.name, file.lineCount) + "longer than " +
                                 std::to_string(kLongestSource) + " lines");
        }
    }
    return complaints;
}

Complaints findLinkFaults(const std::string& root) {
    Complaints complaints;
    for (const Floor& floor : floors()) {
        const std::string name = floor.name + "/CMakeLists.txt";
        int number = 0;
        for (const std::string& line : readLines(root + "/" + name)) {
            ++number;
            for (const std::string& library : librariesIn(line)) {
                if (!mayLink(floor, library)) {
                    complaints.push_back(at(name, number) + library + ": not a floor below");
                }
            }
        }
    }
    return complaints;
}
