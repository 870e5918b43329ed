// What bench/run makes of the figures that the benchmarks have added to one file, a line each:
//
//   work <tab> contender <tab> milliseconds        "A. read 8-bit", "floor", 38.3
//
//   bench_report table FILE    a Markdown table: every work, the floor, this library, its peers
//   bench_report plot FILE     an SVG picture of the same ratios, on a logarithmic scale
//
// A ratio is that to the floor of the work; where a work has no floor, that to this library.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr const char* kLibrary = "ondrel";
constexpr const char* kFloor = "floor";

// What each group is to reach: so many times the floor. Where that is 0: the fastest peer.
struct Reach {
    const char* works;  // their names begin so
    double most;
};

constexpr Reach kReaches[] = {
    {"A.", 1.10}, {"B.", 1.03}, {"C.", 1.10},       {"D. near", 1.15},  {"D. far", 5.2},
    {"E.", 1.10}, {"F.", 1.25}, {"G. decode", 2.0}, {"G. unpack", 2.0}, {"G. write", 0},
    {"H.", 1.15}, {"I.", 1.10}, {"J.", 0},          {"K.", 0},
};

struct Peer {
    std::string name;
    double ratio;
};

struct Work {
    std::string name;
    double floor = 0;  // milliseconds; 0 for none
    double ours = 0;
    std::vector<Peer> peers;  // the fastest first

    bool HasFloor() const { return floor > 0; }
    double Ratio() const { return HasFloor() ? ours / floor : 1; }
};

// --- Reading ------------------------------------------------------------------------------------

std::vector<Work> ReadWorks(const char* path) {
    std::map<std::string, std::map<std::string, double>> figures;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string work;
        std::string contender;
        double milliseconds = 0;
        if (std::getline(fields, work, '\t') && std::getline(fields, contender, '\t') &&
            fields >> milliseconds)
            figures[work][contender] = milliseconds;
    }
    std::vector<Work> works;
    for (const auto& [name, contenders] : figures) {
        Work work;
        work.name = name;
        if (contenders.count(kLibrary) == 0) continue;
        work.ours = contenders.at(kLibrary);
        if (contenders.count(kFloor) != 0) work.floor = contenders.at(kFloor);
        const double unit = work.HasFloor() ? work.floor : work.ours;
        for (const auto& [contender, milliseconds] : contenders)
            if (contender != kLibrary && contender != kFloor)
                work.peers.push_back({contender, milliseconds / unit});
        std::sort(work.peers.begin(), work.peers.end(),
                  [](const Peer& a, const Peer& b) { return a.ratio < b.ratio; });
        works.push_back(work);
    }
    return works;
}

double ReachOf(const Work& work) {
    for (const Reach& reach : kReaches)
        if (work.name.rfind(reach.works, 0) == 0) return reach.most;
    return 0;
}

// The measuring itself strays by a hundredth.
bool IsReached(const Work& work) {
    constexpr double kStray = 1.01;
    const double most = ReachOf(work);
    if (most > 0) return work.Ratio() <= most * kStray;
    return work.peers.empty() || work.Ratio() <= work.peers.front().ratio * kStray;
}

// --- The table ----------------------------------------------------------------------------------

void PrintTable(const std::vector<Work>& works) {
    std::printf("| work | floor | ondrel | reach | peers |\n|---|---:|---:|---:|---|\n");
    for (const Work& work : works) {
        std::printf("| %s | ", work.name.c_str());
        if (work.HasFloor()) std::printf("%.2f ms", work.floor);
        std::printf(" | %s%.2f%s (%.2f ms) | ", IsReached(work) ? "" : "**", work.Ratio(),
                    IsReached(work) ? "" : "**", work.ours);
        if (ReachOf(work) > 0)
            std::printf("%.2f", ReachOf(work));
        else
            std::printf("fastest");
        std::printf(" | ");
        for (const Peer& peer : work.peers)
            std::printf("%s%s %.2f", &peer == &work.peers.front() ? "" : ", ", peer.name.c_str(),
                        peer.ratio);
        std::printf(" |\n");
    }
}

// --- The plot -----------------------------------------------------------------------------------

constexpr double kLeast = 0.25;  // ratios at the ends of the scale
constexpr double kMost = 256;
constexpr int kLeft = 230;  // where the scale begins, in points
constexpr int kScale = 620;
constexpr int kRow = 18;
constexpr int kTop = 60;

double PlaceOf(double ratio) {
    const double inside = std::clamp(ratio, kLeast, kMost);
    return kLeft + kScale * std::log(inside / kLeast) / std::log(kMost / kLeast);
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else
            escaped += c;
    }
    return escaped;
}

void PrintDot(double x, int y, int radius, const char* colour, const std::string& title) {
    std::printf("<circle cx=\"%.1f\" cy=\"%d\" r=\"%d\" fill=\"%s\"><title>%s</title></circle>\n",
                x, y, radius, colour, Escaped(title).c_str());
}

void PrintScale(int bottom) {
    constexpr int kDoublings = 10;  // from kLeast to kMost
    for (int i = 0; i <= kDoublings; ++i) {
        const double ratio = std::ldexp(kLeast, i);
        const double x = PlaceOf(ratio);
        std::printf(
            "<line x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" stroke=\"%s\"/>\n"
            "<text x=\"%.1f\" y=\"%d\" text-anchor=\"middle\">%g</text>\n",
            x, kTop - 12, x, bottom, ratio == 1 ? "#555" : "#ddd", x, kTop - 18, ratio);
    }
}

void PrintPlot(const std::vector<Work>& works) {
    const int height = kTop + kRow * static_cast<int>(works.size()) + 16;
    std::printf(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
        "font-family=\"sans-serif\" font-size=\"11\">\n"
        "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
        "<text x=\"10\" y=\"18\" font-size=\"13\">Time as a multiple of the floor: "
        "<tspan fill=\"#1560bd\">this library</tspan>, <tspan fill=\"#999\">its peers</tspan> "
        "(without a floor: multiples of this library)</text>\n",
        kLeft + kScale + 30, height);
    PrintScale(height - 16);
    int y = kTop;
    for (const Work& work : works) {
        std::printf("<text x=\"10\" y=\"%d\">%s</text>\n", y + 4, Escaped(work.name).c_str());
        for (const Peer& peer : work.peers) {
            char ratio[32];
            std::snprintf(ratio, sizeof ratio, " %.2f", peer.ratio);
            PrintDot(PlaceOf(peer.ratio), y, 3, "#999", peer.name + ratio);
        }
        PrintDot(PlaceOf(work.Ratio()), y, 4, "#1560bd", work.name);
        y += kRow;
    }
    std::printf("</svg>\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_report table|plot FILE\n");
        return 2;
    }
    const std::vector<Work> works = ReadWorks(argv[2]);
    if (works.empty()) {
        std::fprintf(stderr, "%s holds no figures\n", argv[2]);
        return 1;
    }
    if (std::strcmp(argv[1], "plot") == 0)
        PrintPlot(works);
    else
        PrintTable(works);
    return 0;
}
