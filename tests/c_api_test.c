/* Every family called from C11 through the umbrella header and the shared library. What the calls
 * compute is tested elsewhere; here it counts that a C program can declare, link and call them. */
#include <stdio.h>
#include <string.h>

#include "vdxcomn.h"

static int failures;

static void expect(int condition, const char *what) {
  if (!condition) {
    fprintf(stderr, "failed: %s\n", what);
    ++failures;
  }
}
#define EXPECT(condition) expect((condition), #condition)

static int32_t twice(vdx_context *context, const vdx_datafmt *source_format, const void *source,
                     const vdx_datafmt *destination_format, void *destination, int32_t *length) {
  int32_t value;
  (void)context, (void)source_format, (void)destination_format;
  memcpy(&value, source, sizeof value);
  value *= 2;
  memcpy(destination, &value, sizeof value);
  *length = (int32_t)sizeof value;
  return VDX_SUCCESS;
}

static void conversions(vdx_context *context) {
  vdx_datafmt text = {.datatype = VDX_CHAR, .maxlength = 3};
  vdx_datafmt integer = {.datatype = VDX_I4};
  int32_t value = 0, length = 0;
  EXPECT(com_conv_init(context) == XS_SUCCEED);
  EXPECT(com_conv_func(context, VDX_CHAR, VDX_I4) == comn_chartoi4);
  EXPECT(comn_chartoi4(context, &text, "-42", &integer, &value, &length) == VDX_SUCCESS);
  EXPECT(value == -42 && length == 4);

  EXPECT(com_conv_install(context, VDX_USER, VDX_I4, twice) == XS_SUCCEED);
  vdx_convfn installed = com_conv_func(context, VDX_USER, VDX_I4);
  EXPECT(installed == twice);
  EXPECT(installed(context, &integer, &value, &integer, &value, &length) == VDX_SUCCESS);
  EXPECT(value == -84);
  EXPECT(com_conv_default(context, VDX_USER, VDX_I4) == XS_SUCCEED);
  EXPECT(com_conv_func(context, VDX_USER, VDX_I4) == NULL);
  EXPECT(com_conv_free(context) == XS_SUCCEED);
}

static void frame(void) {
  uint8_t byte = 0xa7;
  char hex[2];
  com_prhex(&byte, hex);
  EXPECT(memcmp(hex, "a7", 2) == 0);
  EXPECT(comn_typelen(VDX_MONEY, 0) == (int32_t)sizeof(vdx_money));
  EXPECT(comn_typelen(VDX_CHAR, 7) == 7);
  com_errset(1);
  EXPECT(com_errtrace(XS_BUSY, __FILE__, __LINE__) == XS_BUSY);
}

static void locales(vdx_context *context) {
  static const uint8_t wide_one[] = {0x82, 0x50};
  int32_t order = 2;
  vdx_locale *locale = NULL;
  vdx_datafmt format = {.datatype = VDX_CHAR};
  EXPECT(comn_loc_alloc(context, "sjis", &locale) == XS_SUCCEED);
  EXPECT(comn_loc_set(locale, VDX_LOC_DATE_ORDER, &order, sizeof order) == XS_SUCCEED);
  EXPECT(com_intl_charattr(context, &format) == com_get_charattrib());
  format.locale = locale;
  const vdx_charattr *attributes = com_intl_charattr(context, &format);
  EXPECT(comn_to_ascii(attributes, wide_one, 2) == '1');
  EXPECT(comn_isdigit(attributes, wide_one, 2) != 0);
  EXPECT(comn_loc_drop(context, locale) == XS_SUCCEED);
}

static void charsets(vdx_context *context) {
  static const char text[] = "caf\xc3\xa9";
  vdx_locale *utf8 = NULL;
  uint16_t units[4];
  char latin1[8];
  int32_t length = 0;
  EXPECT(comn_loc_alloc(context, "utf8", &utf8) == XS_SUCCEED);
  EXPECT(comn_charset_convert(context, utf8, text, VDX_NULLTERM, NULL, latin1, sizeof latin1,
                              &length) == VDX_SUCCESS);
  EXPECT(length == 4 && memcmp(latin1, "caf\xe9", 4) == 0);
  EXPECT(comn_loc_drop(context, utf8) == XS_SUCCEED);
  EXPECT(com_intl_xlate(context, "utf8", "ascii", text, VDX_NULLTERM, latin1, sizeof latin1,
                        &length) == VDX_TRANSLATION);
  EXPECT(length == 3);
  EXPECT(com__fou_utf8_to_utf16(text, VDX_NULLTERM, units, sizeof units, &length) == VDX_SUCCESS);
  EXPECT(length == 8 && units[3] == 0xe9);
}

