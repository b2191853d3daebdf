// Configuration files: what is read, what is lost, and what remains when memory or the disk fails.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include "support.h"

namespace {

using vdx_test::read_limit;
using vdx_test::set_environment;
using vdx_test::string_of;

const std::string kWide(70, ' ');

thread_local std::string told;
std::int32_t tell(vdx_context*, const vdx_message* message) {
  told += vdx_test::summary_of(*message);
  return 1;
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
Failure memory_failure, read_failure;

// Opens the file, with only so many bytes at a time.
vdx_cfg* open_cfg(vdx_context& context, const std::string& path, std::size_t limit = SIZE_MAX) {
  vdx_cfg* cfg = nullptr;
  read_limit = limit;
  comn_init_cfg(&context, path.c_str(), VDX_NULLTERM, &cfg);
  read_limit = SIZE_MAX;
  return cfg;
}

std::int32_t get(vdx_cfg* cfg, const std::string& section, const char* key, std::string& value,
                 vdx_cfg_cursor** cursor) {
  char buffer[256];
  std::int32_t length = 0;
  const std::int32_t code = comn_get_cfg(cfg, section.c_str(), VDX_NULLTERM, key, VDX_NULLTERM,
                                         cursor, buffer, 256, &length);
  value.assign(buffer, static_cast<std::size_t>(code == XS_SUCCEED ? length : 0));
  return code;
}

// Every value as "<text>", and how it ended.
std::string values(vdx_cfg* cfg, const std::string& section, const char* key) {
  std::string all, value;
  vdx_cfg_cursor* cursor = nullptr;
  std::int32_t code;
  while ((code = get(cfg, section, key, value, &cursor)) == XS_SUCCEED) all += "<" + value + ">";
  EXPECT_EQ(cursor, nullptr);
  return all + (code == XS_END_DATA ? "" : std::to_string(code));
}

void drop(vdx_cfg* cfg) { EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), XS_SUCCEED); }

// A detached handle can do nothing more than be released.
void drop_detached(vdx_cfg* cfg) {
  std::string value;
  vdx_cfg_section section{};
  EXPECT_EQ(get(cfg, "a", "k", value, nullptr) + comn_nextsection_cfg(cfg, &section) +
                comn_openquote_cfg(cfg, &section.line),
            XS_FAIL);
  told.clear();
  EXPECT_EQ(comn_drop_cfg(cfg, VDX_UNUSED), XS_FAIL);
  EXPECT_EQ(told, "1040604 comn_drop_cfg;");
  std::free(cfg);
}

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
  // A file of that text, open until the end of the scope.
  struct File {
    vdx_cfg* cfg;
    ~File() { drop(cfg); }
    operator vdx_cfg*() const { return cfg; }
  };
  File file(const std::string& text, std::size_t limit = SIZE_MAX) {
    vdx_cfg* cfg = open_cfg(context_, write(text), limit);
    EXPECT_NE(cfg, nullptr);
    return {cfg};
  }
  vdx_cfg* open(const std::string& path) { return open_cfg(context_, path); }

  vdx_context context_{};
  std::filesystem::path directory_;
};

