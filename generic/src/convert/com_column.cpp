// Columns. One driver serves every pair: it walks over blocks of rows, reads and writes the bitmaps by
// words, and calls the pair's conversion for each row. Pairs that matter have ways that take whole
// blocks; what a way does not take comes back to the driver.
#include <algorithm>
#include <cstring>
#include <limits>

#include "convert/column.h"
#include "convert/matrix.h"
#include "convert/text_out.h"
#include "frame/check.h"
#include "frame/fault.h"
#include "frame/typelen.h"
#include "vdxcomn/batch.h"
#include "vdxcomn/column.h"
#include "vdxcomn/convert.h"

namespace vdx {
namespace {

constexpr std::size_t kWords = kBlockRows / 64;
constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int32_t>::max();

// Up to 64 bits of a bitmap from a bit on; bytes that hold none of them are not touched.
std::uint64_t take_bits(const std::uint8_t* bitmap, std::int64_t first, std::size_t n) {
  const std::uint8_t* const at = bitmap + first / 8;
  const auto shift = static_cast<unsigned>(first % 8);
  const std::size_t bytes = (shift + n + 7) / 8;
  std::uint64_t word = 0;
  std::memcpy(&word, at, std::min<std::size_t>(bytes, 8));
  word >>= shift;
  if (bytes > 8) word |= std::uint64_t{at[8]} << (64 - shift);
  return n == 64 ? word : word & ((std::uint64_t{1} << n) - 1);
}

void put_bits(std::uint8_t* bitmap, std::int64_t first, std::uint64_t word, std::size_t n) {
  std::uint8_t* at = bitmap + first / 8;
  const auto shift = static_cast<unsigned>(first % 8);
  if (shift == 0 && n == 64) return store(at, word);
  for (std::size_t done = 0; done < n; ++at) {
    const unsigned skip = done == 0 ? shift : 0;
    const std::size_t count = std::min<std::size_t>(8 - skip, n - done);
    const auto mask = static_cast<std::uint32_t>((1U << count) - 1) << skip;
    const auto bits = static_cast<std::uint32_t>(word >> done) << skip;
    *at = static_cast<std::uint8_t>((*at & ~mask) | (bits & mask));
    done += count;
  }
}

// The rows of a block as bits.
struct BlockBits {
  std::uint64_t words[kWords];

  void fill(bool value) { std::fill_n(words, kWords, value ? ~std::uint64_t{0} : 0); }
  bool at(std::size_t row) const { return (words[row / 64] >> row % 64 & 1) != 0; }
  void set(std::size_t row) { words[row / 64] |= std::uint64_t{1} << row % 64; }
  void clear(std::size_t row) { words[row / 64] &= ~(std::uint64_t{1} << row % 64); }

