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

int main(void) {
  vdx_context context = {.version = VDX_VERSION};
  conversions(&context);
  return failures != 0;
}
