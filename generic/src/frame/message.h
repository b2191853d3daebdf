// Raising numbered messages from inside the library.
#ifndef VDX_FRAME_MESSAGE_H
#define VDX_FRAME_MESSAGE_H

#include <cstddef>
#include <string_view>

#include "vdxcomn/errors.h"

namespace vdx {

inline vdx_err_text err_text(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(text.size())};
}

// Parameters from texts and numbers in any mix: err_parameters("routine", 7, name). Texts are not
// copied; none may be a null view.
template <typename... Value>
vdx_err_parameters err_parameters(const Value&... value) {
  static_assert(sizeof...(Value) <= VDX_ERR_PARAMETERS);
  vdx_err_parameters set{};
  [[maybe_unused]] const auto add = [&set](const auto& one) {
    vdx_err_parameter& slot = set.parameter[set.count++];
    if constexpr (requires { std::string_view(one); })
      slot.text = err_text(one);
    else
      slot.number = one;
  };
  (add(value), ...);
  return set;
}

// Composes the message and hands it to the context's callback. Without a context or a callback
// nothing happens. Takes no memory. Returns what the callback returned, else XS_SUCCEED.
std::int32_t raise_message(vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, const vdx_err_place& place = {});

}  // namespace vdx

#endif
