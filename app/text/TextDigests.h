#pragma once

#include <optional>
#include <utility>

#include <QObject>
#include <QString>

#include "app/shared/AlgorithmNames.h"
#include "core/digests/DigestMap.h"

namespace tallyfold {

/// The digests of a text as a screen asks for them.
class TextDigests {
  Q_GADGET

 public:
  TextDigests() = default;
  explicit TextDigests(DigestMap digests) : digests_(std::move(digests)) {}

  /// Empty while there is none.
  Q_INVOKABLE [[nodiscard]] QString digest(const QString& algorithm) const {
    const auto known = algorithmNamed(algorithm);
    const auto found = known ? digests_.find(*known) : std::nullopt;
    return found ? utf8Text(*found) : QString();
  }

 private:
  DigestMap digests_;
};

}  // namespace tallyfold
