#include "app/AppMode.h"

namespace tallyfold {

QString AppMode::rawValue(Case mode) {
  switch (mode) {
    case Files:
      return QStringLiteral("Files");
    case Text:
      return QStringLiteral("Text");
    case Verify:
      return QStringLiteral("Verify");
    case Manifest:
      return QStringLiteral("Manifest");
    case Compare:
      return QStringLiteral("Compare");
  }
  return {};
}

QString AppMode::iconName(Case mode) {
  switch (mode) {
    case Files:
      return QStringLiteral("doc.on.doc");
    case Text:
      return QStringLiteral("textformat");
    case Verify:
      return QStringLiteral("checkmark.shield");
    case Manifest:
      return QStringLiteral("checklist");
    case Compare:
      return QStringLiteral("arrow.left.arrow.right");
  }
  return {};
}

}  // namespace tallyfold
