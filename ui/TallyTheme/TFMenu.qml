import QtQuick
import QtQuick.Templates as T
import TallyFold

T.Menu {
    id: menu

    implicitWidth: 320 * TallyTheme.textScale
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: TallyTheme.space1
    margins: TallyTheme.space2
    overlap: 1
    delegate: TFMenuItem {
    }

    contentItem: ListView {
        implicitHeight: contentHeight
        model: menu.contentModel
        interactive: false
        currentIndex: menu.currentIndex
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: TallyTheme.controlRadius + TallyTheme.space1
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
