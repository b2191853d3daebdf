#include <stdio.h>
#include <vdxcomn.h>

int main(void) {
  vdx_context context = {.version = VDX_VERSION};
  vdx_datafmt format = {.locale = NULL};
  char texts[] = "12.50-7x1,000.25";
  int32_t offsets[] = {0, 5, 7, 8, 8, 16}, codes[5];
  uint8_t given = 0x17, valid = 0;
  vdx_money amounts[5];
  vdx_column from = {.datatype = VDX_CHAR, .offset_bytes = 4, .rows = 5, .values = texts,
                     .offsets = offsets, .validity = &given};
  vdx_column to = {.datatype = VDX_MONEY, .values = amounts, .validity = &valid};
  int64_t failed = comn_column_convert(&context, &format, &from, &format, &to, codes, NULL, NULL);
  printf("%d failed\n", (int)failed);
  for (int i = 0; i < 5; ++i)
    if ((valid >> i & 1) != 0)
      printf("%d\n", (int)amounts[i].low);
    else
      printf(codes[i] == VDX_SUCCESS ? "null\n" : "code %d\n", (int)codes[i]);
  return failed != 1;
}
