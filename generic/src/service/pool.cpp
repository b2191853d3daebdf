// How a pool cuts its blocks; pool.h says what it promises.
//
// Released pieces up to kPieceLimit are chained by size, in steps of kAlignment, and cut again
// first. Larger pieces are blocks of their own in a doubly linked list.
#include "service/pool.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <new>
#include <utility>

#include "frame/allocate.h"

namespace vdx {
namespace {

constexpr std::size_t kFirstBlock = 1024;

constexpr std::size_t round_up(std::size_t bytes, std::size_t alignment) {
  return (bytes + alignment - 1) & ~(alignment - 1);
}

}  // namespace

struct alignas(std::max_align_t) Pool::Block {
  Block* next;
};

struct alignas(std::max_align_t) Pool::Large {
  Large* next;
  Large* previous;
  std::size_t bytes;
};

struct Pool::FreePiece {
  FreePiece* next;
};

// Holds the pool's lock; false if it could not be taken.
class Pool::Guard {
 public:
  explicit Guard(const Hooks& hooks)
      : hooks_(hooks), held_(hooks.lock == nullptr || hooks.lock(hooks.data)) {}
  ~Guard() {
    if (held_ && hooks_.unlock != nullptr) hooks_.unlock(hooks_.data);
  }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  explicit operator bool() const { return held_; }

 private:
  const Hooks& hooks_;
  bool held_;
};

std::size_t Pool::size_for(std::size_t room) { return round_up(sizeof(Pool), kAlignment) + room; }

char* Pool::room() { return reinterpret_cast<char*>(this) + size_for(0); }

Pool::Pool(std::size_t bytes, vdx_context* context, const Hooks& hooks)
    : context_(context), hooks_(hooks), backing_(bytes) {
  reset();
}

Pool* Pool::create(void* backing, std::size_t bytes, vdx_context* context, const Hooks& hooks) {
  if (backing == nullptr || bytes < size_for(0)) return nullptr;
  return new (backing) Pool(bytes, context, hooks);
}

void Pool::reset() {
  memory_ = backing_;
  used_ = 0;
  next_block_ = kFirstBlock;
  at_ = room();
  end_ = at_ + (backing_ - size_for(0));
  blocks_ = nullptr;
  large_ = nullptr;
  std::fill(std::begin(free_), std::end(free_), nullptr);
}

void Pool::set_context(vdx_context* context) {
  const Guard guard(hooks_);
  if (guard) context_ = context;
}

void* Pool::allocate(std::size_t bytes, std::size_t alignment) {
  const Guard guard(hooks_);
  if (!guard) return nullptr;
  if (bytes > kPieceLimit) return allocate_large(bytes);
  bytes = round_up(std::max<std::size_t>(bytes, 1), alignment);
  if (alignment == kAlignment) {
    FreePiece*& head = free_[bytes / kAlignment - 1];
    if (head != nullptr) {
      FreePiece* piece = head;
      head = piece->next;
      used_ += bytes;
      return piece;
    }
  }
  const std::size_t gap = (0 - reinterpret_cast<std::uintptr_t>(at_)) & (alignment - 1);
  if (bytes + gap > static_cast<std::size_t>(end_ - at_)) {
    auto* block = static_cast<Block*>(vdx::allocate(context_, next_block_));
    if (block == nullptr) return nullptr;
    block->next = blocks_;
    blocks_ = block;
    memory_ += next_block_;
    at_ = reinterpret_cast<char*>(block + 1);
    end_ = reinterpret_cast<char*>(block) + next_block_;
    next_block_ = std::min(next_block_ * 2, kBlockLimit);
  } else {
    at_ += gap;
  }
  char* piece = at_;
  at_ += bytes;
  used_ += bytes;
  return piece;
}

void* Pool::allocate_large(std::size_t bytes) {
  if (bytes > SIZE_MAX - sizeof(Large)) return nullptr;
  auto* large = static_cast<Large*>(vdx::allocate(context_, bytes + sizeof(Large)));
  if (large == nullptr) return nullptr;
  *large = {large_, nullptr, bytes};
  if (large_ != nullptr) large_->previous = large;
  large_ = large;
  memory_ += bytes + sizeof(Large);
  used_ += bytes;
  return large + 1;
}

void Pool::release(void* piece, std::size_t bytes) {
  if (piece == nullptr) return;
  const Guard guard(hooks_);
  if (!guard) return;
  if (bytes > kPieceLimit) {
    Large* large = static_cast<Large*>(piece) - 1;
    (large->previous != nullptr ? large->previous->next : large_) = large->next;
    if (large->next != nullptr) large->next->previous = large->previous;
    memory_ -= large->bytes + sizeof(Large);
    used_ -= large->bytes;
    std::free(large);
    return;
  }
  bytes = round_up(std::max<std::size_t>(bytes, 1), kAlignment);
  FreePiece*& head = free_[bytes / kAlignment - 1];
  head = new (piece) FreePiece{head};
  used_ -= bytes;
}

void Pool::release_all() {
  const Guard guard(hooks_);
  if (!guard) return;
  while (blocks_ != nullptr) std::free(std::exchange(blocks_, blocks_->next));
  while (large_ != nullptr) std::free(std::exchange(large_, large_->next));
  reset();
}

std::size_t Pool::memory() {
  const Guard guard(hooks_);
  return memory_;
}

std::size_t Pool::used() {
  const Guard guard(hooks_);
  return used_;
}

}  // namespace vdx
