// Whichever call that changes a file meets an interrupt, or a full disk: what was there stays or
// the new is there, whole, and nothing lies beside it.
#include <csignal>
#include <filesystem>
#include <map>
#include <ostream>

#include "tests/system/tool/PictureFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

constexpr int kMostCalls = 200;

struct Operation {
    const char* name;
    std::vector<std::string> words;
    std::string input;

    friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

const Operation kOperations[] = {
    {"save", {"save", "doc"}, "the new data"},
    {"codes", {"codes", "doc", "--type", "PNTG"}, ""},
    {"fork import", {"fork", "import", "doc", "-i", "fork"}, ""},
    {"fork export", {"fork", "export", "doc", "-o", "out"}, ""},
    {"preview set", {"preview", "set", "doc", "p.png", "--replace"}, ""},
    {"preview sheet", {"preview", "sheet", "pictures", "-o", "out.html"}, ""},
    {"preview sheet to PNG", {"preview", "sheet", "pictures", "-o", "out.png"}, ""},
    {"pict", {"pict", "pictures/a.pict", "-o", "out-folder"}, ""},
};

class Trouble : public ToolTest, public ::testing::WithParamInterface<Operation> {
 protected:
    // Everything below the scratch folder with its content.
    using State = std::map<std::string, std::string>;
    State Look() const {
        State state;
        for (const auto& entry : fs::recursive_directory_iterator(Path("")))
            if (entry.is_regular_file()) state[entry.path()] = ReadAll(entry.path());
        return state;
    }
    void Reset() const {
        fs::remove_all(Path("work"));
        fs::create_directories(Path("work/out-folder"));
        Write("work/doc", "the old data");
        Write("work/._doc", SmallSidecar());
        Write("work/fork", SmallFork() + "more");
        Write("work/p.png", PngOfColour(40, 30, Bytes("FF 00 FF 00")));
        Write("work/pictures/a.pict", HalfBlackPict());
        for (const char* name : {"out", "out.html", "out.png", "out-folder/a.png"})
            Write(std::string("work/") + name, "the old one");
    }
    Program TheOperation() const {
        return Ondrel(GetParam().words).In(Path("work")).Input(GetParam().input);
    }
};

#ifdef ONDREL_TROUBLE

TEST_P(Trouble, AtAnyCallLeavesTheOldOrTheNew) {
    Reset();
    const State before = Look();
    ASSERT_EQ(TheOperation().Run().status, 0);
    const State after = Look();
    ASSERT_NE(before, after);
    for (const std::string kind : {"INT:", "ENOSPC:"}) {
        int n = 1;
        for (; n < kMostCalls; ++n) {
            Reset();
            const std::string met = Path("met");
            fs::remove(met);
            const ProgramResult result = TheOperation()
                                             .With("LD_PRELOAD", ONDREL_TROUBLE)
                                             .With("TROUBLE", kind + std::to_string(n))
                                             .With("TROUBLE_MET", met)
                                             .Run();
            const bool fired = fs::remove(met);
            const State now = Look();
            EXPECT_TRUE(now == before || now == after)
                << kind << n << ": " << result.errors << Names("work");
            if (!fired) {
                EXPECT_EQ(result.status, 0);
                break;
            }
            if (kind == "INT:") {
                EXPECT_EQ(result.signal, SIGINT) << n;
                EXPECT_EQ(result.errors, "") << n;
            } else {
                EXPECT_EQ(result.status, now == after && result.errors.empty() ? 0 : 3) << n;
                EXPECT_EQ(result.status == 3, !result.errors.empty()) << n;
            }
        }
        EXPECT_GT(n, 2) << "the calls are counted";
        EXPECT_LT(n, kMostCalls);
    }
}

#else

TEST_P(Trouble, AtAnyCallLeavesTheOldOrTheNew) {
    GTEST_SKIP() << "the sanitizer's own library has to be loaded first";
}

#endif

INSTANTIATE_TEST_SUITE_P(InTheMiddleOf, Trouble, ::testing::ValuesIn(kOperations),
                         [](const auto& row) {
                             std::string name;
                             for (const char* c = row.param.name; *c != '\0'; ++c)
                                 if (*c != ' ') name += *c;
                             return name;
                         });

}  // namespace
}  // namespace OndrelTool::Testing