  void take(const std::uint8_t* bitmap, std::int64_t first, std::size_t n) {
    for (std::size_t i = 0; i < n; i += 64)
      words[i / 64] =
          take_bits(bitmap, first + static_cast<std::int64_t>(i), std::min<std::size_t>(64, n - i));
  }
  void put(std::uint8_t* bitmap, std::int64_t first, std::size_t n) const {
    for (std::size_t i = 0; i < n; i += 64)
      put_bits(bitmap, first + static_cast<std::int64_t>(i), words[i / 64],
               std::min<std::size_t>(64, n - i));
  }
  template <typename Use>
  void each_clear(std::size_t n, Use use) const {
    for (std::size_t i = 0; i < n; i += 64) {
      std::uint64_t left = ~words[i / 64];
      if (n - i < 64) left &= (std::uint64_t{1} << (n - i)) - 1;
      for (; left != 0; left &= left - 1) use(i + static_cast<std::size_t>(std::countr_zero(left)));
    }
  }
};

// How the rows of a column lie.
enum class Layout : std::uint8_t { fixed, counted, sized, text32, text64 };

constexpr bool has_offsets(Layout layout) { return layout >= Layout::text32; }

Extent extent_of_code(std::int32_t datatype) {
  if (datatype >= kCodes) return Extent::sized;
  return extent_of(kDestinationFamily[static_cast<std::size_t>(datatype)]);
}
Group group_of_code(std::int32_t datatype) {
  if (datatype >= kCodes) return Group::nothing;
  return group_of(kDestinationFamily[static_cast<std::size_t>(datatype)]);
}

// False where the column is broken. width: bytes of a row without offsets.
bool find_layout(const vdx_column& column, std::int32_t maxlength, Layout& layout,
                 std::int32_t& width) {
  if (column.datatype < 0 || column.first_bit < 0) return false;
  const Extent extent = extent_of_code(column.datatype);
  width = column.datatype == VDX_UNICHAR ? maxlength
          : column.datatype == VDX_VOID  ? 0
                                         : type_length(column.datatype, maxlength);
  layout = extent == Extent::counted ? Layout::counted
           : extent == Extent::fixed ? Layout::fixed
                                     : Layout::sized;
  if (column.offset_bytes == 0) return width >= 0;
  if (layout != Layout::sized || maxlength < 0) return false;
  layout = column.offset_bytes == 4 ? Layout::text32 : Layout::text64;
  return column.offset_bytes == 4 || column.offset_bytes == 8;
}

// The conversion of arrays of a pair of families.
struct BatchTable {
  vdx_batch* functions[kFamilies][kFamilies] = {};
  constexpr BatchTable() {
#define BATCH_NUMBER(S, D, way) functions[family_##S][family_##D] = comnb_##S##to##D;
#define BATCH_EACH(S, D, way) BATCH_NUMBER(S, D, way)
#define BATCH_TEXT(D)
#include "lists/batch.list"
#undef BATCH_NUMBER
#undef BATCH_EACH
#undef BATCH_TEXT
  }
};
constexpr BatchTable kBatches;

class Driver {
 public:
  Driver(vdx_context* context, vdx_convfn function, const vdx_datafmt& source_format,
         const vdx_column& source, const vdx_datafmt& format, vdx_column& destination)
      : context_(context),
        function_(function),
        fault_(fault_of(context)),
        from_(source_format),
        to_(format),
        source_(source),
        destination_(destination),
        values_(static_cast<const unsigned char*>(source.values)),
        results_(static_cast<unsigned char*>(destination.values)) {
    from_.datatype = source.datatype;
    to_.datatype = destination.datatype;
    if (values_ == nullptr) values_ = &nothing_;
    if (results_ == nullptr) results_ = &nothing_;
  }

  // Whether both columns are sound.
  bool sound() {
    return source_.rows >= 0 && destination_.room >= 0 &&
           find_layout(source_, from_.maxlength, source_layout_, source_width_) &&
           find_layout(destination_, to_.maxlength, layout_, width_);
  }
  bool needs_values() const {
    return (!has_offsets(source_layout_) && source_width_ > 0 && source_.values == nullptr) ||
           (!has_offsets(layout_) && width_ > 0 && destination_.values == nullptr);
  }
  bool needs_offsets() const {
    return (has_offsets(source_layout_) && source_.offsets == nullptr) ||
           (has_offsets(layout_) && destination_.offsets == nullptr);
  }

  std::int64_t run(std::int32_t* codes, std::uint8_t* failed, std::int64_t& done) {
    choose_way();
    const FaultKept hidden(context_);  // the record is that of the first row that fails
    if (has_offsets(layout_)) put_offset(0, 0);
    std::int64_t failures = 0;
    for (done = 0; done < source_.rows && !stopped_ && !broken_;) {
      const auto n = static_cast<std::size_t>(
          std::min<std::int64_t>(source_.rows - done, std::int64_t{kBlockRows}));
      const std::size_t converted =
          convert_block(done, n, codes != nullptr ? codes + done : nullptr);
      if (destination_.validity != nullptr)
        valid_.put(destination_.validity, destination_.first_bit + done, converted);
      if (failed != nullptr) failed_.put(failed, done, converted);
      for (const std::uint64_t word : failed_.words) failures += std::popcount(word);
      done += static_cast<std::int64_t>(converted);
    }
    return broken_ ? std::int64_t{VDX_COLUMN_OFFSETS} : failures;
  }

 private:
  // The most bytes of a row that is made aside where little room is left.
  static constexpr std::int32_t kAside = 2048;

  void choose_way() {
    if (source_.datatype >= kCodes || destination_.datatype >= kCodes) return;
    const auto s = static_cast<std::size_t>(source_.datatype),
               d = static_cast<std::size_t>(destination_.datatype);
    if (function_ != matrix()[s * kCodes + d]) return;  // installed by the caller
    batch_ = kBatches.functions[kSourceFamily[s]][kDestinationFamily[d]];
    // Their texts are the same bytes in every character set.
    const Family from = kSourceFamily[s];
    if (from == family_char && (group_of_code(destination_.datatype) != Group::calendar ||
                                locale_of(context_, &from_).date_order != 4))
      texts_ = text_way(destination_.datatype);
    if (kDestinationFamily[d] == family_char && has_offsets(layout_) &&
        maxlength_ >= kLongestInteger && (to_.format & (kFinishFlags | VDX_FMT_QUOTE)) == 0)
      digits_ = digits_way(source_.datatype);
  }

