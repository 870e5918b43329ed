// Deep chains of folders, made step by step.
#include "tests/support/DeepChain.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ondrel::Testing {

std::string MakeDeepChain(const std::string& folder, const std::vector<std::string>& names,
                          const std::string& file) {
    std::string path = folder;
    int here = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    for (const std::string& name : names) {
        EXPECT_EQ(mkdirat(here, name.c_str(), 0755), 0) << name;
        const int next = openat(here, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(here);
        here = next;
        path += "/" + name;
    }
    const int made = openat(here, file.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    EXPECT_GE(made, 0) << file;
    close(made);
    close(here);
    return path + "/" + file;
}

}  // namespace Ondrel::Testing
