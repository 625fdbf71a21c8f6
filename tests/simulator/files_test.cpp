// Files that are written as a whole, and texts in columns.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "simulator/text/columns.h"
#include "simulator/text/files.h"
#include "simulator/text/width.h"

namespace {

using simulator::write_whole;

class WholeFiles : public testing::Test {
 protected:
  WholeFiles() : folder_(testing::TempDir() + "zar-files-" + std::to_string(getpid())) {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
  }
  ~WholeFiles() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string &name) const { return folder_ + "/" + name; }
  std::string read(const std::string &name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  auto mode_of(const std::string &name) const { return std::filesystem::status(path(name)).permissions(); }
  // The names in the folder.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto &entry : std::filesystem::directory_iterator(folder_))
      found.push_back(entry.path().filename().string());
    return found;
  }

  std::string folder_;
};

TEST_F(WholeFiles, AreWrittenAndOverwritten) {
  EXPECT_EQ(write_whole(path("a"), "one\n"), std::nullopt);
  EXPECT_EQ(read("a"), "one\n");
  EXPECT_EQ(write_whole(path("a"), ""), std::nullopt);
  EXPECT_EQ(read("a"), "");
  EXPECT_EQ(names(), std::vector<std::string>{"a"});
}

TEST_F(WholeFiles, KeepTheirModeUnlessAnotherIsAsked) {
  EXPECT_EQ(write_whole(path("a"), "x", 0600), std::nullopt);
  EXPECT_EQ(mode_of("a"), std::filesystem::perms(0600));
  EXPECT_EQ(write_whole(path("a"), "y"), std::nullopt);
  EXPECT_EQ(mode_of("a"), std::filesystem::perms(0600));
  EXPECT_EQ(write_whole(path("a"), "z", 0644), std::nullopt);
  EXPECT_EQ(mode_of("a"), std::filesystem::perms(0644));
}

TEST_F(WholeFiles, LeaveTheDraftOfAnotherWriterAlone) {
  std::ofstream(path("a.new0")) << "of another";
  EXPECT_EQ(write_whole(path("a"), "mine"), std::nullopt);
  EXPECT_EQ(read("a"), "mine");
  EXPECT_EQ(read("a.new0"), "of another");
}

TEST_F(WholeFiles, LeaveNothingWhenTheyCannotBeWritten) {
  std::filesystem::create_directory(path("folder"));
  EXPECT_EQ(write_whole(path("folder"), "x"), "it is a folder");
  EXPECT_EQ(write_whole(path("none/a"), "x"), "No such file or directory");
  EXPECT_EQ(write_whole("/dev/full/x", "x"), "Not a directory");
  EXPECT_EQ(names(), std::vector<std::string>{"folder"});
}

TEST(Columns, CountCharactersAndNotBytes) {
  EXPECT_EQ(simulator::columns_of("plain"), 5u);
  EXPECT_EQ(simulator::columns_of("gr\u00fcn"), 4u);
  EXPECT_EQ(simulator::columns_of("e\u0301"), 1u);
  EXPECT_EQ(simulator::columns_of("\u7b56\u7565"), 4u);
  EXPECT_EQ(simulator::columns_of("\U0001f600"), 2u);
  EXPECT_EQ(simulator::columns_of("\xff\xc3"), 2u);
  EXPECT_EQ(simulator::padded("\u00fc", 3), "\u00fc  ");
  EXPECT_EQ(simulator::padded("long", 3), "long");
}

TEST(Columns, AreFilledFromTopToBottom) {
  const std::vector<std::string> words = {"a", "bb", "c", "d", "e"};
  EXPECT_EQ(simulator::in_columns(words, 7), "a   d\nbb  e\nc\n");
  EXPECT_EQ(simulator::in_columns(words, 1), "a\nbb\nc\nd\ne\n");
  EXPECT_EQ(simulator::in_columns(words, 80), "a   bb  c   d   e\n");
}

}  // namespace
