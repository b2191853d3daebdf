// The way of one value: text, SOURCE, DEST, text. Functions and data formats are set up once; a
// value costs at most three calls and no copy.
#ifndef VDXCONV_PIPELINE_H
#define VDXCONV_PIPELINE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "options.h"
#include "stream.h"
#include "vdxcomn/types.h"

namespace vdxconv {

class Pipeline {
 public:
  // A pair without a conversion ends the tool with a message.
  Pipeline(vdx_context* context, const Settings& settings);

  // Converts one text and appends what is shown of it to the output. Returns VDX_SUCCESS, or the
  // code of the step that failed with nothing appended.
  int32_t convert(const uint8_t* text, std::size_t size, Writer& out) {
    const uint8_t* value = text;
    auto length = static_cast<int32_t>(size);
    for (std::size_t i = 0; i + 1 < count_; ++i) {
      Step& step = steps_[i];
      scratch_[i].need(prepare(step, length));
      const int32_t code = run(step, value, scratch_[i].data(), &length);
      if (code != VDX_SUCCESS) [[unlikely]]
        return code;
      value = scratch_[i].data();
    }
    return finish(value, length, out);
  }

 private:
  struct Step {
    vdx_convfn function;
    vdx_datafmt from, to;
    bool counted;   // the source starts with its 16-bit length
    int32_t room;   // for the result; 0: what the source may need
    bool optional;  // an empty source gives an empty result
  };

  void add(vdx_context* context, const vdx_datafmt& from, const vdx_datafmt& to, bool optional);
  int32_t finish(const uint8_t* value, int32_t length, Writer& out);
  void put_hexadecimal(const uint8_t* value, int32_t length, Writer& out);

  // Bytes to keep free for the result of a step.
  static std::size_t prepare(Step& step, int32_t length) {
    step.from.maxlength = length;
    step.to.maxlength = step.room != 0 ? step.room : room_for(length);
    return static_cast<std::size_t>(step.to.maxlength) + kLargestFixed;
  }

  int32_t run(Step& step, const uint8_t* value, uint8_t* result, int32_t* length) {
    if (*length == 0 || (step.counted && is_empty(value))) [[unlikely]] {
      *length = 0;
      return step.optional ? static_cast<int32_t>(VDX_SUCCESS) : static_cast<int32_t>(VDX_SYNTAX);
    }
    // Into some types of fixed length the length may stay as it was.
    *length = step.to.maxlength;
    return step.function(context_, &step.from, value, &step.to, result, length);
  }

  static int32_t room_for(int32_t length);
  static bool is_empty(const uint8_t* counted);

  static constexpr std::size_t kLargestFixed = 320;  // no fixed-length value needs more

  vdx_context* context_;
  Show show_;
  std::array<Step, 3> steps_;
  std::size_t count_ = 0;
  std::array<Buffer, 3> scratch_;
};

}  // namespace vdxconv

#endif
