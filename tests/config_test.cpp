// Configuration files: what is read, what is lost, and what remains when memory or the disk fails.
#include "vdxcomn/config.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "checks.h"
#include "vdxcomn/errors.h"
#include "vdxcomn/intl.h"

namespace {

using vdx_test::read_limit;
using vdx_test::set_environment;

thread_local std::string told;

// "1040008 2 a.cfg" and so on: number, then parameters, file names without their directory.
std::int32_t tell(vdx_context*, const vdx_message* message) {
  char number[16];
  std::snprintf(number, sizeof number, "%x", static_cast<unsigned>(message->number));
  told += number;
  for (std::int32_t i = 0; i < message->parameters.count; ++i) {
    const vdx_err_parameter& parameter = message->parameters.parameter[i];
    std::string text =
        parameter.text.bytes == nullptr
            ? std::to_string(parameter.number)
            : std::string(parameter.text.bytes, static_cast<std::size_t>(parameter.text.length));
    if (text.find('/') != std::string::npos) text = "FILE";
    told += " " + text;
  }
  told += ";";
  return 1;
}

std::atomic<int> allocations_left{-1};
void* scarce(vdx_context*, std::size_t size) {
  if (allocations_left == 0) return nullptr;
  if (allocations_left > 0) --allocations_left;
  return std::malloc(size);
}

// Memory and reads of the library itself: the one that is counted down to fails, or all from it on.
struct Failure {
  std::atomic<int> countdown{-1};
  std::atomic<bool> for_good{false};

