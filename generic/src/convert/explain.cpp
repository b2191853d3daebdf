// Why a value did not convert. The code says what happened, the formats what was asked for; a source
// that is text is read again, by the grammar that refused it, with a finding.
#include "convert/explain.h"

#include <cmath>
#include <limits>

#include "convert/ways.h"
#include "frame/fault.h"
#include "frame/typelen.h"
#include "intl/text_fault.h"

namespace vdx {

namespace {

// ---- what a datatype says of itself ----

template <typename T>
void add_integer(FaultWords& words, T value) {
  words.add_text(integer_text(signed_magnitude(value)));
}

void add_exact(FaultWords& words, const Exact& value) {
  NumericText text;
  put_numeric(value, text);
  words.add_text(text);
}

void add_date(FaultWords& words, std::int32_t day) {
  const Civil civil = civil_of_day(day);
  words.add_number(civil.year, 4);
  words.add('-');
  words.add_number(civil.month + 1, 2);
  words.add('-');
  words.add_number(civil.day, 2);
}

// A kind tells the limits of its type, and of a value its text and whether it is below the middle of
// all values: negative, or before 1900.
template <typename Kind>
struct About {  // kinds without any
  static void limit(const vdx_datafmt&, bool, FaultWords&) {}
  static void value(const void*, FaultWords&) {}
  static bool is_low(const void*) { return false; }
};

template <typename T>
struct About<integer<T>> {
  static void limit(const vdx_datafmt&, bool below, FaultWords& words) {
    add_integer(words, nearest_limit<T>(below));
  }
  static void value(const void* source, FaultWords& words) { add_integer(words, load<T>(source)); }
  static bool is_low(const void* source) { return std::cmp_less(load<T>(source), 0); }
};

template <typename T>
struct About<money_count<T>> {
  static T count(const void* source) {
    return money_count<T>::read({nullptr, nullptr, source, nullptr, nullptr, nullptr}).count;
  }
  static void limit(const vdx_datafmt&, bool below, FaultWords& words) {
    words.add_text(money_text(nearest_limit<T>(below), 4));
  }
  static void value(const void* source, FaultWords& words) {
    words.add_text(money_text(count(source), 4));
  }
  static bool is_low(const void* source) { return count(source) < 0; }
};

template <typename T>
struct About<floating<T>> {
  static void limit(const vdx_datafmt&, bool below, FaultWords& words) {
    words.add_text(float_text(with_sign(std::numeric_limits<T>::max(), below)));
  }
  static void value(const void* source, FaultWords& words) {
    words.add_text(float_text(load<T>(source)));
  }
  static bool is_low(const void* source) { return load<T>(source) < 0; }
};

template <>
struct About<exact_numeric> {
  static void limit(const vdx_datafmt& format, bool below, FaultWords& words) {
    std::uint8_t image[kNumericBytes] = {};
    put_largest(below, format.precision, format.scale, image);
    value(image, words);
  }
  static void value(const void* source, FaultWords& words) {
    Exact exact;
    if (read_numeric(source, exact) == VDX_SUCCESS) add_exact(words, exact);
  }
  static bool is_low(const void* source) {
    return static_cast<const std::uint8_t*>(source)[2] != 0;
  }
};

template <typename Kind, typename Type>
struct AboutCalendar {
  static void limit(const vdx_datafmt& format, bool below, FaultWords& words) {
    if (format.datatype != VDX_DATE4) {
      const bool short_past = format.datatype == VDX_DATETIME;
      add_date(words, !below ? kLastDay : short_past ? kFirstDatetimeDay : kFirstDay);
      return;
    }
    add_date(words, below ? 0 : std::numeric_limits<std::uint16_t>::max());
    if (!below) words.add(" 23:59", 6);
  }
  static void value(const void* source, FaultWords& words) {
    add_date(words, Kind::moment_of(load<typename Type::Image>(source)).day);
  }
  static bool is_low(const void* source) {
    return Kind::moment_of(load<typename Type::Image>(source)).day < 0;
  }
};
template <>
struct About<day_count> : AboutCalendar<day_count, DateaType> {};
template <typename Type>
struct About<instant<Type>> : AboutCalendar<instant<Type>, Type> {};

void add_limit(const vdx_datafmt& format, bool below, FaultWords& words) {
  switch (kDestinationFamily[static_cast<std::size_t>(format.datatype)]) {
#define FAMILY(name, group, extent, big, ...) \
  case family_##name:                         \
    return About<__VA_ARGS__>::limit(format, below, words);
#include "lists/datatypes.list"
    default:
      return;
  }
}

void add_value(Family family, const void* source, FaultWords& words) {
  switch (family) {
#define FAMILY(name, group, extent, big, ...) \
  case family_##name:                         \
    return About<__VA_ARGS__>::value(source, words);
#include "lists/datatypes.list"
    default:
      return;
  }
}

bool is_low(Family family, const void* source) {
  switch (family) {
#define FAMILY(name, group, extent, big, ...) \
  case family_##name:                         \
    return About<__VA_ARGS__>::is_low(source);
#include "lists/datatypes.list"
    default:
      return false;
  }
}

// ---- texts ----

FaultyText faulty(const Text& text) {
  return {text.bytes, static_cast<std::size_t>(text.length), text.attributes};
}

// Dates are read from UTF-16 in the character set of a locale: the offset there as one here.
std::int64_t unit_offset(const FaultyText& text, const vdx_charattr& set, std::int64_t local) {
  std::size_t at = 0;
  while (at + 2 <= text.length && char_fold(kUtf16, text.bytes + at, 2) == ' ') at += 2;
  while (at + 2 <= text.length) {
    const auto size = bytes_at(text, at);
    std::uint8_t bytes[8];
    const bool folds = char_fold(kUtf16, text.bytes + at, 2) != 0;
    local -= folds ? 1
                   : static_cast<std::int64_t>(
                         from_utf16(set, text.bytes + at, size / 2, bytes, sizeof bytes).placed);
    if (local < 0) break;
    at += size;
  }
  return static_cast<std::int64_t>(at);
}

void explain_as_date(const Call& call, const Text& text, Finding& finding) {
  struct Form {
    DateMode mode;
    DateGrain grain;
  };
  const std::int32_t datatype = call.format->datatype;
  const bool is_big = datatype == VDX_BIGDATETIME || datatype == VDX_BIGTIME;
  const Form form = {datatype == VDX_DATEA                              ? DateMode::kDate
                     : datatype == VDX_TIMEA || datatype == VDX_BIGTIME ? DateMode::kTime
                                                                        : DateMode::kWhole,
                     is_big ? DateGrain::kMicroseconds : DateGrain::kTicks};
  const vdx_locale& locale = locale_of(call.context, call.source_format);
  const vdx_charattr& set = *locale.charset->attributes;
  const bool is_wide = text.attributes.encoding == Encoding::utf16;
  std::uint8_t local[1024];
  std::int32_t length = text.length;
  if (is_wide && !local_text(call, set, local, sizeof local, length)) {
    finding.note(VDX_REASON_TOO_LONG, 0, text.length);
    return;
  }
  const std::uint8_t* const bytes = is_wide ? local : text.bytes;
  while (length > 0 && bytes[length - 1] == ' ') --length;
  const DateText date{bytes,
                      length,
                      0,
                      locale.date_order,
                      locale.months.table(),
                      locale.short_months.table(),
                      is_wide ? &set : &text.attributes};
  explain_date(date, form.mode, form.grain, finding);
  if (finding.reason == VDX_REASON_NONE) {  // the fields are sound, the value is too far
    vdx_datetime value{};
    bool rounded;
    static_cast<void>(read_datetime(date, value, rounded));
    finding.negative = value.day < 0;
  }
  if (is_wide) {
    const std::int64_t end = unit_offset(faulty(text), set, finding.offset + finding.length);
    finding.offset = unit_offset(faulty(text), set, finding.offset);
    finding.length = end - finding.offset;
  }
}

// Runs the reader of a number again; finding.negative then tells which limit was passed.
void explain_as_number(const Call& call, const Text& text, Finding& finding) {
  const vdx_charattr& set = text.attributes;
  switch (kDestinationFamily[static_cast<std::size_t>(call.format->datatype)]) {
    case family_i8:
      explain_integer<std::int64_t>(text.bytes, text.length, set, finding);
      return;
    case family_ui8:
      explain_integer<std::uint64_t>(text.bytes, text.length, set, finding);
      return;
    case family_ui2:
    case family_ui4:
      explain_integer<std::uint32_t>(text.bytes, text.length, set, finding);
      return;
    case family_money:
    case family_mny4: {
      std::int64_t count;
      parse_money_grammar(count, text.bytes, text.length, set, &finding);
      return;
    }
    case family_flt4:
      explain_float<float>(text.bytes, text.length, set, finding);
      return;
    case family_flt8:
      explain_float<double>(text.bytes, text.length, set, finding);
      return;
    case family_num: {
      std::uint8_t image[kNumericBytes];
      parse_numeric_grammar(text.bytes, text.length, set, call.format->precision,
                            call.format->scale, image, &finding);
      return;
    }
    default:  // i1 and bit are read as i4
      explain_integer<std::int32_t>(text.bytes, text.length, set, finding);
  }
}

struct Explained {
  Finding finding;
  FaultWords limit, text;
};

void explain_range(const Call& call, std::int32_t code, Explained& result) {
  Finding& finding = result.finding;
  const std::int32_t datatype = call.format->datatype;
  if (code == VDX_UNDERFLOW && (datatype == VDX_FLT4 || datatype == VDX_FLT8)) {
    finding.reason = VDX_REASON_TOO_SMALL;
    if (datatype == VDX_FLT4)
      result.limit.add_text(float_text(std::numeric_limits<float>::denorm_min()));
    else
      result.limit.add_text(float_text(std::numeric_limits<double>::denorm_min()));
    return;
  }
  const bool below = code == VDX_UNDERFLOW || finding.negative;
  finding.reason = below ? VDX_REASON_BELOW : VDX_REASON_ABOVE;
  add_limit(*call.format, below, result.limit);
}

// The room of a destination for text or bytes.
std::int64_t room_of(const Call& call, Family destination) {
  if (extent_of(destination) == Extent::counted) return kCountedRoom;
  const bool wide = group_of(destination) == Group::utf16;
  const bool ends =
      group_of(destination) != Group::bytes && (call.format->format & VDX_FMT_TERMINATE) != 0;
  const std::int64_t room = wide ? call.format->maxlength & ~1 : call.format->maxlength;
  return std::max<std::int64_t>(room - (ends ? wide ? 2 : 1 : 0), 0);
}

// A text that became no value, or a text that is not whole.
void explain_text(const Call& call, const Text& text, Family destination, std::int32_t code,
                  Explained& result) {
  Finding& finding = result.finding;
  const vdx_charattr* to = &kUtf16;
  const Group group = group_of(destination);
  if (group == Group::text && !find_set(call.context, call.format, to)) return;
  if (code == VDX_MALFORMED_UNICODE) {
    explain_malformed(faulty(text), finding);
  } else if (code == VDX_TRANSLATION) {
    explain_missing(faulty(text), *to, finding);
  } else if (group == Group::text || group == Group::utf16) {
    const bool quoted = (call.format->format & VDX_FMT_QUOTE) != 0 && group == Group::text &&
                        extent_of(destination) != Extent::counted;
    explain_room(faulty(text), *to, quoted, room_of(call, destination), finding);
  } else if (group == Group::bytes || group == Group::handle) {
    explain_bytes(text, room_of(call, destination), finding);
  } else if (code != VDX_INVALID) {
    const bool is_date = group == Group::calendar;
    if (is_date)
      explain_as_date(call, text, finding);
    else
      explain_as_number(call, text, finding);
    if (finding.reason == VDX_REASON_NONE && code != VDX_SYNTAX) explain_range(call, code, result);
  }
  add_excerpt(faulty(text), finding, result.text);
}

// A value of any other type.
void explain_value(const Call& call, Family source, Family destination, std::int32_t code,
                   Explained& result) {
  Finding& finding = result.finding;
  switch (code) {
    case VDX_INVALID: {
      const bool is_float = source == family_flt4 || source == family_flt8;
      finding.reason = is_float ? VDX_REASON_NOT_A_NUMBER : VDX_REASON_INVALID;
      return;
    }
    case VDX_OVERFLOW:
    case VDX_UNDERFLOW:
    case VDX_TRUNCATED:
      break;
    default:
      return;
  }
  if (extent_of(destination) != Extent::fixed) {
    finding.reason = VDX_REASON_NO_ROOM;
    finding.highest = room_of(call, destination);
  } else if (group_of(source) == Group::bytes) {  // of bytes those that were left out
    const std::int64_t all = extent_of(source) == Extent::counted
                                 ? std::int64_t{load<std::int16_t>(call.source)}
                                 : call.source_format->maxlength;
    const std::int64_t kept = type_length(call.format->datatype, 0);
    finding.note(VDX_REASON_NO_ROOM, kept, all - kept);
    finding.highest = kept;
  } else if (code == VDX_TRUNCATED) {
    finding.reason = VDX_REASON_DIGITS_LOST;
  } else {
    finding.negative = is_low(source, call.source);
    explain_range(call, code, result);
    add_value(source, call.source, result.text);
  }
}

// What the destination's format alone says.
bool explain_format(const vdx_datafmt& format, std::int32_t code, Finding& finding) {
  switch (code) {
    case VDX_BAD_PRECISION:
      finding.reason = VDX_REASON_PRECISION;
      finding.note_range(format.precision, 1, kMaxPrecision);
      return true;
    case VDX_BAD_SCALE:
      finding.reason = VDX_REASON_SCALE;
      finding.note_range(format.scale, 0, kMaxPrecision);
      return true;
    case VDX_BAD_PADDING:
      finding.reason = VDX_REASON_PADDING;
      return true;
    case VDX_NO_MONTH_NAMES:
      finding.reason = VDX_REASON_NO_NAMES;
      return true;
    default:
      return false;
  }
}

}  // namespace

std::int32_t explained(const vdx_context* context, const vdx_datafmt* source_format,
                       const void* source, const vdx_datafmt* format, std::int32_t code) {
  if (fault_of(context) == nullptr) return code;
  const Call call{
      const_cast<vdx_context*>(context), source_format, source, format, nullptr, nullptr};
  const Family from = kSourceFamily[static_cast<std::size_t>(source_format->datatype)];
  const Family to = kDestinationFamily[static_cast<std::size_t>(format->datatype)];
  Explained result;
  if (code == VDX_BAD_STYLE) {
    result.finding.reason = VDX_REASON_STYLE;
    result.finding.value = locale_of(context, format).date_style;
  } else if (!explain_format(*format, code, result.finding)) {
    if (is_text(from) && code == VDX_INVALID)
      result.finding.reason = VDX_REASON_INVALID;
    else if (is_text(from)) {
      const vdx_charattr* set = &kUtf16;
      const bool counted = extent_of(from) == Extent::counted;
      if (group_of(from) == Group::text) find_set(context, source_format, set);
      const auto* const bytes = static_cast<const std::uint8_t*>(source);
      explain_text(
          call,
          {counted ? bytes + 2 : bytes,
           counted ? std::int32_t{load<std::int16_t>(bytes)} : source_format->maxlength, *set},
          to, code, result);
    } else {
      explain_value(call, from, to, code, result);
    }
  }
  note_fault(context, code, source_format->datatype, format->datatype, result.finding,
             result.limit.text(), result.text.text());
  return code;
}

}  // namespace vdx
