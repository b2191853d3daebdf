#include "options.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>
#include <variant>

#include "datatypes.h"
#include "stream.h"
#include "vdxcomn/types.h"

namespace vdxconv {

namespace {

struct FormatFlag {
  uint32_t flag;
};

struct DateOrder {};

// What an option does: fills a member, sets a flag of the destination's record, or chooses.
using Effect = std::variant<Number Settings::*, const char * Settings::*, bool Settings::*,
                            FormatFlag, DateOrder, Show, Action>;

struct Option {
  std::string_view group;  // heading in the help
  char letter;             // 0: none
  std::string_view name;
  std::string_view argument;  // empty: takes none
  Effect effect;
  std::string_view help;
};

constexpr std::string_view kInput = "Input";
constexpr std::string_view kDestination = "Conversion";
constexpr std::string_view kDates = "Dates";
constexpr std::string_view kOutput = "Output";
constexpr std::string_view kConfiguration = "Configuration files";
constexpr std::string_view kAbout = "Instead of converting";

// The only list of options: parsing and help follow it.
const Option kOptions[] = {
    {kInput, 'f', "file", "FILE", &Settings::file, "read values from FILE, - is standard input"},
    {kInput, 0, "keep-cr", "", &Settings::keep_cr,
     "a carriage return before a newline is part of the value"},
    {kInput, 'c', "charset", "NAME", &Settings::charset, "character set of text (default iso_1)"},
    {kDestination, 'p', "precision", "N", &Settings::precision,
     "digits of a num or decimal DEST (default 38); decimal places of text from money (default 2)"},
    {kDestination, 's', "scale", "N", &Settings::scale,
     "digits after the point of a num or decimal DEST (default 10)"},
    {kDestination, 0, "source-precision", "N", &Settings::source_precision,
     "digits of a num or decimal SOURCE (default 38)"},
    {kDestination, 0, "source-scale", "N", &Settings::source_scale,
     "digits after the point of a num or decimal SOURCE (default 10)"},
    {kDestination, 'm', "maxlength", "N", &Settings::maxlength,
     "room for DEST in bytes (default: what the value needs)"},
    {kDestination, 't', "terminate", "", FormatFlag{VDX_FMT_TERMINATE},
     "end the text of DEST with a zero byte"},
    {kDestination, 0, "pad-null", "", FormatFlag{VDX_FMT_PADNULL},
     "fill DEST with zero bytes up to --maxlength"},
    {kDestination, 0, "pad-blank", "", FormatFlag{VDX_FMT_PADBLANK},
     "fill DEST with blanks up to --maxlength"},
    {kDestination, 0, "quote", "", FormatFlag{VDX_FMT_QUOTE}, "double each apostrophe in DEST"},
    {kDestination, 0, "swap", "", FormatFlag{VDX_FMT_SWAP},
     "swap the bytes of each unit of a UTF-16 DEST"},
    {kDates, 0, "style", "N", &Settings::date_style, "layout of a date as text (default 0)"},
    {kDates, 0, "date-order", "ORDER", DateOrder{},
     "order of a date in numbers: mdy (default), dmy, ymd, ydm, myd or dym"},
    {kDates, 0, "twelve-hour", "", &Settings::twelve_hour, "a clock of twelve hours for --now"},
    {kOutput, 'x', "hex", "", Show::kHex,
     "show the bytes of DEST as hexadecimal, one value a line"},
    {kOutput, 0, "raw", "", Show::kRaw,
     "write the bytes of DEST as they are, nothing between them"},
    {kOutput, 'r', "rejects", "FILE", &Settings::rejects,
     "keep the lines that failed in FILE, byte for byte"},
    {kOutput, 'q', "quiet", "", &Settings::quiet, "no summary and no progress bar"},
    {kOutput, 0, "summary", "", &Settings::summary, "a summary also for values given as arguments"},
    {kOutput, 0, "progress", "", &Settings::progress,
     "a progress bar even for short inputs and without a terminal"},
    {kConfiguration, 0, "cfg", "FILE", &Settings::configuration,
     "show every value that FILE has for KEY in SECTION, one a line"},
    {kConfiguration, 0, "check", "", &Settings::check, "show what of the file is lost, and why"},
    {kAbout, 0, "now", "", Action::kNow, "show the date and the time of day"},
    {kAbout, 0, "matrix", "", Action::kMatrix, "show which pairs have a conversion"},
    {kAbout, 0, "types", "", Action::kTypes, "list the datatypes"},
    {kAbout, 'h', "help", "", Action::kHelp, "show this text"},
    {kAbout, 'V', "version", "", Action::kVersion, "show the version"},
};

[[noreturn]] void misuse(const std::string& message) {
  give_up(message + "\nTry 'vdxconv --help'.");
}

bool parse_number(std::string_view text, int32_t* number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
  return error == std::errc() && end == text.data() + text.size();
}

// By code less one.
constexpr std::string_view kDateOrders[] = {"mdy", "dmy", "ymd", "ydm", "myd", "dym"};

struct Apply {
  Settings& settings;
  std::string option;    // as the user wrote it
  const char* argument;  // null for options without one

