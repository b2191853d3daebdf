// UTF-8 and UTF-16: short texts, and texts of 4 KiB.
#include <algorithm>
#include <string>
#include <vector>

#ifdef VDX_PEER_ICU
#include <unicode/ustring.h>
#endif

#include "bench_common.h"
#include "conversion_call.h"
#include "vdxcomn/charset.h"
#include "vdxcomn/intl.h"

namespace {

using bench::keep;
using bench::kItems;

char32_t ascii_character(bench::Random& random) {
  return static_cast<char32_t>(random.between(0x20, 0x7E));
}
// One of eight has an accent.
char32_t latin_character(bench::Random& random) {
  return random.between(0, 99) < 12 ? static_cast<char32_t>(random.between(0xC0, 0xFF))
                                    : ascii_character(random);
}
char32_t ideograph(bench::Random& random) {
  return static_cast<char32_t>(random.between(0x4E00, 0x9FFF));
}

// Half ASCII, the rest letters of two bytes, ideographs and now and then a pair of surrogates.
char32_t mixed_character(bench::Random& random) {
  const std::uint64_t kind = random.between(0, 63);
  if (kind < 32) return ascii_character(random);
  if (kind < 48) return static_cast<char32_t>(random.between(0xA0, 0x5FF));
  if (kind < 62) return ideograph(random);
  return static_cast<char32_t>(random.between(0x1F300, 0x1F6FF));
}

void append(std::string& utf8, std::u16string& utf16, char32_t c) {
  const auto byte = [&](char32_t value) { utf8 += static_cast<char>(value); };
  if (c < 0x80) {
    byte(c);
  } else {
    const int trails = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    byte((0xF00u >> (trails + 1) & 0xFF) | c >> (6 * trails));
    for (int i = trails - 1; i >= 0; --i) byte(0x80 | (c >> (6 * i) & 0x3F));
  }
  if (c > 0xFFFF) {
    utf16 += static_cast<char16_t>(0xD7C0 + (c >> 10));
    c = 0xDC00 | (c & 0x3FF);
  }
  utf16 += static_cast<char16_t>(c);
}

// The same texts in both forms, one behind the other, and where their results go.
struct Corpus {
  struct Place {
    std::size_t at;
    std::int32_t length;
  };
  std::string utf8;
  std::u16string utf16;
  std::vector<Place> narrow, wide;
  std::size_t slot = 0;                // bytes of a result
  std::vector<std::uint16_t> results;  // a slot for each text
  std::vector<std::int32_t> lengths;   // in bytes

  Corpus(std::uint64_t seed, std::size_t texts, std::size_t first, std::size_t last,
         char32_t (*character)(bench::Random&), bool in_bytes) {
    bench::Random random(seed);
    for (std::size_t i = 0; i < texts; ++i) {
      const std::size_t narrow_at = utf8.size(), wide_at = utf16.size();
      for (std::uint64_t left = random.between(first, last); left > 0;) {
        const std::size_t before = utf8.size();
        append(utf8, utf16, character(random));
        left -= std::min<std::uint64_t>(left, in_bytes ? utf8.size() - before : 1);
      }
      narrow.push_back({narrow_at, static_cast<std::int32_t>(utf8.size() - narrow_at)});
      wide.push_back({wide_at, static_cast<std::int32_t>(utf16.size() - wide_at)});
      slot = std::max(slot, 2 * (utf8.size() - narrow_at));
    }
    slot = (slot + 15) & ~std::size_t{15};
    results.resize(texts * slot / 2);
    lengths.resize(texts);
  }

  void* result(std::size_t i) { return reinterpret_cast<char*>(results.data()) + i * slot; }
  const void* source(bool from_utf8, std::size_t i) const {
    return from_utf8 ? static_cast<const void*>(utf8.data() + narrow[i].at)
                     : utf16.data() + wide[i].at;
  }
  std::int32_t bytes(bool of_utf8, std::size_t i) const {
    return of_utf8 ? narrow[i].length : 2 * wide[i].length;
  }

