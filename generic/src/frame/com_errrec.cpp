// Error records: one message each, with copies of its parameters and place.
#include <cstdlib>
#include <cstring>

#include "frame/allocate.h"
#include "frame/check.h"
#include "frame/message_text.h"

namespace {

// A message. The bytes of its texts are stored after it, in one allocation.
struct Kept {
  std::int32_t number;
  vdx_err_parameters parameters;
  vdx_err_place place;
};

// Calls visit for every text that there is.
template <typename Visit>
void for_each_text(Kept& kept, Visit visit) {
  const auto one = [&visit](vdx_err_text& text) {
    if (text.bytes != nullptr) visit(text);
  };
  for (std::int32_t i = 0; i < kept.parameters.count; ++i) one(kept.parameters.parameter[i].text);
  for (vdx_err_text* text : {&kept.place.file, &kept.place.section, &kept.place.token}) one(*text);
}

}  // namespace

struct vdx_error {
  vdx_context* context;
  const vdx_err_table* table;
  Kept* kept;  // null: no message
};

extern "C" {

std::int32_t com_errinit(vdx_context* context, const vdx_err_table* table, vdx_error** record) {
  VDX_CHECK_POINTER(record, XS_FAIL);
  *record = static_cast<vdx_error*>(vdx::allocate(context, sizeof(vdx_error)));
  if (*record == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  **record = {context, table, nullptr};
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_errdrop(vdx_error* record) {
  VDX_CHECK_POINTER(record, XS_FAIL);
  std::free(record->kept);
  std::free(record);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_err_set(vdx_error* record, std::int32_t number,
                         const vdx_err_parameters* parameters, const vdx_err_place* place) {
  VDX_CHECK_POINTER(record, XS_FAIL);
  VDX_ASSERT(number != 0 && vdx::is_parameters(parameters) && vdx::is_place(place), XS_FAIL);
  const vdx_err_parameters given = parameters != nullptr ? *parameters : vdx::kNoParameters;
  const vdx_err_place known = place != nullptr ? *place : vdx_err_place{};
  Kept copy{number, given, known};
  std::size_t bytes = sizeof copy;
  for_each_text(
      copy, [&bytes](const vdx_err_text& text) { bytes += static_cast<std::size_t>(text.length); });
  Kept* kept = static_cast<Kept*>(vdx::allocate(record->context, bytes));
  if (kept == nullptr) return VDX_TRACE(XS_MEM_ERROR);
  char* at = reinterpret_cast<char*>(kept + 1);
  for_each_text(copy, [&at](vdx_err_text& text) {
    const auto length = static_cast<std::size_t>(text.length);
    std::memcpy(at, text.bytes, length);
    text.bytes = at;
    at += length;
  });
  *kept = copy;
  std::free(record->kept);
  record->kept = kept;
  // Raised with the caller's texts: the callback may set or drop the record, which frees its
  // copies.
  vdx::raise_message(record->table, record->context, number, given, known);
  return VDX_TRACE(XS_SUCCEED);
}

std::int32_t com_err_msg(vdx_error* record, std::int32_t* number, char* buffer, std::int32_t size,
                         std::int32_t* length) {
  VDX_CHECK_POINTER(record, XS_FAIL);
  VDX_CHECK_POINTER(buffer, XS_FAIL);
  VDX_ASSERT(size >= 1, XS_FAIL);
  const Kept* kept = record->kept;
  if (number != nullptr) *number = kept != nullptr ? kept->number : 0;
  if (kept == nullptr) {
    buffer[0] = '\0';
    if (length != nullptr) *length = 0;
    return VDX_TRACE(XS_END_DATA);
  }
  return VDX_TRACE(vdx::build_message(record->table, record->context, kept->number,
                                      kept->parameters, buffer, size, length));
}

std::int32_t com_err_sqlstate(vdx_error* record, char* state) {
  VDX_CHECK_POINTER(record, XS_FAIL);
  VDX_CHECK_POINTER(state, XS_FAIL);
  const char* found = "00000";
  if (record->kept != nullptr) {
    found = vdx::Texts(record->table, record->context, record->kept->number).sqlstate;
    if (found == nullptr) found = "HY000";
  }
  std::memcpy(state, found, 6);
  return VDX_TRACE(XS_SUCCEED);
}

}  // extern "C"
