// Creating, saving over and writing in place, and closing.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "ondrel/core/FileType.h"
#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

using SaveTest = StreamTest;

int Save(fil* f, errtyp* e, const filref& ref, unsigned int type = 0) {
    return filsav(f, e, &ref, type);
}

TEST_F(SaveTest, ASavedFileHoldsWhatWasWritten) {
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(f.sys->mode, kFilModeWrite);
    EXPECT_EQ(f.count, 16384);
    EXPECT_EQ(f.cursor, f.sys->buffer1);
    EXPECT_EQ(f.sys->position1, 0);
    EXPECT_EQ(f.sys->position2, 2147483647);
    EXPECT_EQ(f.sys->forkSize, -1);
    EXPECT_EQ(f.sys->tailLength, 0);
    EXPECT_EQ(filwri8(&f, 'h'), 0);
    EXPECT_EQ(filwri8(&f, 'i'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "hi");
}

TEST_F(SaveTest, AnExistingFileIsDeletedFirst) {
    scratch_.Write("a", "a longer text");
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(Contents("a"), "");
    EXPECT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "x");
}

TEST_F(SaveTest, ASpecificationIsSavedToAsItsReferenceIs) {
    fil f;
    ASSERT_EQ(saveFile(&f, nullptr, FileSpec(UTF8ToUni16String(Path("a"))), 0), 0);
    EXPECT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "x");
    EXPECT_EQ(saveFile(&f, nullptr, FileSpec(), 0), -1);
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SaveTest, ASavedFileCarriesTheCodesOfItsType) {
    RegisterFileType({2001, MakeFourCC("ttxt"), MakeFourCC("TEXT"), ".txt"});
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("a"), 2001), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Hex(Contents("._a").substr(50, 8)), "54 45 58 54 74 74 78 74");
    ASSERT_EQ(Save(&f, nullptr, Ref("a"), 0), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_FALSE(Exists(Path("._a"))) << "the codes of the file before went with it";
}

TEST_F(SaveTest, AReferenceWithoutTextFailsAndKeepsItsRecord) {
    fil f;
    const filref none;
    EXPECT_EQ(Save(&f, nullptr, none), -1);
    ASSERT_NE(f.sys, nullptr);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(filsav(&f, nullptr, nullptr, 0), -1);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(filsavmod(&f, nullptr, none), -1);
    EXPECT_EQ(filclo(&f), 0);
    errtyp e;
    EXPECT_EQ(Try(e, [&] { return Save(&f, &e, none); }), Raised(-1));
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Try(e, [&] { return filsavmod(&f, &e, none); }), Raised(-1));
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SaveTest, AFolderInThePlaceOfTheFileStays) {
    scratch_.Write("folder/inside", "x");
    fil f;
    EXPECT_EQ(Save(&f, nullptr, Ref("folder")), -1);
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(GetFileErrorMessage(&f),
              "File not found error (#-43) while opening file Test:folder:.");
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("folder/inside"), "x");
}

