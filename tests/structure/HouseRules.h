// The rules of the house, checked on a source tree: which floor may see which, how includes are
// written, how long a source may be. Each check returns its complaints, one text a fault, that
// begin with the file and, where there is one, the line ("base/KvText.h:12: ..."). An empty list
// means that the rule is kept. `root` is the directory that holds the floors; a missing floor has
// no faults.
#pragma once

#include <string>
#include <vector>

using Complaints = std::vector<std::string>;

// Every include by quotes names a header of a floor, written from the root; none runs up the house
// or sideways between its halves; and no header of the house hides behind angle brackets.
[[nodiscard]] Complaints findIncludeFaults(const std::string& root);

// Rooms that include each other, directly or over others. A room is a header with the source of the
// same base name. A further source of a header stands for itself, since nobody includes it: that is
// how a class spans rooms without a circle. Floors are checked the same way, over all their files.
[[nodiscard]] Complaints findCircles(const std::string& root);

// Above base, the system is given a path only by fileop/KvSystem.cpp, which lets no text pass that
// is not whole: no other source calls those functions of the system.
[[nodiscard]] Complaints findPathCalls(const std::string& root);

// Headers and sources of more than `kLongestSource` lines.
constexpr int kLongestSource = 400;
[[nodiscard]] Complaints findLongSources(const std::string& root);

// Each floor's CMakeLists.txt links, of the project's own libraries, only floors below it.
[[nodiscard]] Complaints findLinkFaults(const std::string& root);
