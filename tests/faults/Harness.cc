// The loops and the checks behind each run.
#include "tests/faults/Harness.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>

#include "ondrel/core/Volumes.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Syscalls.h"
#include "tests/faults/Memory.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;

constexpr int kErrors[] = {EIO, ENOSPC, EAGAIN, ENOMEM, EACCES, EMFILE};
constexpr int kMostCalls = 3000;

// The code that a stream latches for a reference without text: without memory for its storage a
// reference has none.
constexpr OSErr kNoText = -1;

// The disk is not waited for in the many runs; what is flushed, and when, has tests of its own.
class WithoutDisk {
 public:
    WithoutDisk() {
        syscalls.fsync = [](int) { return 0; };
        syscalls.fdatasync = [](int) { return 0; };
    }
    ~WithoutDisk() { syscalls = kHostSyscalls; }
    WithoutDisk(const WithoutDisk&) = delete;
    WithoutDisk& operator=(const WithoutDisk&) = delete;
};

// The library keeps where items were last in tables of bounded size. They are filled up, so that
// what is kept from now on takes the place of what was, and outstanding blocks can be compared.
void FillTables() {
    static bool filled = false;
    if (filled) return;
    filled = true;
    const Scratch scratch;
    for (int folder = 0; folder < 520; ++folder) {
        const std::string path =
            scratch.MakeFolder("folder of some length " + std::to_string(folder));
        for (int file = 0; file < 4; ++file) {
            const std::string name = path + "/" + std::to_string(file);
            WriteAll(name, "");
            FSRef ref;
            ASSERT_EQ(FSPathMakeRef(name.c_str(), &ref), noErr);
        }
    }
}

// What was done to a run: for the messages of failed checks, and for what it may tell.
struct Fault {
    std::string name;
    OSErr code = noErr;           // what the library makes of it
    OSErr otherCode = noErr;      // or of that
    bool hindersCleanUp = false;  // what was to be taken away may lie about
    bool lasts = false;           // nothing could be brought back
    bool mustSucceed = false;
};

int HeapBlocks(const std::string& text) {
    return text.capacity() > std::string().capacity() ? 1 : 0;
}

int HeapBlocks(const Answer& answer) {
    return HeapBlocks(answer.message) + HeapBlocks(answer.content);
}

bool IsTemporary(const std::string& path) {
    const std::string name = fs::path(path).filename().string();
    return name.starts_with("._.tmp") || name.ends_with(" Temp");
}

Snapshot WithoutTemporaries(Snapshot snapshot) {
    std::erase_if(snapshot, [](const auto& item) { return IsTemporary(item.first); });
    return snapshot;
}

// A sidecar whose file is gone belongs to nothing, and gives way to the next file of that name.
Snapshot WithoutOrphans(Snapshot snapshot) {
    std::erase_if(snapshot, [&](const auto& item) {
        const fs::path path(item.first);
        const std::string name = path.filename().string();
        return name.starts_with("._") &&
               !snapshot.contains((path.parent_path() / name.substr(2)).string());
    });
    return snapshot;
}

// What differs, in one line.
std::string Difference(const Snapshot& a, const Snapshot& b) {
    std::string text;
    for (const auto& [name, content] : a)
        if (!b.contains(name)) text += " -" + name;
    for (const auto& [name, content] : b) {
        const auto other = a.find(name);
        if (other == a.end()) {
            text += " +" + name;
        } else if (other->second != content) {
            const auto [at, ignored] = std::mismatch(content.begin(), content.end(),
                                                     other->second.begin(), other->second.end());
            text += " " + name + " (" + std::to_string(other->second.size()) + " and " +
                    std::to_string(content.size()) + " bytes, differing from " +
                    std::to_string(at - content.begin()) + ")";
        }
    }
    return text;
}

bool SameNames(const Snapshot& names, const Snapshot& allowedOne, const Snapshot& allowedTwo) {
    return std::all_of(names.begin(), names.end(), [&](const auto& item) {
        return allowedOne.contains(item.first) || allowedTwo.contains(item.first);
    });
}

// Each item is that of the one or the other, and none is missing that both have.
bool IsWholeIn(const Snapshot& now, const Snapshot& one, const Snapshot& other) {
    const auto isIn = [](const auto& item, const Snapshot& snapshot) {
        const auto found = snapshot.find(item.first);
        return found != snapshot.end() && found->second == item.second;
    };
    const bool noneIsNew = std::all_of(now.begin(), now.end(), [&](const auto& item) {
        return isIn(item, one) || isIn(item, other);
    });
    // What could not be brought back stands under a temporary name.
    return noneIsNew && std::all_of(one.begin(), one.end(), [&](const auto& item) {
               return now.contains(item.first) || !other.contains(item.first) ||
                      fs::path(item.first).filename().string().starts_with("._");
           });
}

