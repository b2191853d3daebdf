// Text of one character set as text of another.
#include "vdxcomn/charset.h"

#include "frame/check.h"
#include "frame/length.h"
#include "intl/locale.h"
#include "intl/text_fault.h"
#include "intl/utf.h"

namespace vdx {
namespace {

// The code of a conversion with substitutes. One that stopped for want of room has not looked at
// the rest of the source: malformed input is reported even beyond the point of truncation.
inline std::int32_t code_of(const Transcoded& text, const vdx_charattr& from,
                            const std::uint8_t* source, std::size_t n) {
  if (text.outcome == Transcoding::done) [[likely]]
    return text.substituted ? VDX_TRANSLATION : VDX_SUCCESS;
  if (text.outcome == Transcoding::malformed) return VDX_MALFORMED_UNICODE;
  const std::size_t rest = n - text.taken;
  return well_formed(from, source + text.taken, rest) == rest ? VDX_TRUNCATED
                                                              : VDX_MALFORMED_UNICODE;
}

}  // namespace
}  // namespace vdx

#define VDX_CHECK_TEXTS(source, length, destination, size, length_out) \
  VDX_CHECK_POINTER(source, VDX_OVERFLOW);                             \
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);                        \
  VDX_CHECK_POINTER(length_out, VDX_OVERFLOW);                         \
  VDX_ASSERT(vdx::is_length(length) && (size) >= 0, VDX_OVERFLOW)

extern "C" {

std::int32_t comn_charset_convert(const vdx_context* context, const vdx_locale* source_locale,
                                  const void* source, std::int32_t length,
                                  const vdx_locale* destination_locale, void* destination,
                                  std::int32_t size, std::int32_t* length_out) {
  VDX_CHECK_TEXTS(source, length, destination, size, length_out);
  VDX_ASSERT(vdx::has_sound_locale(context, source_locale) &&
                 vdx::has_sound_locale(context, destination_locale),
             VDX_OVERFLOW);
  const vdx_charattr& from = vdx::attributes_of(context, source_locale);
  const vdx_charattr& to = vdx::attributes_of(context, destination_locale);
  const auto* const bytes = static_cast<const std::uint8_t*>(source);
  const std::size_t n = vdx::measured(source, length);
  const vdx::Transcoded text = vdx::transcode(
      from, bytes, n, to, static_cast<std::uint8_t*>(destination), static_cast<std::size_t>(size));
  const std::int32_t result = vdx::code_of(text, from, bytes, n);
  *length_out = result == VDX_MALFORMED_UNICODE ? 0 : static_cast<std::int32_t>(text.placed);
  if (result != VDX_SUCCESS) [[unlikely]]
    vdx::explain_transcoding(context, {bytes, n, from}, to, size, result);
  return result;
}

std::int32_t com_intl_xlate(const vdx_context* context, const char* from, const char* to,
                            const void* source, std::int32_t length, void* destination,
                            std::int32_t size, std::int32_t* length_out) {
  VDX_CHECK_POINTER(from, VDX_OVERFLOW);
  VDX_CHECK_POINTER(to, VDX_OVERFLOW);
  VDX_CHECK_TEXTS(source, length, destination, size, length_out);
  *length_out = 0;
  const vdx::NamedCharset* const from_set = vdx::find_charset(from);
  const vdx::NamedCharset* const to_set = vdx::find_charset(to);
  if (from_set == nullptr || to_set == nullptr) {
    vdx::Finding finding;
    finding.reason = VDX_REASON_CHARACTER_SET;
    vdx::note_fault(context, VDX_TRANSLATION, VDX_CHAR, VDX_CHAR, finding);
    return VDX_TRANSLATION;
  }
  const auto* const bytes = static_cast<const std::uint8_t*>(source);
  const std::size_t n = vdx::measured(source, length);
  const vdx::Transcoded text = vdx::transcode(*from_set->attributes, bytes, n, *to_set->attributes,
                                              static_cast<std::uint8_t*>(destination),
                                              static_cast<std::size_t>(size), vdx::Missing::stop);
  *length_out = static_cast<std::int32_t>(text.placed);
  if (text.outcome == vdx::Transcoding::done) [[likely]]
    return VDX_SUCCESS;
  const std::int32_t code = text.outcome == vdx::Transcoding::full        ? VDX_TRUNCATED
                            : text.outcome == vdx::Transcoding::malformed ? VDX_MALFORMED_UNICODE
                                                                          : VDX_TRANSLATION;
  vdx::explain_transcoding(context, {bytes, n, *from_set->attributes}, *to_set->attributes, size,
                           code);
  return code;
}

std::int32_t com__fou_utf8_to_utf16(const void* source, std::int32_t length, void* destination,
                                    std::int32_t size, std::int32_t* length_out) {
  VDX_CHECK_TEXTS(source, length, destination, size, length_out);
  const auto* const bytes = static_cast<const std::uint8_t*>(source);
  const std::size_t n = vdx::measured(source, length);
  const vdx::Transcoded text =
      vdx::to_utf16(vdx::kUtf8, bytes, n, destination, static_cast<std::size_t>(size) / 2, false);
  const std::int32_t result = vdx::code_of(text, vdx::kUtf8, bytes, n);
  *length_out = result == VDX_MALFORMED_UNICODE ? 0 : static_cast<std::int32_t>(2 * text.placed);
  return result;
}

}  // extern "C"
