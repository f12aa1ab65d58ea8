#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include "app/creation/ListCreationRun.h"
#include "app/creation/ListFailures.h"
#include "app/shared/Flow.h"
#include "app/shared/RunStatus.h"
#include "app/shared/Saver.h"
#include "app/shared/Tone.h"

namespace tallyfold {

/// One of the forms that a list can be written in.
struct ListForm {
  Q_GADGET
  Q_PROPERTY(QString label MEMBER label CONSTANT)
  Q_PROPERTY(QString refusal MEMBER refusal CONSTANT)
  Q_PROPERTY(bool isChosen MEMBER isChosen CONSTANT)

 public:
  QString label{};
  QString refusal{};  ///< Why a list of the chosen algorithms cannot be written so; empty when it can.
  bool isChosen = false;
};

/// What came of making a list so far.
struct ListCreationVerdict {
  Q_GADGET
  Q_PROPERTY(tallyfold::Tone::Case tone MEMBER tone CONSTANT)
  Q_PROPERTY(QString title MEMBER title CONSTANT)
  Q_PROPERTY(QString details MEMBER details CONSTANT)

 public:
  Tone::Case tone = Tone::Pending;  ///< A list that is not saved yet is not well yet.
  QString title{};
  QString details{};  ///< May be empty.
};

/// The making of a checksum list of all files below a folder: choose, calculate, save.
class ListCreationFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(bool isOpen READ isOpen WRITE setOpen NOTIFY isOpenChanged)
  Q_PROPERTY(QString folder READ folder NOTIFY folderChanged)
  Q_PROPERTY(QStringList algorithms READ algorithmNames NOTIFY choiceChanged)
  Q_PROPERTY(QList<tallyfold::ListForm> forms READ forms NOTIFY choiceChanged)
  Q_PROPERTY(QString sample READ sample NOTIFY choiceChanged)
  Q_PROPERTY(QString createRefusal READ createRefusal NOTIFY statusChanged)
  Q_PROPERTY(QString saveRefusal READ saveRefusal NOTIFY statusChanged)
  Q_PROPERTY(QString choiceRefusal READ choiceRefusal NOTIFY statusChanged)
  Q_PROPERTY(bool isWorking READ isWorking NOTIFY statusChanged)
  Q_PROPERTY(tallyfold::ListCreationVerdict verdict READ verdict NOTIFY statusChanged)
  Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
  Q_PROPERTY(QString progressFigure READ progressFigure NOTIFY progressChanged)
  Q_PROPERTY(tallyfold::RunStatus* runStatus READ runStatus CONSTANT)
  Q_PROPERTY(tallyfold::ListFailures* failures READ failures CONSTANT)

 public:
  explicit ListCreationFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isWorking(); }
  [[nodiscard]] QString outcomeSentence() const override { return verdict().title; }
  void shutdown() override { cancel(); }

  /// The user is at it: from the choice on until it is closed. That forgets what was made, but for a list that could
  /// still be saved: it is there when this is opened again, unless another folder is chosen before.
  [[nodiscard]] bool isOpen() const { return isOpen_; }
  void setOpen(bool isOpen);

  /// The folder as it is shown; empty when there is none.
  [[nodiscard]] QString folder() const;
  /// Chooses the folder of the list to be made; what was made of another is forgotten.
  void setFolder(const std::optional<std::filesystem::path>& folder);

  [[nodiscard]] QStringList algorithmNames() const;
  Q_INVOKABLE void setAlgorithmSelected(const QString& name, bool isSelected);
  /// In the order of menus.
  [[nodiscard]] QList<ListForm> forms() const;
  Q_INVOKABLE void chooseForm(int index);
  /// The beginning of a list as it would be made, and its name.
  [[nodiscard]] QString sample() const;

  /// Why nothing can be chosen, calculated or saved now; empty when it can.
  [[nodiscard]] QString choiceRefusal() const;
  [[nodiscard]] QString createRefusal() const;
  [[nodiscard]] QString saveRefusal() const;
  [[nodiscard]] bool isWorking() const { return stage_ == Stage::running || stage_ == Stage::saving; }
  [[nodiscard]] ListCreationVerdict verdict() const;
  /// Of the bytes of the files found, once their sizes are known, or else of the files: 0 to 1.
  [[nodiscard]] double progress() const;
  /// "12 of 1,204 files"; empty while there is none.
  [[nodiscard]] QString progressFigure() const;
  [[nodiscard]] RunStatus* runStatus() { return &runStatus_; }
  /// Where the list is saved, and whether it is being.
  [[nodiscard]] const Saver* saver() const { return &saver_; }
  [[nodiscard]] ListFailures* failures() { return &failures_; }

  Q_INVOKABLE void create();
  /// What is being saved may be saved all the same, and is `saved` then.
  Q_INVOKABLE void cancel();
  /// Asks where, and saves what was calculated: whole or not at all. The list does not list itself.
  Q_INVOKABLE void save();
  /// Cancels, and forgets what was made.
  Q_INVOKABLE void reset();

 signals:
  void isOpenChanged();
  void folderChanged();
  void choiceChanged();
  void statusChanged();
  void progressChanged();
  /// A list of the files below `folder` was saved. `algorithm` is that of all its checksums; none where the list says
  /// it line by line.
  void saved(const std::filesystem::path& list, const std::filesystem::path& folder,
             std::optional<tallyfold::HashAlgorithm> algorithm);

 private:
  enum class Stage { choosing, running, cancelled, refused, made, saving };

  [[nodiscard]] ChecksumList::Form form() const;
  void forget();
  void setStage(Stage stage);
  void applyFound(const std::shared_ptr<const ListCreationRun::Found>& found,
                  const std::shared_ptr<const ReadCounter>& counter);
  void applyReport(ListCreationRun::Report report);
  [[nodiscard]] Saver::Writer writer();
  void endSaving(const std::filesystem::path& destination, bool isSaved);
  [[nodiscard]] QStringList remarks() const;

  std::optional<std::filesystem::path> folder_;
  HashAlgorithmSet algorithms_{HashAlgorithm::sha256};
  std::optional<ChecksumList::Form> chosenForm_;
  bool isOpen_ = false;
  bool isSaved_ = false;  // What was made.
  bool isKept_ = false;   // What was made before this was opened.
  QDateTime begunAt_;
  Stage stage_ = Stage::choosing;
  QString refusal_;                                      // Of the folder, at the stage of that name.
  std::shared_ptr<const ListCreationRun::Found> found_;  // Null before the folder is walked.
  ListCreationRun::Files files_;                         // Null before they are all hashed.
  ListFailures failures_;
  std::size_t filesDone_ = 0;
  RunStatus runStatus_;
  FlowTask<ListCreationFlow> task_{*this, context().mailbox()};
  FlowTask<ListCreationFlow> sizesTask_{*this, context().mailbox()};
  Saver saver_{context(), tr("The disk does not answer. Whether the list is saved cannot be told.")};
};

}  // namespace tallyfold
