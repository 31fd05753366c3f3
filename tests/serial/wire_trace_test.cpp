#include "serial/wire_trace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace velk {
namespace {

namespace fs = std::filesystem;

constexpr char kPcBanner[] = "***ALL CONTENT WRITE FROM PC!***\n\n";
constexpr char kLogBanner[] = "***ALL CONTENT WRITE FROM PC AND READ FROM TARGET!***\n\n";

std::string Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::app) << text;
}

// A private directory of the test's own, standing in for /tmp/velkport-<uid>.
class WireTraceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/velk-trace-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override {
        CloseWireTrace();
        fs::remove_all(dir);
    }
    fs::path dir;
};

// The trace is made only where the user asked for it with the target file.
TEST_F(WireTraceTest, EachOpenStartsTheWrittenFilesAfresh) {
    EXPECT_EQ(OpenWireTraceIn(dir), 0);
    EXPECT_FALSE(fs::exists(dir / "PcFile.txt"));
    EXPECT_FALSE(fs::exists(dir / "LogFile.txt"));
    Write(dir / "TargetFile.txt", "kept as it is\n");
    ASSERT_EQ(OpenWireTraceIn(dir), 1);
    CloseWireTrace();
    EXPECT_EQ(fs::status(dir / "PcFile.txt").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    Write(dir / "PcFile.txt", "an older trace");
    Write(dir / "LogFile.txt", "an older trace");
    ASSERT_EQ(OpenWireTraceIn(dir), 1);
    CloseWireTrace();
    EXPECT_EQ(Read(dir / "PcFile.txt"), kPcBanner);
    EXPECT_EQ(Read(dir / "LogFile.txt"), kLogBanner);
    EXPECT_EQ(Read(dir / "TargetFile.txt"), "kept as it is\n");
}

TEST_F(WireTraceTest, APlantedSymlinkIsNotFollowed) {
    Write(dir / "TargetFile.txt", "");
    Write(dir / "victim", "not to be touched");
    fs::create_symlink(dir / "victim", dir / "PcFile.txt");
    EXPECT_EQ(OpenWireTraceIn(dir), 0);
    EXPECT_EQ(Read(dir / "victim"), "not to be touched");
    EXPECT_FALSE(fs::exists(dir / "LogFile.txt"));
}

TEST_F(WireTraceTest, OnlyAPrivateDirectoryOfTheUserIsUsed) {
    Write(dir / "TargetFile.txt", "");
    const fs::path link = dir.string() + "-link";
    fs::create_directory_symlink(dir, link);
    EXPECT_EQ(OpenWireTraceIn(link), 0);
    fs::remove(link);
    EXPECT_EQ(OpenWireTraceIn(dir / "missing"), 0);
    for (mode_t loose : {0777, 0702}) {
        ASSERT_EQ(chmod(dir.c_str(), loose), 0);
        EXPECT_EQ(OpenWireTraceIn(dir), 0) << std::oct << loose;
    }
    ASSERT_EQ(chmod(dir.c_str(), 0700), 0);
    EXPECT_FALSE(fs::exists(dir / "PcFile.txt"));
    EXPECT_EQ(OpenWireTraceIn(dir), 1);
    if (geteuid() == 0) {  // only root can hand files to another user
        CloseWireTrace();
        ASSERT_EQ(chown((dir / "PcFile.txt").c_str(), 65534, 65534), 0);
        EXPECT_EQ(OpenWireTraceIn(dir), 0);
        EXPECT_EQ(Read(dir / "PcFile.txt"), kPcBanner);  // not cut
        ASSERT_EQ(chown(dir.c_str(), 65534, 65534), 0);
        EXPECT_EQ(OpenWireTraceIn(dir), 0);
    }
}

}  // namespace
}  // namespace velk
