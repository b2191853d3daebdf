// Runs a fuzz target over the files of the directories named, each in a buffer of its exact size.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(in), {}};
      std::printf("%s\n", entry.path().filename().string().c_str());
      std::fflush(stdout);  // the last name printed is that of a finding
      const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
      bytes.copy(reinterpret_cast<char*>(exact.get()), bytes.size());
      LLVMFuzzerTestOneInput(exact.get(), bytes.size());
      ++files;
    }
  }
  return files == 0;  // an empty corpus proves nothing
}
