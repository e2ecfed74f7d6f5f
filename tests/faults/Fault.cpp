#include "tests/faults/Fault.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

const std::map<std::string, int> kErrors = {
    {"EACCES", EACCES}, {"EBUSY", EBUSY},   {"EEXIST", EEXIST}, {"EINTR", EINTR},
    {"EINVAL", EINVAL}, {"EIO", EIO},       {"ELOOP", ELOOP},   {"EMFILE", EMFILE},
    {"ENOENT", ENOENT}, {"ENOLCK", ENOLCK}, {"ENOMEM", ENOMEM}, {"ENOSPC", ENOSPC},
    {"EPERM", EPERM},   {"EROFS", EROFS},   {"EXDEV", EXDEV},   {"ENAMETOOLONG", ENAMETOOLONG},
};

const std::map<std::string, std::vector<std::string>> kWhats = {
    {"malloc", {"ENOMEM", "ENOMEM+"}},
    {"open", {"EACCES", "EIO", "EMFILE+"}},
    {"read", {"EIO", "EIO+", "short", "short+"}},
    {"write", {"ENOSPC", "EIO+", "short", "short+", "full", "half"}},
    {"close", {"EIO", "ENOSPC+"}},
    {"stat", {"EACCES", "EIO+"}},
    {"opendir", {"EMFILE", "EACCES+"}},
    {"readdir", {"EIO", "EIO+"}},
    {"mkdir", {"ENOSPC", "EACCES+"}},
    {"rmdir", {"EBUSY", "EACCES+"}},
    {"unlink", {"EACCES", "EBUSY+"}},
    {"rename", {"EACCES", "EXDEV+"}},
    {"utimens", {"EPERM", "EIO+"}},
    {"fcntl", {"ENOLCK", "EINVAL+"}},
    {"access", {"EACCES", "EIO+"}},
    {"realpath", {"EACCES", "ENAMETOOLONG+"}},
    {"ftruncate", {"ENOSPC", "EIO+"}},
    {"chmod", {"EPERM", "EPERM+"}},
    {"link", {"EPERM", "EPERM+"}},
    {"change", {"kill"}},
};

const std::vector<std::string> kOtherWhats = {"EIO", "EIO+"};

// Nothing at the end, or for "*".
std::optional<std::string> nextPiece(std::istringstream& pieces) {
    std::string piece;
    return std::getline(pieces, piece, '/') && piece != "*" ? std::optional<std::string>(piece)
                                                            : std::nullopt;
}

bool endsWithPlus(const std::string& what) {
    return !what.empty() && what.back() == '+';
}

}  // namespace

std::string Fault::text() const {
    return function + "/" + std::to_string(number) + "/" + what;
}

std::string Fault::forLibrary() const {
    const std::string plus = endsWithPlus(what) ? "+" : "";
    const auto error = kErrors.find(what.substr(0, what.size() - plus.size()));
    const std::string action = error != kErrors.end() ? std::to_string(error->second) + plus : what;
    return function + "/" + std::to_string(number) + "/" + action;
}

bool Fault::isKill() const {
    return what == "kill" || what == "half";
}

bool Fault::isShort() const {
    return what == "short" || what == "short+";
}

bool Fault::isLasting() const {
    return endsWithPlus(what) || what == "full";
}

const std::vector<std::string>& whatHappensTo(const std::string& function) {
    const auto found = kWhats.find(function);
    return found != kWhats.end() ? found->second : kOtherWhats;
}

const std::vector<std::string>& faultFunctions() {
    static const std::vector<std::string> names = {
#define KV_FAULT_NAME(name) #name,
        KV_FAULT_FUNCTIONS(KV_FAULT_NAME)
#undef KV_FAULT_NAME
    };
    return names;
}

size_t tallyIndex(const std::string& function) {
    const std::vector<std::string>& all = faultFunctions();
    const auto found = std::find(all.begin(), all.end(), function);
    if (found == all.end()) {
        throw std::invalid_argument("no such function: " + function);
    }
    return static_cast<size_t>(found - all.begin());
}

FaultRequest FaultRequest::parse(const char* text) {
    FaultRequest request;
    const std::string all = text != nullptr ? text : "sample";
    request.isWhole = all != "sample";
    if (all == "sample" || all == "all") {
        return request;
    }
    std::istringstream pieces(all);
    request.scenario = nextPiece(pieces);
    request.function = nextPiece(pieces);
    const std::optional<std::string> number = nextPiece(pieces);
    if (number) {
        request.number = std::strtoull(number->c_str(), nullptr, 10);
    }
    request.what = nextPiece(pieces);
    return request;
}