  // ---- the source ----

  // Reads where the rows of a block begin and end; returns how many of them are sound.
  std::size_t read_offsets(std::int64_t first, std::size_t n) {
    if (source_layout_ == Layout::text32) return read_offsets_of<std::int32_t>(first, n);
    if (source_layout_ == Layout::text64) return read_offsets_of<std::int64_t>(first, n);
    for (std::size_t i = 0; i <= n; ++i)
      offsets_[i] = (first + static_cast<std::int64_t>(i)) * source_width_;
    return n;
  }

  template <typename Offset>
  std::size_t read_offsets_of(std::int64_t first, std::size_t n) {
    const auto* const at =
        static_cast<const unsigned char*>(source_.offsets) + first * std::int64_t{sizeof(Offset)};
    for (std::size_t i = 0; i <= n; ++i) offsets_[i] = load<Offset>(at + i * sizeof(Offset));
    const auto length = [this](std::size_t i) {
      return static_cast<std::uint64_t>(offsets_[i + 1]) - static_cast<std::uint64_t>(offsets_[i]);
    };
    std::uint64_t all = offsets_[0] < 0 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < n; ++i) all |= length(i);
    if (all <= kMostBytes) [[likely]]  // which is all ones
      return n;
    broken_ = true;
    std::size_t sound = 0;
    if (offsets_[0] >= 0)
      while (length(sound) <= kMostBytes) ++sound;
    return sound;
  }

  // ---- one row ----

  // A row that has no value: its bytes in a layout without offsets.
  void clear_row(void* to) const {
    const auto n = static_cast<std::size_t>(width_);
    if (layout_ != Layout::sized || (to_.format & VDX_FMT_PADBLANK) == 0)
      std::memset(to, 0, n);
    else if (group_of_code(destination_.datatype) == Group::utf16)
      fill_utf16_blanks(to, 0, width_, (to_.format & VDX_FMT_SWAP) != 0);
    else
      std::memset(to, ' ', n);
  }

  enum class Content : std::uint8_t { value, empty, invalid };
  Content content(const unsigned char* from, std::int64_t length) const {
    if (source_layout_ == Layout::counted) {
      const auto count = load<std::int16_t>(from);
      return count > 0 ? Content::value : count == 0 ? Content::empty : Content::invalid;
    }
    if (source_layout_ == Layout::fixed || length > 0) return Content::value;
    return source_.datatype == VDX_VOID || source_.datatype >= kCodes ? Content::value
                                                                      : Content::empty;
  }

  // Whether an empty text is a value of the destination.
  bool takes_empty() const {
    const Group group = group_of_code(destination_.datatype);
    return group == Group::text || group == Group::utf16 || group == Group::bytes;
  }

  // Converts what is in row i of the block, which is not null, to a destination with `room` bytes.
  std::int32_t convert_row(std::size_t i, void* to, std::int32_t room, std::int32_t& length) {
    const unsigned char* const from = values_ + offsets_[i];
    const std::int64_t bytes = offsets_[i + 1] - offsets_[i];
    length = 0;
    if (const Content what = content(from, bytes); what != Content::value) [[unlikely]] {
      if (!has_offsets(layout_)) clear_row(to);
      return what == Content::invalid ? VDX_INVALID : takes_empty() ? VDX_SUCCESS : VDX_SYNTAX;
    }
    from_.maxlength = static_cast<std::int32_t>(bytes);
    to_.maxlength = room;
    const std::int32_t code = function_(context_, &from_, from, &to_, to, &length);
    // A bit as bytes has length 1 without room, too.
    if (has_offsets(layout_) && length > room) [[unlikely]]
      length = room;
    return code;
  }

  // ---- a block ----

  // Returns the rows done, fewer than n where the call stops.
  std::size_t convert_block(std::int64_t first, std::size_t n, std::int32_t* codes) {
    n = read_offsets(first, n);
    first_ = first;
    valid_.fill(true);
    failed_.fill(false);
    if (source_.validity != nullptr) valid_.take(source_.validity, source_.first_bit + first, n);
    if (has_offsets(layout_)) return make_texts(first, n, codes);
    make_values(first, n, codes);
    return n;
  }

