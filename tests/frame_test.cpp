// Failed checks, the tracer and the debug stream.
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "frame/check.h"
#include "support.h"

// Conversions that the table alone reaches.
namespace vdx {
#define CONVERSION(S, D, way)
#define SPECIAL CONVERSION
#define INTERNAL(S, D, way) extern vdx_conversion inner_##S##to##D;
#include "lists/all.list"
#undef CONVERSION
#undef SPECIAL
#undef INTERNAL
}  // namespace vdx

namespace {

using testing::ExitedWithCode;
using vdx_test::Handler;
using vdx_test::has_match;

std::string contents(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

template <class Call>
std::string stdout_of(Call call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

std::int32_t vprint(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::int32_t result = comn_debug_vprint(format, arguments);
  va_end(arguments);
  return result;
}

// Fails a check under a handler and exits: 10 when the check was resumed and gave its function's
// result, 30 when the handler left it. Then descriptor 2 must still be taken, and a second report
// shows whether standard error is still heard.
[[noreturn]] void fail_under(Handler handler, std::int32_t mode) {
  vdx_test::handle_checks(handler);
  com_toggle_abort(mode);
  const auto checked = [] {
    VDX_CHECK_POINTER(static_cast<void*>(nullptr), 10);
    return 20;
  };
  if (!vdx_test::leave_checks([&] { std::exit(checked()); })) std::exit(50);
  if (!vdx_test::stderr_is_open()) std::exit(40);
  if (!vdx_test::leave_checks([] { com_bomb("again.cpp", 3); })) std::exit(60);
  std::exit(30);
}

class Frame : public testing::Test {
 protected:
  Frame() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~Frame() override { com_errset(1); }
};
using FrameDeath = Frame;

TEST_F(FrameDeath, ReportsAreExactAndEndTheProcess) {
  const auto reports = [](const char* report, void (*call)()) {
    SCOPED_TRACE(report);
    for (std::int32_t mode : {1, 2}) EXPECT_FATAL((com_toggle_abort(mode), call()), report);
  };
  reports("^\nInvalid NULL pointer , file 'com_x.cpp' line 12\n$",
          [] { com_raise_invalid_null_pointer("com_x.cpp", 12); });
  reports("^\n\rassertion failed, file 'com_y.cpp' line -7\n\r$",
          [] { com_bomb("com_y.cpp", -7); });
  EXPECT_EXIT(com_panic("disk %s gone"), ExitedWithCode(vdx_test::kExitMinusOne),
              has_match("^\nINTERNAL ERROR: unrecoverable error: disk %s gone\n$"));
  reports("^\n\rassertion failed, file 'com_trace.cpp' line [0-9]+\n\r$", [] {
    com_errset(3);
    vdx::depth_provider = [] { return std::int32_t{-1}; };
    com_errtrace(0, "x", 1);
  });
}

TEST_F(FrameDeath, HandlersLeaveOrResume) {
  const std::string report = "^\nInvalid NULL pointer , file 'frame_test.cpp' line [0-9]+\n";
  const std::string again = "\n\rassertion failed, file 'again.cpp' line 3\n\r";
  EXPECT_EXIT(fail_under(Handler::kResume, 0), ExitedWithCode(10), has_match(report + "$"));
  EXPECT_EXIT(fail_under(Handler::kLeave, 0), ExitedWithCode(30), has_match(report + again + "$"));
  // Mode 1 is not resumed, and what is reported after it is dropped.
  EXPECT_EXIT(fail_under(Handler::kResume, 1), vdx_test::refused_resumption,
              has_match(report + "$"));
  EXPECT_EXIT(fail_under(Handler::kLeave, 1), ExitedWithCode(30), has_match(report + "$"));
}

// Calls that fail a check each, one of them at a depth of two and one of a conversion.
[[noreturn]] void resume_everything(const std::string& debug_file, std::int32_t mode) {
  vdx_test::handle_checks(Handler::kResume);
  com_toggle_abort(2);
  comn_debug_setfile(nullptr, debug_file.c_str(), 1);
  com_errset(mode);
  char out[2] = {'?', '?'};
  const std::uint8_t byte = 1;
  com_prhex(nullptr, out);
  com_prhex(&byte, nullptr);
  com_perr(nullptr);
  com_panic(nullptr);
  vdx::depth_provider = [] { return std::int32_t{2}; };
  com_errset(9);
  vdx::depth_provider = [] { return std::int32_t{-1}; };
  const bool is_held =
      comn_debug_print(nullptr) == 0 && vprint(nullptr) == 0 && out[0] == '?' &&
      vdx::trace_mode == mode &&
      comn_i4toi2(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == VDX_OVERFLOW;
  std::exit(is_held ? 0 : 1);
}

// They return their failure, and the tracer adds who was called and what failed.
TEST_F(FrameDeath, ResumedCalls) {
  const std::string path = testing::TempDir() + "/vdx_checks";
  for (const std::int32_t mode : {1, 2, 3}) {
    EXPECT_EXIT(resume_everything(path, mode), ExitedWithCode(0),
                has_match("^(\nInvalid NULL[^\n]*\n){4}\n\rassertion[^\n]*\n\r"
                          "(\nInvalid NULL[^\n]*\n){3}$"));
    std::string text = contents(path), wanted;
    for (std::size_t at; (at = text.find_first_of("0123456789")) != text.npos;) text.erase(at, 1);
    for (const char* line :
         {"com_trace.cpp, line : com_prhex: byte", "com_trace.cpp, line : com_prhex: out",
          "com_check.cpp, line : com_perr: message", "com_check.cpp, line : com_panic: message",
          "..", "com_trace.cpp, line : comn_debug_print: format",
          "com_trace.cpp, line : comn_debug_vprint: format",
          "com_i.list, line : comn_itoi: one of the six arguments"})
      wanted += line != std::string("..") ? std::string("(null pointer) file ") + line + "\n"
                                          : "..(assertion) file com_trace.cpp, line : com_errset: "
                                            "mode >= vdx::kTraceNone && mode <= vdx::kTraceAll\n";
    EXPECT_EQ(text, mode == 1 ? "" : wanted);
  }
  std::filesystem::remove(path);
}

struct BadCall {
  std::string name;  // in the line that opens the function's definition; a conversion's is its row
  void (*call)();
};

vdx_context bare{};
const std::uint64_t kZeros[40] = {};

char few[4], *whole;
std::int32_t got;
// Lengths within parameters are plain.
vdx_err_parameters parameters, too_many{VDX_ERR_PARAMETERS + 1, {}},
    unmeasured{1, {{{"routine", VDX_NULLTERM}, 0}}};

// The locale of the source (1) or of the destination (2) may be one that is not loaded.
void call_with(vdx_convfn function, std::int32_t from, std::int32_t to, int unloaded = 0) {
  vdx_datafmt formats[2] = {};
  formats[0].datatype = from, formats[1].datatype = to;
  formats[0].maxlength = formats[1].maxlength = 8;
  if (unloaded != 0)
    formats[unloaded - 1].locale =
        reinterpret_cast<vdx_locale*>(const_cast<std::uint64_t*>(kZeros));
  std::uint8_t value[300] = {1}, result[300];
  std::int32_t length;
  function(&bare, &formats[0], value, &formats[1], result, &length);
}

// In a context with a null value of i4, which is none.
void call_null(void (*call)(vdx_context*, const vdx_datafmt*)) {
  vdx_test::Failing context;
  vdx_datafmt format{};
  format.datatype = VDX_I4;
  com_null_init(&context.context);
  com_null_set(&context.context, VDX_I4, nullptr, 0);
  call(&context.context, &format);
  com_null_free(&context.context);
}

// Calls a function with zeros and null pointers alone.
template <auto kFunction>
void call_zeros() {
  []<typename Result, typename... Args>(Result (*)(Args...)) { kFunction(Args{}...); }(kFunction);
}
template <auto... kFunctions>
std::vector<BadCall> zero_calls(const std::string& names) {
  std::istringstream each(names);
  const auto next = [&each](void (*call)()) {
    std::string name;
    each >> name;
    return BadCall{name.substr(0, name.find(',')) + "(", call};
  };
  return {next(call_zeros<kFunctions>)...};
}
#define ZERO_CALLS(...) zero_calls<__VA_ARGS__>(#__VA_ARGS__)

// Null pointers, in each file with checks and to every conversion.
const auto kZeroCalls = ZERO_CALLS(
    com_appglobal_alloc, com__datefromchar_mb, com_conv_init, com_conv_func, com_conv_free,
    com_datezero, com_ep_s, com_err_set, com_errdrop, com_get_tclcfg, com_null_free, com_panic,
    com_tds_get_cstype, comn_charset_convert, comn_column_convert, comn_create_thread,
    comn_create_thread_ex, comn_join_thread, comn_take_mutex, comn_dtloc_format, comn_fault_text,
    comn_fixedtobin, comn_init_cfg, comn_intl_day, comn_loc_drop, comn_numadd, comn_whole_char,
    cfg__clearbuf, cfg__getc, lm_exit);
const BadCall kNulls[] = {
    {"com__chtoi4_mb", call_zeros<com__chtoi4_mb>},
    {"VDX_PART(com__datepart,", [] { com__datepart(VDX_PART_DAY, nullptr, 0); }},
    {"com_conv_install(", [] { com_conv_install(&bare, 0, 0, nullptr); }},
    {"com__datetochar,", call_zeros<com__datetochar>},
    {"com_conv_install(", call_zeros<com_conv_default>},
    {"com_conv_default(", [] { com_conv_default(nullptr, 45, 0); }},
    {"com_ep_ss(", [] { com_ep_ss(&parameters, "a", 1, nullptr, 1); }},
    {"com_null_set(", [] { com_null_set(&bare, 0, kZeros, 1); }},
    {"com_null_reinstall(", [] { com_null_reinstall(&bare, VDX_I4); }},
    {"com_null_get(",
     [] { call_null([](auto* c, auto* f) { com_null_get(c, f, few, 4, &got); }); }},
    {"VDX_FILLER(i4,", call_zeros<com_seti4null>},
    {"VDX_NUMERIC_FILLER(num", [] { com_setnumnull(nullptr, 35, nullptr, 0, 1, 0); }},
#define CONVERSION(S, D, way) {"(" #S ", " #D ", ", call_zeros<comn_##S##to##D>},
#define SPECIAL CONVERSION
#define INTERNAL(S, D, way) {"(" #S ", " #D ", ", call_zeros<vdx::inner_##S##to##D>},
#include "lists/all.list"
};

// Other broken contracts. A conversion serves its own types alone, and its locales are loaded.
const auto kZeroContracts = ZERO_CALLS(com_errset, comn_create_event, comn_getsp, comn_wait_cond);
const BadCall kContracts[] = {
    {"com_conv_default(", [] { com_conv_default(&bare, -1, 0); }},
    {"com_errset(", [] { com_errset(4); }},
    {"com_build_errmsg(", [] { com_build_errmsg(nullptr, 7, nullptr, few, 0, nullptr); }},
    {"com_build_errmsg(", [] { com_build_errmsg(nullptr, 7, &too_many, few, 4, nullptr); }},
    {"com_build_errmsg(", [] { com_build_errmsg(nullptr, 7, &unmeasured, few, 4, nullptr); }},
    {"com_notrunc_errmsg(", [] { com_notrunc_errmsg(nullptr, 7, &too_many, &whole, nullptr); }},
    {"com_null_set(", [] { call_null([](auto* c, auto*) { com_null_set(c, 0, few, -1); }); }},
    {"com_null_get(",
     [] { call_null([](auto* c, auto* f) { com_null_get(c, f, few, -1, &got); }); }},
    {"VDX_FILLER(i4,", [] { com_seti4null(few, 4, "a", VDX_NULLTERM); }},
    {"VDX_FILLER(varychar,", [] { com_setvarycharnull(few, 1, "a", 1); }},
    {"(unichar, i8, ", [] { call_with(comn_unichartoi8, VDX_UNICHAR, 20); }},  // a retired code
    {"(date, date4, ", [] { call_with(comn_datetodate4, VDX_BIGDATETIME, VDX_DATE4); }},
    {"(char, i4, ", [] { call_with(comn_chartoi4, VDX_CHAR, VDX_I4, 1); }},
    {"(varchar, varchar, ", [] { call_with(comn_varchartovarchar, VDX_VARCHAR, VDX_VARCHAR, 2); }},
    {"(unichar, char, ", [] { call_with(comn_unichartochar, VDX_UNICHAR, VDX_CHAR, 2); }},
    {"(unichar, datea, ", [] { call_with(comn_unichartodatea, VDX_UNICHAR, VDX_DATEA, 1); }},
    {"(timea, unichar, ", [] { call_with(comn_timeatounichar, VDX_BIGTIME, VDX_UNICHAR, 2); }},
};

// Files with checks and lists of conversions; none where the sources may be missing.
std::map<std::string, std::filesystem::path> checked_files() {
  std::map<std::string, std::filesystem::path> files;
#if !defined(_WIN32)
  for (const char* const folder : {"/generic", "/posix"})
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::string(VDX_SOURCE_DIR) + folder)) {
      const std::string name = entry.path().filename(), end = entry.path().extension();
      const std::string text = end == ".cpp" ? contents(entry.path()) : "";
      const bool is_list = end == ".list" && name.starts_with("com_");
      if (is_list || text.find(" VDX_CHECK_") != std::string::npos ||
          text.find(" VDX_ASSERT(") != std::string::npos)
        files[name] = entry.path();
    }
#endif
  return files;
}

[[noreturn]] void check_reports() {
  vdx_test::handle_checks(Handler::kResume);
  com_toggle_abort(2);
  const auto files = checked_files();
  std::set<std::string> met;
  std::string faults;
  const auto check = [&](const auto& calls, const char* kind) {
    for (const BadCall& bad : calls) {
      testing::internal::CaptureStderr();
      bad.call();
      const std::string report = testing::internal::GetCapturedStderr();
      const std::size_t quote = report.find('\'') + 1, at = report.find("' line ");
      const bool is_report = report.find(kind) != std::string::npos && at != std::string::npos;
      const std::string file = is_report ? report.substr(quote, at - quote) : "";
      met.insert(file);
      std::string opening, line;  // the last line up to the reported one that is not indented
      if (files.contains(file)) {
        std::ifstream lines(files.at(file));
        for (int left = std::atoi(report.c_str() + at + 7); left > 0; --left)
          if (std::getline(lines, line) && std::isalpha(static_cast<unsigned char>(line[0])) != 0)
            opening = line;
      }
      if (!is_report || (!files.empty() && opening.find(bad.name) == std::string::npos))
        faults += bad.name + ": " + report + opening;
    }
  };
  check(kZeroCalls, "Invalid NULL pointer , file");
  check(kNulls, "Invalid NULL pointer , file");
  check(kZeroContracts, "assertion failed, file");
  check(kContracts, "assertion failed, file");
  for (const auto& [file, path] : files) {
    if (!met.contains(file)) faults += "no bad call for " + file + '\n';
    if (file.find('_') == std::string::npos && !file.starts_with("com"))
      faults += file + " is not named after its service\n";
  }
  std::fputs(faults.c_str(), stderr);
  std::exit(faults.empty() ? 0 : 1);
}

TEST_F(FrameDeath, ReportsNameTheFunctionThatWasCalled) {
  EXPECT_EXIT(check_reports(), ExitedWithCode(0), has_match("^$"));
}

TEST_F(Frame, PersistentReportsGoToBothPlaces) {
  const auto home = std::filesystem::current_path();
  const auto folder = home / "vdxframe";
  std::filesystem::create_directory(folder);
  std::filesystem::current_path(folder);
  testing::internal::CaptureStderr();
  for (const char* text : {"one\n", "100%% of %s %n%"}) com_perr(text);
  for (const std::string& place : {testing::internal::GetCapturedStderr(), contents("vdxinit.err")})
    EXPECT_EQ(place, "one\n100% of %s %n%");
  std::filesystem::current_path(home);
  std::filesystem::remove_all(folder);
}

TEST_F(Frame, TraceModes) {
  const std::int32_t values[] = {1,    0,    -1,   -2,   -3,   -4,        -5,
                                 -202, -203, -204, -205, -206, -207,      -208,
                                 -210, -211, -213, -101, -209, INT32_MIN, 0x01040603};
  const char* const names[] = {
      "SUCCEED",   "FAIL",      "MEM_ERROR",    "PENDING",       "QUIET",       "BUSY",
      "INTERRUPT", "CANCELED",  "ROW_FAIL",     "END_DATA",      "END_RESULTS", "END_ITEM",
      "NOMSG",     "TIMED_OUT", "PASSTHRU_EOM", "PASSTHRU_MORE", "TRYING"};
  const std::set<std::int32_t> usual = {1, -2, -5, -204, -205, -206};
  for (std::size_t i = 0; i < std::size(values); ++i)
    for (std::int32_t mode : {1, 2, 3}) {
      const std::int32_t value = values[i];
      SCOPED_TRACE(testing::Message() << value << ", mode " << mode);
      com_errset(mode);
      const std::string name =
          i < std::size(names) ? std::string("XS_") + names[i] : std::to_string(value);
      const std::string line = "(" + name + ") file x, line 7\n";
      const std::string text = stdout_of([&] {
        EXPECT_EQ(com_errtrace(value, "a/b/x", 7), value);
        EXPECT_EQ(vdx::trace(value, "x", 7), value);
      });
      EXPECT_EQ(text, mode == 3 || (mode == 2 && !usual.contains(value)) ? line + line : "");
    }
}

TEST_F(Frame, TracedDepth) {
  com_errset(3);
  vdx::depth_provider = [] { return std::int32_t{3}; };
  EXPECT_EQ(stdout_of([] { com_errtrace(0, nullptr, -2); }), "...(XS_FAIL) file (null), line -2\n");
  vdx::depth_provider = nullptr;
}

TEST_F(Frame, DebugFormatter) {
  const auto printed = [](const char* format, std::int32_t number) {
    return stdout_of([&] { EXPECT_EQ(vprint(format, number), 1) << format; });
  };
  const std::tuple<const char*, std::int32_t, const char*> numbers[] = {
      {"a%%b%dc", -5, "a%b-5c"}, {"[%-6d|%%", 42, "[42    |%"},
      {"%+06.3d", 42, "  +042"}, {"%#X", 0xAB, "0XAB"},
      {"%hd", 0x12345, "9029"},  {"%8lx", -1, "ffffffff"},
      {"%lu", 12, "12u"},        {"%l", 12, "12"},
      {"%3c|", 'q', "  q|"},     {"%#0.3hhc", 'q', "q"},  // what C does not define is left out
      {"%#.3hd", 65538, "002"},  {"%00000000000000000000003d", 7, "007"}};
  for (const auto& [format, number, expected] : numbers)
    EXPECT_EQ(printed(format, number), expected);
  for (const char* format :
       {"ab%", "ab%5", "ab%5.2 f and d", "ab%n then %d", "ab%*d", "ab%5-d", "ab%.2.2d", "ab%hhhd",
        "ab%hld", "ab%1234567890d", "ab%.1234567890d", "ab%0000000000000000000000001d"})
    EXPECT_EQ(printed(format, 1), "abillegal format specification\n");
  EXPECT_EQ(stdout_of([] { vprint("%s|%5s|%-4.2s|", nullptr, "abc", "xyz"); }),
            "(null)|  abc|xy  |");
  EXPECT_EQ(stdout_of([] { vprint("%c%s%ld%x%lx%d", 'a', "b", 3, 12, 13, 6); }), "ab3cd6");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(comn_debug_print("%s %5.2f\n", "pi", 3.14159), 1); }),
            "pi  3.14\n");
}

