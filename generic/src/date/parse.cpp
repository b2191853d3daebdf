// Readers of the six datatypes: the straight path where it takes the text, else the grammar, then
// the value that the fields make.
#include "date/parse.h"

#include "date/calendar.h"
#include "date/parse_shape.h"

namespace vdx {
namespace {

VDX_INLINE std::int32_t make_datetime(const DateFields& fields, vdx_datetime& value) {
  if (make_ticks(fields.record, value.time) != 0) return kDateBadYear;
  return fields.has_date ? make_day(fields.record, value.day) : 0;
}

VDX_INLINE std::int32_t make_big(const DateFields& fields, std::uint64_t& value) {
  if (fields.has_date) return make_bigdatetime(fields.record, value);
  const std::int32_t code = make_micros(fields.record, value);
  if (code == 0) value += kFirstBigdatetime;
  return code;
}

// A value as it was read, with the code of the reading.
template <typename T>
struct Parsed {
  T value;
  std::int32_t code;
  bool rounded;
};
using ParsedDatetime = Parsed<vdx_datetime>;
using ParsedBig = Parsed<std::uint64_t>;

// Not inlined: the fields of the straight path then stay in registers.
[[gnu::noinline]] ParsedDatetime datetime_by_grammar(const DateText& text, DateMode mode) {
  DateFields fields;
  ParsedDatetime parsed{{0, 0}, parse_by_grammar(text, mode, DateGrain::kTicks, fields), false};
  parsed.rounded = fields.rounded;
  if (parsed.code == 0) parsed.code = make_datetime(fields, parsed.value);
  return parsed;
}

[[gnu::noinline]] ParsedBig big_by_grammar(const DateText& text, DateMode mode) {
  DateFields fields;
  ParsedBig parsed{0, parse_by_grammar(text, mode, DateGrain::kMicroseconds, fields), false};
  if (parsed.code == 0) parsed.code = make_big(fields, parsed.value);
  return parsed;
}

// Every reader that counts ticks makes a whole datetime and keeps its part of it.
VDX_INLINE ParsedDatetime parse_datetime(const DateText& text, DateMode mode) {
  DateFields fields;
  if (!read_shape(text, DateGrain::kTicks, fields)) [[unlikely]]
    return datetime_by_grammar(text, mode);
  fields.has_date = true;
  ParsedDatetime parsed{{0, 0}, 0, fields.rounded};
  parsed.code = make_datetime(fields, parsed.value);
  return parsed;
}

VDX_INLINE ParsedBig parse_big(const DateText& text, DateMode mode) {
  DateFields fields;
  if (!read_shape(text, DateGrain::kMicroseconds, fields)) [[unlikely]]
    return big_by_grammar(text, mode);
  fields.has_date = true;
  ParsedBig parsed{0, 0, false};
  parsed.code = make_big(fields, parsed.value);
  return parsed;
}

}  // namespace

bool parse_by_shape(const DateText& text, DateGrain grain, DateFields& fields) {
  fields = DateFields{};
  fields.has_date = true;
  return read_shape(text, grain, fields);
}

std::int32_t read_datetime(const DateText& text, vdx_datetime& value, bool& rounded) {
  const ParsedDatetime parsed = parse_datetime(text, DateMode::kWhole);
  value = parsed.value;
  rounded = parsed.rounded;
  if (parsed.code != 0) return parsed.code;
  return datetime_in_range(parsed.value) ? 0 : kDateBadYear;
}

std::int32_t read_clock(const DateText& text, vdx_datetime& value, bool& rounded) {
  const ParsedDatetime parsed = datetime_by_grammar(text, DateMode::kClock);
  value = parsed.value;
  rounded = parsed.rounded;
  return parsed.code;
}

std::int32_t read_datea(const DateText& text, vdx_datea& value) {
  const ParsedDatetime parsed = parse_datetime(text, DateMode::kDate);
  if (parsed.code == 0) value = parsed.value.day;
  return parsed.code;
}

std::int32_t read_timea(const DateText& text, vdx_timea& value) {
  const ParsedDatetime parsed = parse_datetime(text, DateMode::kTime);
  if (parsed.code == 0) value = parsed.value.time;
  return parsed.code;
}

std::int32_t read_bigdatetime(const DateText& text, vdx_bigdatetime& value) {
  const ParsedBig parsed = parse_big(text, DateMode::kWhole);
  value = parsed.code == 0 ? parsed.value : 0;
  return parsed.code;
}

std::int32_t read_bigtime(const DateText& text, vdx_bigtime& value) {
  const ParsedBig parsed = parse_big(text, DateMode::kTime);
  if (parsed.code == 0) value = static_cast<std::uint64_t>(micros_of_big(parsed.value));
  return parsed.code;
}

}  // namespace vdx
