// The public calls on volumes; the rules behind them are tested with the mount table.
#include "ondrel/core/Volumes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Ondrel {
namespace {

std::vector<std::string> RootsOf(const std::string& name) {
    std::vector<std::string> roots;
    for (const Volume& volume : MountedVolumes())
        if (volume.name == name) roots.push_back(volume.rootFolder);
    return roots;
}

TEST(Volumes, AMountedVolumeIsListedUntilItIsUnmounted) {
    EXPECT_TRUE(MountVolume("Listed", "/srv/listed/"));
    EXPECT_EQ(RootsOf("Listed"), std::vector<std::string>{"/srv/listed"});
    EXPECT_TRUE(MountVolume("Listed", "/srv/elsewhere"));
    EXPECT_EQ(RootsOf("Listed"), std::vector<std::string>{"/srv/elsewhere"});
    EXPECT_TRUE(UnmountVolume("Listed"));
    EXPECT_TRUE(RootsOf("Listed").empty());
    EXPECT_FALSE(UnmountVolume("Listed"));
}

TEST(Volumes, TheRootFileSystemIsAlwaysListed) {
    EXPECT_EQ(RootsOf("Root"), std::vector<std::string>{"/"});
    EXPECT_FALSE(UnmountVolume("Root"));
}

TEST(Volumes, WhatIsNoVolumeIsRefused) {
    EXPECT_FALSE(MountVolume("", "/srv"));
    EXPECT_FALSE(MountVolume("a:b", "/srv"));
    EXPECT_FALSE(MountVolume("a", "srv"));
    EXPECT_FALSE(MountVolume("a", ""));
    EXPECT_FALSE(MountVolume(nullptr, "/srv"));
    EXPECT_FALSE(MountVolume("a", nullptr));
    EXPECT_FALSE(UnmountVolume(nullptr));
    EXPECT_TRUE(RootsOf("a").empty());
}

}  // namespace
}  // namespace Ondrel
