// A memory pool: many small pieces, all given back at once.
#ifndef VDX_SERVICE_POOL_H
#define VDX_SERVICE_POOL_H

#include <cstddef>

#include "vdxcomn/types.h"

namespace vdx {

// Pieces are cut from blocks that double in size up to kBlockLimit. The pool itself is at the start
// of the backing block, which is the caller's; the rest of that block is cut first:
//
//   const std::size_t bytes = Pool::size_for(room);
//   void* backing = allocate(context, bytes);            // then checked
//   Pool* pool = Pool::create(backing, bytes, context, hooks);
//   ... pool->release_all(); std::free(backing);
//
// Nothing throws. The pool keeps no list of its pieces and runs no destructors.
class Pool {
 public:
  static constexpr std::size_t kAlignment = alignof(std::max_align_t);
  static constexpr std::size_t kBlockLimit = 65536;
  static constexpr std::size_t kPieceLimit = 512;  // a larger piece has a block to itself

  // Called around every use of the pool. If lock returns false, the call does nothing, and an
  // allocation fails. Both null: a pool of one thread.
  struct Hooks {
    bool (*lock)(void* data) = nullptr;
    void (*unlock)(void* data) = nullptr;
    void* data = nullptr;
  };

  // Bytes that a backing block needs for the pool and room bytes of pieces.
  static std::size_t size_for(std::size_t room);

  // Makes a pool in the backing block, which must be aligned for any type and hold size_for(0)
  // bytes or more; null where it does not.
  static Pool* create(void* backing, std::size_t bytes, vdx_context* context, const Hooks& hooks);

  // Takes blocks from this context from now on; null: malloc. For a pool that outlives the context
  // that it was made with.
  void set_context(vdx_context* context);

  // A piece of at least that many bytes, 0 allowed, not cleared, valid until it is released. Null
  // without memory, with the pool unchanged. alignment is a power of two up to kAlignment; texts
  // with 1 are packed without gaps.
  void* allocate(std::size_t bytes, std::size_t alignment = kAlignment);

  // Releases one piece of alignment kAlignment for later allocations; bytes as they were asked for.
  // A piece above kPieceLimit is released to the process. Null is allowed.
  void release(void* piece, std::size_t bytes);

  // Releases every piece and every block but the backing one. The pool is as new.
  void release_all();

  // Bytes of all blocks, the backing one included: what the pool costs.
  std::size_t memory();
  // Bytes of the pieces in use, each rounded up as it was cut.
  std::size_t used();

 private:
  struct Block;      // a block of pieces
  struct Large;      // a piece with a block to itself
  struct FreePiece;  // a piece that was released
  class Guard;

  static constexpr std::size_t kClasses = kPieceLimit / kAlignment;

  Pool(std::size_t bytes, vdx_context* context, const Hooks& hooks);
  ~Pool() = default;
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  char* room();
  void* allocate_large(std::size_t bytes);
  void reset();

  vdx_context* context_;
  Hooks hooks_;
  std::size_t backing_;  // bytes of the backing block
  std::size_t memory_;
  std::size_t used_;
  std::size_t next_block_;  // bytes of the next block
  char* at_;                // the current block's rest
  char* end_;
  Block* blocks_;
  Large* large_;
  FreePiece* free_[kClasses];  // by size in steps of kAlignment
};

}  // namespace vdx

#endif