  bool strikes() {
    if (countdown < 0) return false;
    if (countdown > 0) return countdown--, false;
    if (!for_good) countdown = -1;
    return true;
  }
};
Failure memory_failure;
Failure read_failure;

class Config : public testing::Test {
 protected:
  Config() {
    context_.version = VDX_VERSION;
    context_.message = tell;
    vdx_test::read_fails = [] { return read_failure.strikes(); };
    EXPECT_EQ(com_appglobal_alloc(&context_.appglobal, 7, 0), XS_SUCCEED);
    told.clear();
    directory_ = std::filesystem::temp_directory_path() /
                 ("vdxconfig" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(directory_);
  }
  ~Config() override {
    EXPECT_EQ(com_appglobal_drop(context_.appglobal, 0), XS_SUCCEED);
    std::filesystem::remove_all(directory_);
  }

  std::string write(const std::string& text, const char* name = "a.cfg") {
    const std::string path = (directory_ / name).generic_string();
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  vdx_cfg* open(const std::string& path) {
    vdx_cfg* cfg = nullptr;
    comn_init_cfg(&context_, path.c_str(), VDX_NULLTERM, &cfg);
    return cfg;
  }

  // Every value as "<text>", and how it ended.
  static std::string values(vdx_cfg* cfg, const std::string& section, const char* key) {
    std::string all;
    vdx_cfg_cursor* cursor = nullptr;
    for (;;) {
      char buffer[256];
      std::int32_t length = -1;
      const std::int32_t code =
          comn_get_cfg(cfg, section.data(), static_cast<std::int32_t>(section.size()), key,
                       VDX_NULLTERM, &cursor, buffer, sizeof buffer, &length);
      if (code != XS_SUCCEED) {
        EXPECT_EQ(cursor, nullptr);
        return all + (code == XS_END_DATA ? "" : std::to_string(code));
      }
      all += "<" + std::string(buffer, static_cast<std::size_t>(length)) + ">";
    }
  }

  vdx_context context_{};
  std::filesystem::path directory_;
};

TEST_F(Config, Files) {
  const struct {
    const char* text;
    const char* section;
    const char* key;
    const char* values;
    const char* messages;
  } rows[] = {
      {"[a]\nk=v\n", "a", "k", "<v>", ""},
      {"\n; c\n  ;c\n\n[ a ]\t\n\n k = v  \n", "a", "k", "<v>", ""},
      {"[a]\r\nk=v\r\n;x\r\n", "a", "k", "<v>", ""},
      {"[a]\nk=v", "a", "k", "<v>", ""},
      {"[a]", "a", "k", "", ""},
      {"[a]\n;k=v", "a", "k", "", ""},
      {"[a]\nk=one  two\t three \t\n", "a", "k", "<one  two\t three>", ""},
      {"[a]\nk=\"a \"\"b\"\" = [x] ;\"\n", "a", "k", "<a \"b\" = [x] ;>", ""},
      {"[a]\nk=\"\"\nk=x \"\" y\nk=\"a\"\"\"\n", "a", "k", "<><x  y><a\">", ""},
      {"[a]\nk=\"a\"b\"c\"d \"e\"\n", "a", "k", "<ab\"c\"d e>", ""},
      {"[a]\nk=1\nj=2\nk=3\n", "a", "k", "<1><3>", ""},
      {"[a]\nk=\"two\nlines\"\nj=1\n", "a", "k", "<two\nlines>", ""},
      {"[a]\nk=x \\\n y\n", "a", "k", "<x  y>", ""},
      {"[a]\nk=\\\r\ny\nj=1\n", "a", "k", "<y>", ""},
      {"[a]\nk=x\\\nj=1\n", "a", "k", "<x\\>", ""},
      {"[a]\nk=x \\\n; no\nj=1\n", "a", "k", "<x>", ""},
      {"[a]\nk=\"x\\\ny\\z\\\r\nw\\\rv\"\n", "a", "k", "<xy\\zw\\\rv>", ""},
      {"[a]\nk=C:\\path\\x w2, #1 $x -y ;z\n", "a", "k", "<C:\\path\\x w2, #1 $x -y ;z>", ""},
      {"[a]\n#k=v\n", "a", "#k", "<v>", ""},
      {"[a]\n\xE9k=\xE9\x80\n", "a", "\xE9k", "<\xE9\x80>", ""},
      {"[a]\nincludes=v\nk=includes\n", "a", "includes", "<v>", ""},
      {"[a]\nK=v\n", "a", "k", "", ""},
      // sections and their stand-in
      {"[a]\nk=1\n[a]\nk=2\n", "a", "k", "<1>", ""},
      {"[NAMED_APP_DEFAULT]\nk=d\n", "b", "k", "<d>", ""},
      {"[a]\nk=1\n", "b", "k", "0", "1040607 comn_get_cfg b;"},
      {"[a]\nk=1\n[NAMED_APP_DEFAULT]\nk=2\n", "", "k", "0", ""},
      // includes
      {"[a]\nk=1\n[b]\nINCLUDE = a\nk=2\n", "b", "k", "<2><1>", ""},
      {"[a]\nk=1\n[b]\nk=2\n[c]\ninclude=a\ninclude=b\n", "c", "k", "<1><2>", ""},
      {"[a]\nk=1\n[b]\ninclude=a\nk=2\n[d]\nk=4\n[c]\ninclude=b\ninclude=d\ninclude=a\n", "c", "k",
       "<2><1><4><1>", ""},
      {"[a]\nj=1\n[b]\ninclude=a\n[c]\ninclude=b\ninclude=a\n", "c", "k", "", ""},
      {"[b]\nk=1\ninclude=a\n[a]\nk=2\n", "b", "k", "0",
       "1040007 cfg__add_include a;1040607 comn_get_cfg b;"},
      {"[b]\nk=1\ninclude=b\n[a]\nk=2\n", "a", "k", "<2>", "1040007 cfg__add_include b;"},
      // what an error loses
      {"k=v\n[a]\nk=1\n", "a", "k", "<1>", "1040008 FILE 1 k;"},
      {"[a]\nk=1\nj\nx=y z=\nk=2\n[b]\nk=3\n", "b", "k", "<3>",
       "1040008 FILE 3 \n;1040008 FILE 4 =;"},
      {"[a]\nk=1\n[b\nj=2\n[c]\nk=3\n", "a", "k", "0", "1040008 FILE 3 \n;1040607 comn_get_cfg a;"},
      {"[a]\nk=1\n[b] x\nj=2\n", "a", "k", "<1>", "1040008 FILE 3 x;"},
      {"[a]\nk=1\n[b] x\nj=2\n", "b", "j", "0", "1040008 FILE 3 x;1040607 comn_get_cfg b;"},
      {"[a]\nk=1\n[a]\nk\n[c]\n", "a", "k", "<1>", "1040008 FILE 4 \n;"},
      {"[a]\nk\n[a]\nk=2\n[c]\n", "a", "k", "<2>", "1040008 FILE 2 \n;"},
      {"[a]\nk=1\n[b]\nk= \n", "a", "k", "<1>", "1040008 FILE 4  \n;"},
      {"[a]\nk=1\n[b]\n\"q\n[c]\" = 2\n[c]\nk=3\n", "c", "k", "<3>", "1040008 FILE 4 \";"},
      {"[a]\nk=1\n[b]\nk=\"open\n[c]\nk=3\n", "a", "k", "<1>", "1040008 FILE 7 ;"},
      {"[a]\nk=1\n[include]\n[\"q\"]\n[b]\ninclude=include\n[c]\nk=include\n[d]\nk=a\rb\n[e]\nk="
       "\\\n\n",
       "e", "k", "0",
       "1040008 FILE 3 include;1040008 FILE 4 \";1040008 FILE 6 include;1040008 FILE 8 include;"
       "1040008 FILE 10 \r;1040008 FILE 13 \n;1040607 comn_get_cfg e;"},
  };
  for (const auto& row : rows) {
    for (const std::size_t limit : {SIZE_MAX, std::size_t{1}, std::size_t{3}}) {
      SCOPED_TRACE(row.text);
      read_limit = limit;
      told.clear();
      vdx_cfg* cfg = open(write(row.text));
      read_limit = SIZE_MAX;
      ASSERT_NE(cfg, nullptr);
      EXPECT_EQ(values(cfg, row.section, row.key), row.values);
      EXPECT_EQ(told, row.messages);
      EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), XS_SUCCEED);
    }
  }
}

// A line is read the same way with much behind it, with much before it, and in pieces; and what was
// read of it does not depend on how.
TEST_F(Config, Lines) {
  const struct {
    const char* line;
    const char* values;  // of k after it; 0: its section is lost
  } rows[] = {
      {"k=v", "<v>"},
      {" \tk\t= \f v  w \t", "<v  w>"},
      {"k=v\r", "<v>"},
      {"k=v \r", "<v>"},
      {"k=v\rw", "0"},
      {"k=v\r\r", "0"},
      {"\r", ""},
      {"\r\r", "0"},
      {" \f\t", ""},
      {"k", "0"},
      {"k=", "0"},
      {"=v", "0"},
      {"k j=v", "0"},
      {"k==v", "0"},
      {"k=v=", "0"},
      {"k=[", "0"},
      {"]k=v", "0"},
      {"=", "0"},
      {"k=a include b", "0"},
      {"k=InClude", "0"},
      {"k=a includes xinclude b", "<a includes xinclude b>"},
      {"k=install", "<install>"},
      {"include=v", "0"},
      {"include =a", "0"},
      {"k=a\"b", "<a\"b>"},
      {"k=\"v\" w", "<v w>"},
      {"k=w \"v\"", "<w v>"},
      {"k=a\\b", "<a\\b>"},
      {"k=\\a", "<\\a>"},
      {"\"k\"=v", "0"},
      {"\\k=v", ""},
      {";k=[\"\r", ""},
      {" ;k=v", ""},
      {"k=;v", "<;v>"},
      {"k;=v", ""},
      {"=;v", "0"},
      {"k=\xE9 \x80", "<\xE9 \x80>"},
      {"\xE9=v", ""},
      {"k=v\nk=w", "<v><w>"},
      {"k=v\n\nj=v\nk= w x", "<v><w x>"},
  };
  const std::string wide(70, ' ');
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    for (const std::string& before : {std::string(), wide}) {
      for (const std::size_t limit : {SIZE_MAX, std::size_t{1}, std::size_t{100}}) {
        read_limit = limit;
        vdx_cfg* cfg = open(write("[a]\n" + before + row.line + "\n" + wide + "\n[b]\nk=b\n"));
        read_limit = SIZE_MAX;
        ASSERT_NE(cfg, nullptr);
        EXPECT_EQ(values(cfg, "a", "k") + values(cfg, "b", "k"), row.values + std::string("<b>"));
        EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), XS_SUCCEED);
      }
    }
  }
}

