// A parse of a configuration file while it runs.
//
// The raw buffer holds bytes of the file, in this order: the texts of live tokens, the characters
// taken since the newest token (from claimed, consumed bytes), those read ahead, and unread bytes
// (from raw_used to raw_end). A token is a stretch of the buffer; a value is a chain of tokens, its
// pieces. A token is live until its line ends, and the buffer keeps its text so long. For the
// scanner each character is one code: its ASCII form, kCfgForeign if it has none.
#ifndef VDX_CONFIG_PARSE_H
#define VDX_CONFIG_PARSE_H

#include <cstdint>
#include <string_view>

#include "config/parsed.h"
#include "intl/charattr.h"
#include "vdxcomn/config.h"
#include "vdxcomn/errors.h"

namespace vdx {

// Bytes of a name that a message shows.
inline constexpr std::size_t kLongestMessageText = 254;

// A build that prints what the scanner and the token reader find makes tokens of every line.
#ifdef VDX_CFG_TRACE
inline constexpr bool kTraceTokens = true;
#else
inline constexpr bool kTraceTokens = false;
#endif

// A printable name, for traces.
const char* token_name(std::int32_t token);

// A character that was read ahead: as the scanner sees it, and its bytes in the raw buffer.
struct CfgAhead {
  std::int32_t character;
  std::int32_t length;
};

inline constexpr std::int32_t kCfgEnd = -1;
inline constexpr std::int32_t kCfgForeign = 0xF1;  // a character without an ASCII form

struct CfgParse {
  static constexpr std::int32_t kRawSize = 32768;  // at first
  static constexpr std::int32_t kAhead = 3;  // what tells a backslash and a line end from a word

  std::int32_t line;        // of the next character
  std::int32_t token_line;  // where the newest token starts
  std::intptr_t file;
  std::int32_t previous;   // the character taken last; a line feed before the first
  CfgAhead ahead[kAhead];  // read, not yet taken
  std::int32_t ahead_count;
  char* raw;
  std::int32_t raw_size;
  std::int32_t raw_used;  // start of what is unread
  std::int32_t raw_end;   // and its end
  std::int32_t claimed;   // start of what belongs to no token yet
  std::int32_t consumed;  // bytes taken since the newest token
  const vdx_charattr* attributes;
  vdx_cfg_token* tokens;     // the live ones, newest first
  vdx_cfg_token* spare;      // released ones, for the next
  CfgSection* section;       // being filled; null before the first header
  NodeIndex<CfgEntry> keys;  // of that section
  CfgSection* unindexed;     // the first section whose entries the file's index does not have yet
  std::uint32_t unindexed_count;  // of their entries that belong there
  bool is_valid;                  // that section is
  bool is_at_end;                 // of the file
  bool is_end;                    // the scan ended with the end of input, no token
  bool has_read_error;
  bool has_failed;  // out of memory, or the file could not be read
  // By byte: its code for the scanner, 0 if it starts a character of several bytes; and the kinds
  // of runs that it belongs to.
  std::uint8_t plain[256];
  std::uint8_t runs[256];
  bool is_ascii;        // bytes 1 to 127 have their ASCII meaning
  bool has_high_signs;  // some byte above 127 ends a word

  void classify();  // fills them from the attributes
};

// A line that can be read without making tokens: an entry of words alone, a comment or a blank
// line.
struct CfgPlainLine {
  std::string_view key;  // empty: a blank line or a comment
  std::string_view value;
};

// Takes the next line if it is plain: all of it in the buffer, single bytes only, and no quotes,
// continuations, headers and includes. False, with nothing taken, for any other line.
bool take_plain_line(CfgParse& parse, CfgPlainLine& line);

enum class ParseResult { kDone, kUnopened, kFailed };

// Reads the file of a handle into its record. A file that has errors is done. The caller reports
// kUnopened; why a parse failed has been reported.
ParseResult parse_file(vdx_cfg* cfg);

// Reports a file that cannot be opened, or be read to its end.
void raise_unopened(vdx_context* context, const char* routine, std::string_view name);

// The place of an error at a line of the section that is being filled.
vdx_err_place place_of(const CfgParsed& parsed, std::int32_t line, std::string_view token);

}  // namespace vdx

struct vdx_cfg_token {
  std::int32_t length;
  std::int32_t offset;
  vdx_cfg_token* live;   // the token before it
  vdx_cfg_token* piece;  // the next piece of the same value
  vdx_cfg_token* last;   // of the chain that starts here
};

#endif
