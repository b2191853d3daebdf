#include <cstdlib>
#include <new>

extern "C" void* __real_malloc(std::size_t size);

// The tests' own memory does not fail, though the C++ library is linked in with them.
void* operator new(std::size_t size) {
  if (void* const memory = __real_malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