TEST_F(Frame, DebugFile) {
  const std::string first = testing::TempDir() + "/vdx_debug_1", second = first + "2";
  std::ofstream(first) << "old";
  EXPECT_EQ(comn_debug_setfile(nullptr, first.c_str(), 1), 1);
  const std::string shown = stdout_of([&] {
    vprint("%d", 1);
    EXPECT_EQ(comn_debug_setfile(nullptr, second.c_str(), 5), 1);
    comn_debug_print("two");
    EXPECT_EQ(comn_debug_setfile(nullptr, nullptr, 1), 1);
    comn_debug_print("three ");
    EXPECT_EQ(comn_debug_setfile(nullptr, second.c_str(), 1), 1);
    EXPECT_EQ(comn_debug_setfile(nullptr, (first + "/none").c_str(), 1), 0);
    comn_debug_print("four");
  });
  EXPECT_EQ(shown, "three four");
  EXPECT_EQ(contents(first), "1");
  EXPECT_EQ(contents(second), "");
  // One is still open, which Windows minds.
  std::error_code refused;
  for (const auto& path : {first, second}) std::filesystem::remove(path, refused);
}

TEST_F(Frame, TypeLengths) {
  // Of the codes 0 to 39, 0 where the caller's comes back.
  const int lengths[40] = {0, 0, 0, 0, 0, 0, 1, 2, 4, 4, 8, 1, 8, 4, 8, 4, 35, 35, 258, 258,
                           0, 0, 0, 0, 0, 2, 0, 4, 4, 0, 8, 2, 4, 8, 0, 8, 8,  0,  0,   0};
  for (std::int32_t code = -1; code <= 40; ++code) {
    const int length = code >= 0 && code < 40 ? lengths[code] : 0;
    EXPECT_EQ(comn_typelen(code, 17), length != 0 ? length : 17) << code;
  }
}

}  // namespace
