#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

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
  /// What is at `locations` shall be opened. Whether there is anything, nobody has looked yet.
  void openRequested(const QStringList& locations);

 private:
  class Adaptor;
};

}  // namespace tallyfold
