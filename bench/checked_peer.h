// A conversion written out by hand: what six null tests, two datatype tests and a trivial body
// cost behind a pointer. Defined in their own source file, so that no caller inlines them.
#ifndef VDX_BENCH_CHECKED_PEER_H
#define VDX_BENCH_CHECKED_PEER_H

#include "vdxcomn/types.h"

namespace bench {

vdx_conversion checked_i4_to_i8;
vdx_conversion checked_i4_to_i2;
vdx_conversion unchecked_i4_to_i8;  // no test at all: the call alone
vdx_conversion unchecked_i4_to_i2;

}  // namespace bench

#endif
