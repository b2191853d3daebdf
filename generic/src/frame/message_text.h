// Finding and composing the text of a message, for error records and for messages without one.
#ifndef VDX_FRAME_MESSAGE_TEXT_H
#define VDX_FRAME_MESSAGE_TEXT_H

#include <cstddef>
#include <cstdint>

#include "vdxcomn/errors.h"

namespace vdx {

inline constexpr vdx_err_parameters kNoParameters{};

inline bool is_text(const vdx_err_text& text) { return text.bytes == nullptr || text.length >= 0; }

inline bool is_parameters(const vdx_err_parameters* parameters) {
  if (parameters == nullptr) return true;
  if (parameters->count < 0 || parameters->count > VDX_ERR_PARAMETERS) return false;
  for (std::int32_t i = 0; i < parameters->count; ++i)
    if (!is_text(parameters->parameter[i].text)) return false;
  return true;
}

inline bool is_place(const vdx_err_place* place) {
  return place == nullptr ||
         (is_text(place->file) && is_text(place->section) && is_text(place->token));
}

// Text and SQLSTATE of a number, from the first table that has them: first, the context's, English.
// Null if none has.
struct Texts {
  const char* text = nullptr;
  const char* sqlstate = nullptr;
  Texts(const vdx_err_table* first, const vdx_context* context, std::int32_t number);
};

// Bytes of the whole text, and of what was written before the terminator.
struct Composed {
  std::size_t total, written;
};

// Writes the text, or the substitute where it is null, into size bytes, at least 1.
Composed compose(const char* text, std::int32_t number, const vdx_err_parameters& parameters,
                 char* buffer, std::size_t size);

// com_build_errmsg with a table that is searched first.
std::int32_t build_message(const vdx_err_table* table, vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, char* buffer, std::int32_t size,
                           std::int32_t* length);

// vdx::raise_message with a table that is searched first.
std::int32_t raise_message(const vdx_err_table* table, vdx_context* context, std::int32_t number,
                           const vdx_err_parameters& parameters, const vdx_err_place& place);

}  // namespace vdx

#endif
