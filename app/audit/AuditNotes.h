#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <QString>

#include "app/shared/VerifiedList.h"
#include "checksums/audit/MovedFiles.h"
#include "checksums/audit/UnlistedFiles.h"

namespace tallyfold {

/// What is known of missing and of unlisted files, as sentences; empty where nothing is. Immutable: on any thread.
struct AuditNotes {
  std::shared_ptr<const VerifiedList> list;
  std::shared_ptr<const UnlistedFiles> unlisted;
  std::shared_ptr<const MovedFiles> moved;

  /// Where the missing file of an entry may be, and what an unlisted file may be.
  [[nodiscard]] QString ofEntry(std::size_t entry) const;
  [[nodiscard]] QString ofFile(std::size_t file) const;

  /// A name among words, with U+2068 and U+2069 around it, so that it cannot reorder them.
  static QString isolated(std::string_view name);
  /// Words without these marks, which a report would write out.
  static std::string reported(QString words);
};

}  // namespace tallyfold
