#pragma once

#include <filesystem>
#include <optional>

#include <QVariantMap>

namespace tallyfold {

/// What a screen shows of a chosen file: { name, folder, size }, safe to show; empty when none is chosen. Looks at the
/// file once, for its size.
QVariantMap fileCard(const std::optional<std::filesystem::path>& path);

}  // namespace tallyfold