TEST_F(Config, Characters) {
  const struct {
    const char* charset;
    std::string text;
    const char* key;
    const char* values;
    const char* messages;
  } rows[] = {
      {"utf8", "[a]\nk=\xE2\x82\xAC x\n", "k", "<\xE2\x82\xAC x>", ""},
      {"sjis", "[a]\nk=\x83\x5B\x83\x5C\n", "k", "<\x83\x5B\x83\x5C>", ""},
      {"utf8", "[a]\nk=a\xE2\x82\xAC\xC2\xA0\xE2\x82\xAC=;\nj=1\n", "j", "0",
       "1040008 FILE 2 =;1040607 comn_get_cfg a;"},
      {"utf8", "[a]\n\xEF\xBD\x8B\xEF\xBC\x9D\xEF\xBD\x89nclude\n", "k", "0",
       "1040008 FILE 2 \xEF\xBD\x89nclude;1040607 comn_get_cfg a;"},
      {"utf8", "[a]\n;\xE2\n\nk=w\nj=1\nk=x\n", "k", "<x>", ""},
      {"sjis", "[a]\nk=\x83=\x83\"\n;" + std::string(70, ' ') + "\n", "k", "<\x83=\x83\">", ""},
      {"utf8", "[a]\nk=1\n;\xE2\x82", "k", "<1>", "1040606 FILE;"},
      {"utf8", "[a]\nk=\xE2\x82", "k", "0", "1040606 FILE;1040008 FILE 2 ;1040607 comn_get_cfg a;"},
  };
  for (const auto& row : rows) {
    for (const std::size_t limit : {SIZE_MAX, std::size_t{1}}) {
      SCOPED_TRACE(row.text);
      told.clear();
      ASSERT_EQ(comn_loc_alloc(nullptr, row.charset, &context_.locale), XS_SUCCEED);
      read_limit = limit;
      vdx_cfg* cfg = open(write(row.text));
      read_limit = SIZE_MAX;
      ASSERT_NE(cfg, nullptr);
      EXPECT_EQ(values(cfg, "a", row.key), row.values);
      EXPECT_EQ(told, row.messages);
      comn_drop_cfg(cfg, VDX_UNUSED);
      comn_loc_drop(nullptr, context_.locale);
      context_.locale = nullptr;
    }
  }
}

