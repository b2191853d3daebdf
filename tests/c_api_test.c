/* Every family called from C11 through the umbrella header and the shared library. What the calls
 * compute is tested elsewhere; here it counts that a C program can declare, link and call them.
 * Files and threads are in examples/. */
#include <stdio.h>

#include "vdxcomn.h"

static int failures;

#define EXPECT(condition) \
  if (!(condition)) failures += fprintf(stderr, "failed: %s\n", #condition)

static int32_t twice(vdx_context *context, const vdx_datafmt *source_format, const void *source,
                     const vdx_datafmt *destination_format, void *destination, int32_t *length) {
  (void)context, (void)source_format, (void)destination_format, (void)length;
  *(int32_t *)destination = *(const int32_t *)source * 2;
  return VDX_SUCCESS;
}

int main(void) {
  static const int32_t wide[] = {1, 40000, -3};
  static const uint8_t wide_one[] = {0x82, 0x50};
  static const char *const months[12] = {"Jan", "Feb"};
  vdx_context context = {.version = VDX_VERSION};
  vdx_datafmt text = {.datatype = VDX_CHAR, .maxlength = 3}, integer = {.datatype = VDX_I4};
  const vdx_money a = {0, 15000}, b = {0, 20000};
  vdx_money product;
  vdx_datetime day;
  daterec record = {.year = 2008, .month = 0, .day = 31};
  int32_t value = -42, length = 0, codes[3];
  int16_t narrow[3];
  uint16_t units[4];
  char shown[32];

  EXPECT(com_conv_init(&context) == XS_SUCCEED);
  EXPECT(com_conv_install(&context, VDX_USER, VDX_I4, twice) == XS_SUCCEED);
  EXPECT(com_conv_func(&context, VDX_USER, VDX_I4)(&context, &integer, &value, &integer, &value,
                                                   &length) == VDX_SUCCESS);
  EXPECT(value == -84 && com_conv_free(&context) == XS_SUCCEED);
  EXPECT(comnb_i4toi2(wide, sizeof wide[0], narrow, sizeof narrow[0], codes, 3) == 1);
  EXPECT(narrow[1] == INT16_MAX && narrow[2] == -3 && codes[1] == VDX_OVERFLOW);

  EXPECT(comn_loc_alloc(&context, "sjis", &text.locale) == XS_SUCCEED);
  EXPECT(comn_to_ascii(com_intl_charattr(&context, &text), wide_one, 2) == '1');
  EXPECT(comn_loc_drop(&context, text.locale) == XS_SUCCEED);
  EXPECT(com__fou_utf8_to_utf16("\xc3\xa9", 2, units, sizeof units, &length) == VDX_SUCCESS &&
         units[0] == 0xe9);

  EXPECT(comn_mnymul(&a, &b, &product) == VDX_SUCCESS && product.low == 30000);
  EXPECT(comb_get_Prec_To_Len(1) >= 2);
  EXPECT(com_datemake(&day, &record) == 0 && com__date_add(VDX_PART_MONTH, 1, &day) == 0);
  EXPECT(com_datepart(VDX_PART_DAY, &day, com_intl_firstday(&context, NULL)) == 29);
  EXPECT(com__datetochar(&day, shown, sizeof shown, 106, months) == 11);

  EXPECT(com_errtrace(XS_BUSY, __FILE__, __LINE__) == XS_BUSY);
  EXPECT(com_null_init(&context) == XS_SUCCEED);
  EXPECT(com_null_get(&context, &integer, &value, 4, &length) == VDX_SUCCESS && value == 0);
  EXPECT(com_null_free(&context) == XS_SUCCEED);
  EXPECT(com_tds_get_fixed_tdstype(VDX_I4, &value, &codes[0], &length) == 1 && value == 56);
  return failures != 0;
}