TEST_F(Config, Files) {
  const struct {
    std::string text;
    const char *values, *messages = "", *section = "a", *key = "k", *charset = "iso_1";
  } rows[] = {
      {"\n; c\n  ;c\n\n[ a ]\t\n\n k = v  \n", "<v>"},
      {"[a]\nk=\"a \"\"b\"\" = [x] ;\"\n", "<a \"b\" = [x] ;>"},
      {"[a]\nk=\"\"\nk=x \"\" y\nk=\"a\"\"\"\n", "<><x  y><a\">"},
      {"[a]\nk = a \\\n; b\n", "<a>"},
      {"[a]\nk=\"x\\\ny\\z\\\r\nw\\\rv\"\n", "<xy\\zw\\\rv>"},
      // sections and their stand-in
      {"[a]\nk=1\n[a]\nk=2\n", "<1>"},
      {"[NAMED_APP_DEFAULT]\nk=d\n", "<d>", "", "b"},
      {"[a]\nk=1\n", "0", "1040607 comn_get_cfg b;", "b"},
      // includes
      {"[a]\nk=1\n[b]\ninclude=a\nk=2\n[d]\nk=4\n[c]\ninclude=b\ninclude=d\ninclude=a\n",
       "<2><1><4><1>", "", "c"},
      {"[a]\nj=1\n[b]\ninclude=a\n[c]\ninclude=b\ninclude=a\n", "", "", "c"},
      {"[b]\nk=1\ninclude=a\n[a]\nk=2\n", "0", "1040007 cfg__add_include a;1040607 comn_get_cfg b;",
       "b"},
      {"[b]\nk=1\ninclude=b\n[a]\nk=2\n", "<2>", "1040007 cfg__add_include b;"},
      // what an error loses
      {"[a]\nk=1\nj\nx=y z=\nk=2\n[b]\nk=3\n", "<3>", "1040008 FILE 3 \n;1040008 FILE 4 =;", "b"},
      {"[a]\nk=1\n[b] x\nj=2\n", "0", "1040008 FILE 3 x;1040607 comn_get_cfg b;", "b", "j"},
      {"[a]\nk=1\n[b]\nk=\"open\n[c]\nk=3\n", "<1>", "1040008 FILE 7 ;"},
      {"[a]\nk=1\n[include]\n[\"q\"]\n[b]\ninclude=include\n[c]\nk=include\n[d]\nk=a\rb\n[e]\nk="
       "\\\n\n",
       "0",
       "1040008 FILE 3 include;1040008 FILE 4 \";1040008 FILE 6 include;1040008 FILE 8 include;"
       "1040008 FILE 10 \r;1040008 FILE 13 \n;1040607 comn_get_cfg e;",
       "e"},
      // character sets
      {"[a]\nk=a\xE2\x82\xAC\xC2\xA0\xE2\x82\xAC=;\nj=1\n", "0",
       "1040008 FILE 2 =;1040607 comn_get_cfg a;", "a", "j", "utf8"},
      {"[a]\n\xEF\xBD\x8B\xEF\xBC\x9D\xEF\xBD\x89nclude\n", "0",
       "1040008 FILE 2 \xEF\xBD\x89nclude;1040607 comn_get_cfg a;", "a", "k", "utf8"},
      {"[a]\nk=\x83=\x83\"\n;" + kWide + "\n", "<\x83=\x83\">", "", "a", "k", "sjis"},
      {"[a]\nk=\"x\xEF\xBC\x82\xEF\xBC\x82y\"\n", "<x\xEF\xBC\x82y>", "", "a", "k", "utf8"},
      {"[a]\nk=\"x\xFA\x57\xFA\x57\"\"y\"\n", "<x\xFA\x57\"y>", "", "a", "k", "sjis"},
      {"[a]\nk=1\n;\xE2\x82", "<1>", "1040606 FILE;", "a", "k", "utf8"},
      {"[a]\nk=\xE2\x82", "0", "1040606 FILE;1040008 FILE 2 ;1040607 comn_get_cfg a;", "a", "k",
       "utf8"},
  };
  for (const auto& row : rows) {
    for (const std::size_t limit : {SIZE_MAX, std::size_t{1}, std::size_t{3}}) {
      SCOPED_TRACE(row.text);
      told.clear();
      ASSERT_EQ(comn_loc_alloc(nullptr, row.charset, &context_.locale), XS_SUCCEED);
      EXPECT_EQ(values(file(row.text, limit), row.section, row.key), row.values);
      EXPECT_EQ(told, row.messages);
      EXPECT_EQ(comn_loc_drop(nullptr, context_.locale), XS_SUCCEED);
    }
  }
}