TEST_F(Config, BufferLengths) {
  vdx_cfg* cfg = open(write("[a]\nk=12345\n"));
  ASSERT_NE(cfg, nullptr);
  const struct {
    std::int32_t size;
    std::int32_t code;
    const char* left;
  } rows[] = {{6, 1, "12345"},
              {5, 1, "12345###"},
              {4, VDX_TRUNCATED, "1234####"},
              {0, VDX_TRUNCATED, "########"}};
  for (const auto& row : rows) {
    char buffer[9] = "########";
    std::int32_t length = 0;
    EXPECT_EQ(comn_get_cfg(cfg, "a", 1, "k", 1, nullptr, buffer, row.size, &length), row.code);
    EXPECT_EQ(length, 5);
    EXPECT_STREQ(buffer, row.left);
  }
  comn_drop_cfg(cfg, VDX_UNUSED);
}

// Lost sections are stepped over, namesakes are not; a handle that was detached has none.
TEST_F(Config, Sections) {
  const std::string path = write(";\n[a]\nk=\"\n\"\n[b]\nk\n[c]\n[ a ]\n");
  vdx_cfg* cfg = open(path);
  std::string all;
  vdx_cfg_section section{};
  while (comn_nextsection_cfg(cfg, &section) == XS_SUCCEED)
    all += std::string(section.name, static_cast<std::size_t>(section.length)) +
           std::to_string(section.line) + " ";
  EXPECT_EQ(all, "a2 c7 a8 ");
  EXPECT_EQ(comn_nextsection_cfg(cfg, &section), XS_END_DATA);
  EXPECT_EQ(section.line, 8);
  EXPECT_EQ(comn_drop_cfg(open(path), VDX_CFG_FORCE), XS_SUCCEED);
  EXPECT_EQ(comn_nextsection_cfg(cfg, &section), XS_FAIL);
  std::free(cfg);
}

