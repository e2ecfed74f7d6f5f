#include "fileop/KvItemPath.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TempTree.h"

namespace {

tag_ItemInfo itemOf(uint32_t itemClass, uint32_t type) {
    tag_ItemInfo item{};
    item.itemClass = itemClass;
    item.type = type;
    return item;
}

std::string ownNumbers() {
    return std::to_string(VcGetProcessID()) + "_" + std::to_string(VcGetThreadId());
}

}  // namespace

TEST(MakeItemPath, JoinsClassAndTypeInDecimal) {
    char out[kPathCapacity];
    const tag_ItemInfo pattern = itemOf(3, 1208090624);
    EXPECT_EQ(MakeItemPath(out, sizeof out, "/opt/store", &pattern, false), 0);
    EXPECT_STREQ(out, "/opt/store/3/1208090624");
    const tag_ItemInfo largest = itemOf(0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(MakeItemPath(out, sizeof out, "D:\\s\\", &largest, false), 0);
    EXPECT_STREQ(out, "D:/s/4294967295/4294967295");
}

TEST(MakeItemPath, MakesTheDirectoryOnlyWhenAsked) {
    const TempTree tree;
    const tag_ItemInfo engine = itemOf(2, 7);
    char out[kPathCapacity];
    EXPECT_EQ(MakeItemPath(out, sizeof out, tree.path("store").c_str(), &engine, false), 0);
    EXPECT_FALSE(tree.exists("store"));
    EXPECT_EQ(MakeItemPath(out, sizeof out, tree.path("store").c_str(), &engine, true), 0);
    EXPECT_EQ(out, tree.path("store/2/7"));
    EXPECT_TRUE(KvFileOpUtil::isDir(out));
}

TEST(MakeItemPath, ReportsADirectoryThatCannotBeMade) {
    const TempTree tree;
    tree.write("store", "a file in the way");
    const tag_ItemInfo engine = itemOf(2, 7);
    char out[kPathCapacity];
    EXPECT_EQ(MakeItemPath(out, sizeof out, tree.path("store").c_str(), &engine, true),
              KvFileOpUtil::kDestinationNotWritable);
    EXPECT_STREQ(out, tree.path("store/2/7").c_str());
}

TEST(MakeItemPath, JoinsInPlace) {
    char path[32] = "/opt";
    const tag_ItemInfo product = itemOf(1, 5);
    EXPECT_EQ(MakeItemPath(path, sizeof path, path, &product, false), 0);
    EXPECT_STREQ(path, "/opt/1/5");
}

TEST(MakeItemPath, GivesTheResultOfTheSecondJoin) {
    const tag_ItemInfo product = itemOf(1, 23);
    GuardedBuffer exact(10);
    EXPECT_EQ(MakeItemPath(exact.data(), 10, "/opt", &product, false), 0);
    EXPECT_STREQ(exact.data(), "/opt/1/23");
    // Six bytes of "/opt/1" and two of the type, a separator and the end.
    GuardedBuffer tight(9);
    EXPECT_EQ(MakeItemPath(tight.data(), 9, "/opt", &product, false), 6 + 2 + 2);
    EXPECT_STREQ(tight.data(), "/opt/1");
    EXPECT_TRUE(exact.isIntact());
    EXPECT_TRUE(tight.isIntact());
}

TEST(MakeItemPath, GoesOnFromTheCutBaseWhenTheFirstJoinDoesNotFit) {
    const tag_ItemInfo item = itemOf(123456, 7);
    GuardedBuffer out(8);
    EXPECT_EQ(MakeItemPath(out.data(), 8, "/opt", &item, false), 0);
    EXPECT_STREQ(out.data(), "/opt/7");
    EXPECT_TRUE(out.isIntact());
}

TEST(MakeItemPath, MakesTheDirectoryThatWasJoinedWhateverTheJoinsGave) {
    const TempTree tree;
    const tag_ItemInfo item = itemOf(1, 4000000000);
    const std::string& base = tree.path();
    std::string out(base.size() + sizeof "/1/4", '\0');
    EXPECT_EQ(
        MakeItemPath(out.data(), static_cast<unsigned int>(out.size()), base.c_str(), &item, true),
        0);
    EXPECT_EQ(tree.snapshot(), (std::map<std::string, std::string>{{"1/", ""}}));
}

TEST(MakeItemPath, TakesMissingArguments) {
    const tag_ItemInfo product = itemOf(1, 5);
    char out[16] = "kept";
    EXPECT_GT(MakeItemPath(nullptr, 100, "/opt", &product, false), 0);
    EXPECT_GT(MakeItemPath(out, 0, "/opt", &product, false), 0);
    EXPECT_EQ(MakeItemPath(nullptr, 100, "/opt", &product, true), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(MakeItemPath(out, 0, "/opt", &product, true), KvFileOpUtil::kBadParameters);
    EXPECT_STREQ(out, "kept");
    EXPECT_EQ(MakeItemPath(out, sizeof out, nullptr, &product, false), 0);
    EXPECT_STREQ(out, "1/5");
    EXPECT_EQ(MakeItemPath(out, sizeof out, "/opt", nullptr, true), 1);
    EXPECT_STREQ(out, "");
}

TEST(MakePathNameByThreadId, PutsBothNumbersBehindTheDirectory) {
    char out[kPathCapacity];
    for (const char* directory : {"/tmp/x", "/tmp/x/"}) {
        const std::string expected = "/tmp/x/" + ownNumbers();
        EXPECT_EQ(MakePathNameByThreadId(out, sizeof out, directory),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(out, expected);
    }
}

TEST(MakePathNameByThreadId, TakesABackslashForPartOfTheName) {
    char out[kPathCapacity];
    EXPECT_GT(MakePathNameByThreadId(out, sizeof out, "x\\"), 0);
    EXPECT_EQ(out, "x\\/" + ownNumbers());
    EXPECT_GT(MakePathNameByThreadId(out, sizeof out, ""), 0);
    EXPECT_EQ(out, "/" + ownNumbers());
}

TEST(MakePathNameByThreadId, StoresWhatFitsAndTellsItsLength) {
    GuardedBuffer out(6);
    EXPECT_EQ(MakePathNameByThreadId(out.data(), 6, "/tmp"), 5);
    EXPECT_EQ(std::string(out.data()), ("/tmp/" + ownNumbers()).substr(0, 5));
    EXPECT_TRUE(out.isIntact());
}

TEST(MakePathNameByThreadId, CutsALongDirectory) {
    const std::string directory(2000, 'd');
    char out[2 * kPathCapacity];
    const std::string expected = directory.substr(0, kPathCapacity - 1) + ownNumbers();
    EXPECT_EQ(MakePathNameByThreadId(out, sizeof out, directory.c_str()),
              static_cast<int>(expected.size()));
    EXPECT_EQ(out, expected);
}

TEST(MakePathNameByThreadId, WritesNothingWithoutABufferOrADirectory) {
    char out[] = "kept";
    EXPECT_EQ(MakePathNameByThreadId(out, sizeof out, nullptr), 1);
    EXPECT_EQ(MakePathNameByThreadId(nullptr, 0, nullptr), 1);
    EXPECT_EQ(MakePathNameByThreadId(nullptr, 10, "/tmp"), 0);
    EXPECT_EQ(MakePathNameByThreadId(out, 0, "/tmp"), 0);
    EXPECT_STREQ(out, "kept");
}
