// The power goes while a document is saved, swapped, or gets a preview or an icon: of what was not
// flushed any part may be lost, in any order. The document is then the old one or the new one,
// whole, with its codes and its fork; and the new one for certain once a save has succeeded.
#include <gtest/gtest.h>
#include <unistd.h>

#include "ondrel/core/Volumes.h"
#include "ondrel/fil/fil.h"
#include "tests/faults/DiskModel.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/LongForm.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

struct PowerCut {
    const char* name;
    void (*prepare)(const Scratch& scratch);
    void (*run)(const Scratch& scratch, Answer* answer);
    bool lasts;  // a success is on the disk
    bool changesBoth = false;
};

const PowerCut kPowerCuts[] = {
    {"save", WholeDocument, SaveSafely, true},
    {"save a file without codes", OneFile, SaveSafely, true},
    {"save a new document", NothingThere, SaveSafely, true, true},
    {"swap", DocumentAndFinished, Swap, true},
    {"swap with a fork of its own", DocumentAndFinishedWithFork, Swap, true, true},
    {"preview", WholeDocument, WritePreview, false},
    {"icon", WholeDocument, WriteIcon, false},
};

std::string PartOf(const DiskState& state, const std::string& name) {
    const auto found = state.find(name);
    return found == state.end() ? "(none)" : found->second;
}

// One of two, by a text that a failing test can show.
std::string Which(const std::string& now, const std::string& old, const std::string& fresh) {
    if (now == old) return "old";
    return now == fresh ? "new" : "neither, " + std::to_string(now.size()) + " bytes";
}

class PowerCuts : public ::testing::TestWithParam<PowerCut> {
 protected:
    PowerCuts() { MountVolume("Test", scratch_.Path().c_str()); }
    ~PowerCuts() override { UnmountVolume("Test"); }

    void Check(const DiskState& state, bool mustBeNew) {
        ++states_;
        const std::string document =
            Which(PartOf(state, "doc"), PartOf(old_, "doc"), PartOf(new_, "doc"));
        const std::string sidecar =
            Which(PartOf(state, "._doc"), PartOf(old_, "._doc"), PartOf(new_, "._doc"));
        EXPECT_TRUE(document == "old" || document == "new") << document;
        EXPECT_TRUE(sidecar == "old" || sidecar == "new") << "sidecar: " << sidecar;
        if (document == "new" && PartOf(old_, "doc") != PartOf(new_, "doc")) {
            EXPECT_EQ(Which(PartOf(state, "._doc"), PartOf(new_, "._doc"), ""), "old")
                << "a new document without what belongs to it";
        }
        if (mustBeNew) {
            EXPECT_EQ(PartOf(state, "doc"), PartOf(new_, "doc")) << "success was told";
            EXPECT_EQ(PartOf(state, "._doc"), PartOf(new_, "._doc")) << "success was told";
        }
    }

    // The state on a disk: the library opens what is there.
    static void CheckItOpens(const DiskState& state) {
        const Scratch after;
        for (const auto& [name, bytes] : state)
            after.Write(name, bytes);
        MountVolume("After", after.Path().c_str());
        filref ref;
        ref.ConvertFromMacPath("After:doc");
        fil f;
        const int opened = filope(&f, nullptr, ref);
        EXPECT_EQ(opened, state.contains("doc") ? 0 : fnfErr);
        std::string bytes(PartOf(state, "doc").size(), '\0');
        if (opened == 0) {
            auto* const room = reinterpret_cast<unsigned char*>(bytes.data());
            EXPECT_EQ(filrea(&f, room, static_cast<int>(bytes.size())), 0);
            EXPECT_EQ(bytes, PartOf(state, "doc"));
        }
        filclo(&f);
        UnmountVolume("After");
    }

    const InMemory inMemory_;
    const Scratch scratch_;
    DiskState old_;
    DiskState new_;
    int states_ = 0;
};

TEST_P(PowerCuts, LeaveTheOldOrTheNewDocumentWhole) {
    const PowerCut& cut = GetParam();
    cut.prepare(scratch_);
    old_ = TakeDiskState(scratch_.Path());
    std::vector<DiskEvent> events;
    {
        DiskRecorder recorder(scratch_);
        Answer answer;
        cut.run(scratch_, &answer);
        events = recorder.Take();
        ASSERT_TRUE(answer.succeeded) << answer.code;
    }
    new_ = TakeDiskState(scratch_.Path());
    ASSERT_GT(events.size(), 2U);
    ForEachStateAfterAPowerCut(old_, events, static_cast<std::size_t>(ShortOrLong(10, 16)),
                               [&](const DiskState& state, bool finished) {
                                   if (HasFailure()) return;
                                   Check(state, finished && cut.lasts);
                                   CheckItOpens(state);
                               });
    RecordProperty("states", states_);
    EXPECT_GT(states_, 2);
}

// The model is worth nothing if it finds nothing: here a new version is renamed over the old one
// without having been flushed.
TEST(PowerCutModel, FindsAnEmptyDocumentWhereNothingWasFlushed) {
    const DiskState before{{"doc", "old"}};
    const std::vector<DiskEvent> events = {
        {DiskEvent::Kind::kMake, 1, "new", {}, 0, {}},
        {DiskEvent::Kind::kWrite, 1, {}, {}, 0, "fresh"},
        {DiskEvent::Kind::kRename, 0, "new", "doc", 0, {}},
        {DiskEvent::Kind::kSyncFolder, 0, {}, {}, 0, {}},
    };
    bool emptied = false;
    bool renewed = false;
    ForEachStateAfterAPowerCut(before, events, 10, [&](const DiskState& state, bool finished) {
        emptied = emptied || (finished && PartOf(state, "doc").empty());
        renewed = renewed || PartOf(state, "doc") == "fresh";
    });
    EXPECT_TRUE(emptied);
    EXPECT_TRUE(renewed);
}

TEST(PowerCutModel, KnowsWhatAFlushKeeps) {
    const DiskState before{{"doc", "old"}};
    const std::vector<DiskEvent> events = {
        {DiskEvent::Kind::kMake, 1, "new", {}, 0, {}},
        {DiskEvent::Kind::kWrite, 1, {}, {}, 0, "fresh"},
        {DiskEvent::Kind::kSyncFile, 1, {}, {}, 0, {}},
        {DiskEvent::Kind::kRename, 0, "new", "doc", 0, {}},
        {DiskEvent::Kind::kSyncFolder, 0, {}, {}, 0, {}},
    };
    ForEachStateAfterAPowerCut(before, events, 10, [&](const DiskState& state, bool finished) {
        EXPECT_TRUE(PartOf(state, "doc") == "old" || PartOf(state, "doc") == "fresh");
        if (finished) {
            EXPECT_EQ(state, (DiskState{{"doc", "fresh"}}));
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Every, PowerCuts, ::testing::ValuesIn(kPowerCuts),
                         [](const ::testing::TestParamInfo<PowerCut>& tested) {
                             std::string name = tested.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

}  // namespace
}  // namespace Ondrel::Testing