TEST_F(Config, Handles) {
  const std::string path = write("[a]\nk=1\nk=2\n");
  vdx_cfg* one = open(path);
  write("[a]\nk=new\n");
  vdx_cfg* two = open(path);
  EXPECT_EQ(values(two, "a", "k"), "<1><2>");  // shared, not read again
  vdx_cfg_cursor* cursor = nullptr;
  char buffer[8];
  EXPECT_EQ(comn_get_cfg(one, "a", 1, "k", 1, &cursor, buffer, 8, nullptr), 1);
  EXPECT_EQ(comn_nextdrop_cfg(one, cursor), 1);
  EXPECT_EQ(comn_nextdrop_cfg(one, nullptr), 1);
  // A second user of the area starts from new files; older handles keep theirs.
  EXPECT_EQ(comn_drop_cfg(two, VDX_UNUSED), 1);
  two = open(path);
  told.clear();
  EXPECT_EQ(comn_drop_cfg(one, VDX_CFG_FORCE), 1);
  EXPECT_EQ(told, "1040009 comn_drop_cfg;");
  EXPECT_EQ(comn_get_cfg(two, "a", 1, "k", 1, nullptr, buffer, 8, nullptr), 0);
  told.clear();
  EXPECT_EQ(comn_drop_cfg(two, VDX_UNUSED), 0);
  EXPECT_EQ(told, "1040604 comn_drop_cfg;");
  std::free(two);
  one = open(path);
  EXPECT_EQ(values(one, "a", "k"), "<new>");
  // What the area still holds goes with it, and detaches its handles.
  comn_globdrop_cfg(context_.appglobal->configurations);
  context_.appglobal->configurations = nullptr;
  EXPECT_EQ(comn_drop_cfg(one, VDX_UNUSED), 0);
  std::free(one);
}

TEST_F(Config, StaticArea) {
  vdx_appglobal* own = context_.appglobal;
  context_.appglobal = nullptr;
  const std::string path = write("[a]\nk=1\n");
  vdx_cfg* one = open(path);
  ASSERT_NE(one, nullptr);
  write("[a]\nk=2\n");
  vdx_appglobal* area = nullptr;
  EXPECT_EQ(com_appglobal_alloc(&area, 1, VDX_APPGLOBAL_STATIC), 1);
  EXPECT_EQ(area->configurations, nullptr);
  vdx_cfg* two = open(path);
  EXPECT_EQ(values(one, "a", "k") + values(two, "a", "k"), "<1><2>");
  EXPECT_EQ(comn_drop_cfg(one, VDX_UNUSED), 1);
  EXPECT_EQ(comn_drop_cfg(two, VDX_UNUSED), 1);
  EXPECT_EQ(com_appglobal_drop(area, VDX_APPGLOBAL_STATIC), 1);
  context_.appglobal = own;
}

