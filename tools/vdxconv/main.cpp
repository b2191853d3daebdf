// vdxconv: converts values between the datatypes of the library, and reads its configuration files.
#include <string>

#include "configuration.h"
#include "datatypes.h"
#include "options.h"
#include "session.h"
#include "stream.h"
#include "vdxcomn/convert.h"
#include "vdxcomn/date.h"
#include "vdxcomn/intl.h"

namespace {

using namespace vdxconv;

int print(const std::string& text) {
  Writer out(kStandardOutput, "standard output");
  out.put(text);
  out.close();
  return 0;
}

// Options that are not given leave the library's defaults, and the context without a locale.
void set_locale(vdx_context* context, const Settings& settings) {
  if (settings.charset == nullptr && !settings.date_style && !settings.date_order) return;
  const char* const charset = settings.charset != nullptr ? settings.charset : "iso_1";
  const int32_t status = comn_loc_alloc(context, charset, &context->locale);
  if (status == XS_MEM_ERROR) give_up("out of memory");
  if (status != XS_SUCCEED) give_up(std::string(charset) + ": unknown character set");
  const auto set = [&](int32_t what, Number value) {
    if (value) comn_loc_set(context->locale, what, &*value, sizeof *value);
  };
  set(VDX_LOC_DATE_STYLE, settings.date_style);
  set(VDX_LOC_DATE_ORDER, settings.date_order);
  // The library takes an unknown style for 0; whoever asks for one wants to know.
  if (settings.date_style && comn_get_datetochar_fmt(context, context->locale) !=
                                 static_cast<uint32_t>(*settings.date_style))
    give_up(std::to_string(*settings.date_style) + ": unknown date style");
}

std::string now(const Settings& settings) {
  char text[32];
  if (comn_time(settings.date_order.value_or(1), settings.twelve_hour ? 1 : 0, text, sizeof text,
                nullptr, nullptr) != XS_SUCCEED)
    give_up("the clock cannot be read");
  return std::string(text) + "\n";
}

int perform(vdx_context* context, const Settings& settings) {
  switch (settings.action) {
    case Action::kHelp:
      return print(help_text());
    case Action::kVersion:
      return print("vdxconv " VDXCONV_VERSION "\n");
    case Action::kNow:
      return print(now(settings));
    case Action::kTypes:
      return print(list_types());
    case Action::kMatrix:
      return print(list_matrix(context));
    case Action::kConvert:
    case Action::kLookUp:
    case Action::kCheck:
      break;
  }
  set_locale(context, settings);
  const int status = settings.action == Action::kConvert  ? Session(context, settings).run()
                     : settings.action == Action::kLookUp ? look_up(*context, settings)
                                                          : check_configuration(*context, settings);
  if (context->locale != nullptr) comn_loc_drop(context, context->locale);
  return status;
}

}  // namespace

int main(int count, char** words) {
  prepare_streams();
  const Settings settings = read_command_line(count, words);
  vdx_context context{};
  context.version = VDX_VERSION;
  if (com_conv_init(&context) != XS_SUCCEED) give_up("out of memory");
  const int status = perform(&context, settings);
  com_conv_free(&context);
  return status;
}
