// A line that is drawn over and over.
#include "tools/ondrel/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using std::chrono::steady_clock;

constexpr auto kFirst = std::chrono::milliseconds(500);  // what is quicker needs no line
constexpr auto kBetween = std::chrono::milliseconds(100);
constexpr std::size_t kBarWidth = 24;

bool isShown = false;

// $ONDREL_PROGRESS=now shows the line from the first step on, for tests and slow terminals.
std::chrono::milliseconds FirstWait() {
    const char* const wish = std::getenv("ONDREL_PROGRESS");
    return wish != nullptr && std::string_view(wish) == "now" ? std::chrono::milliseconds(0)
                                                              : kFirst;
}

void WriteError(std::string_view text) {
    (void)!write(STDERR_FILENO, text.data(), text.size());
}

// The text's first characters, counted as code points: a wide one may make the line wrap, which
// costs a line of the screen and nothing else.
std::string CutTo(std::string text, std::size_t columns) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
        if (count == columns) {
            text.resize(at);
            break;
        }
        ++count;
    }
    return text;
}

}  // namespace

Progress::Progress(std::string_view title, std::size_t total)
    : title_(title), total_(total), isWanted_(IsErrorTerminal()) {
    next_ = steady_clock::now() + FirstWait();
}

Progress::~Progress() {
    HideProgress();
}

void Progress::Show() const {
    if (!isWanted_) return;
    WriteError("\r" + title_ + "\x1B[K");
    isShown = true;
}

void Progress::Step(std::string_view remark) {
    ++done_;
    if (!isWanted_) return;
    const auto now = steady_clock::now();
    if (now < next_) return;
    next_ = now + kBetween;
    Draw(remark);
}

void Progress::Draw(std::string_view remark) const {
    std::string line;
    if (total_ > 0) {
        const std::size_t done = std::min(done_, total_);
        const std::size_t filled = done * kBarWidth / total_;
        line = fmt::format("{} [{}{}] {}/{} {}", title_, std::string(filled, '#'),
                           std::string(kBarWidth - filled, '.'), done, total_, Printable(remark));
    } else {
        line = fmt::format("{} {} {}", title_, done_, Printable(remark));
    }
    const int columns = std::max(GetTerminalSize().columns - 1, 1);
    WriteError("\r" + CutTo(line, static_cast<std::size_t>(columns)) + "\x1B[K");
    isShown = true;
}

void HideProgress() {
    if (!isShown) return;
    WriteError("\r\x1B[K");
    isShown = false;
}

}  // namespace OndrelTool