TEST_F(Config, Names) {
  vdx_cfg* cfg = nullptr;
  const std::string longest(512, 'n');
  const struct {
    std::string name;
    std::int32_t length;
    std::string messages;
  } rows[] = {{"x", 0, ""},
              {"x", -3, ""},
              {"", VDX_NULLTERM, ""},
              {longest, 512, "1040603 cfg__init_parse " + longest + ";"},
              {longest + "n", 513, "1040605 comn_init_cfg " + longest.substr(0, 255) + ";"},
              {directory_.generic_string(), VDX_NULLTERM, "1040603 cfg__init_parse FILE;"}};
  for (const auto& row : rows) {
    told.clear();
    EXPECT_EQ(comn_init_cfg(&context_, row.name.c_str(), row.length, &cfg), 0);
    EXPECT_EQ(told, row.messages);
  }
  EXPECT_EQ(context_.appglobal->configurations, nullptr);
  std::filesystem::create_directories(directory_ / "ini");
  const std::string path = write("[a]\nk=1\n", "ini/ncl.cfg");
  set_environment("VERDEX", directory_.generic_string().c_str());
  EXPECT_EQ(comn_init_cfg(&context_, nullptr, VDX_UNUSED, &cfg), 1);
  EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
  context_.allocate = scarce;
  allocations_left = 0;
  EXPECT_EQ(open(path), nullptr);
  allocations_left = -1;
  EXPECT_NE(cfg = open(path), nullptr);
  EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
}

// Every prefix of a file opens, and gives what the file gives or nothing.
TEST_F(Config, Prefixes) {
  const std::string text =
      "; head\n[base]\nk = one \"two \"\"x\"\"\" \\\n  three\n[top]\ninclude = "
      "base\nk=\"a\nb\"\nj=1\r\n";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    SCOPED_TRACE(length);
    vdx_cfg* cfg = open(write(text.substr(0, length)));
    ASSERT_NE(cfg, nullptr);
    const std::string got = values(cfg, "base", "k");
    if (length > text.find("[top]") + 4) {
      EXPECT_EQ(got, "<one two \"x\"   three>");
    }
    EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
  }
}

TEST_F(Config, ManySections) {
  std::string text;
  for (int i = 0; i < 3000; ++i) {
    const std::string n = std::to_string(i);
    text += "[s" + n + "]\nk" + n + "=v" + n + "\nk=" + std::string(40, 'x') + n + "\n";
    if (i % 3 == 1) text += "broken\n";  // what is taken out leaves the rest to be found
  }
  vdx_cfg* cfg = open(write(text));
  ASSERT_NE(cfg, nullptr);
  for (int i = 0; i < 3000; ++i) {
    const std::string n = std::to_string(i);
    EXPECT_EQ(values(cfg, "s" + n, ("k" + n).c_str()), i % 3 == 1 ? "0" : "<v" + n + ">");
  }
  comn_drop_cfg(cfg, VDX_UNUSED);
}

TEST_F(Config, EveryFailure) {
  std::string text = "[z]\nk=" + std::string(40000, 'z') + "\n";
  for (int i = 0; i < 40; ++i)
    text += "[s" + std::to_string(i) + "]\nk=\"a\" b\nj=" + std::string(200, 'x') + "\n";
  const std::string path = write(text + "[top]\nbroken\n[end]\ninclude=s1\n");
  for (Failure* failure : {&memory_failure, &read_failure}) {
    for (const bool for_good : {false, true}) {
      int failed = 0;
      for (int nth = 0;; ++nth) {
        SCOPED_TRACE(nth);
        ASSERT_LT(nth, 500);
        failure->for_good = for_good;
        failure->countdown = nth;
        vdx_cfg* cfg = open(path);
        const bool was_struck = failure->countdown <= 0;
        failure->countdown = -1;
        if (cfg != nullptr) {  // whole, or not at all
          EXPECT_EQ(values(cfg, "end", "k") + values(cfg, "s39", "k"), "<a b><a b>");
          EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
        }
        EXPECT_EQ(context_.appglobal->configurations, nullptr);
        if (!was_struck) break;
        failed += cfg == nullptr;
      }
      EXPECT_GE(failed, 3);
    }
  }
}

