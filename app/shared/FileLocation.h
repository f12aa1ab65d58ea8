#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>

#include <QByteArray>
#include <QString>
#include <QUrl>

/// Between the URLs and texts of the desktop and the paths of the file system, which are bytes.
namespace tallyfold {

/// True when a path is written as a folder's, that is, ends in a separator. Does not look at the file system.
bool isDirectoryPath(const QUrl& url);
bool isDirectoryPath(const std::filesystem::path& path);

/// The standardized path (absolute, without ".", ".." and doubled separators; links are not followed) of a file URL:
/// the exact bytes, also those that are not UTF-8. None when `url` is not a file URL with an absolute path on this
/// machine and nothing else: no query, no fragment, no zero byte.
std::optional<std::filesystem::path> fileLocation(const QUrl& url);

/// The file URL of a path; bytes that are not UTF-8 are percent-encoded, so that `fileLocation` gives them back.
QUrl fileUrl(const std::filesystem::path& path);

/// Characters of what others chose that a text on the screen, a tip or an accessible name is given at most: more cannot
/// be read there, and takes the toolkit minutes to lay out.
inline constexpr std::size_t mostShownCharacters = 1'024;

/// A name or a path, of any size, as the screen shows it: one line that shows what is there, so that no name can
/// disguise itself (see `visibleText`), shortened in its middle.
QString shownText(std::string_view bytes);
QString displayText(const std::filesystem::path& path);

/// A name or a path, of any size, as it is copied: what `shownText` makes of it, but whole.
QByteArray copiedText(std::string_view bytes);

}  // namespace tallyfold
