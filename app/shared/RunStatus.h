#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include "app/shared/RunMeter.h"
#include "core/services/HashService.h"

namespace tallyfold {

/// What a screen tells while a run is under way: words that stay long enough to be read. Empty while there is none. On
/// the interface thread.
class RunStatus : public QObject {
  Q_OBJECT
  /// The file under way, safe to show on one line.
  Q_PROPERTY(QString file READ file NOTIFY told)
  /// "43% of 8.6 GB · 1.9 GB/s · 3 s left", as far as it is known.
  Q_PROPERTY(QString figures READ figures NOTIFY told)
  /// Of the run's files those that are finished, with the finished part of the one under way: a fraction, 0 to 1.
  Q_PROPERTY(double reach READ reach NOTIFY reachChanged)
  /// How much of the file under way was read: 0 to 1, and 0 where its digests come in one piece.
  Q_PROPERTY(double fraction READ fraction NOTIFY fractionChanged)

 public:
  /// How far a run has come.
  struct Place {
    std::size_t filesDone = 0;
    std::int64_t counted = 0;  ///< By the run's counter, when the file under way began.
    double fraction = 0;       ///< Of that file, 0 to 1, where its size is unknown.
    QString file{};            ///< Its name.
  };

  RunStatus();

  /// `counter` has the bytes read since the start. Of a huge file, places are far apart.
  void start(std::size_t files, std::shared_ptr<const ReadCounter> counter);
  void advance(const Place& place);
  void addSizes(const std::vector<RunMeter::Size>& sizes) { meter_.addSizes(sizes); }
  void end();

  [[nodiscard]] QString file() const { return file_; }
  [[nodiscard]] QString figures() const { return figures_; }
  /// Ways to tell how far the run is, each shorter than the one before, in which the time left stays: `figures` first,
  /// all behind `count`, "1 of 3 files", which may be empty; and the shortest of them alone.
  Q_INVOKABLE [[nodiscard]] QStringList figuresBehind(const QString& count) const;
  [[nodiscard]] double reach() const { return reach_; }
  [[nodiscard]] double fraction() const { return fraction_; }
  [[nodiscard]] const RunMeter& meter() const { return meter_; }

 signals:
  void told();
  void reachChanged();
  void fractionChanged();

 private:
  void look();
  void tell();

  RunMeter meter_;
  std::size_t files_ = 0;
  std::shared_ptr<const ReadCounter> counter_;
  Place place_;
  QString file_;
  QString figures_;
  QStringList shorterFigures_;
  double reach_ = 0;
  double fraction_ = 0;
  QTimer telling_;
};

}  // namespace tallyfold