TEST_F(Config, CursorsWithoutMemory) {
  vdx_cfg* cfg = open(write("[a]\nk=1\n[b]\ninclude=a\n"));
  ASSERT_NE(cfg, nullptr);
  // The pool's own room lasts for a while; these cursors use it up.
  std::vector<vdx_cfg_cursor*> cursors;
  memory_failure.for_good = true;
  memory_failure.countdown = 0;
  std::int32_t code = 1;
  char buffer[4];
  told.clear();
  while (code == 1 && cursors.size() < 10000) {
    vdx_cfg_cursor* cursor = nullptr;
    code = comn_get_cfg(cfg, "b", 1, "k", 1, &cursor, buffer, 4, nullptr);
    if (code == 1) cursors.push_back(cursor);
    EXPECT_EQ(cursor == nullptr, code != 1);
  }
  memory_failure.countdown = -1;
  EXPECT_EQ(code, 0);
  EXPECT_EQ(told, "1040601 comn_get_cfg;");
  for (vdx_cfg_cursor* cursor : cursors) EXPECT_EQ(comn_nextdrop_cfg(cfg, cursor), 1);
  EXPECT_EQ(values(cfg, "b", "k"), "<1>");
  EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
}

// Each section includes the one before it twice: 2^60 ways that must not all be walked.
TEST_F(Config, IncludesOfIncludes) {
  std::string text = "[s0]\nk=1\n";
  for (int i = 1; i <= 60; ++i) {
    const std::string line = "include=s" + std::to_string(i - 1) + "\n";
    text += "[s" + std::to_string(i) + "]\n" + line + line;
  }
  vdx_cfg* cfg = open(write(text));
  ASSERT_NE(cfg, nullptr);
  EXPECT_EQ(values(cfg, "s60", "none"), "");
  EXPECT_EQ(values(cfg, "s2", "k"), "<1><1><1><1>");
  EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), 1);
}

