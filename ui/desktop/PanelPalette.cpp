#include "ui/desktop/PanelPalette.h"

#include <QApplication>
#include <QPalette>

namespace tallyfold {

void PanelPalette::componentComplete() {
  QPalette palette;
  palette.setColor(QPalette::Window, window_);
  palette.setColor(QPalette::Base, field_);
  palette.setColor(QPalette::AlternateBase, window_);
  palette.setColor(QPalette::Button, button_);
  palette.setColor(QPalette::ToolTipBase, button_);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
    palette.setColor(role, text_);
    palette.setColor(QPalette::Disabled, role, faintText_);
  }
  palette.setColor(QPalette::PlaceholderText, faintText_);
  palette.setColor(QPalette::Highlight, accent_);
  palette.setColor(QPalette::HighlightedText, inkOnAccent_);
  palette.setColor(QPalette::Link, accent_);
  QApplication::setPalette(palette);
}

}  // namespace tallyfold
