#pragma once

#include <optional>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "app/AppMode.h"
#include "app/ShownRows.h"
#include "app/audit/AuditFlow.h"
#include "app/creation/ListCreationFlow.h"
#include "app/shared/Outcome.h"

namespace tallyfold {

/// A mode as the sidebar shows it.
struct ModeRow {
  Q_GADGET
  Q_PROPERTY(tallyfold::AppMode::Case mode MEMBER mode CONSTANT)
  Q_PROPERTY(QString label MEMBER label CONSTANT)
  Q_PROPERTY(tallyfold::Flow* flow MEMBER flow CONSTANT)

 public:
  AppMode::Case mode = AppMode::Files;
  QString label;
  Flow* flow = nullptr;  ///< The model's.
};

/// The one state object behind the window: the modes, what they share, and a flow for each. It lives on the interface
/// thread: everything here is read, called and announced there.
class AppViewModel : public tallyfold::ModeFlows {
  Q_OBJECT
  Q_PROPERTY(QList<tallyfold::ModeRow> modes READ modes CONSTANT)
  Q_PROPERTY(tallyfold::AppMode::Case mode READ mode WRITE setMode NOTIFY modeChanged)
  Q_PROPERTY(tallyfold::ListCreationFlow* listCreation READ listCreation CONSTANT)
  Q_PROPERTY(tallyfold::AuditFlow* audit READ audit CONSTANT)
  Q_PROPERTY(tallyfold::ShownRows* shownRows READ shownRows CONSTANT)
  Q_PROPERTY(QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)
  Q_PROPERTY(QString errorSubject READ errorSubject NOTIFY errorMessageChanged)
  Q_PROPERTY(QStringList algorithms READ algorithmNames CONSTANT)
  Q_PROPERTY(QStringList selectedAlgorithms READ selectedAlgorithmNames NOTIFY selectedAlgorithmsChanged)
  Q_PROPERTY(QString selectionRefusal READ selectionRefusal NOTIFY selectionRefusalChanged)

 public:
  enum Preset { Recommended, Compatibility, AllAlgorithms };
  Q_ENUM(Preset)

  /// `desktop` must outlive the model.
  explicit AppViewModel(Desktop& desktop, QObject* parent = nullptr);
  ~AppViewModel() override;

  /// In the order of the sidebar.
  [[nodiscard]] QList<ModeRow> modes();
  [[nodiscard]] AppMode::Case mode() const { return mode_; }
  void setMode(AppMode::Case mode);
  /// So many modes further down the sidebar, or up; at its end it stays.
  Q_INVOKABLE void stepMode(int by);
  [[nodiscard]] Flow& flow(AppMode::Case mode) { return AppMode::flow(mode, *this); }
  [[nodiscard]] Outcome::Case unseenOutcome(AppMode::Case mode) { return flow(mode).unseenOutcome(); }

  /// Makes lists of the folder that is Manifest's root, and hands them to it.
  [[nodiscard]] ListCreationFlow* listCreation() { return &listCreation_; }

  /// Finds the files of Manifest's root that its list does not name, once that is verified.
  [[nodiscard]] AuditFlow* audit() { return &audit_; }
  /// What the list of the Manifest mode shows: entries, warnings or unlisted files.
  [[nodiscard]] ShownRows* shownRows() { return &shownRows_; }

  /// Takes what another program has this one open, in the mode that it belongs to, which is entered: a checksum list,
  /// by itself or with its folder, in Manifest; all else as a drop on Files. Folders end with a separator. `others` are
  /// lists that came with this one, which says that they are not read. What is refused now is an error message about
  /// all of them; so is a list that `listBefore`, the one that there was when it came, has given place to another.
  void openFiles(const QList<QUrl>& files, const QList<QUrl>& others,
                 const std::optional<std::filesystem::path>& listBefore);
  /// The checksum list that `files` are, by itself or with its folder; none where they are something else.
  [[nodiscard]] static std::optional<QUrl> listAmong(const QList<QUrl>& files);

  /// Empty when there is none.
  [[nodiscard]] QString errorMessage() const { return context().errorMessage(); }
  void setErrorMessage(const QString& message) { context().setErrorMessage(message); }
  /// Which file or destination it is about, on one line; empty where it says that itself.
  [[nodiscard]] QString errorSubject() const { return context().errorSubject(); }

  /// Display names of all algorithms, in catalogue order.
  [[nodiscard]] static QStringList algorithmNames();
  [[nodiscard]] HashAlgorithmSet selectedAlgorithms() const { return context().selectedAlgorithms(); }
  [[nodiscard]] QStringList selectedAlgorithmNames() const;
  /// Ignored during a run, whose selection must not change under it.
  void setSelectedAlgorithms(HashAlgorithmSet algorithms) { context().setSelectedAlgorithms(algorithms); }
  [[nodiscard]] QString selectionRefusal() const { return context().selectionRefusal(); }
  Q_INVOKABLE void setAlgorithmSelected(const QString& name, bool isSelected);
  Q_INVOKABLE void choosePreset(tallyfold::AppViewModel::Preset preset);

  /// What a paste brings: of the clipboard, or of what is selected in another program. Asks that program, which can
  /// take long: once for each paste.
  Q_INVOKABLE [[nodiscard]] QString pasteboardText(bool isSelection = false) const {
    return context().pasteboardText(isSelection);
  }

  /// Something is on its way to the disk, or was left behind on it: it is worth a while of waiting.
  [[nodiscard]] bool isSaving() const { return context().isSaving(); }

  /// Stops every background flow. Their threads end on their own, within one chunk of what they read.
  Q_INVOKABLE void shutdown();

 signals:
  void modeChanged();
  void errorMessageChanged();
  void selectedAlgorithmsChanged();
  void selectionRefusalChanged();

 private:
  void followEnds(Flow& flow, AppMode::Case mode);

  AppMode::Case mode_ = AppMode::Files;
  ListCreationFlow listCreation_{context()};
  AuditFlow audit_{context()};
  ShownRows shownRows_{*manifest(), audit_};
};

}  // namespace tallyfold