// A line is read the same way with much behind it, with much before it, and in pieces; and what was
// read of it does not depend on how.
TEST_F(Config, Lines) {
  const struct {
    const char* values;  // of k after the line; 0: its section is lost; null: as it is written
    std::vector<const char*> lines;
  } rows[] = {
      {"<v>", {"k=v", "k=v\r", "k=v \r"}},
      {nullptr,
       {"k=a includes xinclude b", "k=install", "k=a\"b", "k=a\\b", "k=\\a", "k=;v", "k=\xE9 \x80",
        "k=C:\\path\\x w2, #1 $x -y ;z", "k=one  two\t three", "k=includes"}},
      {"0",
       {"k=v\rw", "k=v\r\r", "\r\r", "k", "k=", "=v", "k j=v", "k==v", "k=v=", "k=[", "]k=v", "=",
        "k=a include b", "k=InClude", "include=v", "include =a", "\"k\"=v", "=;v"}},
      {"", {"\r", " \f\t", "\\k=v", ";k=[\"\r", " ;k=v", "k;=v", "\xE9=v"}},
      {"<v  w>", {" \tk\t= \f v  w \t"}},
      {"<w v>", {"k=w \"v\""}},
      {"<v><w x>", {"k=v\n\nj=v\nk= w x"}},
  };
  for (const auto& row : rows)
    for (const std::string line : row.lines) {
      const std::string wanted = row.values != nullptr ? row.values : "<" + line.substr(2) + ">";
      for (const std::string& before : {std::string(), kWide})
        for (const std::size_t limit : {SIZE_MAX, std::size_t{1}, std::size_t{100}}) {
          SCOPED_TRACE(line);
          const File cfg = file("[a]\n" + before + line + "\n" + kWide + "\n[b]\nk=b\n", limit);
          EXPECT_EQ(values(cfg, "a", "k") + values(cfg, "b", "k"), wanted + "<b>");
        }
    }
}

TEST_F(Config, BufferLengths) {
  const File cfg = file("[a]\nk=12345\n");
  for (std::size_t size = 0; size <= 6; ++size) {
    std::string buffer(8, '#');
    std::int32_t length = 0;
    EXPECT_EQ(comn_get_cfg(cfg, "a", 1, "k", 1, nullptr, buffer.data(),
                           static_cast<std::int32_t>(size), &length),
              size < 5 ? +VDX_TRUNCATED : 1);
    EXPECT_EQ(length, 5);  // the zero behind the text is no part of it
    EXPECT_EQ(buffer, std::string("12345\0", size) + std::string(8 - size, '#'));
  }
}

// Lost sections are stepped over, namesakes are not.
TEST_F(Config, Sections) {
  const File cfg = file(";\n[a]\nk=\"\n\"\n[b]\nk\n[c]\n[ a ]\n");
  std::string all;
  vdx_cfg_section section{};
  while (comn_nextsection_cfg(cfg, &section) == XS_SUCCEED)
    all += std::string(section.name, static_cast<std::size_t>(section.length)) +
           std::to_string(section.line) + " ";
  EXPECT_EQ(all, "a2 c7 a8 ");
  EXPECT_EQ(comn_nextsection_cfg(cfg, &section), XS_END_DATA);
}

TEST_F(Config, Handles) {
  const std::string path = write("[a]\nk=1\nk=2\n");
  vdx_cfg* one = open(path);
  write("[a]\nk=new\n");
  vdx_cfg* two = open(path);
  EXPECT_EQ(values(two, "a", "k"), "<1><2>");  // shared, not read again
  vdx_cfg_cursor* cursor = nullptr;
  std::string value;
  EXPECT_EQ(get(one, "a", "k", value, &cursor), 1);
  EXPECT_EQ(comn_nextdrop_cfg(one, cursor), 1);
  EXPECT_EQ(comn_nextdrop_cfg(one, nullptr), 1);
  // A second user of the area starts from new files; older handles keep theirs.
  drop(two);
  two = open(path);
  told.clear();
  EXPECT_EQ(comn_drop_cfg(one, VDX_CFG_FORCE), 1);
  EXPECT_EQ(told, "1040009 comn_drop_cfg;");
  drop_detached(two);
  one = open(path);
  EXPECT_EQ(values(one, "a", "k"), "<new>");
  // What the area still holds goes with it, and detaches its handles.
  comn_globdrop_cfg(std::exchange(context_.appglobal->configurations, nullptr));
  drop_detached(one);
}

