// What is asked of compilers and processors beyond the language: switches that say what may be
// used, and words that say how code is to be compiled.
#ifndef VDX_FRAME_COMPILER_H
#define VDX_FRAME_COMPILER_H

#if defined(__SSE2__) && !defined(VDX_PORTABLE)
#define VDX_SSE2 1
#include <emmintrin.h>
#endif

// Sanitizers watch bytes that the hardware lets us read. There, and in the portable build, nothing
// is read beyond the end of a text.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define VDX_NO_READ_AHEAD 1
#endif
#endif
#if defined(VDX_PORTABLE) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VDX_NO_READ_AHEAD 1
#endif

// Data that several files share. Without this word a compiler has to suppose that another library
// holds them, and loads their address from a table before each use.
#if defined(__ELF__)
#define VDX_HIDDEN [[gnu::visibility("hidden")]]
#else
#define VDX_HIDDEN
#endif

#if defined(__GNUC__)
// Pieces of a conversion's straight path: a call between them would pass texts through memory.
#define VDX_INLINE [[gnu::always_inline]] inline
// A conversion, or a loop of them, is one piece of code: what it calls is inlined, except what is
// cold.
#define VDX_FLATTEN [[gnu::flatten]]
// Limbs stay in registers only where loops over them are unrolled, which compilers do not do at the
// level that distributions build with.
#define VDX_UNROLL _Pragma("GCC unroll 8")
#else
#define VDX_INLINE inline
#define VDX_FLATTEN
#define VDX_UNROLL
#endif

#endif
