/* Built against an installed tree, as C11 and as C++20: text to money and back. */
#include <stdio.h>
#include <string.h>
#include <vdxcomn.h>

static int32_t convert(vdx_context *context, int32_t from, const void *source, int32_t length,
                       int32_t to, void *destination, int32_t capacity, int32_t *written) {
  vdx_datafmt source_format, destination_format;
  vdx_convfn function = com_conv_func(context, from, to);
  memset(&source_format, 0, sizeof source_format);
  memset(&destination_format, 0, sizeof destination_format);
  source_format.datatype = from;
  source_format.maxlength = length;
  destination_format.datatype = to;
  destination_format.maxlength = capacity;
  return function == NULL
             ? 0
             : function(context, &source_format, source, &destination_format, destination, written);
}

int main(void) {
  vdx_context context;
  vdx_money money;
  char text[32];
  int32_t length = 0;
  memset(&context, 0, sizeof context);
  context.version = VDX_VERSION;
  if (com_conv_init(&context) != XS_SUCCEED) return 1;
  if (com_conv_func(&context, VDX_CHAR, VDX_MONEY) != comn_chartomoney) return 2;
  if (convert(&context, VDX_CHAR, "$1,234.565", 10, VDX_MONEY, &money, 0, &length) != VDX_SUCCESS)
    return 3;
  if (convert(&context, VDX_MONEY, &money, 8, VDX_CHAR, text, sizeof text, &length) != VDX_SUCCESS)
    return 4;
  if (length != 7 || memcmp(text, "1234.57", 7) != 0) return 5;
  com_conv_free(&context);
  puts("1234.57");
  return 0;
}
