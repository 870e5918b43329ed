// A process killed while it saves, swaps, or writes a preview or an icon: at every system call, in
// the middle of every transfer, and at random moments. Afterwards the document is the old one or
// the new one, whole, with its codes and its fork, and the next attempt succeeds.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "ondrel/core/Volumes.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Syscalls.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/LongForm.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

using std::chrono::microseconds;

struct Crash {
    const char* name;
    void (*prepare)(const Scratch& scratch);
    void (*run)(const Scratch& scratch, Answer* answer);

    // Document and sidecar change one after the other, each in one step.
    bool changesBoth = false;

    // A state on the way that is as good as the old one.
    void (*between)(const Scratch& scratch) = nullptr;
};

// A fork that lists nothing: it is made before the preview is written into it.
void FileWithEmptyFork(const Scratch& scratch) {
    OneFile(scratch);
    FSRef folder;
    HFSUniStr255 name;
    const unsigned short doc[] = {'d', 'o', 'c'};
    ASSERT_EQ(FSPathMakeRef(scratch.Path().c_str(), &folder), noErr);
    ASSERT_EQ(FSGetResourceForkName(&name), noErr);
    ASSERT_EQ(FSCreateResourceFile(&folder, 3, doc, kFSCatInfoNone, nullptr, name.length,
                                   name.unicode, nullptr, nullptr),
              noErr);
}

const Crash kCrashes[] = {
    {"save", WholeDocument, SaveSafely},
    {"save a file without codes", OneFile, SaveSafely},
    {"save a new document", NothingThere, SaveSafely, true},
    {"swap", DocumentAndFinished, Swap},
    {"swap with a fork of its own", DocumentAndFinishedWithFork, Swap, true},
    {"preview", WholeDocument, WritePreview},
    {"preview of a file without a fork", OneFile, WritePreview, false, FileWithEmptyFork},
    {"icon", WholeDocument, WriteIcon},
};

// Document and sidecar as they stand; each may be missing.
struct Pair {
    std::string document;
    std::string sidecar;

    bool operator==(const Pair&) const = default;
};

std::string ContentOrNone(const std::string& path) {
    return Exists(path) ? ReadAll(path) : "(none)";
}

class Crashes : public ::testing::Test {
 protected:
    Crashes() { MountVolume("Test", scratch_.Path().c_str()); }
    ~Crashes() override {
        syscalls = kHostSyscalls;
        UnmountVolume("Test");
    }

    Pair Now() const {
        return {ContentOrNone(scratch_.Path("doc")), ContentOrNone(scratch_.Path("._doc"))};
    }

    void Prepare(const Crash& crash) {
        for (const auto& item : TakeSnapshot(scratch_.Path()))
            unlink(scratch_.Path(item.first).c_str());
        crash.prepare(scratch_);
    }

    // What is there before and after an operation that nobody kills.
    void Learn(const Crash& crash) {
        between_ = {};
        if (crash.between != nullptr) {
            Prepare(crash);
            crash.between(scratch_);
            between_ = Now();
        }
        Prepare(crash);
        old_ = Now();
        Answer answer;
        crash.run(scratch_, &answer);
        ASSERT_TRUE(answer.succeeded) << crash.name;
        new_ = Now();
        ASSERT_NE(old_, new_) << crash.name;
        finished_ = TakeSnapshot(scratch_.Path()).size();
    }

    void CheckOldOrNew(const Crash& crash, const std::string& what) const {
        const Pair now = Now();
        if (!crash.changesBoth) {
            EXPECT_TRUE(now == old_ || now == new_ || now == between_) << what;
            return;
        }
        EXPECT_TRUE(now.document == old_.document || now.document == new_.document) << what;
        EXPECT_TRUE(now.sidecar == old_.sidecar || now.sidecar == new_.sidecar) << what;
        // Never a new document without what belongs to it.
        EXPECT_TRUE(now.document == old_.document || now.sidecar == new_.sidecar) << what;
    }

    // The killed process has left no lock and nothing that is in the way.
    void CheckNextAttempt(const Crash& crash, const std::string& what) {
        if (!Exists(scratch_.Path("doc")) || crash.run == SaveSafely || crash.run == WritePreview ||
            crash.run == WriteIcon || Exists(scratch_.Path("finished"))) {
            Answer answer;
            crash.run(scratch_, &answer);
            EXPECT_TRUE(answer.succeeded) << what << ": " << answer.code;
        }
        EXPECT_EQ(Now(), new_) << what << ", then again";
    }

    // Runs the operation in a child. True: it was killed.
    bool RunAndDie(const Crash& crash, int n, int how) {
        const pid_t child = fork();
        if (child == 0) {
            const FaultPlan plan(n, how);
            Answer answer;
            crash.run(scratch_, &answer);
            _exit(answer.succeeded ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) != 0) << crash.name << ", call " << n;
        return WIFSIGNALED(status);
    }

    const InMemory inMemory_;
    const Scratch scratch_;
    Pair old_;
    Pair new_;
    Pair between_;
    std::size_t finished_ = 0;
};

TEST_F(Crashes, AtEveryCallAndInEveryTransferTheOldOrTheNewDocumentIsThere) {
    syscalls.fsync = [](int) { return 0; };  // a process that is killed loses nothing of them
    syscalls.fdatasync = [](int) { return 0; };
    int kills = 0;
    for (int round = 0; round < ShortOrLong(1, 4); ++round) {
        for (const Crash& crash : kCrashes) {
            Learn(crash);
            for (const int how : {kDie, kDieHalfWay}) {
                for (int n = 1;; ++n) {
                    const std::string what = std::string(crash.name) + ", call " +
                                             std::to_string(n) + (how == kDie ? "" : ", half-way");
                    Prepare(crash);
                    const bool died = RunAndDie(crash, n, how);
                    CheckOldOrNew(crash, what);
                    if (!died) break;
                    ++kills;
                    CheckNextAttempt(crash, what);
                    ASSERT_FALSE(HasFailure());
                }
            }
        }
    }
    RecordProperty("kills", kills);
    EXPECT_GE(kills, ShortOrLong(500, 2000));
}

TEST_F(Crashes, AtRandomMomentsTheOldOrTheNewDocumentIsThere) {
    std::mt19937 random(20240229);
    int kills = 0;
    int finished = 0;
    for (const Crash& crash : kCrashes) {
        Learn(crash);
        Prepare(crash);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(RunAndDie(crash, 1000000, kDie));
        const auto whole =
            std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);
        for (int i = 0; i < ShortOrLong(15, 250); ++i) {
            Prepare(crash);
            const pid_t child = fork();
            if (child == 0) {
                Answer answer;
                crash.run(scratch_, &answer);
                _exit(answer.succeeded ? 0 : 1);
            }
            const auto most = static_cast<unsigned>(whole.count() * 5 / 4 + 1);
            std::this_thread::sleep_for(microseconds(random() % most));
            kill(child, SIGKILL);
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) != 0) << crash.name;
            ++(WIFEXITED(status) ? finished : kills);
            CheckOldOrNew(crash, crash.name);
            CheckNextAttempt(crash, crash.name);
            ASSERT_FALSE(HasFailure());
        }
    }
    RecordProperty("kills", kills);
    // The moments were spread over the operations: some came before the end, some after.
    EXPECT_GT(kills, 0);
    EXPECT_GT(finished, 0);
}

}  // namespace
}  // namespace Ondrel::Testing
