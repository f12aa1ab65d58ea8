#pragma once

#include <QString>
#include <QTimer>
#include <QtGlobal>

#include "app/shared/Flow.h"
#include "app/text/TextDigests.h"
#include "core/digests/DigestMap.h"

namespace tallyfold {

/// Text mode: the selected checksums of a text, as it is typed or pasted.
class TextFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(QString textInput READ textInput WRITE setTextInput NOTIFY textInputChanged)
  Q_PROPERTY(QString textSize READ textSize NOTIFY textInputChanged)
  Q_PROPERTY(tallyfold::TextDigests textHashes READ textDigests NOTIFY textHashesChanged)
  Q_PROPERTY(QString textError READ textError NOTIFY textHashesChanged)

 public:
  explicit TextFlow(FlowContext& context);

  /// Never shown: it is over before one has looked.
  [[nodiscard]] bool isBusy() const override { return false; }
  void shutdown() override;
  [[nodiscard]] QString outcomeSentence() const override { return {}; }

  [[nodiscard]] QString textInput() const { return input_; }
  void setTextInput(const QString& text);
  [[nodiscard]] qint64 textUTF8ByteCount() const { return utf8ByteCount_; }
  /// "1,204 bytes (UTF-8)".
  [[nodiscard]] QString textSize() const;
  /// Empty until they are calculated.
  [[nodiscard]] const DigestMap& textHashes() const { return hashes_; }
  [[nodiscard]] TextDigests textDigests() const { return TextDigests(hashes_); }
  /// Why there are none; empty when nothing failed.
  [[nodiscard]] QString textError() const { return error_; }
  Q_INVOKABLE [[nodiscard]] static QString classification(const QString& algorithm);
  /// Hexadecimal digits of an algorithm's digest.
  Q_INVOKABLE [[nodiscard]] static int digestLength(const QString& algorithm);
  /// Hashes the text anew, when it has rested for a moment. Called whenever the text or the selection changes.
  void updateTextHash();
  /// From when the text has rested until its digests are there.
  [[nodiscard]] bool isTextHashing() const { return task_.isRunning(); }
  Q_INVOKABLE void copyTextHash(const QString& algorithm);
  /// The text of the clipboard becomes the input.
  Q_INVOKABLE void pasteText();

 signals:
  void textInputChanged();
  void textHashesChanged();

 private:
  void startTextHash();

  QString input_;
  qint64 utf8ByteCount_ = 0;
  DigestMap hashes_;
  QString error_;
  QTimer untilRested_{this};
  FlowTask<TextFlow> task_{*this, context().mailbox()};
};

}  // namespace tallyfold
