// Blocks of bytes in and out. Lines are found in place in the input block and results are written
// in place into the output block, so that a line costs no copy and no allocation.
#ifndef VDXCONV_STREAM_H
#define VDXCONV_STREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform.h"

namespace vdxconv {

enum { kExitFailed = 1, kExitTrouble = 2 };

// Prints "vdxconv: message" and ends the process.
[[noreturn]] void give_up(std::string_view message, int status = kExitTrouble);

// The same with the reason of errno: "vdxconv: name: No such file or directory".
[[noreturn]] void give_up_on(std::string_view name);

// "name: " and the reason of errno.
std::string reason_of_errno(std::string_view name);

// A growing block of memory; what it held is kept.
class Buffer {
 public:
  Buffer() = default;
  explicit Buffer(std::size_t size) { grow(size); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer();

  uint8_t* data() { return data_; }
  std::size_t size() const { return size_; }
  void need(std::size_t size) {
    if (size > size_) [[unlikely]]
      grow(size);
  }

 private:
  void grow(std::size_t size);

  uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

// Collects output and writes it in large blocks. A write that fails ends the tool.
class Writer {
 public:
  Writer(int descriptor, std::string_view name);
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  // Room for size bytes at the end of the block; commit keeps what was put there.
  uint8_t* reserve(std::size_t size) {
    if (block_.size() - used_ < size) [[unlikely]]
      make_room(size);
    return block_.data() + used_;
  }
  void commit(std::size_t size) { used_ += size; }

  void put(uint8_t byte) {
    *reserve(1) = byte;
    commit(1);
  }
  void put(const void* bytes, std::size_t size) {
    if (size != 0) std::memcpy(reserve(size), bytes, size);
    commit(size);
  }
  void put(std::string_view text) { put(text.data(), text.size()); }

  void flush();
  void close();

 private:
  void make_room(std::size_t size);

  int descriptor_;
  std::string name_;
  Buffer block_;
  std::size_t used_ = 0;
};

struct Line {
  const uint8_t* text;
  std::size_t size;   // without the line end
  std::size_t whole;  // with it
};

// Splits a stream into lines. A newline ends a line; the last line may lack it. Trouble ends the
// stream too: the lines before it are good, what follows the last newline is dropped.
class Reader {
 public:
  Reader(int descriptor, std::string_view name);

  // False at the end of the stream. The line stays valid until the next call.
  // before_read is called ahead of every wait for input.
  template <typename BeforeRead>
  bool next(Line& line, BeforeRead&& before_read) {
    while (found_ == count_) [[unlikely]] {
        if (searched_ != end_) {
          search();
        } else if (finished_) {
          line = {block_.data() + at_, end_ - at_, end_ - at_};
          at_ = end_;
          return line.size != 0 && trouble_.empty();
        } else {
          before_read();
          refill();
        }
      }
    const std::size_t newline = newlines_[found_++];
    line = {block_.data() + at_, newline - at_, newline - at_ + 1};
    at_ = newline + 1;
    return true;
  }

  // What went wrong, empty if nothing did.
  const std::string& trouble() const { return trouble_; }

  uint64_t consumed() const { return total_ - (end_ - at_); }

 private:
  static constexpr std::size_t kWord = 64;       // bytes that one mask covers
  static constexpr std::size_t kStretch = 4096;  // bytes searched at a time

  void refill();
  void search();

  int descriptor_;
  std::string name_;
  Buffer block_;
  std::size_t at_ = 0;        // start of the next line
  std::size_t searched_ = 0;  // newlines before it are found
  std::size_t end_ = 0;
  uint64_t total_ = 0;
  bool finished_ = false;
  std::string trouble_;
  std::size_t found_ = 0;  // next of the newlines found
  std::size_t count_ = 0;
  std::array<std::size_t, kStretch + 8> newlines_;  // search() writes up to 7 beyond the last
};

// Appends the text between quotation marks, safe for a terminal: control bytes, quotation marks,
// backslashes and bytes that are not UTF-8 are escaped, long text is cut and followed by "...".
void put_quoted(Writer& out, const uint8_t* text, std::size_t size);

// A count with a comma at every third digit.
std::string grouped(uint64_t count);

}  // namespace vdxconv

#endif
