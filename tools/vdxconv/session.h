// One run over all values: reads them, reports failures, keeps rejects, counts.
#ifndef VDXCONV_SESSION_H
#define VDXCONV_SESSION_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "options.h"
#include "pipeline.h"
#include "stream.h"
#include "vdxcomn/fault.h"

namespace vdxconv {

class Session {
 public:
  Session(vdx_context* context, const Settings& settings);

  // The exit status.
  int run();

 private:
  using Clock = std::chrono::steady_clock;

  void run_values();
  void run_lines(int descriptor);
  void convert(const Line& line);
  void report(const Line& line, int32_t code);
  void put_reason(int32_t code);
  void show_results();
  void draw_progress(uint64_t consumed, int64_t size);
  void erase_progress();
  void summarise(bool wanted);

  const Settings& settings_;
  vdx_fault fault_{};  // of the context, for as long as the session lives
  Pipeline pipeline_;
  Writer out_;
  Writer messages_;
  std::unique_ptr<Writer> rejects_;
  std::string_view origin_;  // of the values, for messages
  std::string trouble_;      // of the input, told when the good lines are done
  uint64_t lines_ = 0;
  uint64_t failed_ = 0;
  bool live_ = false;      // someone watches: results appear when they are there
  bool progress_ = false;  // draw a progress bar
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point last_draw_;
};

}  // namespace vdxconv

#endif
