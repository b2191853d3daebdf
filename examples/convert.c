/* Converts a text to an integer and a money value to text, as a program with a table of its own
 * does: ask for the function once, call it for every value, look at the code. */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "vdxcomn.h"

int main(void) {
  static const char *const texts[] = {"  -42", "2147483648", "4 2"};
  const vdx_money price = {0, 123456}; /* 12.3456 in ten-thousandths */
  vdx_context context = {.version = VDX_VERSION};
  vdx_datafmt text = {.datatype = VDX_CHAR};
  vdx_datafmt integer = {.datatype = VDX_I4, .maxlength = sizeof(int32_t)};
  vdx_datafmt money = {.datatype = VDX_MONEY, .maxlength = sizeof(vdx_money)};
  int32_t length = 0;
  char shown[32];

  if (com_conv_init(&context) != XS_SUCCEED) return 1;

  vdx_convfn to_integer = com_conv_func(&context, VDX_CHAR, VDX_I4);
  for (size_t i = 0; i < sizeof texts / sizeof texts[0]; ++i) {
    int32_t value = 0;
    text.maxlength = (int32_t)strlen(texts[i]); /* of a source: the length of the value */
    int32_t code = to_integer(&context, &text, texts[i], &integer, &value, &length);
    if (code == VDX_SUCCESS)
      printf("\"%s\" is %" PRId32 "\n", texts[i], value);
    else
      printf("\"%s\" %s (%" PRId32 ")\n", texts[i],
             code == VDX_OVERFLOW ? "is out of range" : "is no integer", code);
  }

  vdx_convfn to_text = com_conv_func(&context, VDX_MONEY, VDX_CHAR);
  text.maxlength = sizeof shown; /* of a destination: the room for it */
  text.format = VDX_FMT_TERMINATE;
  text.precision = 4;
  if (to_text(&context, &money, &price, &text, shown, &length) != VDX_SUCCESS) return 1;
  printf("price %s\n", shown);

  com_conv_free(&context);
  return 0;
}
