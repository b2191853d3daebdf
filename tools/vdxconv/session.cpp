#include "session.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "datatypes.h"

namespace vdxconv {

namespace {

// A bar for less than a second would only flicker.
constexpr std::chrono::milliseconds kFirstDraw{700};
constexpr std::chrono::milliseconds kNextDraw{100};

std::string rate(uint64_t lines, std::chrono::duration<double> time) {
  const double each_second = static_cast<double>(lines) / std::max(time.count(), 1e-9);
  if (each_second < 1e6) return grouped(static_cast<uint64_t>(each_second)) + " lines/s";
  char text[64];
  std::snprintf(text, sizeof text, "%.2f million lines/s", each_second / 1e6);
  return text;
}

}  // namespace

Session::Session(vdx_context* context, const Settings& settings)
    : settings_(settings),
      pipeline_(context, settings),
      out_(kStandardOutput, "standard output"),
      messages_(kStandardError, "standard error"),
      live_(is_terminal(kStandardOutput)),
      progress_(settings.progress || (!settings.quiet && !live_ && is_terminal(kStandardError))) {
  fault_.size = sizeof fault_;
  context->fault = &fault_;
}

int Session::run() {
  const bool from_lines = settings_.values.empty();
  int input = kStandardInput;
  origin_ = from_lines ? "stdin" : "argument";
  if (from_lines && settings_.file != nullptr && std::strcmp(settings_.file, "-") != 0) {
    origin_ = settings_.file;
    input = open_to_read(settings_.file);
    if (input < 0) give_up_on(origin_);
  }
  if (settings_.rejects != nullptr) {
    if (from_lines && same_file(input, settings_.rejects))
      give_up(std::string(settings_.rejects) + ": rejects would overwrite the input");
    const int file = open_to_create(settings_.rejects);
    if (file < 0) give_up_on(settings_.rejects);
    rejects_ = std::make_unique<Writer>(file, settings_.rejects);
  }
  start_ = Clock::now();
  if (from_lines)
    run_lines(input);
  else
    run_values();
  if (rejects_) rejects_->close();
  out_.close();
  erase_progress();
  summarise(settings_.summary || (from_lines && !settings_.quiet && trouble_.empty()));
  messages_.flush();
  if (!trouble_.empty()) give_up(trouble_);
  return failed_ == 0 ? 0 : kExitFailed;
}

void Session::run_values() {
  for (const char* value : settings_.values) {
    // As a line, so that rejects can be read back as a file.
    const std::string text = std::string(value) + "\n";
    convert({reinterpret_cast<const uint8_t*>(text.data()), text.size() - 1, text.size()});
  }
}

void Session::run_lines(int descriptor) {
  const int64_t size = file_size(descriptor);
  Reader reader(descriptor, origin_);
  Line line;
  // Ahead of every wait for input, what is done so far goes out.
  const auto before_read = [&] {
    if (live_ || size < 0) show_results();
    if (progress_) draw_progress(reader.consumed(), size);
  };
  while (reader.next(line, before_read)) {
    const bool has_return = line.whole > line.size && line.size > 0 &&
                            line.text[line.size - 1] == '\r' && !settings_.keep_cr;
    if (has_return) --line.size;
    convert(line);
  }
  trouble_ = reader.trouble();
  if (descriptor != kStandardInput) close_file(descriptor);
}

inline void Session::convert(const Line& line) {
  ++lines_;
  const int32_t code = pipeline_.convert(line.text, line.size, out_);
  if (code != VDX_SUCCESS) [[unlikely]]
    report(line, code);
}

void Session::report(const Line& line, int32_t code) {
  ++failed_;
  if (live_) out_.flush();
  erase_progress();
  messages_.put(origin_);
  messages_.put(':');
  messages_.put(std::to_string(lines_));
  messages_.put(": ");
  put_quoted(messages_, line.text, line.size);
  messages_.put(": ");
  if (line.size == 0)
    messages_.put("empty");
  else
    put_reason(code);
  messages_.put(" (");
  messages_.put(std::to_string(code));
  messages_.put(")\n");
  if (live_) messages_.flush();
  if (rejects_) rejects_->put(line.text, line.whole);
}

// The record is of this line: a line before it that failed has taken its own away.
void Session::put_reason(int32_t code) {
  char text[256];
  int32_t length = 0;
  fault_.code = code;
  comn_fault_text(nullptr, &fault_, text, sizeof text, &length);
  messages_.put({text, static_cast<std::size_t>(length)});
  fault_.reason = VDX_REASON_NONE;
}

void Session::show_results() {
  out_.flush();
  messages_.flush();
}

void Session::draw_progress(uint64_t consumed, int64_t size) {
  const Clock::time_point now = Clock::now();
  if (!settings_.progress && (now - start_ < kFirstDraw || now - last_draw_ < kNextDraw)) return;
  last_draw_ = now;
  drawn_ = true;
  std::string text = "\r";
  if (size > 0) {
    constexpr uint64_t kCells = 30;
    const uint64_t part = std::min<uint64_t>(consumed, static_cast<uint64_t>(size));
    const uint64_t percent = part * 100 / static_cast<uint64_t>(size);
    const std::size_t cells = percent * kCells / 100;
    const std::string number = std::to_string(percent);
    text.append("[").append(cells, '#').append(kCells - cells, '.').append("] ");
    text.append(3 - number.size(), ' ').append(number).append("%  ");
  }
  text.append(grouped(lines_)).append(" lines  ").append(rate(lines_, now - start_));
  messages_.put(text.append("\033[K"));
  messages_.flush();
}

void Session::erase_progress() {
  if (drawn_) messages_.put("\r\033[K");
  drawn_ = false;
}

void Session::summarise(bool wanted) {
  if (!wanted) return;
  const auto time = Clock::now() - start_;
  std::string text = "vdxconv: " + grouped(lines_) + (lines_ == 1 ? " value, " : " values, ") +
                     grouped(lines_ - failed_) + " converted, " + grouped(failed_) + " failed";
  if (lines_ != 0) text += ", " + rate(lines_, time);
  messages_.put(text + "\n");
}

}  // namespace vdxconv
