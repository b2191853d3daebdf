// Configuration files: the values of a key, and what of a file is lost.
// Both return the exit status of the tool.
#ifndef VDXCONV_CONFIGURATION_H
#define VDXCONV_CONFIGURATION_H

#include "options.h"
#include "vdxcomn/types.h"

namespace vdxconv {

int look_up(const vdx_context& context, const Settings& settings);

int check_configuration(const vdx_context& context, const Settings& settings);

}  // namespace vdxconv

#endif
