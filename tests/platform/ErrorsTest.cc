// The table of error codes and the mapping from the host's error numbers.
#include "ondrel/platform/Errors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>

namespace Ondrel {
namespace {

struct HostError {
    int number;
    OSErr code;
};

constexpr HostError kHostErrors[] = {
    {0, 0},         {ENOENT, -43}, {EEXIST, -48},   {ENOSPC, -34},       {EDQUOT, -34},
    {EFBIG, -34},   {EIO, -36},    {EROFS, -44},    {EACCES, -54},       {EPERM, -54},
    {ETXTBSY, -47}, {EBUSY, -47},  {EMFILE, -42},   {ENFILE, -42},       {ENOMEM, -108},
    {EISDIR, -43},  {EINVAL, -50}, {ENOTDIR, -120}, {ENAMETOOLONG, -37}, {EXDEV, -36},
    {ELOOP, -36},   {99999, -36},  {-1, -36},
};

TEST(Errors, HostErrorNumbersHaveTheirCodes) {
    for (const HostError& error : kHostErrors)
        EXPECT_EQ(ErrorFromErrno(error.number), error.code) << "errno " << error.number;
}

TEST(Errors, EveryCodeStandsInTheTableOnce) {
    std::set<OSErr> codes;
    for (const ErrorEntry& entry : ErrorTable()) {
        EXPECT_TRUE(codes.insert(entry.code).second) << entry.name;
        EXPECT_FALSE(entry.sentence.empty()) << entry.name;
    }
    for (const HostError& error : kHostErrors)
        EXPECT_TRUE(codes.contains(error.code));
}

}  // namespace
}  // namespace Ondrel
