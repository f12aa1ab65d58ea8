#pragma once

#include <QObject>

namespace tallyfold {

/// Whether a piece of news is good: what it is coloured by.
class Tone : public QObject {
  Q_OBJECT

 public:
  enum Case {
    Pending,  ///< Nothing is known yet.
    Working,  ///< It is being found out.
    Good,
    Bad,
    Caution,  ///< Nothing is known to be wrong, and not everything was checked.
  };
  Q_ENUM(Case)

  Tone() = delete;
};

}  // namespace tallyfold