  // Takes down the code of a row, which is at `to`.
  void note(std::size_t row, std::int32_t code, std::int32_t* codes, void* to, std::int32_t room) {
    if (codes != nullptr) codes[row] = code;
    if (code == VDX_SUCCESS) return;
    valid_.clear(row);
    failed_.set(row);
    if (fault_ != nullptr) [[unlikely]]
      explain(row, code, to, room);
  }

  // Fills the caller's record by converting the first row that failed again, to the same bytes.
  [[gnu::cold, gnu::noinline]] void explain(std::size_t row, std::int32_t code, void* to,
                                            std::int32_t room) {
    context_->fault = fault_;
    Finding finding;
    const Content what = content(values_ + offsets_[row], offsets_[row + 1] - offsets_[row]);
    if (what != Content::value)
      finding.reason = what == Content::empty ? VDX_REASON_EMPTY : VDX_REASON_INVALID;
    note_fault(context_, code, source_.datatype, destination_.datatype, finding);
    std::int32_t length;
    unsigned char aside[kAside];
    if (has_offsets(layout_) && maxlength_ <= kAside) {  // the room that is left may be less
      to = aside;
      room = maxlength_;
    }
    if (what == Content::value) convert_row(row, to, room, length);
    note_row(context_, first_ + static_cast<std::int64_t>(row));
    context_->fault = fault_ = nullptr;
  }

  void make_values(std::int64_t first, std::size_t n, std::int32_t* codes) {
    unsigned char* const to = results_ + first * width_;
    const auto place = [&](std::size_t i) { return to + i * static_cast<std::size_t>(width_); };
    const BlockBits given = valid_;
    if (batch_ != nullptr) {
      std::int32_t own[kBlockRows];
      std::int32_t* const seen = codes != nullptr ? codes : own;
      if (batch_(values_ + first * source_width_, source_width_, to, width_, seen, n) != 0)
        for (std::size_t i = 0; i < n; ++i)
          if (seen[i] != VDX_SUCCESS && given.at(i))
            note(i, seen[i], nullptr, place(i), maxlength_);
    } else if (texts_ != nullptr && n != 0) {
      std::uint16_t left[kBlockRows];
      const std::size_t count = texts_({values_, offsets_}, n, to, left);
      if (codes != nullptr) std::fill_n(codes, n, std::int32_t{VDX_SUCCESS});
      for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = left[k];
        if (!given.at(i)) continue;
        std::int32_t length;
        note(i, convert_row(i, place(i), maxlength_, length), codes, place(i), maxlength_);
      }
    } else {
      for (std::size_t i = 0; i < n; ++i) {
        if (!given.at(i)) continue;
        std::int32_t length;
        note(i, convert_row(i, place(i), maxlength_, length), codes, place(i), maxlength_);
      }
    }
    given.each_clear(n, [&](std::size_t i) {
      clear_row(place(i));
      if (codes != nullptr) codes[i] = VDX_SUCCESS;
    });
  }

  std::size_t make_texts(std::int64_t first, std::size_t n, std::int32_t* codes) {
    const std::int32_t maxlength = maxlength_;
    const std::int64_t end =
        layout_ == Layout::text32
            ? std::min(destination_.room, static_cast<std::int64_t>(kMostBytes))
            : destination_.room;
    const BlockBits given = valid_;
    if (digits_ != nullptr && end - at_ >= static_cast<std::int64_t>(n) * kLongestInteger) {
      std::int64_t ends[kBlockRows];
      digits_(values_ + first * source_width_, n, given.words, results_ + at_, ends);
      for (std::size_t i = 0; i < n; ++i)
        put_offset(first + static_cast<std::int64_t>(i) + 1, at_ + ends[i]);
      if (n != 0) at_ += ends[n - 1];
      if (codes != nullptr) std::fill_n(codes, n, std::int32_t{VDX_SUCCESS});
      return n;
    }
    for (std::size_t i = 0; i < n; ++i) {
      std::int32_t length = 0, code = VDX_SUCCESS;
      if (given.at(i)) {
        unsigned char* const to = results_ + at_;
        const std::int64_t room = end - at_;
        if (room >= maxlength) [[likely]] {
          code = convert_row(i, to, maxlength, length);
        } else if (!convert_tightly(i, to, static_cast<std::int32_t>(room), code, length)) {
          stopped_ = true;
          return i;
        }
      }
      note(i, code, codes, results_ + at_,
           static_cast<std::int32_t>(std::min<std::int64_t>(maxlength, end - at_)));
      at_ += length;
      put_offset(first + static_cast<std::int64_t>(i) + 1, at_);
    }
    return n;
  }

