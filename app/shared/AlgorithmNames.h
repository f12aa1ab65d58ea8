#pragma once

#include <optional>
#include <string_view>

#include <QString>
#include <QStringList>

#include "core/digests/HashAlgorithm.h"

/// The catalogue as the screens speak of it: by display names.
namespace tallyfold {

inline QString utf8Text(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

inline QString displayName(HashAlgorithm algorithm) { return utf8Text(algorithm.rawValue()); }

/// In catalogue order.
inline QStringList displayNames(HashAlgorithmSet algorithms) {
  QStringList names;
  for (const HashAlgorithm algorithm : algorithms) names.append(displayName(algorithm));
  return names;
}

inline std::optional<HashAlgorithm> algorithmNamed(const QString& displayName) {
  return HashAlgorithm::init(displayName.toStdString());
}

}  // namespace tallyfold
