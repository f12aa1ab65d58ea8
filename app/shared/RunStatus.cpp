#include "app/shared/RunStatus.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QStringList>

#include "app/shared/Formats.h"

namespace tallyfold {

namespace {

QString together(QStringList parts) {
  parts.removeAll(QString());
  return parts.join(QStringLiteral(" · "));
}

}  // namespace

RunStatus::RunStatus() {
  telling_.setInterval(250);
  connect(&telling_, &QTimer::timeout, this, [this] {
    look();
    tell();
  });
}

void RunStatus::start(std::size_t files, std::shared_ptr<const ReadCounter> counter) {
  counter_ = std::move(counter);
  place_ = {};
  meter_.start(files, std::chrono::steady_clock::now());
  files_ = files;
  telling_.start();
}

void RunStatus::advance(const Place& place) {
  if (!telling_.isActive()) return;
  place_ = place;
  look();
  if (file_.isEmpty()) tell();
}

QStringList RunStatus::figuresBehind(const QString& count) const {
  QStringList ways = QStringList{figures_} + shorterFigures_;
  const QString shortest = ways.constLast();
  if (count.isEmpty()) return ways;
  for (QString& way : ways) way = together({count, way});
  return ways << shortest;
}

void RunStatus::look() {
  const std::int64_t bytesRead = *counter_;
  const std::int64_t ofRunning = bytesRead - place_.counted;
  meter_.advance(place_.filesDone, bytesRead, ofRunning, std::chrono::steady_clock::now());
  const std::int64_t size = meter_.sizeOf(place_.filesDone).value_or(0);
  // The worker may be at the next file already.
  const double fraction =
      size == 0 ? place_.fraction : std::min(static_cast<double>(ofRunning) / static_cast<double>(size), 1.0);
  const double reach = (static_cast<double>(place_.filesDone) + fraction) / static_cast<double>(files_);
  if (std::exchange(fraction_, fraction) != fraction) emit fractionChanged();
  if (std::exchange(reach_, reach) != reach) emit reachChanged();
}

void RunStatus::end() {
  telling_.stop();
  meter_ = RunMeter();
  counter_.reset();
  place_ = {};
  file_.clear();
  figures_.clear();
  shorterFigures_.clear();
  reach_ = 0;
  fraction_ = 0;
  emit told();
  emit reachChanged();
  emit fractionChanged();
}

void RunStatus::tell() {
  const auto now = std::chrono::steady_clock::now();
  file_ = place_.file;
  QString done;
  QString doneInShort;
  const auto total = meter_.totalBytes();
  // Of files without bytes that are left, the share and the time say nothing.
  const bool isAllRead = total && *total <= meter_.bytesRead();
  if (!total) {
    doneInShort = formattedByteCount(meter_.bytesRead());
    done = tr("%1 read, total unknown").arg(doneInShort);
  } else if (!isAllRead) {
    const double share = static_cast<double>(meter_.bytesRead()) / static_cast<double>(*total);
    doneInShort = tr("%1%").arg(userLocale().toString(std::floor(share * 100), 'f', 0));
    done = tr("%1 of %2").arg(doneInShort, formattedByteCount(*total));
  }
  const auto speed = meter_.bytesPerSecond(now);
  const auto seconds = meter_.secondsLeft(now);
  const QString pace = speed ? formattedThroughput(*speed) : QString();
  const QString left = seconds && !isAllRead ? timeLeft(*seconds) : QString();
  figures_ = together({done, pace, left});
  shorterFigures_ = {together({done, left}), together({doneInShort, left}), left.isEmpty() ? doneInShort : left};
  shorterFigures_.removeAll(figures_);
  shorterFigures_.removeDuplicates();
  emit told();
}

}  // namespace tallyfold
