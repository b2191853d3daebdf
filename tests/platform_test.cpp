// What each platform has to give: one contract, whoever fills it.
#include "frame/platform.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "checks.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#endif

namespace {

using namespace std::string_literals;

#if defined(_WIN32)
constexpr char kDevice[] = "NUL";
#else
constexpr char kDevice[] = "/dev/null";
#endif

std::string read_all(const char* name, std::size_t piece) {
  const std::intptr_t file = vdx::open_file(name);
  if (file == vdx::kNoFile) return "none";
  std::string all, buffer(piece, '?');
  std::int64_t got;
  while ((got = vdx::read_file(file, buffer.data(), piece)) > 0)
    all.append(buffer, 0, static_cast<std::size_t>(got));
  vdx::close_file(file);
  return got == 0 ? all : "failed";
}

TEST(Platform, FilesAreReadUnderEverySpelling) {
  const std::filesystem::path top = "vdxplatform";
  const std::filesystem::path folder = top / u8"M\u00fc\u65e5";
  std::filesystem::create_directories(folder);
  const std::string bytes("a\r\n\x1a\0b\n", 7);
  std::ofstream(folder / "f.cfg", std::ios::binary) << bytes;
  const std::string utf8 = "vdxplatform/M\xc3\xbc\xe6\x97\xa5";
  // Longer than the systems' classic limit of 260, though it names the same file.
  std::string longer = utf8;
  for (int i = 0; i < 150; ++i) longer += "/.";
  for (const std::string& name : {utf8 + "/f.cfg", "vdxplatform\\M\xc3\xbc\xe6\x97\xa5\\f.cfg"s,
                                  utf8 + "\\f.cfg", longer + "/f.cfg"})
    for (const std::size_t piece : {1U, 3U, 100U})
      EXPECT_EQ(read_all(name.c_str(), piece), bytes) << name;
  for (const std::string& name :
       {utf8, std::string(kDevice), "vdxplatform\\none"s, ""s, std::string(5000, 'x'),
        std::string(5000, '\\'), "vdxplatform/\xff\xfe"s})
    EXPECT_EQ(read_all(name.c_str(), 9), "none") << name.substr(0, 100);
  // A file that somebody has open may be replaced meanwhile.
  const std::intptr_t file = vdx::open_file((utf8 + "/f.cfg").c_str());
#if !defined(_WIN32)
  EXPECT_EQ(fcntl(static_cast<int>(file), F_GETFD), FD_CLOEXEC);
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(vdx::open_file((folder / "fifo").c_str()), vdx::kNoFile);  // nobody writes to it
#endif
  std::filesystem::rename(folder / "f.cfg", folder / "g.cfg");
  std::filesystem::remove(folder / "g.cfg");
  vdx::close_file(file);
  std::filesystem::remove_all(top);
}

TEST(Platform, VariablesAreCutToTheirRoom) {
  const std::string long_value(5000, 'v');
  const std::tuple<const char*, std::size_t, std::string> rows[] = {
      {"home", 4, "home"},
      {"home", 3, "hom"},
      {"home", 0, ""},
      {"", 256, ""},
      {nullptr, 256, ""},
      {long_value.c_str(), 256, long_value.substr(0, 256)},
      {long_value.c_str(), 5001, long_value}};
  for (const auto& [value, size, expected] : rows) {
    vdx_test::set_environment("VDX_PLATFORM", value);
    std::string buffer(6000, '?');
    const std::size_t length = vdx::read_environment("VDX_PLATFORM", buffer.data(), size);
    EXPECT_EQ(buffer.substr(0, length), expected);
    EXPECT_EQ(buffer.find_first_not_of('?', length), std::string::npos);
  }
  vdx_test::set_environment("VDX_PLATFORM", nullptr);
}

TEST(Platform, KnowsItsProgram) {
  char name[1024];
  const std::string whole(name, vdx::executable_name(name, sizeof name));
  EXPECT_NE(whole.find("vdxcomn_tests"), std::string::npos) << whole;
  EXPECT_TRUE(std::filesystem::exists(whole)) << whole;
  EXPECT_EQ(std::string(name, vdx::executable_name(name, 5)), whole.substr(0, 5));
}

}  // namespace
