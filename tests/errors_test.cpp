// Numbered messages and error records.
#include <set>

#include "frame/message.h"
#include "support.h"

namespace {

using vdx_test::string_of;

constexpr vdx_err_row kOwnRows[] = {
    {VDX_MSG_CFG_SYNTAX, "ligne %2 de %1%% (%3%4)", nullptr},
    {7, "%2 %1 %1 %x %", "01ABC"},
};
constexpr vdx_err_table kOwn{kOwnRows, 2};
constexpr vdx_err_row kRecordRows[] = {{7, "record %1", nullptr}};
constexpr vdx_err_table kRecord{kRecordRows, 1};

// What a callback heard.
struct Heard : vdx_test::Failing {
  int count = 0;
  std::int32_t line = 0;
  std::string summary, text, place;
  Heard() {
    context.message = [](vdx_context* c, const vdx_message* m) -> std::int32_t {
      Heard& self = static_cast<Heard&>(*reinterpret_cast<Failing*>(c));
      ++self.count;
      self.line = m->line;
      self.summary = vdx_test::summary_of(*m);
      self.text = m->text;
      EXPECT_EQ(self.text.size(), static_cast<std::size_t>(m->text_length));
      self.place = string_of(m->file) + ";" + string_of(m->section) + ";" + string_of(m->token);
      return XS_QUIET;
    };
  }
  void fails(bool does) { fail_at = does ? calls + 1 : 0; }
};

TEST(Errors, TextsWholeAndCut) {
  vdx_err_parameters one, two, three;
  ASSERT_EQ(com_ep_s(&one, "routine_", 7), XS_SUCCEED);
  ASSERT_EQ(com_ep_ss(&two, "routine", VDX_NULLTERM, "name%1", 6), XS_SUCCEED);
  ASSERT_EQ(com_ep_sds(&three, "file", 4, INT32_MIN, "\n\x7F\\ ", 4), XS_SUCCEED);
  Heard heard;
  heard.context.messages = &kOwn;
  const std::tuple<std::int32_t, const vdx_err_parameters&, std::string, vdx_context*> rows[] = {
      {VDX_MSG_CFG_SYNTAX, three, "file:-2147483648: syntax error at \"\\x0a\\x7f\\ \"", nullptr},
      {VDX_MSG_CFG_SYNTAX, three, "ligne -2147483648 de file% (\\x0a\\x7f\\ )", &heard.context},
      {VDX_MSG_CFG_CUT, one, "the configuration file \"routine\" ends inside a character",
       &heard.context},
      {7, two, "name%1 routine routine %x %", &heard.context}};
  char* whole;
  for (const auto& [number, set, text, context] : rows) {
    SCOPED_TRACE(text);
    const auto n = static_cast<std::int32_t>(text.size());
    std::int32_t length = -1;
    EXPECT_EQ(com_notrunc_errmsg(context, number, &set, &whole, &length), XS_SUCCEED);
    EXPECT_EQ(whole, text);
    std::free(whole);
    EXPECT_EQ(length, n);
    for (std::int32_t size = 1; size <= n + 2; ++size) {
      std::string buffer(text.size() + 2, '!');
      ASSERT_EQ(com_build_errmsg(context, number, &set, buffer.data(), size, &length),
                size > n ? XS_SUCCEED : +VDX_TRUNCATED);
      const auto kept = static_cast<std::size_t>(std::min(size - 1, n));
      ASSERT_EQ(buffer, text.substr(0, kept) + '\0' + std::string(buffer.size() - kept - 1, '!'));
      ASSERT_EQ(length, n);
    }
  }
  // Every number has a text of its own, which names what it was given.
  std::set<std::string> texts;
  for (const std::int32_t number :
       {VDX_MSG_CFG_LIST, VDX_MSG_CFG_MEMORY, VDX_MSG_CFG_OPEN, VDX_MSG_CFG_DETACHED,
        VDX_MSG_CFG_NAME, VDX_MSG_CFG_CUT, VDX_MSG_CFG_SECTION, VDX_MSG_CFG_INCLUDE,
        VDX_MSG_CFG_SYNTAX, VDX_MSG_CFG_FORCED}) {
    char text[200];
    EXPECT_EQ(com_build_errmsg(nullptr, number, &two, text, sizeof text, nullptr), XS_SUCCEED);
    EXPECT_NE(std::strstr(text, "routine"), nullptr) << text;
    EXPECT_TRUE(texts.insert(text).second) << text;
  }
  heard.fails(true);
  whole = heard.text.data();
  EXPECT_EQ(com_notrunc_errmsg(&heard.context, 7, nullptr, &whole, nullptr), XS_MEM_ERROR);
  EXPECT_EQ(whole, nullptr);
}

TEST(Errors, RaisedMessagesCarryParametersAndPlace) {
  const std::string token(5000, 't');
  Heard heard;
  const vdx_err_parameters set = vdx::err_parameters("file", 12, token);
  const vdx_err_place place{{"a.cfg", 5}, 12, {}, vdx::err_text(token)};
  EXPECT_EQ(vdx::raise_message(&heard.context, VDX_MSG_CFG_SYNTAX, set, place), XS_QUIET);
  EXPECT_EQ(heard.summary, "1040008 file 12 " + token + ";");
  EXPECT_EQ(heard.text, ("file:12: syntax error at \"" + token).substr(0, 2047));
  EXPECT_EQ(heard.place, "a.cfg;-;" + token);
  EXPECT_EQ(heard.line, 12);
  heard.context.message = nullptr;
  for (vdx_context* silent : {&heard.context, static_cast<vdx_context*>(nullptr)})
    EXPECT_EQ(vdx::raise_message(silent, 7, {}), XS_SUCCEED);
}

TEST(Errors, RecordsKeepTheirMessage) {
  Heard heard;
  heard.context.messages = &kOwn;
  vdx_error* record;
  heard.fails(true);
  EXPECT_EQ(com_errinit(&heard.context, &kRecord, &record), XS_MEM_ERROR);
  heard.fails(false);
  ASSERT_EQ(com_errinit(&heard.context, &kRecord, &record), XS_SUCCEED);
  char name[] = "name";
  const vdx_err_place place{{name, 4}, 3, {name, 2}, {name, 0}};
  constexpr std::int32_t kSyntax = VDX_MSG_CFG_SYNTAX;
  const struct {
    std::int32_t number;  // 0: nothing is set
    std::int32_t result, kept;
    const char *text, *state;
    bool fails = false;
  } rows[] = {{0, XS_END_DATA, 0, "", "00000"},
              {7, XS_SUCCEED, 7, "record name", "01ABC"},
              {9, XS_SUCCEED, 7, "record name", "01ABC", true},
              {kSyntax, XS_SUCCEED, kSyntax, "ligne 5 de name% (name)", "42000"},
              {9, XS_NOMSG, 9, "Message 0x00000009: name, 5, name", "HY000"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const int before = heard.count;
    name[0] = 'n';
    if (row.number != 0) {
      heard.fails(row.fails);
      vdx_err_parameters set;
      ASSERT_EQ(com_ep_sds(&set, name, 4, 5, name, VDX_NULLTERM), XS_SUCCEED);
      EXPECT_EQ(com_err_set(record, row.number, &set, &place),
                row.fails ? XS_MEM_ERROR : XS_SUCCEED);
      EXPECT_EQ(heard.count, before + (row.fails ? 0 : 1));
    }
    name[0] = 'X';  // the record has its own
    char buffer[64], state[6];
    std::int32_t number = -1, length = -1;
    EXPECT_EQ(com_err_msg(record, &number, buffer, sizeof buffer, &length), row.result);
    EXPECT_STREQ(buffer, row.text);
    EXPECT_EQ(length, std::ssize(std::string_view(row.text)));
    EXPECT_EQ(number, row.kept);
    EXPECT_EQ(com_err_sqlstate(record, state), XS_SUCCEED);
    EXPECT_STREQ(state, row.state);
  }
  EXPECT_EQ(heard.place, "name;na;");
  EXPECT_EQ(com_errdrop(record), XS_SUCCEED);
}

TEST(ErrorsDeath, TextsOfAPlaceAreMeasured) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  vdx_error* record;
  ASSERT_EQ(com_errinit(nullptr, nullptr, &record), XS_SUCCEED);
  vdx_err_place place{};
  for (vdx_err_text* text : {&place.file, &place.section, &place.token}) {
    *text = {"a.cfg", VDX_NULLTERM};
    EXPECT_FATAL(com_err_set(record, 7, nullptr, &place),
                 "assertion failed, file 'com_errrec.cpp'");
    *text = {nullptr, VDX_NULLTERM};
  }
  EXPECT_EQ(com_err_set(record, 7, nullptr, &place), XS_SUCCEED);
  com_errdrop(record);
}

}  // namespace