  bool holds(bool are_utf8) {
    for (std::size_t i = 0; i < lengths.size(); ++i)
      if (lengths[i] != bytes(are_utf8, i) ||
          std::memcmp(result(i), source(are_utf8, i), static_cast<std::size_t>(lengths[i])) != 0)
        return false;
    return true;
  }
};

template <class Body>
void add(const std::string& row, const std::string& name, Corpus& corpus, bool to_utf8, Body body) {
  const std::size_t mask = corpus.lengths.size() - 1;  // a power of two of texts
  bench::contender(
      row, name, [=](std::size_t i) { return body(i & mask); },
      [&corpus] {
        std::fill(corpus.results.begin(), corpus.results.end(), std::uint16_t{0});
        std::fill(corpus.lengths.begin(), corpus.lengths.end(), -1);
      },
      [&corpus, to_utf8] { return corpus.holds(to_utf8); });
}

void rows(const std::string& kind, Corpus& corpus) {
  const std::string decode = "utf8_to_utf16_" + kind, encode = "utf16_to_utf8_" + kind;
  const std::size_t slot = corpus.slot;
  const auto room = static_cast<std::int32_t>(slot);
  const char* const utf8 = corpus.utf8.data();
  const char16_t* const utf16 = corpus.utf16.data();
  const Corpus::Place* const narrow = corpus.narrow.data();
  const Corpus::Place* const wide = corpus.wide.data();
  std::int32_t* const lengths = corpus.lengths.data();
  char* const out = static_cast<char*>(corpus.result(0));
  add(decode, "ours", corpus, false, [=](std::size_t i) {
    return com__fou_utf8_to_utf16(utf8 + narrow[i].at, narrow[i].length, out + i * slot, room,
                                  lengths + i) == VDX_SUCCESS;
  });
  vdx_context context{};
  context.version = VDX_VERSION;
  if (com_conv_init(&context) == XS_SUCCEED &&
      com_conv_func(&context, VDX_UNICHAR, VDX_CHAR) != nullptr) {
    auto& call = keep<bench::ConversionCall>(VDX_UNICHAR, 1, VDX_CHAR, room);
    comn_loc_alloc(nullptr, "utf8", &call.context.locale);
    add(encode, "ours", corpus, true, [=, &call](std::size_t i) {
      call.source.maxlength = 2 * wide[i].length;
      return call.function(&call.context, &call.source, utf16 + wide[i].at, &call.destination,
                           out + i * slot, lengths + i) == VDX_SUCCESS;
    });
  }
  com_conv_free(&context);
#ifdef VDX_PEER_ICU
  add(decode, "ICU", corpus, false, [=](std::size_t i) {
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t units = 0;
    u_strFromUTF8(reinterpret_cast<UChar*>(out + i * slot), room / 2, &units, utf8 + narrow[i].at,
                  narrow[i].length, &error);
    lengths[i] = 2 * units;
    return U_SUCCESS(error) != 0;
  });
  add(encode, "ICU", corpus, true, [=](std::size_t i) {
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(out + i * slot, room, lengths + i, utf16 + wide[i].at, wide[i].length, &error);
    return U_SUCCESS(error) != 0;
  });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  const std::pair<const char*, char32_t (*)(bench::Random&)> kinds[] = {{"ascii", ascii_character},
                                                                        {"mixed", mixed_character},
                                                                        {"latin", latin_character},
                                                                        {"ideographs", ideograph}};
  std::uint64_t seed = 51;
  for (const auto& [kind, character] : kinds) {
    rows(kind, keep<Corpus>(seed++, kItems / 2, 10, 40, character, false));
    rows(std::string(kind) + "_4k", keep<Corpus>(seed++, 4, 4096, 4096, character, true));
  }
  return bench::run(argc, argv);
}
