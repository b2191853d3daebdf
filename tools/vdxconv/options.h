// The command line.
#ifndef VDXCONV_OPTIONS_H
#define VDXCONV_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vdxconv {

enum class Action { kConvert, kNow, kMatrix, kTypes, kHelp, kVersion, kLookUp, kCheck };
enum class Show { kText, kHex, kRaw };

using Number = std::optional<int32_t>;

struct Settings {
  Action action = Action::kConvert;
  int32_t source = 0;
  int32_t destination = 0;
  std::vector<const char*> values;  // empty: lines are read from file; kLookUp: section and key

  Number precision, scale, maxlength;
  Number source_precision, source_scale;
  uint32_t format = 0;  // VDX_FMT_ flags of the destination
  const char* charset = nullptr;
  Number date_style, date_order;  // of the locale
  bool twelve_hour = false;

  const char* configuration = nullptr;
  bool check = false;

  const char* file = nullptr;  // null and "-": standard input
  bool keep_cr = false;
  const char* rejects = nullptr;

  Show show = Show::kText;
  bool quiet = false;
  bool summary = false;
  bool progress = false;
};

// Reads the command line; a wrong one ends the tool with a message.
Settings read_command_line(int count, char** words);

std::string help_text();

}  // namespace vdxconv

#endif
