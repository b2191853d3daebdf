/* Every family called from C11 through the umbrella header and the shared library. What the calls
 * compute is tested elsewhere; here it counts that a C program can declare, link and call them. */
#include <stdio.h>
#include <string.h>

#include "vdxcomn.h"

static int failures;

static void expect(int condition, const char *what) {
  if (!condition) fprintf(stderr, "failed: %s\n", what);
  failures += !condition;
}
#define EXPECT(condition) expect((condition), #condition)

static int32_t twice(vdx_context *context, const vdx_datafmt *source_format, const void *source,
                     const vdx_datafmt *destination_format, void *destination, int32_t *length) {
  (void)context, (void)source_format, (void)destination_format;
  *(int32_t *)destination = *(const int32_t *)source * 2;
  *length = (int32_t)sizeof(int32_t);
  return VDX_SUCCESS;
}

static void conversions(vdx_context *context) {
  static const int32_t wide[] = {1, 40000, -3};
  vdx_datafmt text = {.datatype = VDX_CHAR, .maxlength = 3}, integer = {.datatype = VDX_I4};
  int32_t value = 0, length = 0, codes[3];
  int16_t narrow[3];
  EXPECT(com_conv_init(context) == XS_SUCCEED);
  EXPECT(com_conv_func(context, VDX_CHAR, VDX_I4) == comn_chartoi4);
  EXPECT(comn_chartoi4(context, &text, "-42", &integer, &value, &length) == VDX_SUCCESS);
  EXPECT(value == -42 && length == 4);
  EXPECT(com_conv_install(context, VDX_USER, VDX_I4, twice) == XS_SUCCEED);
  vdx_convfn installed = com_conv_func(context, VDX_USER, VDX_I4);
  EXPECT(installed(context, &integer, &value, &integer, &value, &length) == VDX_SUCCESS);
  EXPECT(installed == twice && value == -84);
  EXPECT(com_conv_free(context) == XS_SUCCEED);
  EXPECT(comnb_i4toi2(wide, sizeof wide[0], narrow, sizeof narrow[0], codes, 3) == 1);
  EXPECT(narrow[1] == INT16_MAX && narrow[2] == -3 && codes[1] == VDX_OVERFLOW);
}

static void locales(vdx_context *context) {
  static const uint8_t wide_one[] = {0x82, 0x50};
  static const char text[] = "caf\xc3\xa9";
  int32_t order = 2, length = 0;
  vdx_datafmt format = {.datatype = VDX_CHAR};
  uint16_t units[4];
  EXPECT(comn_loc_alloc(context, "sjis", &format.locale) == XS_SUCCEED);
  EXPECT(comn_loc_set(format.locale, VDX_LOC_DATE_ORDER, &order, sizeof order) == XS_SUCCEED);
  EXPECT(comn_to_ascii(com_intl_charattr(context, &format), wide_one, 2) == '1');
  EXPECT(comn_loc_drop(context, format.locale) == XS_SUCCEED);
  EXPECT(com__fou_utf8_to_utf16(text, VDX_NULLTERM, units, sizeof units, &length) == VDX_SUCCESS);
  EXPECT(length == 8 && units[3] == 0xe9);
}

static void numbers(void) {
  const vdx_money a = {0, 15000}, b = {0, 20000};
  const vdx_mny4 c = 15000, d = -20000;
  vdx_money product;
  vdx_mny4 sum;
  EXPECT(comn_mnymul(&a, &b, &product) == VDX_SUCCESS && product.low == 30000);
  EXPECT(comn_mny4add(&c, &d, &sum) == VDX_SUCCESS && sum == -5000);
  EXPECT(comb_get_Prec_To_Len(1) >= 2);
}

static void dates(vdx_context *context) {
  static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  char shown[32];
  vdx_datetime value;
  daterec record = {.year = 2008, .month = 0, .day = 31};
  EXPECT(com_datemake(&value, &record) == 0 && com__date_add(VDX_PART_MONTH, 1, &value) == 0);
  EXPECT(com_datepart(VDX_PART_DAY, &value, com_intl_firstday(context, NULL)) == 29);
  EXPECT(com__datetochar(&value, shown, sizeof shown, 22, months) == 16);
}

static void services(vdx_context *context) {
  const vdx_datafmt format = {.datatype = VDX_I4};
  int32_t value = 1, kind = 0, length = 0;
  com_errset(1);
  EXPECT(com_errtrace(XS_BUSY, __FILE__, __LINE__) == XS_BUSY);
  EXPECT(com_null_init(context) == XS_SUCCEED);
  EXPECT(com_null_get(context, &format, &value, sizeof value, &length) == VDX_SUCCESS);
  EXPECT(value == 0 && length == 4 && com_null_free(context) == XS_SUCCEED);
  EXPECT(com_seti4null(&value, sizeof value, NULL, 0) == 4);
  EXPECT(com_tds_get_fixed_tdstype(VDX_I4, &value, &kind, &length) == XS_SUCCEED && value == 56);
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
  conversions(&context);
  locales(&context);
  numbers();
  dates(&context);
  services(&context);
  threads();
  return failures != 0;
}
