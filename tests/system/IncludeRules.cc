// The rules between the folders of ondrel/.
#include "tests/system/IncludeRules.h"

#include <regex>
#include <sstream>

namespace Ondrel::Testing {
namespace {

const std::map<std::string, std::set<std::string>> kBelow = {
    {"platform", {}},
    {"core", {"platform"}},
    {"filref", {"platform", "core"}},
    {"fil", {"platform", "core", "filref"}},
    {"records", {"platform", "core", "filref", "fil"}},
    {"search", {"platform", "core", "filref", "fil"}},
    {"preview", {"platform", "core", "filref", "fil"}},
};

const std::set<std::string> kMayUseStreams = {"ondrel/filref/fromstream.cc",
                                              "ondrel/filref/hiding.cc"};

const std::regex kSystemHeader(
    "(sys|linux|asm|arpa|net|netinet)/.*|unistd\\.h|fcntl\\.h|errno\\.h|cerrno|dirent\\.h|poll\\.h|"
    "pwd\\.h|grp\\.h|spawn\\.h|dlfcn\\.h|pthread\\.h|sched\\.h|signal\\.h|csignal|aio\\.h|"
    "mntent\\.h|utime\\.h|system_error|filesystem");

const std::regex kLibraryHeader(
    "unicode/.*|liburing.*|pixman.*|png\\.h|jpeglib\\.h|turbojpeg\\.h|fmt/.*|CLI/.*");

struct Include {
    std::string name;
    bool quoted;
};

std::string WithoutComments(const std::string& text) {
    static const std::regex kComment("//[^\\n]*|/\\*[^*]*\\*+([^/*][^*]*\\*+)*/");
    return std::regex_replace(text, kComment, "");
}

std::vector<Include> IncludesOf(const std::string& text) {
    static const std::regex kInclude("#\\s*include\\s*([<\"])([^>\"]+)[>\"]");
    std::vector<Include> includes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_search(line, match, kInclude))
            includes.push_back({match[2], match[1] == "\""});
    }
    return includes;
}

// "fil" for "ondrel/fil/fil.h", and for what lies in folders below that one; else empty.
std::string FolderOf(const std::string& path) {
    static const std::regex kPath("ondrel/([a-z]+)/.+");
    std::smatch match;
    return std::regex_match(path, match, kPath) ? match[1].str() : std::string();
}

bool IsHeader(const std::string& path) {
    return path.ends_with(".h");
}

// What the header's first comment says that it is internal to: "libOndrel", "platform/", or empty.
std::string InternalTo(const std::string& text) {
    static const std::regex kLineStart("\\n// ?");
    static const std::regex kInternal("Internal to ([A-Za-z/]+)");
    const std::string comment =
        std::regex_replace(text.substr(0, text.find("#ifndef")), kLineStart, " ");
    std::smatch match;
    return std::regex_search(comment, match, kInternal) ? match[1].str() : std::string();
}

class Check {
 public:
    Check(const Sources& sources, const PublicHeaders& publicHeaders)
        : sources_(sources), publicHeaders_(publicHeaders) {}

    std::vector<std::string> Run() {
        for (const auto& [path, text] : sources_) {
            CheckHeader(path, text);
            const std::string code = WithoutComments(text);
            CheckErrno(path, code);
            for (const Include& include : IncludesOf(code))
                CheckInclude(path, include);
            CheckCycle(path);
        }
        return broken_;
    }

 private:
    void Broken(const std::string& path, const std::string& what) {
        broken_.push_back(path + " " + what);
    }

    bool IsPublic(const std::string& path) const { return publicHeaders_.contains(path); }

    void CheckHeader(const std::string& path, const std::string& text) {
        if (!kBelow.contains(FolderOf(path))) Broken(path, "lies in no known folder");
        if (!IsHeader(path)) return;
        if (!IsPublic(path) && InternalTo(text).empty())
            Broken(path, "is neither public nor says what it is internal to");
        if (IsPublic(path) && !InternalTo(text).empty())
            Broken(path, "is public and says that it is internal");
    }

    void CheckErrno(const std::string& path, const std::string& code) {
        static const std::regex kErrno("\\berrno\\b");
        if (FolderOf(path) != "platform" && std::regex_search(code, kErrno))
            Broken(path, "reads errno");
    }

    void CheckInclude(const std::string& path, const Include& include) {
        const std::string folder = FolderOf(path);
        if (include.quoted) {
            CheckProjectInclude(path, include.name);
        } else if (include.name.starts_with("ondrel/")) {
            Broken(path, "includes " + include.name + " in angle brackets");
        } else if (std::regex_match(include.name, kSystemHeader) && folder != "platform") {
            Broken(path, "includes the system's " + include.name);
        } else if (std::regex_match(include.name, kLibraryHeader) && folder != "platform" &&
                   folder != "core") {
            Broken(path, "includes a library's " + include.name);
        }
    }

    void CheckProjectInclude(const std::string& path, const std::string& target) {
        const auto source = sources_.find(target);
        if (source == sources_.end() || !IsHeader(target)) {
            Broken(path, "includes " + target + ", which is no header of the project");
            return;
        }
        if (IsPublic(path) && !IsPublic(target))
            Broken(path, "is public and includes " + target + ", which is not");
        const std::string from = FolderOf(path);
        const std::string to = FolderOf(target);
        if (from == to) return;
        const auto below = kBelow.find(from);
        const bool isBelow = below != kBelow.end() && below->second.contains(to);
        const bool toStreams = to == "fil" && kMayUseStreams.contains(path);
        if (!isBelow && !toStreams) Broken(path, "includes " + target + ", which lies above it");
        if (!IsPublic(target) && (from != "core" || InternalTo(source->second) != "libOndrel"))
            Broken(path, "includes " + target + ", which is internal to another folder");
    }

    void CheckCycle(const std::string& start) {
        std::set<std::string> reached;
        std::vector<std::string> todo = {start};
        while (!todo.empty()) {
            const auto source = sources_.find(todo.back());
            todo.pop_back();
            if (source == sources_.end()) continue;
            for (const Include& include : IncludesOf(WithoutComments(source->second))) {
                if (include.name == start) {
                    Broken(start, "reaches itself again through " + source->first);
                    return;
                }
                if (reached.insert(include.name).second) todo.push_back(include.name);
            }
        }
    }

    const Sources& sources_;
    const PublicHeaders& publicHeaders_;
    std::vector<std::string> broken_;
};

}  // namespace

std::vector<std::string> BrokenRules(const Sources& sources, const PublicHeaders& publicHeaders) {
    return Check(sources, publicHeaders).Run();
}

}  // namespace Ondrel::Testing