// One operation, its folder, and what an untouched run makes of it.
class Trial {
 public:
    explicit Trial(const Operation& operation) : operation_(operation) {
        FillTables();
        setenv("TMPDIR", scratch_.Path("tmp").c_str(), 1);
        MountVolume("Test", scratch_.Path().c_str());
        // Twice: what the library and the host's libraries make once and keep is there afterwards.
        for (int i = 0; i < 2; ++i) {
            Prepare();
            RunUntouched(&expected_);
            after_ = TakeSnapshot(scratch_.Path());
        }
        MakeRing();
        EXPECT_TRUE(expected_.succeeded) << operation.name << ": " << expected_.code;
        EXPECT_EQ(operation.leaves == Leaves::kNothing, before_ == after_) << operation.name;
    }
    ~Trial() {
        UnmountVolume("Test");
        setenv("TMPDIR", temporary_.c_str(), 1);
    }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    // Runs under a plan made by `plan`; true when it has fired. `describe` tells the fault then.
    template <class Plan, class Describe>
    bool Run(const Plan& plan, const Describe& describe) {
        Prepare();
        Answer answer;
        Fault fault;
        bool fired = false;
        {
            const auto active = plan();
            Attempt(&answer);
            active->Lift();
            fired = active->Fired();
            if (fired) describe(*active, &fault);
        }
        if (!fired) fault.name = "untouched";
        CheckLeaks(answer, fault);
        Check(answer, fault, fired);
        return fired;
    }

 private:
    // A thread keeps its ring once a read had to wait for the disk.
    void MakeRing() {
        Prepare();
        const FaultPlan cold(1, EAGAIN, "preadv2", -1);
        Answer ignored;
        RunUntouched(&ignored);
    }

    void Prepare() {
        for (const auto& entry : fs::directory_iterator(scratch_.Path()))
            fs::remove_all(entry.path());
        fs::create_directory(scratch_.Path("tmp"));
        operation_.prepare(scratch_);
        before_ = TakeSnapshot(scratch_.Path());
        descriptors_ = OpenDescriptors();
        blocks_ = OutstandingBlocks();
    }

    // What throws for want of memory has failed with that code.
    void Attempt(Answer* answer) {
        try {
            operation_.run(scratch_, answer);
        } catch (const std::bad_alloc&) {
            answer->succeeded = false;
            answer->code = memFullErr;
        }
    }

    void RunUntouched(Answer* answer) {
        *answer = {};
        Attempt(answer);
    }

    void CheckLeaks(const Answer& answer, const Fault& fault) const {
        const long blocks = OutstandingBlocks() - HeapBlocks(answer) - HeapBlocks(fault.name);
        EXPECT_EQ(blocks, blocks_) << What(fault);
        EXPECT_EQ(OpenDescriptors(), descriptors_) << What(fault);
    }

    void Check(const Answer& answer, const Fault& fault, bool fired) {
        const std::string what = What(fault);
        CheckAnswer(answer, fault, fired, what);
        const Snapshot now = TakeSnapshot(scratch_.Path());
        CheckFolder(now, answer, fault, what);
        if (fired && !fault.lasts) CheckAgain(answer, what);
    }

    void CheckAnswer(const Answer& answer, const Fault& fault, bool fired,
                     const std::string& what) const {
        if (answer.succeeded) {
            EXPECT_EQ(answer.value, expected_.value) << what;
            if (!operation_.keepsSilent) {
                EXPECT_TRUE(answer.content == expected_.content) << what << WasRead(answer);
            }
            return;
        }
        EXPECT_TRUE(fired && !fault.mustSucceed) << what << ", code " << answer.code;
        const auto& codes = operation_.codes;
        EXPECT_TRUE(answer.code == fault.code || answer.code == fault.otherCode ||
                    std::find(codes.begin(), codes.end(), answer.code) != codes.end())
            << what << ", code " << answer.code;
        const std::string number = "#" + std::to_string(answer.code);
        EXPECT_TRUE(answer.message.empty() || answer.message.find(number) != std::string::npos)
            << what << ": " << answer.message;
    }

    void CheckFolder(const Snapshot& found, const Answer& answer, const Fault& fault,
                     const std::string& what) const {
        const Snapshot now = fault.hindersCleanUp ? WithoutTemporaries(found) : found;
        const bool isNew = now == after_;
        const bool isOld = now == before_;
        if (answer.succeeded) {
            const bool isPart = operation_.leaves == Leaves::kPartOfTheNew;
            EXPECT_TRUE(isNew || WithoutOrphans(now) == after_ ||
                        (operation_.keepsSilent && (isOld || isPart)))
                << what << " succeeded:" << Difference(after_, now);
            return;
        }
        if (fault.lasts && operation_.leaves != Leaves::kPartOfTheNew) {
            EXPECT_TRUE(IsWholeIn(now, before_, after_))
                << what << " failed:" << Difference(before_, now);
            return;
        }
        switch (operation_.leaves) {
            case Leaves::kNothing:
            case Leaves::kOldState:
                EXPECT_TRUE(isOld) << what << " failed:" << Difference(before_, now);
                return;
            case Leaves::kOldOrNew:
                EXPECT_TRUE(isOld || isNew) << what << " failed:" << Difference(before_, now);
                return;
            case Leaves::kPartOfTheNew:
                EXPECT_TRUE(SameNames(now, before_, after_))
                    << what << " failed:" << Difference(before_, now);
                return;
        }
    }

