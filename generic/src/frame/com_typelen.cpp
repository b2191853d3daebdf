// Lengths of datatypes for callers.
#include "frame/typelen.h"
#include "vdxcomn/frame.h"

std::int32_t comn_typelen(std::int32_t datatype, std::int32_t length) {
  return vdx::type_length(datatype, length);
}
