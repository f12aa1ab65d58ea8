#include "app/text/TextFlow.h"

#include <string_view>
#include <utility>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"
#include "core/services/TextHashing.h"

namespace tallyfold {

namespace {

std::u16string_view viewOf(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

}  // namespace

TextFlow::TextFlow(FlowContext& context) : Flow(context) {
  untilRested_.setSingleShot(true);
  untilRested_.setTimerType(Qt::PreciseTimer);
  untilRested_.setInterval(120);
  connect(&untilRested_, &QTimer::timeout, this, &TextFlow::startTextHash);
  connect(&context, &FlowContext::selectedAlgorithmsChanged, this, &TextFlow::updateTextHash);
}

void TextFlow::shutdown() {
  untilRested_.stop();
  task_.abandon();
}

void TextFlow::setTextInput(const QString& text) {
  if (text == input_) return;
  input_ = text;
  updateTextHash();
}

void TextFlow::updateTextHash() {
  task_.abandon();
  hashes_ = {};
  error_.clear();
  utf8ByteCount_ = HashService::utf8ByteCount(viewOf(input_));
  emit textInputChanged();
  emit textHashesChanged();
  // Only the last edit of a burst is hashed.
  untilRested_.start();
}

void TextFlow::startTextHash() {
  task_.start(
      BackgroundTask::Priority::userInitiated,
      [text = input_, algorithms = context().selectedAlgorithms()](const FlowTask<TextFlow>::Context& task) {
        if (algorithms.empty()) return;
        auto computed = HashService::hashTextCancellableWithByteCount(viewOf(text), algorithms, task.cancellation());
        task.post([hashes = std::move(computed.hashes)](TextFlow& flow) {
          flow.hashes_ = hashes;
          emit flow.textHashesChanged();
        });
      },
      [](TextFlow& flow, const std::exception_ptr& failure) {
        if (!failure) return;
        flow.error_ = QString::fromStdString(errorDescription(failure));
        emit flow.textHashesChanged();
      });
}

QString TextFlow::textSize() const { return tr("%1 (UTF-8)").arg(exactByteCount(utf8ByteCount_)); }

QString TextFlow::classification(const QString& algorithm) {
  const auto known = algorithmNamed(algorithm);
  return known ? utf8Text(known->classification()) : QString();
}

int TextFlow::digestLength(const QString& algorithm) {
  const auto known = algorithmNamed(algorithm);
  return known ? static_cast<int>(known->hexLength()) : 0;
}

void TextFlow::copyTextHash(const QString& algorithm) {
  const auto known = algorithmNamed(algorithm);
  const auto digest = known ? hashes_.find(*known) : std::nullopt;
  if (digest) context().copy(QByteArray().append(*digest));
}

void TextFlow::pasteText() { setTextInput(context().pasteboardText()); }

}  // namespace tallyfold