    // What failed can be done now; where it left the new state there may be nothing left to do.
    void CheckAgain(const Answer& answer, const std::string& what) {
        const Snapshot now = WithoutTemporaries(TakeSnapshot(scratch_.Path()));
        if (answer.succeeded || (now == after_ && now != before_)) return;
        Answer again;
        RunUntouched(&again);
        EXPECT_TRUE(again.succeeded) << what << ", then again: " << again.code;
        EXPECT_TRUE(again.content == expected_.content) << what << ", then again" << WasRead(again);
        const Snapshot finished = WithoutTemporaries(TakeSnapshot(scratch_.Path()));
        EXPECT_TRUE(finished == after_) << what << ", then again:" << Difference(after_, finished);
    }

    // What was read, and what was to be; too long to be written out for each of the many runs.
    std::string WasRead(const Answer& answer) const {
        return ": read " + Hex(answer.content) + "\nand not " + Hex(expected_.content);
    }

    std::string What(const Fault& fault) const {
        return std::string(operation_.name) + " (" + fault.name + ")";
    }

    const Operation& operation_;
    const WithoutDisk withoutDisk_;
    const std::string temporary_ = fs::temp_directory_path();
    const Scratch scratch_;
    Answer expected_;
    Snapshot before_;
    Snapshot after_;
    int descriptors_ = 0;
    long blocks_ = 0;
};

std::string NameOf(int error) {
    return error == kShortTransfer ? "a short transfer" : strerrorname_np(error);
}

OSErr CodeOf(int error, const std::string& call) {
    if (error == kShortTransfer) return noErr;
    // So the host tells of a lock that somebody else has.
    if (call == "fcntl_lock" && (error == EAGAIN || error == EACCES)) return opWrErr;
    return ErrorFromErrno(error);
}

// Each call in turn fails `times` times from there on.
void FailInTurn(Trial* trial, int error, int times) {
    for (int n = 1;; ++n) {
        ASSERT_LT(n, kMostCalls);
        const auto plan = [&] {
            return std::make_unique<FaultPlan>(n, error, std::string(), times);
        };
        const auto describe = [&](const FaultPlan& active, Fault* fault) {
            fault->name = "call " + std::to_string(n) + (times < 0 ? " and on, " : ", ") +
                          active.Where() + ": " + NameOf(error);
            fault->code = CodeOf(error, active.Where());
            fault->mustSucceed = error == EINTR || error == kShortTransfer;
            fault->lasts = times < 0;
            fault->hindersCleanUp =
                times < 0 || active.Where() == "unlinkat" || active.Where() == "close";
        };
        if (!trial->Run(plan, describe) || ::testing::Test::HasFailure()) return;
    }
}

}  // namespace

Snapshot TakeSnapshot(const std::string& folder) {
    Snapshot snapshot;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        struct stat status {};
        EXPECT_EQ(lstat(entry.path().c_str(), &status), 0);
        std::string item = std::to_string(status.st_mode & 07777U) + " ";
        if (entry.is_symlink())
            item += "-> " + fs::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            item += "/";
        else
            item += ReadAll(entry.path().string());
        snapshot[fs::relative(entry.path(), folder).string()] = item;
    }
    return snapshot;
}

std::string NameOfOperation(const ::testing::TestParamInfo<Operation>& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](char c) { return c == ','; });
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

InMemory::InMemory() : before_(fs::temp_directory_path()) {
    constexpr char kPlace[] = "/dev/shm";
    if (access(kPlace, W_OK) == 0) setenv("TMPDIR", kPlace, 1);
}

InMemory::~InMemory() {
    setenv("TMPDIR", before_.c_str(), 1);
}

void FailEachCall(const Operation& operation) {
    Trial trial(operation);
    for (const int error : kErrors)
        FailInTurn(&trial, error, 1);
    FailInTurn(&trial, EIO, -1);
    FailInTurn(&trial, EINTR, 3);
}

void CutEachTransfer(const Operation& operation) {
    Trial trial(operation);
    FailInTurn(&trial, kShortTransfer, 1);
    const auto plan = [] {
        return std::make_unique<FaultPlan>(1, kShortTransfer, std::string(), -1);
    };
    (void)trial.Run(plan, [](const FaultPlan&, Fault* fault) {
        fault->name = "only short transfers";
        fault->mustSucceed = true;
    });
}

void RefuseEachAllocation(const Operation& operation) {
    Trial trial(operation);
    for (const int times : {1, -1}) {
        for (int n = 1;; ++n) {
            ASSERT_LT(n, kMostCalls);
            const auto plan = [&] { return std::make_unique<MemoryPlan>(n, times); };
            const auto describe = [&](const MemoryPlan&, Fault* fault) {
                fault->name = "allocation " + std::to_string(n) + (times < 0 ? " and on" : "");
                fault->code = memFullErr;
                fault->otherCode = kNoText;
                fault->lasts = times < 0;
                fault->hindersCleanUp = times < 0;
            };
            if (!trial.Run(plan, describe) || ::testing::Test::HasFailure()) break;
        }
    }
}

}  // namespace Ondrel::Testing