TEST_F(Config, StaticArea) {
  vdx_appglobal *own = std::exchange(context_.appglobal, nullptr), *area = nullptr;
  // A file that the area forgot outlives it, until its handle is dropped.
  EXPECT_EQ(com_appglobal_alloc(&context_.appglobal, 1, VDX_APPGLOBAL_STATIC), 1);
  vdx_cfg* one = open(write("[a]\nk=0\n"));
  EXPECT_EQ(com_appglobal_alloc(&area, 1, VDX_APPGLOBAL_STATIC), 1);
  EXPECT_EQ(com_appglobal_drop(area, 0), 1);
  EXPECT_EQ(com_appglobal_drop(std::exchange(context_.appglobal, nullptr), 0), 1);
  EXPECT_EQ(values(one, "a", "k"), "<0>");
  drop(one);
  one = open(write("[a]\nk=1\n"));
  EXPECT_EQ(com_appglobal_alloc(&area, 1, VDX_APPGLOBAL_STATIC), 1);
  EXPECT_EQ(area->configurations, nullptr);
  vdx_cfg* two = open(write("[a]\nk=2\n"));
  EXPECT_EQ(values(one, "a", "k") + values(two, "a", "k"), "<1><2>");
  for (vdx_cfg* cfg : {one, two}) drop(cfg);
  EXPECT_EQ(com_appglobal_drop(area, VDX_APPGLOBAL_STATIC), 1);
  EXPECT_FATAL(com_appglobal_drop(own, VDX_APPGLOBAL_STATIC), "file 'comaglob.cpp'");
  context_.appglobal = own;
}

TEST_F(Config, Names) {
  vdx_cfg* cfg = nullptr;
  const std::string longest(512, 'n');
  const std::tuple<std::string, std::int32_t, std::string> rows[] = {
      {"x", 0, ""},
      {"", VDX_NULLTERM, ""},
      {longest, 512, "1040603 cfg__init_parse " + longest + ";"},
      {longest + "n", 513, "1040605 comn_init_cfg " + longest.substr(0, 255) + ";"},
      {std::string("a\0b", 3), 3, std::string("1040603 comn_init_cfg a\0b;", 26)},
      {directory_.generic_string(), VDX_NULLTERM, "1040603 cfg__init_parse FILE;"}};
  for (const auto& [name, length, messages] : rows) {
    told.clear();
    EXPECT_EQ(comn_init_cfg(&context_, name.c_str(), length, &cfg), 0);
    EXPECT_EQ(told, messages);
  }
  EXPECT_EQ(comn_init_cfg(&context_, nullptr, 0, &cfg), 0);
  EXPECT_EQ(context_.appglobal->configurations, nullptr);
  std::filesystem::create_directories(directory_ / "ini");
  write("[a]\nk=1\n", "ini/ncl.cfg");
  set_environment("VERDEX", directory_.generic_string().c_str());
  EXPECT_EQ(comn_init_cfg(&context_, nullptr, VDX_UNUSED, &cfg), 1);
  drop(cfg);
}

// A token holds what was read since the last one, however much.
TEST_F(Config, Steps) {
  const File cfg = file("[a]\nk=1\n");
  ASSERT_EQ(cfg__init_parse(cfg), 1);
  std::string read;
  while (read.size() < 6) read += static_cast<char>(cfg__getc(cfg));
  EXPECT_EQ(read, "[a]\nk=");
  char* text;
  EXPECT_EQ(cfg__catbuf(cfg, cfg__marktok(cfg), &text), 6);
  EXPECT_EQ(std::string(text, 6), read);
  vdx_cfg_token* token;
  EXPECT_EQ(cfg__nexttok(cfg, &token), VDX_CFGTOK_VALUE);
  for (const std::int32_t c : {+'\n', -1, -1}) EXPECT_EQ(cfg__getc(cfg), c);
  EXPECT_EQ(cfg__catbuf(cfg, cfg__cat(token, cfg__marktok(cfg)), &text), 2);
  EXPECT_EQ(std::string(text, 2), "1\n");
  EXPECT_EQ(cfg__clean_parse(cfg), 1);
}