static void money(void) {
  const vdx_money a = {0, 15000}, b = {0, 20000};
  vdx_money product;
  vdx_mny4 short_sum;
  const vdx_mny4 c = 15000, d = -20000;
  EXPECT(comn_mnymul(&a, &b, &product) == VDX_SUCCESS);
  EXPECT(product.high == 0 && product.low == 30000);
  EXPECT(comn_mnycmp(&a, &b) < 0);
  EXPECT(comn_mny4add(&c, &d, &short_sum) == VDX_SUCCESS && short_sum == -5000);
}

static void numbers(void) { EXPECT(comb_get_Prec_To_Len(1) >= 2); }

static void dates(vdx_context *context) {
  static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  static const char text[] = "2 jan 2008 13:05";
  char shown[32];
  int32_t rounded = 1, length = 0;
  vdx_datetime value;
  daterec record = {.year = 2008, .month = 0, .day = 31};
  EXPECT(com__datefromchar_mb(&value, (const uint8_t *)text, sizeof text - 1, 0, 1, months, months,
                              NULL, &rounded) == 0);
  EXPECT(com__datetochar(&value, shown, sizeof shown, 22, months) == 16 && rounded == 0);
  EXPECT(memcmp(shown, "08/01/02  1:05PM", 16) == 0);
  EXPECT(com_datemake(&value, &record) == 0 && com__date_add(VDX_PART_MONTH, 1, &value) == 0);
  EXPECT(com_datepart(VDX_PART_DAY, &value, com_intl_firstday(context, NULL)) == 29);
  EXPECT(comn_dtloc_format(context, NULL, VDX_DATETIME, &value, shown, sizeof shown, &length) ==
             VDX_SUCCESS &&
         length == 19);
}

static void nulls(vdx_context *context) {
  const vdx_datafmt format = {.datatype = VDX_I4};
  int32_t value = 1, length = 0;
  EXPECT(com_null_init(context) == XS_SUCCEED);
  EXPECT(com_null_get(context, &format, &value, sizeof value, &length) == VDX_SUCCESS);
  EXPECT(value == 0 && length == 4);
  value = -1;
  EXPECT(com_null_set(context, VDX_USER, &value, sizeof value) == XS_SUCCEED);
  EXPECT(com_null_reinstall(context, VDX_USER) == XS_SUCCEED);
  EXPECT(com_null_free(context) == XS_SUCCEED);
  EXPECT(com_seti4null(&value, sizeof value, NULL, 0) == 4 && value == 0);
}

static void wire(void) {
  int32_t token = 0, kind = 0, length = 0, datatype = 0, flag = 0;
  EXPECT(com_tds_get_fixed_tdstype(VDX_I4, &token, &kind, &length) == XS_SUCCEED && token == 56);
  EXPECT(com_tds_get_nullable_tdstype(VDX_I4, &token, &kind, &length) == XS_SUCCEED && token == 38);
  EXPECT(com_tds_get_cstype(token, length, &datatype) == XS_SUCCEED && datatype == VDX_I4);
  EXPECT(com_tds_get_tdsdatainfo(token, &kind, &flag) == XS_SUCCEED && kind == 1 && flag == 1);
  EXPECT(com_tds_get_tdsfixedlen(token, &length) == VDX_UNKNOWN_TOKEN);
}

static void *signal_event(void *event) {
  comn_signal_event(event);
  return NULL;
}

static void threads(void) {
  vdx_thread *thread;
  vdx_event *event;
  EXPECT(comn_create_event(&event) == XS_SUCCEED);
  EXPECT(comn_create_thread(&thread, signal_event, event) == XS_SUCCEED);
  EXPECT(comn_waitfor_event(event, VDX_NO_LIMIT) == XS_SUCCEED);
  EXPECT(comn_join_thread(thread) == XS_SUCCEED && comn_detach_thread(thread) == XS_SUCCEED);
  EXPECT(comn_delete_event(event) == XS_SUCCEED);
}

int main(void) {
  vdx_context context = {.version = VDX_VERSION};
  frame();
  locales(&context);
  charsets(&context);
  conversions(&context);
  money();
  numbers();
  dates(&context);
  nulls(&context);
  wire();
  threads();
  return failures != 0;
}
