#pragma once

#include <QObject>
#include <QString>

#include "app/shared/Tone.h"

namespace tallyfold {

/// What came of the last run over the queue, as far as its files are still in it.
struct FilesVerdict {
  Q_GADGET
  Q_PROPERTY(bool isPresent READ isPresent CONSTANT)
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)
  Q_PROPERTY(QString title MEMBER title CONSTANT)

 public:
  /// A run has ended, and no file came since.
  [[nodiscard]] bool isPresent() const { return !title.isEmpty(); }

  Tone::Case tone = Tone::Pending;
  QString title{};
};

/// Of the files in the list, so many were calculated, so many failed, and the others were not reached.
FilesVerdict filesVerdict(int files, int calculated, int failed);

}  // namespace tallyfold
