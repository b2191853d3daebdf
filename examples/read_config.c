/* Prints every value of a key: read_config FILE SECTION KEY. */
#include <stdio.h>

#include "vdxcomn/config.h"
#include "vdxcomn/errors.h"

static int32_t report(vdx_context *context, const vdx_message *message) {
  (void)context;
  fprintf(stderr, "%s\n", message->text);
  return XS_SUCCEED;
}

int main(int argc, char **argv) {
  vdx_context context = {0};
  vdx_cfg *cfg;
  vdx_cfg_cursor *cursor = NULL;
  char value[1024];
  int32_t code;
  if (argc != 4) return 2;
  context.version = VDX_VERSION;
  context.message = report;
  if (comn_init_cfg(&context, argv[1], VDX_NULLTERM, &cfg) != XS_SUCCEED) return 1;
  do {
    code = comn_get_cfg(cfg, argv[2], VDX_NULLTERM, argv[3], VDX_NULLTERM, &cursor, value,
                        (int32_t)sizeof value - 1, NULL);
    if (code == VDX_TRUNCATED) value[sizeof value - 1] = '\0';
    if (code == XS_SUCCEED || code == VDX_TRUNCATED) puts(value);
  } while (code == XS_SUCCEED || code == VDX_TRUNCATED);
  comn_drop_cfg(cfg, VDX_UNUSED);
  return code == XS_END_DATA ? 0 : 1;
}
