// The library's side of a conversion row: a context with its table, the function that the table
// names and the two format records, as a caller keeps them for all rows of a column.
#ifndef VDX_BENCH_CONVERSION_CALL_H
#define VDX_BENCH_CONVERSION_CALL_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "bench_common.h"
#include "vdxcomn/convert.h"

namespace bench {

struct ConversionCall {
  vdx_context context{};
  vdx_datafmt source{};
  vdx_datafmt destination{};
  vdx_convfn function = nullptr;

  ConversionCall(std::int32_t from, std::int32_t from_length, std::int32_t to,
                 std::int32_t to_length) {
    context.version = VDX_VERSION;
    source.datatype = from;
    source.maxlength = from_length;
    destination.datatype = to;
    destination.maxlength = to_length;
    if (com_conv_init(&context) == XS_SUCCEED) function = com_conv_func(&context, from, to);
    if (function == nullptr) {
      std::fprintf(stderr, "no conversion from datatype %d to %d\n", static_cast<int>(from),
                   static_cast<int>(to));
      std::exit(1);
    }
  }
  ConversionCall(const ConversionCall&) = delete;
  ConversionCall& operator=(const ConversionCall&) = delete;
};

// A text of any length to a value of fixed size: the caller sets the length of each.
template <class Item>
void our_parse(const std::string& row, std::int32_t to, const Texts& texts,
               std::vector<Item>& results, const std::vector<Item>& expected) {
  auto& call = keep<ConversionCall>(VDX_CHAR, 1, to, static_cast<std::int32_t>(sizeof(Item)));
  value_contender(
      row, "ours", results, expected,
      [&call, function = call.function, in = texts.data(), out = results.data()](std::size_t i) {
        std::int32_t length;
        call.source.maxlength = in[i].length;
        return function(&call.context, &call.source, in[i].data, &call.destination, out + i,
                        &length) == VDX_SUCCESS;
      });
}

// A value of fixed size to text, neither padded nor terminated; locale may be null.
template <class Item>
void our_format(const std::string& row, std::int32_t from, const std::vector<Item>& values,
                TextSlots& results, const std::vector<std::string>& expected,
                vdx_locale* locale = nullptr) {
  auto& call = keep<ConversionCall>(from, static_cast<std::int32_t>(sizeof(Item)), VDX_CHAR,
                                    static_cast<std::int32_t>(TextSlots::kSlot));
  call.context.locale = locale;
  text_contender(row, "ours", results, expected,
                 [&call, function = call.function, in = values.data(), out = results.bytes(),
                  lengths = results.lengths()](std::size_t i) {
                   return function(&call.context, &call.source, in + i, &call.destination,
                                   out + i * TextSlots::kSlot, lengths + i) == VDX_SUCCESS;
                 });
}

}  // namespace bench

#endif
