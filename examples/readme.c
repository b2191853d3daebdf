#include <stdio.h>
#include <vdxcomn.h>

int main(void) {
  vdx_context context = {.version = VDX_VERSION};
  vdx_datafmt text = {.datatype = VDX_CHAR, .maxlength = 10}, money = {.datatype = VDX_MONEY};
  vdx_money amount;
  int32_t length;
  if (com_conv_init(&context) != XS_SUCCEED) return 1;
  vdx_convfn convert = com_conv_func(&context, VDX_CHAR, VDX_MONEY);
  int32_t code = convert(&context, &text, "$1,234.565", &money, &amount, &length);
  if (code == VDX_SUCCESS) printf("%u ten-thousandths in %d bytes\n", amount.low, length);
  com_conv_free(&context);
  return code != VDX_SUCCESS;
}
