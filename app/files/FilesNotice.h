#pragma once

#include <QObject>
#include <QString>

namespace tallyfold {

/// What the Files screen says of what was done last, with the one thing that can be done about it.
struct FilesNotice {
  Q_GADGET
  Q_PROPERTY(tallyfold::FilesNotice::Kind kind MEMBER kind CONSTANT)
  Q_PROPERTY(QString words MEMBER words CONSTANT)
  Q_PROPERTY(QString place MEMBER place CONSTANT)
  Q_PROPERTY(QString remark MEMBER remark CONSTANT)

 public:
  enum Kind {
    None,
    Saved,    ///< A report, which can be shown.
    Cleared,  ///< The list, which can come back.
  };
  Q_ENUM(Kind)

  Kind kind = None;
  QString words{};   ///< Before the place; the whole sentence where there is none.
  QString place{};   ///< Safe to show on one line; may be cut in its middle.
  QString remark{};  ///< Behind the place.
};

}  // namespace tallyfold
