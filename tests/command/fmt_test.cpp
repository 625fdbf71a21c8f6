// zar fmt: files in the canonical layout.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "command/program.h"
#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

constexpr const char *kLoose = "domains: {d:   }   # all\nclass-maps:\n    a:\n";
constexpr const char *kCanonical = "domains: {d: }   # all\nclass-maps:\n  a:\n";
constexpr const char *kBad = "domains: {d: }\nclass-maps: 7\n";

// A folder with policy files that lives as long as its test.
class Folder {
 public:
  Folder() : path_(testing::TempDir() + "zar-fmt-XXXXXX") { EXPECT_NE(mkdtemp(path_.data()), nullptr); }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder &) = delete;
  Folder &operator=(const Folder &) = delete;

  std::string path_of(const std::string &name) const { return path_ + "/" + name; }

  std::string write(const std::string &name, const std::string &text) const {
    std::ofstream(path_of(name), std::ios::binary) << text;
    return path_of(name);
  }

  std::string read(const std::string &name) const {
    std::ostringstream text;
    text << std::ifstream(path_of(name), std::ios::binary).rdbuf();
    return std::move(text).str();
  }

  // The names of everything in the folder.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(path_))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string path_;
};

struct stat status_of(const std::string &path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

TEST(Fmt, WritesFilesInPlaceAndNamesThoseThatChange) {
  const Folder folder;
  const std::string loose = folder.write("loose.yaml", kLoose);
  const std::string canonical = folder.write("canonical.yaml", kCanonical);
  const Result result = run_zar({"fmt", loose, canonical});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, loose + "\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(folder.read("loose.yaml"), kCanonical);
  EXPECT_EQ(folder.read("canonical.yaml"), kCanonical);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"canonical.yaml", "loose.yaml"}));
}

TEST(Fmt, DoesNotTouchAFileThatIsCanonical) {
  const Folder folder;
  const std::string path = folder.write("canonical.yaml", kCanonical);
  const struct stat before = status_of(path);
  EXPECT_EQ(run_zar({"fmt", path}).code, 0);
  EXPECT_EQ(status_of(path).st_ino, before.st_ino) << "the file was replaced";
}

TEST(Fmt, KeepsThePermissionsOfAFile) {
  const Folder folder;
  const std::string path = folder.write("loose.yaml", kLoose);
  for (const mode_t mode : {0600U, 0664U, 0755U}) {
    folder.write("loose.yaml", kLoose);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    EXPECT_EQ(run_zar({"fmt", path}).code, 0);
    EXPECT_EQ(folder.read("loose.yaml"), kCanonical);
    EXPECT_EQ(status_of(path).st_mode & 07777, mode);
  }
}

TEST(Fmt, FollowsSymbolicLinks) {
  const Folder folder;
  folder.write("loose.yaml", kLoose);
  const std::string link = folder.path_of("link.yaml");
  ASSERT_EQ(symlink("loose.yaml", link.c_str()), 0);
  const Result result = run_zar({"fmt", link});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, link + "\n");
  EXPECT_EQ(folder.read("loose.yaml"), kCanonical);
  EXPECT_TRUE(S_ISLNK(status_of(link).st_mode));
}

TEST(Fmt, FormatsStandardInputToStandardOutput) {
  const Result result = run_zar({"fmt", "-"}, kLoose);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, kCanonical);
  EXPECT_EQ(run_zar({"fmt", "-"}, kCanonical).out, kCanonical);
  EXPECT_EQ(run_zar({"fmt", "-", "-"}, kCanonical).code, 2);
}

TEST(Fmt, ChecksWithoutWriting) {
  const Folder folder;
  const std::string loose = folder.write("loose.yaml", kLoose);
  const std::string canonical = folder.write("canonical.yaml", kCanonical);
  const Result result = run_zar({"fmt", "--check", canonical, loose, "-"}, kLoose);
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, loose + "\n<stdin>\n");
  EXPECT_EQ(folder.read("loose.yaml"), kLoose);

  const Result good = run_zar({"fmt", "--check", canonical});
  EXPECT_EQ(good.code, 0);
  EXPECT_EQ(good.out, "");
}

TEST(Fmt, ShowsWhatWouldChange) {
  const Folder folder;
  const std::string loose = folder.write("loose.yaml", kLoose);
  const Result result = run_zar({"fmt", "--diff", loose});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "--- " + loose + "\n+++ " + loose +
                            "\n@@ -1,3 +1,3 @@\n-domains: {d:   }   # all\n+domains: {d: }   # all\n class-maps:\n"
                            "-    a:\n+  a:\n");
  EXPECT_EQ(folder.read("loose.yaml"), kLoose);
}

