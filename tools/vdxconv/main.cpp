// vdxconv: converts values between the datatypes of the library.
#include <string>

#include "datatypes.h"
#include "options.h"
#include "session.h"
#include "stream.h"
#include "vdxcomn/convert.h"
#include "vdxcomn/intl.h"

namespace {

using namespace vdxconv;

int print(const std::string& text) {
  Writer out(kStandardOutput, "standard output");
  out.put(text);
  out.close();
  return 0;
}

int perform(vdx_context* context, const Settings& settings) {
  switch (settings.action) {
    case Action::kHelp:
      return print(help_text());
    case Action::kVersion:
      return print("vdxconv " VDXCONV_VERSION "\n");
    case Action::kTypes:
      return print(list_types());
    case Action::kMatrix:
      return print(list_matrix(context));
    case Action::kConvert:
      break;
  }
  if (settings.charset != nullptr &&
      comn_loc_alloc(context, settings.charset, &context->locale) != XS_SUCCEED)
    give_up(std::string(settings.charset) + ": unknown character set");
  const int status = Session(context, settings).run();
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
