/* Says where and why values do not convert: a date, an integer, an amount and a text that is no
 * UTF-8. The context carries a record that a failed call fills. */
#include <stdio.h>
#include <string.h>
#include <vdxcomn.h>

static void convert(vdx_context *context, const char *text, int32_t datatype) {
  const vdx_fault *fault = context->fault;
  vdx_datafmt from = {.datatype = VDX_CHAR, .maxlength = (int32_t)strlen(text)};
  vdx_datafmt to = {.datatype = datatype, .maxlength = 64};
  char value[320], sentence[256];
  int32_t length;
  int32_t code =
      com_conv_func(context, VDX_CHAR, datatype)(context, &from, text, &to, value, &length);
  if (code == VDX_SUCCESS) return;
  comn_fault_text(context, fault, sentence, sizeof sentence, &length);
  printf("%s, SQLSTATE %s, bytes %d to %d: %.*s\n", comn_code_name(code), comn_code_sqlstate(code),
         (int)fault->offset, (int)(fault->offset + fault->length), (int)length, sentence);
}

int main(void) {
  vdx_fault fault = {.size = sizeof fault};
  vdx_context context = {.version = VDX_VERSION, .fault = &fault};
  if (com_conv_init(&context) != XS_SUCCEED) return 1;
  convert(&context, "2008-13-02", VDX_DATETIME);
  convert(&context, " 2330830000", VDX_I4);
  convert(&context, "$1,23,4", VDX_MONEY);
  if (comn_loc_alloc(&context, "utf8", &context.locale) != XS_SUCCEED) return 1;
  convert(&context, "caf\xC3", VDX_UNICHAR);
  comn_loc_drop(&context, context.locale);
  com_conv_free(&context);
  return 0;
}