TEST(Fmt, LeavesBadFilesAloneAndFormatsTheOthers) {
  const Folder folder;
  const std::string bad = folder.write("bad.yaml", kBad);
  const std::string loose = folder.write("loose.yaml", kLoose);
  for (const bool check : {true, false}) {
    std::vector<std::string> words = {"fmt", bad, loose};
    if (check) words.emplace_back("--check");
    const Result result = run_zar(words);
    EXPECT_EQ(result.code, 65);
    EXPECT_EQ(result.out, loose + "\n");
    EXPECT_EQ(result.err, run_zar({"check", bad}).err) << "the errors are those of check";
    EXPECT_EQ(folder.read("bad.yaml"), kBad);
  }
  EXPECT_EQ(folder.read("loose.yaml"), kCanonical);
}

TEST(Fmt, RefusesAConstructAtItsPlace) {
  const Result result = run_zar({"fmt", "-"}, "domains: {d: }\nclients: {c: {database: ! own}}\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("<stdin>:2:25: "), std::string::npos) << result.err;
}

TEST(Fmt, RefusesFilesThatItCannotReplace) {
  const Folder folder;
  const std::string pipe = folder.path_of("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const Result result = run_zar({"fmt", pipe});
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.err.find("is no regular file"), std::string::npos) << result.err;

  const Result missing = run_zar({"fmt", folder.path_of("missing.yaml")});
  EXPECT_EQ(missing.code, 65);
  EXPECT_NE(missing.err.find("cannot be opened"), std::string::npos) << missing.err;
}

// Runs the command in a process that has given up some of its rights.
Result run_fmt_after(const std::function<void()> &give_up, const std::string &path) {
  return test::run_in_child_process([&] {
    give_up();
    command::Program program("zar", "", "", "");
    program.add(command::make_fmt_command());
    std::vector<std::string> words = {"zar", "fmt", path};
    std::vector<char *> argv;
    for (std::string &word : words)
      argv.push_back(word.data());
    return program.run(static_cast<int>(argv.size()), argv.data());
  });
}

TEST(Fmt, LeavesProtectedFilesAlone) {
  constexpr uid_t kNobody = 65534;
  const Folder folder;
  const std::string path = folder.write("loose.yaml", kLoose);
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  // The superuser may write everything.
  if (geteuid() == 0) {
    ASSERT_EQ(chown(folder.path_of("").c_str(), kNobody, kNobody), 0);
  }
  const Result result = run_fmt_after(
      [] {
        if (geteuid() == 0 && setuid(kNobody) != 0) std::_Exit(99);
      },
      path);
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.err.find("cannot be written: Permission denied"), std::string::npos) << result.err;
  EXPECT_EQ(folder.read("loose.yaml"), kLoose);
}

TEST(Fmt, LeavesAFileAsItWasWhenThereIsNoRoomForTheNewText) {
  const Folder folder;
  const std::string text = kLoose + std::string(5000, '#') + "\n";
  const std::string path = folder.write("loose.yaml", text);
  const Result result = run_fmt_after(
      [] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {2000, 2000};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::_Exit(99);
      },
      path);
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.err.find("cannot be written: File too large"), std::string::npos) << result.err;
  EXPECT_EQ(folder.read("loose.yaml"), text);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"loose.yaml"}) << "something was left behind";
}

TEST(Fmt, WritesJson) {
  const Folder folder;
  const std::string loose = folder.write("loose.yaml", kLoose);
  const Result result = run_zar({"fmt", "--json", loose});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("\"changed\": true"), std::string::npos) << result.out;
  EXPECT_EQ(folder.read("loose.yaml"), kCanonical);

  const Result bad = run_zar({"fmt", "--json", "-"}, kBad);
  EXPECT_EQ(bad.code, 65);
  EXPECT_EQ(bad.err, "");
  EXPECT_NE(bad.out.find("\"good\": false"), std::string::npos) << bad.out;
}

TEST(Fmt, NamesFilesWithoutControlCharacters) {
  const Folder folder;
  const std::string loose = folder.write("lo\x1bose.yaml", kLoose);
  EXPECT_EQ(run_zar({"fmt", "--check", loose}).out.find('\x1b'), std::string::npos);
}

TEST(Fmt, KeepsTheExamples) {
  const Result result = run_zar(
      {"fmt", "--check", "examples/broadband.yaml", "examples/guest-network.yaml", "examples/interface-qos.yaml"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "");
}

TEST(Fmt, KeepsTheConfigurationOfTheExamples) {
  for (const char *path : {"examples/broadband.yaml", "examples/guest-network.yaml", "examples/interface-qos.yaml"}) {
    const std::string written = run_zar({"config", path}).out;
    EXPECT_EQ(run_zar({"fmt", "-"}, written).out, written);
  }
}

}  // namespace
