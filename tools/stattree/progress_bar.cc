#include "tools/stattree/progress_bar.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/stattree/report_text.h"

namespace stattree {
namespace cli {
namespace {

constexpr long long kRecordsBetweenClockReads = 1024;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr int kBarWidth = 24;

}  // namespace

ProgressBar::ProgressBar(std::FILE* out, bool draw, const volatile std::sig_atomic_t* cancel)
    : out_(out), draw_(draw && out != nullptr), cancel_(cancel) {
  start_ = lastDraw_ = std::chrono::steady_clock::now();
}

void ProgressBar::SetInputSize(std::function<long long()> position, long long totalBytes) {
  position_ = std::move(position);
  totalBytes_ = totalBytes;
}

void ProgressBar::StartNewTask(int) {
  if (continueFrom_ >= 0) {
    records_ = continueFrom_;
    continueFrom_ = -1;
    return;
  }
  records_ = 0;
  start_ = lastDraw_ = std::chrono::steady_clock::now();
}

void ProgressBar::IncrementProgress(int step) {
  records_ += step;
  if (!draw_ || records_ % kRecordsBetweenClockReads != 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - lastDraw_ < kRedrawInterval) return;
  lastDraw_ = now;
  Draw();
}

void ProgressBar::Show(long long records) {
  records_ = records;
  if (!draw_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - lastDraw_ < kRedrawInterval) return;
  lastDraw_ = now;
  Draw();
}

void ProgressBar::Draw() {
  const double seconds = std::chrono::duration<double>(lastDraw_ - start_).count();
  double fraction = -1;
  if (position_ && totalBytes_ > 0) {
    fraction = std::min(1.0, static_cast<double>(position_()) / static_cast<double>(totalBytes_));
  }
  std::fprintf(out_, "\r%s\x1b[K", Line(records_, seconds, fraction).c_str());
  std::fflush(out_);
  drawn_ = true;
}

void ProgressBar::Clear() {
  if (!drawn_) return;
  std::fprintf(out_, "\r\x1b[K");
  std::fflush(out_);
  drawn_ = false;
}

std::string ProgressBar::Line(long long records, double seconds, double fraction) {
  std::string line;
  if (fraction >= 0) {
    const std::string bar = TextReportWriter::Bar(fraction, 1.0, kBarWidth);
    std::string padded = bar;
    // The bar is made of 3-byte block characters; pad by cells.
    for (std::size_t cells = bar.size() / 3; cells < static_cast<std::size_t>(kBarWidth); ++cells) {
      padded += ' ';
    }
    line += "[" + padded + "] " + std::to_string(std::lround(fraction * 100)) + "%  ";
  }
  line += TextReportWriter::FormatCount(records) + " records";
  if (seconds > 0) {
    const auto rate = static_cast<long long>(static_cast<double>(records) / seconds);
    line += "  " + TextReportWriter::FormatCount(rate) + " records/s";
  }
  return line;
}

}  // namespace cli
}  // namespace stattree
