#pragma once

#include <QObject>
#include <QString>

namespace tallyfold {

/// A digest as a screen shows it, and what stands before it.
struct DigestLine {
  Q_GADGET
  Q_PROPERTY(QString label MEMBER label CONSTANT)
  Q_PROPERTY(QString digest MEMBER digest CONSTANT)

 public:
  QString label;
  QString digest;

  bool operator==(const DigestLine&) const = default;
};

}  // namespace tallyfold