TEST_F(Config, ManySections) {
  std::string text;
  for (int i = 0; i < 3000; ++i) {
    const std::string n = std::to_string(i);
    text += "[s" + n + "]\nk" + n + "=v" + n + "\nk=" + std::string(40, 'x') + n + "\n";
    if (i % 3 == 1) text += "broken\n";  // what is taken out leaves the rest to be found
  }
  // No lookup finds a namesake's entries; all in one place of an index, they would take very long.
  for (int i = 0; i < 200000; ++i) text += "[s0]\nk0=\"x\"\n";
  const File cfg = file(text);
  for (int i = 0; i < 3000; ++i) {
    const std::string n = std::to_string(i);
    ASSERT_EQ(values(cfg, "s" + n, ("k" + n).c_str()), i % 3 == 1 ? "0" : "<v" + n + ">");
  }
}

TEST_F(Config, EveryFailure) {
  std::string text = "[z]\nk=" + std::string(40000, 'z') + "\n";
  for (int i = 0; i < 40; ++i)
    text += "[s" + std::to_string(i) + "]\nk=\"a\" b\nj=" + std::string(200, 'x') + "\n";
  const std::string path = write(text + "[top]\nbroken\n[end]\ninclude=s1\n");
  for (Failure* failure : {&memory_failure, &read_failure})
    for (const bool for_good : {false, true}) {
      int failed = 0;
      bool was_struck = true;
      for (int nth = 0; was_struck; ++nth) {
        SCOPED_TRACE(nth);
        ASSERT_LT(nth, 500);
        failure->for_good = for_good;
        failure->countdown = nth;
        vdx_cfg* cfg = open(path);
        was_struck = failure->countdown <= 0;
        failure->countdown = -1;
        if (cfg != nullptr) {  // whole, or not at all
          EXPECT_EQ(values(cfg, "end", "k") + values(cfg, "s39", "k"), "<a b><a b>");
          drop(cfg);
        }
        EXPECT_EQ(context_.appglobal->configurations, nullptr);
        failed += cfg == nullptr;
      }
      EXPECT_GE(failed, 3);
    }
}

// The pool's own room lasts for a while; these cursors use it up.
TEST_F(Config, CursorsWithoutMemory) {
  const File cfg = file("[a]\nk=1\n[b]\ninclude=a\n");
  std::vector<vdx_cfg_cursor*> cursors(1);
  std::string value;
  memory_failure.for_good = true;
  memory_failure.countdown = 0;
  while (get(cfg, "b", "k", value, &cursors.back()) == XS_SUCCEED && cursors.size() < 10000)
    cursors.push_back(nullptr);
  memory_failure.countdown = -1;
  EXPECT_EQ(told, "1040601 comn_get_cfg;");
  EXPECT_EQ(cursors.back(), nullptr);
  for (vdx_cfg_cursor* cursor : cursors) EXPECT_EQ(comn_nextdrop_cfg(cfg, cursor), 1);
  EXPECT_EQ(values(cfg, "b", "k"), "<1>");
}

// Each section includes the one before it twice: 2^60 ways that must not all be walked.
TEST_F(Config, IncludesOfIncludes) {
  std::string text = "[s0]\nk=1\n";
  for (int i = 1; i <= 60; ++i) {
    const std::string line = "include=s" + std::to_string(i - 1) + "\n";
    text += "[s" + std::to_string(i) + "]\n" + line + line;
  }
  const File cfg = file(text);
  EXPECT_EQ(values(cfg, "s60", "none") + values(cfg, "s2", "k"), "<1><1><1><1>");
}

