// UTF-16 as a value: the kind of unichar and unitext.
#ifndef VDX_CONVERT_UNICODE_VALUE_H
#define VDX_CONVERT_UNICODE_VALUE_H

#include "convert/kinds.h"

namespace vdx {}  // namespace vdx

#endif
