#include "pipeline.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "datatypes.h"
#include "vdxcomn/convert.h"

namespace vdxconv {

namespace {

constexpr int32_t kPrecision = 38;
constexpr int32_t kScale = 10;

vdx_datafmt describe(int32_t datatype, Number precision, Number scale) {
  vdx_datafmt format{};
  const bool numeric = datatype == VDX_NUM || datatype == VDX_DECIMAL;
  format.datatype = datatype;
  format.precision = precision.value_or(numeric ? kPrecision : 0);
  format.scale = scale.value_or(numeric ? kScale : 0);
  return format;
}

}  // namespace

Pipeline::Pipeline(vdx_context* context, const Settings& settings)
    : context_(context), show_(settings.show) {
  const bool from_text = is_text(settings.source);
  const bool to_text = is_text(settings.destination);
  const vdx_datafmt source =
      describe(settings.source, settings.source_precision, settings.source_scale);
  vdx_datafmt destination = describe(settings.destination, settings.precision, settings.scale);
  destination.format = settings.format;

  // A void has no text: whatever is given for it has no content either, nor has what it becomes.
  const bool from_void = settings.source == VDX_VOID;
  if (!from_text && !from_void) add(context, describe(VDX_CHAR, {}, {}), source, false);
  add(context, source, destination, false);
  steps_[0].optional = from_void;
  if (settings.maxlength && fixed_length(settings.destination) == 0)
    steps_[count_ - 1].room = *settings.maxlength;
  if (!to_text && !from_void && show_ == Show::kText) {
    vdx_datafmt held = destination;
    held.format = 0;
    add(context, held, describe(VDX_CHAR, settings.precision, {}), true);
  }
}

void Pipeline::add(vdx_context* context, const vdx_datafmt& from, const vdx_datafmt& to,
                   bool optional) {
  const vdx_convfn function = com_conv_func(context, from.datatype, to.datatype);
  // A function may be there for a code that no datatype has; only a void becomes one.
  const bool nowhere = !is_assigned(to.datatype) && from.datatype != VDX_VOID;
  if (function == nullptr || nowhere)
    give_up("there is no conversion from " + datatype_name(from.datatype) + " to " +
            datatype_name(to.datatype) +
            (optional ? " to show the result; try --hex" : "; vdxconv --matrix shows all"));
  steps_[count_++] = {.function = function,
                      .from = from,
                      .to = to,
                      .counted = is_counted(from.datatype),
                      .room = fixed_length(to.datatype),
                      .optional = optional};
}

// The longest result of a value: two hexadecimal digits or one UTF-16 unit a byte, doubled where
// apostrophes are, and the widest text of a number.
int32_t Pipeline::room_for(int32_t length) {
  const int64_t room = int64_t{4} * length + static_cast<int64_t>(kLargestFixed);
  return static_cast<int32_t>(std::min(room, int64_t{std::numeric_limits<int32_t>::max()} - 1024));
}

bool Pipeline::is_empty(const uint8_t* counted) {
  int16_t count = 0;
  std::memcpy(&count, counted, sizeof count);
  return count == 0;
}

int32_t Pipeline::finish(const uint8_t* value, int32_t length, Writer& out) {
  Step& step = steps_[count_ - 1];
  const std::size_t room = prepare(step, length);
  Buffer& held = scratch_[count_ - 1];
  if (show_ == Show::kHex) held.need(room);
  uint8_t* const end = show_ == Show::kHex ? held.data() : out.reserve(room + 1);
  // All of a record is shown, and a conversion leaves alone what is behind its text.
  if (is_counted(step.to.datatype)) std::memset(end, 0, static_cast<std::size_t>(step.room));
  const int32_t code = run(step, value, end, &length);
  if (code != VDX_SUCCESS) [[unlikely]]
    return code;
  if (show_ == Show::kHex) {
    put_hexadecimal(end, length, out);
    return code;
  }
  auto size = static_cast<std::size_t>(length);
  if (show_ == Show::kText) end[size++] = '\n';
  out.commit(size);
  return code;
}

void Pipeline::put_hexadecimal(const uint8_t* value, int32_t length, Writer& out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  const auto size = static_cast<std::size_t>(length);
  uint8_t* to = out.reserve(2 * size + 1);
  for (std::size_t i = 0; i < size; ++i) {
    *to++ = static_cast<uint8_t>(kDigits[value[i] >> 4]);
    *to++ = static_cast<uint8_t>(kDigits[value[i] & 15]);
  }
  *to = '\n';
  out.commit(2 * size + 1);
}

}  // namespace vdxconv