  void operator()(Number Settings::*member) const {
    int32_t number = 0;
    if (!parse_number(argument, &number))
      misuse(option + ": '" + argument + "' is not a number of 32 bits");
    settings.*member = number;
  }
  void operator()(const char* Settings::*member) const { settings.*member = argument; }
  void operator()(bool Settings::*member) const { settings.*member = true; }
  void operator()(FormatFlag row) const { settings.format |= row.flag; }
  void operator()(DateOrder) const {
    const auto* const order = std::ranges::find(kDateOrders, std::string_view(argument));
    if (order == std::end(kDateOrders))
      misuse(option + ": '" + argument + "' is not one of mdy, dmy, ymd, ydm, myd, dym");
    settings.date_order = static_cast<int32_t>(order - kDateOrders) + 1;
  }
  void operator()(Show show) const {
    if (settings.show != Show::kText && settings.show != show)
      misuse("--hex and --raw exclude each other");
    settings.show = show;
  }
  void operator()(Action action) const { settings.action = action; }
};

const Option* find(char letter, std::string_view name) {
  for (const Option& option : kOptions)
    if (letter != 0 ? option.letter == letter : option.name == name) return &option;
  return nullptr;
}

bool is_letter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

// Numbers may start with a minus sign, so only a letter or a second minus makes an option.
bool is_option(const char* word) {
  return word[0] == '-' && (is_letter(word[1]) || (word[1] == '-' && word[2] != '\0'));
}

int32_t read_datatype(std::string_view word) {
  int32_t code = find_datatype(word);
  if (code < 0 && (!parse_number(word, &code) || code < 0 || code >= VDX_DATATYPES))
    misuse("'" + std::string(word) + "' is not a datatype; vdxconv --types lists them");
  return code;
}

void check(const Settings& settings) {
  const uint32_t padding = settings.format & (VDX_FMT_PADNULL | VDX_FMT_PADBLANK);
  if (padding == (VDX_FMT_PADNULL | VDX_FMT_PADBLANK))
    misuse("--pad-null and --pad-blank exclude each other");
  if (padding != 0 && !settings.maxlength) misuse("padding needs --maxlength");
  if (settings.maxlength && *settings.maxlength < 1) misuse("--maxlength must be at least 1");
  if (settings.file != nullptr && !settings.values.empty())
    misuse("values come either from --file or from arguments");
}

}  // namespace

Settings read_command_line(int count, char** words) {
  Settings settings;
  std::vector<const char*> plain;
  bool options_end = false;
  for (int i = 1; i < count; ++i) {
    const char* const word = words[i];
    if (options_end || !is_option(word)) {
      if (!options_end && std::strcmp(word, "--") == 0)
        options_end = true;
      else
        plain.push_back(word);
      continue;
    }
    const bool is_long = word[1] == '-';
    const char* attached = nullptr;
    std::string_view name;
    if (is_long) {
      const char* const equals = std::strchr(word, '=');
      name = equals == nullptr
                 ? std::string_view(word + 2)
                 : std::string_view(word + 2, static_cast<std::size_t>(equals - word - 2));
      if (equals != nullptr) attached = equals + 1;
    } else if (word[2] != '\0') {
      attached = word + 2;
    }
    const Option* const option = find(is_long ? '\0' : word[1], name);
    if (option == nullptr) misuse("unknown option '" + std::string(word) + "'");
    const std::string written = is_long ? "--" + std::string(name) : std::string(word, 2);
    if (option->argument.empty() && attached != nullptr) misuse(written + " takes no argument");
    if (!option->argument.empty() && attached == nullptr) {
      if (++i == count) misuse(written + " needs an argument");
      attached = words[i];
    }
    std::visit(Apply{settings, written, attached}, option->effect);
  }
  if (settings.action != Action::kConvert) {
    const bool about = settings.action == Action::kHelp || settings.action == Action::kVersion;
    if (!plain.empty() && !about) misuse("'" + std::string(plain[0]) + "' is one word too many");
    return settings;
  }
  if (settings.check && settings.configuration == nullptr) misuse("--check needs --cfg");
  if (settings.configuration != nullptr) {
    if (plain.size() != (settings.check ? 0 : 2))
      misuse("--cfg needs either SECTION and KEY or --check");
    settings.action = settings.check ? Action::kCheck : Action::kLookUp;
    settings.values = plain;
    return settings;
  }
  if (plain.size() < 2) misuse("SOURCE and DEST are needed");
  settings.source = read_datatype(plain[0]);
  settings.destination = read_datatype(plain[1]);
  settings.values.assign(plain.begin() + 2, plain.end());
  check(settings);
  return settings;
}

std::string help_text() {
  constexpr std::size_t kColumn = 28;
  constexpr std::size_t kWidth = 96;
  std::string text =
      "Usage: vdxconv [OPTION]... SOURCE DEST [VALUE]...\n"
      "       vdxconv [OPTION]... --cfg FILE SECTION KEY\n"
      "       vdxconv [OPTION]... --cfg FILE --check\n"
      "       vdxconv --now | --matrix | --types | --help | --version\n\n"
      "Converts each VALUE, or each line of a file or of standard input, from text to the "
      "datatype\n"
      "SOURCE, then to DEST, and shows it as text. Datatypes are names or codes, see --types. "
      "Words\n"
      "after -- are values even where they look like options; -42 is a value anyway.\n";
  std::string_view group;
  for (const Option& option : kOptions) {
    if (option.group != group) text.append("\n").append(group = option.group).append(":\n");
    std::string line = option.letter != 0 ? std::string("  -") + option.letter + ", " : "      ";
    line.append("--").append(option.name);
    if (!option.argument.empty()) line.append("=").append(option.argument);
    line.resize(line.size() < kColumn ? kColumn : line.size() + 1, ' ');
    std::string_view rest = option.help;
    while (line.size() + rest.size() > kWidth) {
      const std::size_t blank = rest.rfind(' ', kWidth - line.size());
      text.append(line).append(rest.substr(0, blank)).append("\n");
      rest.remove_prefix(blank + 1);
      line.assign(kColumn, ' ');
    }
    text.append(line).append(rest).append("\n");
  }
  text +=
      "\nA value that fails is reported on standard error and the rest goes on. The exit status is "
      "0\n"
      "when all values were converted, 1 when some failed, 2 for wrong usage and for trouble with\n"
      "files. With --cfg it is 1 when the file, section or key is not there or something is "
      "lost.\n";
  return text;
}

}  // namespace vdxconv
