// Runs a fuzz target on files, for tests and to examine a failing input with any compiler.
//   PROGRAM FILE|FOLDER...
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

std::vector<std::filesystem::path> files_below(const std::filesystem::path &path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(path))
    if (entry.is_regular_file()) files.push_back(entry.path());
  return files;
}

// False if the file cannot be read.
bool run(const std::filesystem::path &file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    std::fprintf(stderr, "cannot read %s\n", file.c_str());
    return false;
  }
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int count, char **arguments) {
  size_t inputs = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto &file : files_below(arguments[i])) {
      if (!run(file)) return 1;
      ++inputs;
    }
  }
  std::printf("%zu inputs replayed\n", inputs);
  return inputs == 0 ? 1 : 0;  // a missing corpus proves nothing
}