TEST_F(SaveTest, AMissingFolderFailsWithTheCodeOfAFileThatIsNotFound) {
    fil f;
    errtyp e;
    const filref raising = Ref("no:a");
    EXPECT_EQ(Try(e, [&] { return Save(&f, &e, raising); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SaveTest, AnOpenFileIsNotSavedOver) {
    scratch_.Write("a", "old");
    fil reader;
    ASSERT_EQ(filope(&reader, nullptr, Ref("a")), 0);
    fil f;
    EXPECT_EQ(Save(&f, nullptr, Ref("a")), -1);
    EXPECT_EQ(f.sys->error, -47);
    EXPECT_EQ(GetFileErrorMessage(&f), "File already open error (#-47) while opening file Test:a.");
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(filclo(&reader), 0);
    EXPECT_EQ(Contents("a"), "old");
}

TEST_F(SaveTest, ASecondWriterIsRefused) {
    scratch_.Write("a", "old");
    fil first;
    ASSERT_EQ(filsavmod(&first, nullptr, Ref("a")), 0);
    fil second;
    EXPECT_EQ(filsavmod(&second, nullptr, Ref("a")), -1);
    EXPECT_EQ(second.sys->error, -49);
    EXPECT_EQ(filclo(&second), 0);
    EXPECT_EQ(filclo(&first), 0);
    EXPECT_EQ(filsavmod(&second, nullptr, Ref("a")), 0);
    EXPECT_EQ(filclo(&second), 0);
}

TEST_F(SaveTest, AnotherProcessThatWritesRefusesUs) {
    scratch_.Write("a", "old");
    int ready[2];
    int done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    char byte = 0;
    if (child == 0) {
        fil f;
        const bool opened = filsavmod(&f, nullptr, Ref("a")) == 0;
        byte = opened ? 'y' : 'n';
        if (write(ready[1], &byte, 1) != 1) _exit(2);
        if (read(done[0], &byte, 1) != 1) _exit(3);
        _exit(opened ? 0 : 1);
    }
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'y');
    fil f;
    EXPECT_EQ(filsavmod(&f, nullptr, Ref("a")), -1);
    EXPECT_EQ(f.sys->error, -49);
    filclo(&f);
    EXPECT_EQ(fildel(Ref("a")), -2);
    EXPECT_EQ(filope(&f, nullptr, Ref("a")), 0) << "reading is not refused";
    filclo(&f);
    ASSERT_EQ(write(done[1], &byte, 1), 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    for (const int fd : {ready[0], ready[1], done[0], done[1]})
        close(fd);
    EXPECT_EQ(fildel(Ref("a")), 0);
}

TEST_F(SaveTest, WritingInPlaceKeepsWhatLiesBehind) {
    scratch_.Write("a", "0123456789");
    fil f;
    ASSERT_EQ(filsavmod(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filwri16(&f, 0x4142), 0);
    EXPECT_EQ(filpos(&f, 5), 0);
    EXPECT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "AB234x6789");
}

TEST_F(SaveTest, WritingInPlaceNeedsTheFile) {
    fil f;
    EXPECT_EQ(filsavmod(&f, nullptr, Ref("missing")), -1);
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);
    errtyp e;
    const filref raising = Ref("missing");
    EXPECT_EQ(Try(e, [&] { return filsavmod(&f, &e, raising); }), Raised(-1));
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_FALSE(Exists(Path("missing")));
}

TEST_F(SaveTest, CreatingWhereAFileStandsLatchesMinus48AndLeavesIt) {
    scratch_.Write("a", "old");
    fil f;
    ASSERT_EQ(filope(&f, nullptr, filref()), -1);  // a record to work on
    ASSERT_EQ(f.sys->setFilref(Ref("a"), 0), 0);
    EXPECT_EQ(filsavtail(&f, 0, 0), -1);
    EXPECT_EQ(f.sys->error, -48);
    EXPECT_EQ(Contents("a"), "old");
    EXPECT_EQ(filsavtail(&f, 7, 0), 0) << "any other value deletes and creates";
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(SaveTest, AFullDiskWhileCreatingLeavesTheCodeForTheMessage) {
    FaultPlan full(1, ENOSPC, "openat", -1);
    fil f;
    EXPECT_EQ(Save(&f, nullptr, Ref("a")), -1);
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(GetFileErrorMessage(&f), "Disk full error (#-34) while opening file Test:a.");
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SaveTest, AFileThatVanishesBeforeItIsOpenedLatchesMinus43) {
    fil f;
    ASSERT_EQ(filope(&f, nullptr, filref()), -1);
    ASSERT_EQ(f.sys->setFilref(Ref("gone"), 0), 0);
    errtyp e;
    filerr(&f, &e);
    EXPECT_EQ(Try(e, [&] { return filsavtail(&f, 2, 0); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SaveTest, SavingThroughALinkReplacesItsTarget) {
    scratch_.Write("real", "old");
    std::filesystem::create_symlink("real", Path("link"));
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("link")), 0);
    EXPECT_EQ(filwri8(&f, 'n'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
    EXPECT_EQ(Contents("real"), "n");
}

TEST_F(SaveTest, ANewFileHasItsPrecomposedName) {
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("e\xCC\x81")), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_TRUE(Exists(Path("\xC3\xA9")));
}

// --- Closing ------------------------------------------------------------------------------------

TEST_F(SaveTest, ClosingAStreamThatIsNotOpenTouchesNothing) {
    fil f;
    lasterror = 7;
    EXPECT_EQ(filclo(&f), -1);
    EXPECT_EQ(f.Close(), -1);
    EXPECT_EQ(lasterror, 7);
}

TEST_F(SaveTest, AFailedWriteOfTheLastBufferDoesNotMakeClosingFail) {
    fil f;
    ASSERT_EQ(Save(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filwri8(&f, 'x'), 0);
    {
        FaultPlan full(1, ENOSPC, "pwrite", -1);
        FaultPlan* keep = &full;
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_TRUE(keep->Fired());
    }
    EXPECT_EQ(lasterror, 0);
    EXPECT_EQ(Contents("a"), "");
}

TEST_F(SaveTest, AForkThatDoesNotCloseIsReportedAfterTheRecordIsGone) {
    const int before = OpenDescriptors();
    errtyp e;
    for (const bool armed : {false, true}) {
        fil f;
        ASSERT_EQ(Save(&f, armed ? &e : nullptr, Ref("a")), 0);
        EXPECT_EQ(filwri8(&f, 'x'), 0);
        {
            FaultPlan failing(1, EIO, "close");
            EXPECT_EQ(Try(e, [&] { return filclo(&f); }), armed ? Raised(-1) : Returned(-1));
        }
        EXPECT_EQ(f.sys, nullptr);
        EXPECT_EQ(f.count, 0);
        EXPECT_EQ(lasterror, -36);
        EXPECT_EQ(Contents("a"), "x");
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SaveTest, TheDestructorWritesAndCloses) {
    {
        fil f;
        ASSERT_EQ(Save(&f, nullptr, Ref("a")), 0);
        EXPECT_EQ(filwri8(&f, 'x'), 0);
    }
    EXPECT_EQ(Contents("a"), "x");
}

}  // namespace
}  // namespace Ondrel::Testing
