#include <string_view>
#include <utility>

#include "app/AppViewModel.h"
#include "app/shared/Formats.h"
#include "core/base/Errors.h"
#include "core/services/TextHashing.h"

namespace tallyfold {

namespace {

std::u16string_view viewOf(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

}  // namespace

void AppViewModel::setTextInput(const QString& text) {
  if (text == text_.input) return;
  text_.input = text;
  updateTextHash();
}

void AppViewModel::updateTextHash() {
  textTask_.abandon();
  text_.hashes = {};
  text_.error.clear();
  text_.utf8ByteCount = HashService::utf8ByteCount(viewOf(text_.input));
  emit textInputChanged();
  emit textHashesChanged();
  // Only the last edit of a burst is hashed.
  textRest_.start();
}

void AppViewModel::startTextHash() {
  textTask_.start(
      BackgroundTask::Priority::userInitiated,
      [text = text_.input, algorithms = selectedAlgorithms_](const BackgroundTask::Context& context) {
        if (algorithms.empty()) return;
        auto computed = HashService::hashTextCancellableWithByteCount(viewOf(text), algorithms, context.cancellation());
        context.post([hashes = std::move(computed.hashes)](AppViewModel& model) {
          model.text_.hashes = hashes;
          emit model.textHashesChanged();
        });
      },
      [](AppViewModel& model, const std::exception_ptr& failure) {
        if (!failure) return;
        model.text_.error = QString::fromStdString(errorDescription(failure));
        emit model.textHashesChanged();
      });
}

QString AppViewModel::textSize() const { return tr("%1 (UTF-8)").arg(exactByteCount(text_.utf8ByteCount)); }

QVariantMap AppViewModel::textHashesByName() const {
  QVariantMap map;
  for (const HashAlgorithm algorithm : text_.hashes.algorithms()) {
    map.insert(QString::fromStdString(std::string(algorithm.rawValue())),
               QString::fromStdString(std::string(*text_.hashes.find(algorithm))));
  }
  return map;
}

QString AppViewModel::classification(const QString& algorithm) {
  const auto known = HashAlgorithm::init(algorithm.toStdString());
  return known ? QString::fromStdString(std::string(known->classification())) : QString();
}

int AppViewModel::digestLength(const QString& algorithm) {
  const auto known = HashAlgorithm::init(algorithm.toStdString());
  return known ? static_cast<int>(known->hexLength()) : 0;
}

void AppViewModel::copyTextHash(const QString& algorithm) {
  const auto known = HashAlgorithm::init(algorithm.toStdString());
  const auto digest = known ? text_.hashes.find(*known) : std::nullopt;
  if (digest) setPasteboard(QByteArray().append(*digest));
}

void AppViewModel::pasteText() { setTextInput(pasteboardText()); }

QString AppViewModel::pasteboardText(bool isSelection) const {
  return desktop_.pasteboardText(isSelection ? Desktop::Pasteboard::selection : Desktop::Pasteboard::clipboard);
}

}  // namespace tallyfold
