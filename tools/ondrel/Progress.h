// Progress on standard error, where that is a terminal; silent otherwise. It is shown from half a
// second on, so that what is done quickly shows nothing.
#ifndef TOOLS_ONDREL_PROGRESS_H
#define TOOLS_ONDREL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace OndrelTool {

// One operation under way; one at a time. The line is gone when the object goes.
class Progress {
 public:
    // "Reading"; with a total of 0 the number of steps is counted and no bar is drawn.
    Progress(std::string_view title, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Shows the title at once, for what has no steps.
    void Show() const;

    // One more step is done. The remark is what is being dealt with, a file's name for instance.
    void Step(std::string_view remark);

 private:
    void Draw(std::string_view remark) const;

    std::string title_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool isWanted_;
    std::chrono::steady_clock::time_point next_;
};

// Clears the line, so that something else can be written; the next step draws it again.
void HideProgress();

}  // namespace OndrelTool

#endif
