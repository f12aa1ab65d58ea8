#pragma once

#include <QObject>
#include <QString>

#include "app/audit/AuditFlow.h"
#include "app/manifest/ManifestFlow.h"
#include "app/shared/FilteredListModel.h"

namespace tallyfold {

/// What the list of the Manifest mode shows: the entries of the checksum list, or in their place its warnings or the
/// files that it does not name. On the interface thread.
class ShownRows : public QObject {
  Q_OBJECT
  Q_PROPERTY(tallyfold::ShownRows::Kind kind READ kind WRITE setKind NOTIFY changed)
  Q_PROPERTY(tallyfold::FilteredListModel* rows READ rows NOTIFY changed)
  Q_PROPERTY(bool isPending READ isPending NOTIFY changed)
  Q_PROPERTY(QString emptySentence READ emptySentence NOTIFY changed)
  Q_PROPERTY(QString copyRefusal READ copyRefusal NOTIFY changed)

 public:
  enum Kind { Entries, Warnings, Unlisted };
  Q_ENUM(Kind)

  /// Both must outlive it.
  ShownRows(ManifestFlow& manifest, AuditFlow& audit);

  [[nodiscard]] Kind kind() const;
  /// Unlisted files are shown only where they are, or were, looked for.
  void setKind(Kind kind);
  /// What is searched and marked: warnings are neither, and leave it the entries.
  [[nodiscard]] FilteredListModel* rows() const;
  /// There may be rows soon.
  [[nodiscard]] bool isPending() const;
  /// Why there are no rows.
  [[nodiscard]] QString emptySentence() const;
  [[nodiscard]] QString copyRefusal() const;

  /// On the clipboard, rows as soon as a worker has written them out: the marked ones of `rows`, or else this one; and
  /// all that is shown, warnings included.
  Q_INVOKABLE void copySelected(int row);
  Q_INVOKABLE void copyAll();

 signals:
  void changed();

 private:
  ManifestFlow& manifest_;
  AuditFlow& audit_;
};

}  // namespace tallyfold
