// A saving process killed at any moment leaves the old document or the new one, whole, with its
// codes and fork.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/fil/StreamTest.h"

namespace Ondrel::Testing {
namespace {

using std::chrono::microseconds;

constexpr int kRuns = 250;
constexpr int kSize = 200000;

class KilledSaveTest : public StreamTest {
 protected:
    static std::string Version(int number) {
        std::string text(kSize, static_cast<char>('a' + number % 26));
        const std::string mark = std::to_string(number);
        return text.replace(0, mark.size(), mark);
    }

    // One whole safe save, as an application makes it.
    static bool Save(const std::string& text) {
        const filref folder = Ref("dir:");
        FileSpec finished;
        FileSpec document;
        if (Ref("dir:doc").convertToFileSpec(document) != 0) return false;
        fil f;
        if (filsavtem(&f, nullptr, &folder, 0, nullptr) != 0) return false;
        f.GetFileSpec(finished);
        if (filwri(&f, AsBytes(text), static_cast<int>(text.size())) != 0) return false;
        if (filflu(&f) != 0 || filclo(&f) != 0) return false;
        return FileSpecFunctions().ReplaceFile(finished, document);
    }

    // Saves in a child that is killed after a while; true when the save was complete.
    static bool SaveAndKill(const std::string& text, microseconds after) {
        const pid_t child = fork();
        if (child == 0) _exit(Save(text) ? 0 : 1);
        std::this_thread::sleep_for(after);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) != 0) << "the save failed";
        return WIFEXITED(status);
    }

    // The names in the folder that are the document's, whatever else a killed process left.
    int DocumentsCalled(const std::string& name) const {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(Path("dir")))
            if (entry.path().filename().string() == name) ++count;
        return count;
    }
};

TEST_F(KilledSaveTest, TheOldDocumentOrTheNewOneIsThereWithItsCodesAndFork) {
    scratch_.Write("dir/doc", Version(0));
    AppleDouble sidecar;
    FinderInfo info;
    info.SetType(MakeFourCC("MyDc"));
    sidecar.SetFinderInfo(info);
    ASSERT_TRUE(sidecar.SetResourceFork("the fork"));
    ASSERT_EQ(Host::WriteSidecar(Path("dir/doc").c_str(), sidecar), noErr);
    const std::string stored = Contents("dir/._doc");

    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(Save(Version(0)));
    const auto whole =
        std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);

    std::mt19937 random(20240229);
    int now = 0;
    int survived = 0;
    for (int run = 1; run <= kRuns; ++run) {
        const microseconds after(random() % static_cast<unsigned>(whole.count() * 3 / 2 + 1));
        const bool complete = SaveAndKill(Version(run), after);
        const std::string text = Contents("dir/doc");
        if (text == Version(run)) now = run;
        ASSERT_EQ(text, Version(now)) << "neither old nor new in run " << run;
        if (complete) {
            ASSERT_EQ(now, run);
        }
        survived += now == run ? 1 : 0;
        ASSERT_EQ(Contents("dir/._doc"), stored) << "run " << run;
        ASSERT_EQ(DocumentsCalled("doc"), 1);
    }
    // The moments were spread over the save: some came before its end, some after.
    EXPECT_GT(survived, 0);
    EXPECT_LT(survived, kRuns);
}

}  // namespace
}  // namespace Ondrel::Testing