// Eight threads open, look up and drop the same file and their own, and an area that has a user.
TEST_F(Config, Threads) {
  const std::string shared = write("[a]\nk=1\n[b]\ninclude=a\n", "shared");
  std::vector<std::jthread> threads;
  std::atomic<int> wrong{0};
  vdx_appglobal* standing;
  EXPECT_EQ(com_appglobal_alloc(&standing, 1, VDX_APPGLOBAL_STATIC), 1);
  for (int t = 0; t < 8; ++t) {
    const std::string name = std::to_string(t);
    const std::string own = write("[b]\nk=" + name + "\n", name.c_str());
    threads.emplace_back([this, shared, own, name, &wrong] {
      vdx_context context{};
      context.version = VDX_VERSION;
      context.appglobal = context_.appglobal;
      for (std::size_t i = 0; i < 200; ++i) {
        vdx_cfg* cfg[2] = {open_cfg(context, shared), open_cfg(context, own)};
        wrong += values(cfg[0], "b", "k") + values(cfg[1], "b", "k") != "<1><" + name + ">";
        wrong += open_cfg(context, "missing") != nullptr;
        vdx_appglobal* area;
        for (int n = 0; n < 20; ++n)
          wrong += com_appglobal_alloc(&area, 2, VDX_APPGLOBAL_STATIC) != 1 ||
                   com_appglobal_drop(area, VDX_APPGLOBAL_STATIC) != 1;
        for (vdx_cfg* one : {cfg[i % 2], cfg[1 - i % 2]})
          wrong += comn_drop_cfg(one, VDX_UNUSED) != 1;
      }
    });
  }
  threads.clear();
  EXPECT_EQ(com_appglobal_drop(standing, VDX_APPGLOBAL_STATIC), 1);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(context_.appglobal->configurations, nullptr);
}

// A callback that opens a file, the one that is being parsed or another, gets nothing and harms
// nothing. One that runs after a parse, or for a file that did not open, is free to.
TEST_F(Config, CallbacksThatOpenFiles) {
  static std::string other, opened;
  other = write("[a]\nk=0\n", "other");
  opened.clear();
  context_.message = [](vdx_context* context, const vdx_message* message) -> std::int32_t {
    opened += string_of(message->token) + ":";
    vdx_context own = *context;
    own.message = nullptr;
    for (const std::string& name : {string_of(message->file), other}) {
      vdx_cfg* cfg = open_cfg(own, name);
      opened += cfg != nullptr ? '1' : '0';
      if (cfg != nullptr) drop(cfg);
    }
    return 1;
  };
  EXPECT_EQ(values(file("[b]\nx\n[a]\nk=1\ny\n[a]\nk=2\n"), "a", "k"), "<2>");
  EXPECT_EQ(open("none"), nullptr);
  EXPECT_EQ(opened, "\n:00\n:00-:01");
}

// A thread that is cancelled while it parses leaves the turn to others.
TEST_F(Config, CancelledOpener) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  static vdx_event *reached, *never;
  static std::string broken;
  broken = write("[a]\nk\n", "broken");
  const std::string whole = write("[a]\nk=1\n");
  const auto cancel_and_open = [&] {
    comn_create_event(&reached);
    comn_create_event(&never);
    vdx_thread* thread;
    comn_create_thread(
        &thread,
        [](void* data) -> void* {
          vdx_context own = *static_cast<vdx_context*>(data);
          own.message = [](vdx_context*, const vdx_message*) {
            comn_signal_event(reached);
            return comn_waitfor_event(never, VDX_NO_LIMIT);
          };
          open_cfg(own, broken);
          return nullptr;
        },
        &context_);
    comn_waitfor_event(reached, VDX_NO_LIMIT);
    comn_cancel_thread(thread);
    std::_Exit(values(open(whole), "a", "k") == "<1>" ? 0 : 1);
  };
  EXPECT_EXIT(cancel_and_open(), testing::ExitedWithCode(0), "");
}

