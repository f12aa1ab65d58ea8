#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace tallyfold {

/// The running program as the desktop calls it: on the session bus, by the name of its menu entry, with
/// org.freedesktop.Application. Whoever is on the bus may call: nothing that comes is trusted. On the interface thread.
class ApplicationOnBus : public QObject {
  Q_OBJECT

 public:
  /// Of the menu entry, without its ending; of the program on the bus, too, as the desktop demands.
  static constexpr const char* name = "local.tallyfold.TallyFold";

  /// Ready to be called; by nobody until `join`.
  explicit ApplicationOnBus(QObject* parent = nullptr);

  /// Asks the bus for the name, and does not wait for it. Of several programs the first has it; the others wait their
  /// turn. Without a bus nothing happens.
  void join();
  /// Gives the name back: what the desktop asks for from now on is not for this program.
  void leave();

 signals:
  /// The window shall come to the front. `token` is what the desktop permits it with; may be empty.
  void activated(const QString& token);
  /// With one file at least, in the order in which they came; folders end with a separator.
  void filesOpened(const QList<QUrl>& files);
  /// They cannot be opened, for the reason that `sentence` tells the user.
  void openingRefused(const QString& sentence);

 private:
  class Adaptor;

  void open(const QStringList& locations);
};

}  // namespace tallyfold
