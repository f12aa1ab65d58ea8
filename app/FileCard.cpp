#include "app/FileCard.h"

#include <system_error>

#include "app/FileLocation.h"
#include "app/Formats.h"

namespace tallyfold {

QVariantMap fileCard(const std::optional<std::filesystem::path>& path) {
  if (!path) return {};
  std::error_code unknown;
  const auto size = std::filesystem::file_size(*path, unknown);
  return {{QStringLiteral("name"), displayText(path->filename())},
          {QStringLiteral("folder"), displayText(path->parent_path())},
          {QStringLiteral("size"), unknown ? QString() : formattedByteCount(static_cast<qint64>(size))}};
}

}  // namespace tallyfold