TEST(ConfigPaths, Rules) {
  char b[600];
  vdx_context context{};
  for (const char* name :
       {"VERDEX", "VERDEX_NCL", "VDXNCL_IFILE", "VDXNCL_TCL_CFG", "VERDEX_TCL_CFG"})
    set_environment(name, nullptr);
  EXPECT_EQ(com_path_ifile(&context, b, 600), -301);
  EXPECT_EQ(context.os_error, -1);
  EXPECT_EQ(com_get_tclcfg(b, 600), 0);
  EXPECT_EQ(com_getenv("VERDEX"), nullptr);
  set_environment("VERDEX", "/home");
  set_environment("VERDEX_NCL", "ncl");
  // What a call returned and left in the buffer, with slashes; functions without a result give -1.
  const auto made = [&b](std::int32_t code) {
    std::string text = std::to_string(code) + " " + b;
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
  };
  const std::string long_name(300, 'x');
  const std::pair<std::string, std::string> rows[] = {
      {made((com_path_cfgfile(nullptr, "f", b, 600, 1), -1)), "-1 /home/ncl/ini/f"},
      {made((com_path_cfgfile(nullptr, "f", b, 11, 0), -1)), "-1 /home/ini"},
      {made(com_path_ifile(nullptr, b, 18)), "1 /home/ini/sql.ini"},
      {made(com_path_ifile(nullptr, b, 17)), "0 /home"},
      {made((com_path_anyfile(b, 600, "x", "y", 1), -1)), "-1 /home/ncl/x/y"},
      {made(com_path_charfile(nullptr, "u", "f", "s", b, 600)), "1 /home/charsets/u/f/s"},
      {made(com_path_msgfile(nullptr, "e", nullptr, "file", 2, b, 600)),
       "1 /home/locales/message/e/fi"},
      {made(com_path_msgfile(nullptr, "e", nullptr, "file", -9, b, 28)),
       "0 /home/locales/message/e"},
      {made(com_get_tclcfg(b, 600)), "24 /home/ncl/ini/libtcl.cfg"},
      {made((set_environment("VERDEX_TCL_CFG", "family"), com_get_tclcfg(b, 600))), "6 family"},
      {made((set_environment("VDXNCL_TCL_CFG", "own"), com_get_tclcfg(b, 600))), "3 own"},
      {made((com_set_tclcfg("set"), com_get_tclcfg(b, 600))), "3 set"},
      {made(com_set_tclcfg(std::string(512, 'x').c_str())), "0 set"},
      {std::to_string(com_get_tclcfg(b, 3)), "0"},
      // long variables, which com_getenv alone cuts
      {made((set_environment("VERDEX_NCL", long_name.c_str()),
             com_path_cfgfile(nullptr, "f", b, 600, 1), -1)),
       "-1 /home/" + long_name + "/ini/f"},
      {made((com_path_cfgfile(nullptr, "f", b, 307, 1), -1)), "-1 /home/" + long_name},
      {made((com_path_cfgfile(nullptr, "f", b, 306, 1), -1)), "-1 /home"},
      {made((set_environment("VDXNCL_IFILE", long_name.c_str()), com_path_ifile(nullptr, b, 301))),
       "1 " + long_name},
      {made(com_path_ifile(nullptr, b, 300)), "0 " + long_name.substr(1)},
      {made((set_environment("VERDEX", long_name.c_str()),
             com_path_charfile(nullptr, nullptr, nullptr, nullptr, b, 600))),
       "1 " + long_name + "/charsets"},
  };
  for (const auto& [got, expected] : rows) EXPECT_EQ(got, expected);
  com_set_tclcfg(nullptr);
  char* cut = com_getenv("VERDEX");
  EXPECT_EQ(cut, long_name.substr(0, 256));
  std::free(cut);
}

TEST(ConfigNames, Compare) {
  EXPECT_EQ(com_memcmpfn_nt("abc", 3, "abc", VDX_NULLTERM) + com_unsignstrncmp("abc", "abd", 2), 0);
  EXPECT_EQ(com_memcmpfn_nt("ab", 2, "abc", 3), -1);
  EXPECT_EQ(com_memcmpfn_nt("\xE9", 1, "z", 1) + com_unsignstrncmp("\xE9x", "zx", 2), 2);
}

}  // namespace

// The linker sends the library's allocations here.
extern "C" {

void* __real_malloc(std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return memory_failure.strikes() ? nullptr : __real_malloc(size);
}

}  // extern "C"