// Eight threads open, look up and drop the same file and their own.
TEST_F(Config, Threads) {
  const std::string shared = write("[a]\nk=1\n[b]\ninclude=a\n", "shared");
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 8; ++t) {
    const std::string own = write("[b]\nk=" + std::to_string(t) + "\n", std::to_string(t).c_str());
    threads.emplace_back([this, shared, own, t, &wrong] {
      vdx_context context{};
      context.version = VDX_VERSION;
      context.appglobal = context_.appglobal;
      for (int i = 0; i < 200; ++i) {
        vdx_cfg* cfg[2] = {};
        if (comn_init_cfg(&context, shared.c_str(), VDX_NULLTERM, &cfg[0]) != 1 ||
            comn_init_cfg(&context, own.c_str(), VDX_NULLTERM, &cfg[1]) != 1)
          ++wrong;
        wrong += values(cfg[0], "b", "k") != "<1>";
        wrong += values(cfg[1], "b", "k") != "<" + std::to_string(t) + ">";
        vdx_cfg* missing = nullptr;
        wrong += comn_init_cfg(&context, "missing", VDX_NULLTERM, &missing) != 0;
        wrong += comn_drop_cfg(cfg[i % 2], VDX_UNUSED) != 1;
        wrong += comn_drop_cfg(cfg[1 - i % 2], VDX_UNUSED) != 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(context_.appglobal->configurations, nullptr);
}

TEST(ConfigPaths, Rules) {
  char buffer[600];
  vdx_context context{};
  for (const char* name :
       {"VERDEX", "VERDEX_NCL", "VDXNCL_IFILE", "VDXNCL_TCL_CFG", "VERDEX_TCL_CFG"})
    set_environment(name, nullptr);
  EXPECT_EQ(com_path_ifile(&context, buffer, 600), -301);
  EXPECT_EQ(context.os_error, -1);
  EXPECT_EQ(com_get_tclcfg(buffer, 600), 0);
  EXPECT_EQ(com_getenv("VERDEX"), nullptr);
  EXPECT_EQ(com_getenv(nullptr), nullptr);
  set_environment("VERDEX", "/home");
  set_environment("VERDEX_NCL", "ncl");
  const struct {
    std::int32_t code;  // -1: none
    const char* path;
    std::int32_t (*make)(char*, std::int32_t);
    std::int32_t size;
  } rows[] = {
      {-1, "/home\\ncl\\ini\\f",
       [](char* b, std::int32_t n) { return com_path_cfgfile(nullptr, "f", b, n, 1), -1; }, 600},
      {-1, "/home\\ini\\f",
       [](char* b, std::int32_t n) { return com_path_cfgfile(nullptr, "f", b, n, 0), -1; }, 600},
      {-1, "/home\\ini",
       [](char* b, std::int32_t n) { return com_path_cfgfile(nullptr, "f", b, n, 0), -1; }, 11},
      {1, "/home\\ini\\sql.ini",
       [](char* b, std::int32_t n) { return com_path_ifile(nullptr, b, n); }, 18},
      {0, "/home", [](char* b, std::int32_t n) { return com_path_ifile(nullptr, b, n); }, 17},
      {-1, "/home\\ncl\\x\\y",
       [](char* b, std::int32_t n) { return com_path_anyfile(b, n, "x", "y", 1), -1; }, 600},
      {-1, "/hom",
       [](char* b, std::int32_t n) { return com_path_anyfile(b, n, nullptr, "y", 0), -1; }, 5},
      {1, "/home\\charsets\\u\\f\\s",
       [](char* b, std::int32_t n) { return com_path_charfile(nullptr, "u", "f", "s", b, n); },
       600},
      {1, "/home\\charsets\\u",
       [](char* b, std::int32_t n) { return com_path_charfile(nullptr, "u", nullptr, "s", b, n); },
       600},
      {1, "/home\\locales\\message\\e\\fi",
       [](char* b, std::int32_t n) {
         return com_path_msgfile(nullptr, "e", nullptr, "file", 2, b, n);
       },
       600},
      {0, "/home\\locales\\message\\e",
       [](char* b, std::int32_t n) {
         return com_path_msgfile(nullptr, "e", nullptr, "file", -9, b, n);
       },
       28},
      {24, "/home\\ncl\\ini\\libtcl.cfg",
       [](char* b, std::int32_t n) { return com_get_tclcfg(b, n); }, 600},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(row.make(buffer, row.size), row.code);
    EXPECT_STREQ(buffer, row.path);
  }
  set_environment("VERDEX_TCL_CFG", "family");
  EXPECT_EQ(com_get_tclcfg(buffer, 600), 6);
  set_environment("VDXNCL_TCL_CFG", "own");
  EXPECT_EQ(com_get_tclcfg(buffer, 600), 3);
  EXPECT_EQ(com_set_tclcfg("set"), 1);
  EXPECT_EQ(com_set_tclcfg(std::string(512, 'x').c_str()), 0);
  EXPECT_EQ(com_get_tclcfg(buffer, 4), 3);
  EXPECT_STREQ(buffer, "set");
  EXPECT_EQ(com_get_tclcfg(buffer, 3), 0);
  EXPECT_EQ(com_set_tclcfg(nullptr), 1);
  char* value = com_getenv("VERDEX");
  EXPECT_STREQ(value, "/home");
  std::free(value);
}

TEST(ConfigNames, Compare) {
  EXPECT_EQ(com_memcmpfn_nt("abc", 3, "abc", VDX_NULLTERM), 0);
  EXPECT_EQ(com_memcmpfn_nt("ab", 2, "abc", 3), -1);
  EXPECT_EQ(com_memcmpfn_nt("\xE9", 1, "z", 1), 1);
  EXPECT_EQ(com_unsignstrncmp("\xE9x", "zx", 2), 1);
  EXPECT_EQ(com_unsignstrncmp("abc", "abd", 2), 0);
}

}  // namespace

// The linker sends the library's allocations here.
extern "C" {

void* __real_malloc(std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return memory_failure.strikes() ? nullptr : __real_malloc(size);
}

}  // extern "C"
