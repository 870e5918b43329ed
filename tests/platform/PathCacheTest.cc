// The bounded table of paths.
#include "ondrel/platform/PathCache.h"

#include <gtest/gtest.h>

namespace Ondrel::Host {
namespace {

TEST(PathCache, WhatWasNotAskedForTheLongestIsForgotten) {
    PathCache cache(3);
    std::string path;
    EXPECT_FALSE(cache.Find("a", &path));
    cache.Store("a", "/a");
    cache.Store("b", "/b");
    cache.Store("c", "/c");
    EXPECT_TRUE(cache.Find("a", &path));
    EXPECT_EQ(path, "/a");
    cache.Store("d", "/d");
    EXPECT_FALSE(cache.Find("b", &path));
    cache.Store("c", "/new c");
    cache.Store("e", "/e");
    EXPECT_FALSE(cache.Find("a", &path));
    EXPECT_TRUE(cache.Find("c", &path));
    EXPECT_EQ(path, "/new c");
    EXPECT_TRUE(cache.Find("d", &path));
    EXPECT_TRUE(cache.Find("e", &path));
}

TEST(PathCache, KeysAreAnyBytes) {
    PathCache cache(10);
    std::string path;
    cache.Store({"x\0y", 3}, "/1");
    cache.Store({"x\0z", 3}, "/2");
    EXPECT_TRUE(cache.Find({"x\0y", 3}, &path));
    EXPECT_EQ(path, "/1");
    EXPECT_FALSE(cache.Find("x", &path));
    EXPECT_EQ(path, "/1");
}

TEST(PathCache, AClearedTableKnowsNothingAndGoesOn) {
    PathCache cache(2);
    std::string path;
    for (int round = 0; round < 2; ++round) {
        cache.Store("a", "/a");
        cache.Store("b", "/b");
        cache.Store("c", "/c");
        EXPECT_FALSE(cache.Find("a", &path));
        EXPECT_TRUE(cache.Find("b", &path));
        cache.Clear();
        EXPECT_FALSE(cache.Find("b", &path));
    }
}

}  // namespace
}  // namespace Ondrel::Host
