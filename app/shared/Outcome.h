#pragma once

#include <QObject>

namespace tallyfold {

/// How work came out, in the one respect in which all work can be compared.
class Outcome : public QObject {
  Q_OBJECT

 public:
  enum Case { NoOutcome, AllWell, SomeFailed };
  Q_ENUM(Case)

  Outcome() = delete;
};

}  // namespace tallyfold