  // Where less than maxlength bytes are left: false where the row's text is longer than they are. A text
  // is at most four times as long as the text that it is made of, and every other one short.
  bool convert_tightly(std::size_t i, unsigned char* to, std::int32_t room, std::int32_t& code,
                       std::int32_t& length) {
    const std::int64_t most = 4 * (offsets_[i + 1] - offsets_[i]) + 4;
    const bool padded = (to_.format & (VDX_FMT_PADNULL | VDX_FMT_PADBLANK)) != 0;
    if (maxlength_ <= kAside || (most <= kAside && !padded)) {
      unsigned char aside[kAside];
      code = convert_row(i, aside, std::min(maxlength_, kAside), length);
      if (length > room) return false;
      std::memcpy(to, aside, static_cast<std::size_t>(length));
      return true;
    }
    code = convert_row(i, to, room, length);
    if (most <= room && !padded) return true;
    if (code == VDX_SUCCESS) return length == 0 || !padded;
    return length == 0 && code != VDX_OVERFLOW && code != VDX_TRUNCATED;
  }

  void put_offset(std::int64_t row, std::int64_t offset) {
    auto* const offsets = static_cast<unsigned char*>(destination_.offsets);
    if (layout_ == Layout::text32)
      store(offsets + row * 4, static_cast<std::int32_t>(offset));
    else
      store(offsets + row * 8, offset);
  }

  vdx_context* context_;
  vdx_convfn function_;
  vdx_fault* fault_;       // the caller's record until a row has failed, then null
  vdx_datafmt from_, to_;  // with the length and the capacity of the row
  const vdx_column& source_;
  vdx_column& destination_;
  const unsigned char* values_;
  unsigned char* results_;
  Layout source_layout_, layout_;
  std::int32_t source_width_, width_;
  const std::int32_t maxlength_ = to_.maxlength;
  vdx_batch* batch_ = nullptr;  // the ways that the pair has, one at most
  TextWay* texts_ = nullptr;
  DigitsWay* digits_ = nullptr;
  std::int64_t first_ = 0;  // row of the block
  std::int64_t at_ = 0;     // where the next text goes
  bool stopped_ = false, broken_ = false;
  unsigned char nothing_ = 0;  // stands for values where there are none
  BlockBits valid_, failed_;
  std::int64_t offsets_[kBlockRows + 1];
};

vdx_convfn find_function(vdx_context* context, std::int32_t source, std::int32_t destination) {
  if (context->conversions != nullptr) return com_conv_func(context, source, destination);
  if (source >= kCodes || destination >= kCodes) return nullptr;
  return matrix()[static_cast<std::size_t>(source * kCodes + destination)];
}

}  // namespace
}  // namespace vdx

std::int64_t comn_column_convert(vdx_context* context, const vdx_datafmt* source_format,
                                 const vdx_column* source, const vdx_datafmt* destination_format,
                                 vdx_column* destination, std::int32_t* codes, std::uint8_t* failed,
                                 std::int64_t* rows_done) {
  std::int64_t ignored;
  std::int64_t& done = rows_done != nullptr ? *rows_done : ignored;
  VDX_CHECK_POINTER(context, VDX_OVERFLOW);
  VDX_CHECK_POINTER(source_format, VDX_OVERFLOW);
  VDX_CHECK_POINTER(source, VDX_OVERFLOW);
  VDX_CHECK_POINTER(destination_format, VDX_OVERFLOW);
  VDX_CHECK_POINTER(destination, VDX_OVERFLOW);
  VDX_ASSERT(vdx::has_sound_locale(context, source_format), VDX_OVERFLOW);
  VDX_ASSERT(vdx::has_sound_locale(context, destination_format), VDX_OVERFLOW);
  done = 0;
  if (source->datatype < 0 || destination->datatype < 0) return VDX_COLUMN_SHAPE;
  const vdx_convfn function = vdx::find_function(context, source->datatype, destination->datatype);
  vdx::Driver driver(context, function, *source_format, *source, *destination_format, *destination);
  if (!driver.sound()) return VDX_COLUMN_SHAPE;
  if (function == nullptr) return VDX_COLUMN_NO_PAIR;
  VDX_ASSERT(source->rows == 0 || !driver.needs_values(), VDX_OVERFLOW);
  VDX_ASSERT(!driver.needs_offsets(), VDX_OVERFLOW);
  const std::int64_t result = driver.run(codes, failed, done);
  destination->rows = done;
  return result;
}
